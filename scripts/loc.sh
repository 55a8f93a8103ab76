#!/usr/bin/env bash
# Non-blank lines of hand-written code tracked by git: product, tests, fuzz targets, and the share
# of tests+fuzz in the whole. Exits 1 when that share is above one third. Schema files and corpus
# data count on neither side; generated code is never tracked.
set -euo pipefail
cd "$(dirname "$0")/.."

count() { # non-blank lines of the files named on stdin
    xargs -r grep -ch '[^[:space:]]' -- | awk '{ n += $1 } END { print n + 0 }'
}

files=$(git ls-files | grep -E '(\.(c|cc|cpp|h|hpp|py|sh|cmake|yml|yaml)|(^|/)CMakeLists\.txt)$' |
    grep -Ev '(^|/)corpus/')
tests=$(grep -E '(^|/)tests/' <<<"$files" || true)
fuzz=$(grep -E '^fuzz/' <<<"$files" || true)
product=$(grep -Ev '(^|/)tests/|^fuzz/' <<<"$files" || true)

p=$(count <<<"$product")
t=$(count <<<"$tests")
f=$(count <<<"$fuzz")
total=$((p + t + f))
share=$(((t + f) * 1000 / total))

printf 'product %6d\ntests   %6d\nfuzz    %6d\nshare of tests+fuzz: %d.%d %%\n' \
    "$p" "$t" "$f" $((share / 10)) $((share % 10))
# Above one third exactly when 3 * (tests + fuzz) > total.
if ((3 * (t + f) > total)); then
    echo "tests+fuzz are above one third of the code" >&2
    exit 1
fi
