#!/usr/bin/env bash
# run-tests.sh: runs the test suites of every preset and prints one summary.
# With CI=true a Windows run that cannot start fails the run instead of being skipped.
set -u
cd "$(dirname "$0")/.."
WINE64=${WINE64:-/usr/lib/wine/wine64}
# The 32-bit loader of wine32:i386; with wine64 beside it, a 32-bit process on 64-bit Windows.
WINE32=${WINE32:-/usr/lib/wine/wine}
WINESERVER=${WINESERVER:-/usr/lib/wine/wineserver}
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
  # The application built against the header and import library says how its calls went.
  sed -nE 's/^[0-9]+: (consumer: .*)/\1/p' "$log"
  count "$log" "$label"
}

run_suite native "native"
run_suite asan "sanitizers"

# wine_suite PRESET LABEL LOADER: the Windows build of PRESET under LOADER, in a prefix of its own.
wine_suite() {
  local preset=$1 label=$2 loader=$3 prefix=$PWD/build/$1/wineprefix
  if [ ! -x "$loader" ]; then
    echo "== $label tests: $loader is missing"
    summary+=("$label: not run ($loader missing)")
    [ "${CI:-}" = true ] && status=1
    return
  fi
  mkdir -p "$prefix"
  if ! WINEPREFIX=$prefix WINEDEBUG=-all timeout 300 "$loader" wineboot -i >/dev/null 2>&1; then
    echo "== $label tests: $loader cannot start"
    summary+=("$label: not run ($loader cannot start)")
    [ "${CI:-}" = true ] && status=1
    return
  fi
  # Windows of the library's own dialogs need a display driver; Wine's null driver keeps them
  # off any screen, so that tests can drive them without an X server. The desktop process
  # takes the driver when it starts: the prefix's server is restarted once it is set.
  if ! WINEPREFIX=$prefix WINEDEBUG=-all "$loader" reg query 'HKCU\Software\Wine\Drivers' /v Graphics 2>/dev/null | grep -q null; then
    WINEPREFIX=$prefix WINEDEBUG=-all "$loader" reg add 'HKCU\Software\Wine\Drivers' /v Graphics /d null /f >/dev/null 2>&1
    WINEPREFIX=$prefix "$WINESERVER" -k 2>/dev/null
    WINEPREFIX=$prefix "$WINESERVER" -w 2>/dev/null
  fi
  run_suite "$preset" "$label"
}

wine_suite win64 "wine64" "$WINE64"
wine_suite win32 "wine32" "$WINE32"

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
