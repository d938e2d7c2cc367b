#!/usr/bin/env bash
# gen-def.sh: writes src/tarngdi32.def from the declarations of include/tarngdi32.h, in their order.
set -eu
cd "$(dirname "$0")/.."
{
  echo "; Exports of tarngdi32.dll, undecorated. The Linux version script is made from this list."
  echo "LIBRARY tarngdi32.dll"
  echo "EXPORTS"
  grep -oE 'TARN_CALL +\*?[A-Za-z_0-9]+\(' include/tarngdi32.h | sed -E 's/TARN_CALL +\*?//; s/\(//; s/^/    /'
} > src/tarngdi32.def
