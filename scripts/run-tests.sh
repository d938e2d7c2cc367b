#!/usr/bin/env bash
# run-tests.sh: runs the test suites of every preset and prints one summary.
# With CI=true a Windows step that cannot run fails the run instead of being skipped.
set -u
cd "$(dirname "$0")/.."
WINE=${WINE:-/usr/lib/wine/wine64}
passed=0 failed=0 status=0
summary=()

count() {  # count LOG LABEL: adds the GoogleTest totals of LOG to the summary
  local log=$1 label=$2 p f
  p=$(sed -E 's/^[0-9]+: //' "$log" | grep -E '^\[  PASSED  \] [0-9]+ test' | awk '{s+=$4} END{print s+0}')
  f=$(sed -E 's/^[0-9]+: //' "$log" | grep -E '^\[  FAILED  \] [0-9]+ test' | awk '{s+=$4} END{print s+0}')
  passed=$((passed + p)) failed=$((failed + f))
  summary+=("$label: $p passed, $f failed")
}

run_suite() {  # run_suite PRESET LABEL
  local preset=$1 label=$2 log=build/$1/test-output.log
  echo "== $label tests"
  if ! ctest --preset "$preset" -V >"$log" 2>&1; then
    grep -E '^\s*[0-9]+: \[  FAILED  \]|Failure|Error|Test #' "$log" | tail -40
    status=1
  fi
  tail -4 "$log"
  count "$log" "$label"
}

run_suite native "native"
run_suite asan "sanitizers"

if [ -x "$WINE" ]; then
  mkdir -p build/win64/wineprefix
  WINEPREFIX=$PWD/build/win64/wineprefix WINEDEBUG=-all "$WINE" wineboot -i >/dev/null 2>&1 || true
  run_suite win64 "wine64"
else
  echo "== wine64 tests: $WINE is missing"
  summary+=("wine64: not run ($WINE missing)")
  [ "${CI:-}" = true ] && status=1
fi

echo "== export tables"
for lib in build/native/libtarngdi32.so build/win32/tarngdi32.dll; do
  if [ -f "$lib" ]; then
    bash cmake/check-exports.sh src/tarngdi32.def "$lib" || status=1
  else
    echo "missing $lib"; status=1
  fi
done

echo
printf '%s\n' "${summary[@]}"
[ $failed -gt 0 ] && status=1
echo "tests: $passed passed, $failed failed"
exit $status
