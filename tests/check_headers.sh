#!/usr/bin/env bash
# Checks an installed include tree on its own: every #include "..." of an installed header names
# a header of that same tree (from the tree's top or from the including header's directory), and
# no installed header is one that the sources mark "Internal: not installed".
# Usage: check_headers.sh INCLUDE_DIR   (the directory that holds client/, codec/ and schema/)
set -euo pipefail
root=$(cd "${1:?usage: check_headers.sh INCLUDE_DIR}" && pwd)

failures=0
count=0
while IFS= read -r -d '' header; do
    count=$((count + 1))
    shown=${header#"$root"/}
    if grep -q 'Internal: not installed' "$header"; then
        echo "check_headers: $shown is internal but installed" >&2
        failures=$((failures + 1))
    fi
    while IFS= read -r name; do
        if [ ! -f "$root/$name" ] && [ ! -f "$(dirname "$header")/$name" ]; then
            echo "check_headers: $shown includes \"$name\", which is not installed" >&2
            failures=$((failures + 1))
        fi
    done < <(sed -n 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*"\([^"]*\)".*/\1/p' "$header")
done < <(find "$root" -name '*.h' -print0)

[ "$count" -gt 0 ] || { echo "check_headers: no headers below $root" >&2; exit 1; }
[ "$failures" -eq 0 ] || exit 1
