#!/usr/bin/env bash
# Checks the dynamic symbol table of libzolt-client.so: the REST and handle functions are
# there, and every defined symbol is one of the entry points (typed methods zolt_*, the REST
# and handle functions, the codec overloads serialize/parse/operator<). Internals, helpers and
# the standard library's template instantiations must not leak out.
set -euo pipefail

lib=${1:?usage: check_symbols.sh path/to/libzolt-client.so}
symbols=$(nm -D --defined-only "$lib" | awk '{ $1 = ""; $2 = ""; sub(/^  /, ""); print }' | c++filt)
status=0

for name in rest_init rest_deinit rest_post rest_free_response zoltclient_init zoltclient_deinit; do
    if ! grep -qx "$name" <<<"$symbols"; then
        echo "missing export: $name" >&2
        status=1
    fi
done

allowed='^(rest_init|rest_deinit|rest_post|rest_free_response|zoltclient_init|zoltclient_deinit)$'
allowed+='|^zolt_[A-Za-z0-9_]+\('
allowed+='|^(serialize|parse|operator<)\('
unexpected=$(grep -Ev "$allowed" <<<"$symbols" || true)
if [[ -n $unexpected ]]; then
    echo "unexpected exports:" >&2
    sed 's/^/  /' <<<"$unexpected" >&2
    status=1
fi

if [[ $status -eq 0 ]]; then
    echo "exports of $(basename "$lib"): $(wc -l <<<"$symbols") symbols, all public"
fi
exit $status
