#!/usr/bin/env bash
# The demo: what tarn does with data of the trades, step by step.
set -euo pipefail
tarn=${1:-build/native/tarn}
here=$(cd "$(dirname "$0")" && pwd)
out=$(dirname "$tarn")/demo-out
mkdir -p "$out"

step() { printf '\n\033[1m$ %s\033[0m\n' "$*"; "$@"; }
show() {  # show FILE CODEPAGE: the file as a UTF-8 terminal sees it
  iconv -f "$2" -t UTF-8 "$1" | sed 's/\r$//'
}

echo "== A DOS-era customer list, stored in the OEM code page 850:"
show "$here/data/kunden-dos.txt" CP850
echo
echo "(its raw bytes: the umlauts are OEM codes)"
head -c 120 "$here/data/kunden-dos.txt" | tail -c 40 | od -An -tx1

step "$tarn" oem2ansi "$here/data/kunden-dos.txt" "$out/kunden-ansi.txt"
echo "== The same list in the ANSI code page 1252, as the Windows applications show it:"
show "$out/kunden-ansi.txt" CP1252

step "$tarn" ansi2oem "$out/kunden-ansi.txt" "$out/kunden-back.txt"
if cmp -s "$here/data/kunden-dos.txt" "$out/kunden-back.txt"; then
  echo "== Converted back to OEM: byte for byte the original file."
else
  echo "== Converted back to OEM: differs from the original!"; exit 1
fi

step "$tarn" winerror 2
step "$tarn" winerror 0x20

echo
echo "== Date fields: what users type, read against the work date 15.03.2024:"
step "$tarn" date --workdate 15.03.2024 h m g +14 -7 5.4 31.2 12/25 1.1.79 1.1.80
step "$tarn" date --days 73049
step "$tarn" date --days 73051
echo "(day number 73050 belongs to no date: the count of leap days includes the year 2100)"
