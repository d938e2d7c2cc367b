#!/usr/bin/env bash
# check-header.sh HEADER DEF: the header declares with TARN_API exactly the names the .def
# exports. Prints the names found on one side only and exits 1; silent with 0 when they agree.
set -eu
if [ $# -ne 2 ]; then
    echo "usage: check-header.sh HEADER DEF" >&2
    exit 2
fi
header=$1 def=$2
export LC_ALL=C

# Declarations may span lines: drop preprocessor lines and comments, join everything, then take
# each TARN_API declaration up to its ";" and, in it, the identifier right before the first "("
# after TARN_CALL.
declared=$(awk '
    /^[ \t]*#/ { next }
    { sub(/\/\/.*$/, ""); text = text " " $0 }
    END {
        while (match(text, /\/\*/)) {
            rest = substr(text, RSTART + 2)
            end = index(rest, "*/")
            text = substr(text, 1, RSTART - 1) " " (end ? substr(rest, end + 2) : "")
        }
        while (match(text, /(^|[^A-Za-z0-9_])TARN_API([^A-Za-z0-9_]|$)/)) {
            text = substr(text, RSTART + RLENGTH - 1)
            semi = index(text, ";")
            decl = semi ? substr(text, 1, semi) : text
            text = semi ? substr(text, semi + 1) : ""
            if (match(decl, /(^|[^A-Za-z0-9_])TARN_CALL([^A-Za-z0-9_]|$)/))
                decl = substr(decl, RSTART + RLENGTH - 1)
            paren = index(decl, "(")
            if (!paren) continue
            head = substr(decl, 1, paren - 1)
            if (match(head, /[A-Za-z_][A-Za-z0-9_]*[ \t]*$/)) {
                name = substr(head, RSTART, RLENGTH)
                sub(/[ \t]+$/, "", name)
                print name
            }
        }
    }' "$header" | sort -u)

# The .def: the names after EXPORTS, one a line; ";" starts a comment.
exported=$(sed -e 's/;.*$//' "$def" | awk '
    { sub(/^[ \t]+/, ""); sub(/[ \t\r]+$/, "") }
    $0 == "" { next }
    $1 == "EXPORTS" { on = 1; next }
    $1 == "LIBRARY" { next }
    on { name = $1; sub(/[=@].*$/, "", name); if (name != "") print name }' | sort -u)

only_header=$(comm -23 <(printf '%s\n' "$declared") <(printf '%s\n' "$exported") | grep . || true)
only_def=$(comm -13 <(printf '%s\n' "$declared") <(printf '%s\n' "$exported") | grep . || true)
status=0
if [ -n "$only_header" ]; then
    echo "check-header: declared in $(basename "$header") but not exported by $(basename "$def"):"
    printf '  %s\n' $only_header
    status=1
fi
if [ -n "$only_def" ]; then
    echo "check-header: exported by $(basename "$def") but not declared in $(basename "$header"):"
    printf '  %s\n' $only_def
    status=1
fi
exit $status
