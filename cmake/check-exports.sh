#!/usr/bin/env bash
# check-exports.sh DEF LIBRARY: the library exports exactly the names of the .def, undecorated.
set -eu
def=$1 lib=$2
want=$(sed -e 's/;.*$//' -e 's/^[[:space:]]*//' -e 's/[[:space:]]*$//' "$def" |
       grep -E '^[A-Za-z_][A-Za-z0-9_]*$' | grep -vxE 'LIBRARY|EXPORTS' | sort -u)
case "$lib" in
  *.dll)
    dump=$(i686-w64-mingw32-objdump -p "$lib" 2>/dev/null || objdump -p "$lib")
    have=$(awk '/\[Ordinal\/Name Pointer\] Table/{t=1;next} t&&/^\t\[/{print $NF} t&&/^$/{t=0}' <<<"$dump" | sort -u) ;;
  *)
    have=$(nm -D --defined-only "$lib" | awk '$2 != "A" {print $NF}' | sed 's/@.*//' | sort -u) ;;
esac
missing=$(comm -23 <(printf '%s\n' "$want") <(printf '%s\n' "$have"))
extra=$(comm -13 <(printf '%s\n' "$want") <(printf '%s\n' "$have"))
status=0
if [ -n "$missing" ]; then echo "check-exports: $lib lacks:"; printf '  %s\n' $missing; status=1; fi
if [ -n "$extra" ]; then echo "check-exports: $lib exports names not in the .def:"; printf '  %s\n' $extra; status=1; fi
if [ $status -eq 0 ]; then echo "check-exports: $(basename "$lib") exports the $(grep -c . <<<"$want") names of $(basename "$def") undecorated, nothing else"; fi
exit $status
