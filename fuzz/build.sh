#!/usr/bin/env bash
# build.sh [OUTDIR]: builds every fuzz target fuzz/fuzz_*.cpp into OUTDIR (default build/fuzz)
# with clang, libFuzzer and the address and undefined-behaviour sanitizers. The library is
# compiled from its sources as the native build compiles them, all but its load and unload
# entry; objects are rebuilt only when a file they were made from has changed.
set -eu
cd "$(dirname "$0")/.."
out=${1:-build/fuzz}
CXX=${CXX:-clang++}
JOBS=${JOBS:-$(nproc 2>/dev/null || echo 2)}
flags=(-std=c++17 -g -O1 -fno-omit-frame-pointer -fsanitize=address,undefined -fno-sanitize-recover=undefined
       -DTARN_BUILDING_LIBRARY -DTARN_VERSION_TEXT='"fuzz"' -Iinclude -Isrc)
mkdir -p "$out/obj"

# An object is stale when it is missing or older than a file its dependency list names.
stale() {
  local obj=$1 dep=${1%.o}.d f
  [ -f "$obj" ] && [ -f "$dep" ] || return 0
  for f in $(sed -e 's/^[^:]*://' -e 's/\\$//' "$dep"); do
    [ "$f" -nt "$obj" ] && return 0
  done
  return 1
}

compile() {  # compile SOURCE OBJECT [EXTRA FLAGS...]
  local src=$1 obj=$2
  shift 2
  stale "$obj" || return 0
  mkdir -p "$(dirname "$obj")"
  echo "  CXX $src"
  "$CXX" "${flags[@]}" "$@" -MMD -MF "${obj%.o}.d" -c "$src" -o "$obj"
}
export -f stale compile
export CXX out
export FLAGS_LINE="${flags[*]}"

sources=$(ls src/{lib,text,xml,files,settings,ipc,eval,print,system,lang,rtf}/*.cpp src/platform/*.cpp \
  src/platform/posix/*.cpp 2>/dev/null | grep -v 'src/platform/posix/library_entry.cpp')
objects=()
for s in $sources; do objects+=("$out/obj/${s%.cpp}.o"); done

# Library objects carry coverage for the fuzzer but not its main.
printf '%s\n' $sources | xargs -P "$JOBS" -I{} bash -c \
  'flags=($FLAGS_LINE); compile "{}" "$out/obj/$(dirname {})/$(basename {} .cpp).o" -fsanitize=fuzzer-no-link'

for target in fuzz/fuzz_*.cpp; do
  name=$(basename "$target" .cpp)
  compile "$target" "$out/obj/$name.o" -fsanitize=fuzzer-no-link
  if [ ! -x "$out/$name" ] || [ "$out/obj/$name.o" -nt "$out/$name" ] ||
     [ -n "$(find "$out/obj/src" -name '*.o' -newer "$out/$name" -print -quit)" ]; then
    echo "  LINK $out/$name"
    "$CXX" "${flags[@]}" -fsanitize=fuzzer "$out/obj/$name.o" "${objects[@]}" -o "$out/$name" -lsqlite3 -lpthread -ldl
  fi
done
