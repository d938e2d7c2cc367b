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

echo
echo "== Memo compression: the customer list in the applications' compressed memo format:"
step "$tarn" memo compress "$here/data/kunden-dos.txt" "$out/kunden.rle"
step "$tarn" memo info "$out/kunden.rle"
step "$tarn" memo expand "$out/kunden.rle" "$out/kunden-expanded.txt"
if cmp -s "$here/data/kunden-dos.txt" "$out/kunden-expanded.txt"; then
  echo "== Expanded: byte for byte the original file."
else
  echo "== Expanded: differs from the original!"; exit 1
fi

echo
echo "== An offer kept as an RTF memo (umlauts as \\'xx escapes, a picture as binary data):"
sed -n '9,14p' "$here/data/memo.rtf"
step "$tarn" rtf2txt "$here/data/memo.rtf" "$out/memo.txt"
echo "== Its plain text, as the applications show, print and search it:"
show "$out/memo.txt" CP1252

echo
echo "== A bathroom measured for tiling: labels, \"remarks\" and # comments around the terms;"
echo "   lines ending in \"=\" are summed, each rounded commercially to 3 decimals:"
cat "$here/data/aufmass.txt"
step "$tarn" eval "$here/data/aufmass.txt"
printf 'Wand: 2,40 * 2,00 =\nBoden: 2,40 * =\nDecke: 2,40 * 1,85 =\n' > "$out/aufmass-fehler.txt"
echo
echo "== A line that does not parse is named; the others still count:"
step "$tarn" eval "$out/aufmass-fehler.txt" || echo "(exit status $?)"

echo
echo "== A bill of quantities for a bathroom in the GAEB 2000 bracket form (CP1252; field names"
echo "   in mixed case, a long text over two indented lines, another one in RTF):"
show "$here/data/angebot-bad.p83" CP1252 | sed -n '12,30p'
step "$tarn" gaeb2xml "$here/data/angebot-bad.p83" "$out/angebot-bad.xml"
echo "== As XML (UTF-8): blocks are elements, fields attributes, the RTF text is plain text now:"
sed 's/\r$//' "$out/angebot-bad.xml" | sed -n '5,9p' | cut -c1-160
step "$tarn" xml2gaeb "$out/angebot-bad.xml" "$out/angebot-bad-zurueck.p83"
echo "== Back in the bracket form, indented one blank per level:"
show "$out/angebot-bad-zurueck.p83" CP1252 | sed -n '20,28p'

echo
echo "== Printers: the system's printers (on Linux the CUPS queues, then the built-in \"PDF\", which"
echo "   writes PDF files) and the roles (\"Angebot1\", \"Rechnung1\", ...) the applications print to,"
echo "   kept in a settings home of the demo's own:"
export TARNGDI_HOME="$out/home"
step "$tarn" printers set Angebot1 PDF
step "$tarn" printers settings Angebot1 paper=A4 orientation=portrait copies=2
step "$tarn" printers

echo
echo "== An invoice as the applications spool it: a print script in centimetres, fonts by number,"
echo "   texts, lines, fills and a gradient (CP1252):"
show "$here/data/rechnung.spl" CP1252 | sed -n '9,20p'
step "$tarn" print "$here/data/rechnung.spl" -o "$out/rechnung.pdf"
step "$tarn" print "$here/data/rechnung.spl" -o "$out/rechnung.png" --dpi 100
if command -v pdftotext >/dev/null; then
  echo "== The PDF's text, as a reader of it sees the second page:"
  pdftotext -f 2 -l 2 -layout "$out/rechnung.pdf" - | sed 's/  *$//' | sed -n '19,38p' | cat -s
fi
echo
echo "== A plain text laid out as a listing (Courier New, 63 lines a page) and printed to PDF:"
step "$tarn" print --list "$out/kunden-ansi.txt" --job Kundenliste -o "$out/kundenliste.pdf"
echo
echo "(the PDF and PNG files are in $out)"
