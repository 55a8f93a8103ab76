#!/usr/bin/env bash
# Builds the Debian packages from a build tree into a scratch directory and checks them without
# installing anything into the machine: their control fields, their contents, a consumer compiled
# and run against the unpacked root through pkg-config and through the CMake package, the
# unpacked programs, and lintian when it is installed.
# Usage: check_packages.sh BUILD_DIR
set -euo pipefail
build=$(cd "${1:?usage: check_packages.sh BUILD_DIR}" && pwd)
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

fail() {
    echo "check_packages: $*" >&2
    exit 1
}

version=$(sed -n 's/^set(CPACK_PACKAGE_VERSION "\(.*\)")$/\1/p' "$build/CPackConfig.cmake")
[ -n "$version" ] || fail "no version in CPackConfig.cmake"
soversion=${version%%.*}
arch=$(dpkg --print-architecture)

(cd "$build" && cpack --config CPackConfig.cmake -D CPACK_OUTPUT_FILE_PREFIX="$scratch/out" -B "$scratch/work" >"$scratch/cpack.log" 2>&1) ||
    { cat "$scratch/cpack.log" >&2; fail "cpack failed"; }

runtime="$scratch/out/libzolt-client${soversion}_${version}_${arch}.deb"
dev="$scratch/out/libzolt-client-dev_${version}_${arch}.deb"
tools="$scratch/out/zolt-tools_${version}_${arch}.deb"
for deb in "$runtime" "$dev" "$tools"; do
    [ -f "$deb" ] || fail "missing $(basename "$deb"); cpack made: $(ls "$scratch/out")"
done

field() { dpkg-deb -f "$1" "$2"; }
expect_field() {  # deb field expected-value
    local got
    got=$(field "$1" "$2")
    [ "$got" = "$3" ] || fail "$(basename "$1"): $2 is '$got', expected '$3'"
}
expect_depends() {  # deb pattern...
    local deb=$1 depends
    shift
    depends=$(field "$deb" Depends)
    for pattern in "$@"; do
        grep -Eq "(^|, )$pattern( |,|$)" <<<"$depends" ||
            fail "$(basename "$deb"): Depends '$depends' lacks $pattern"
    done
}
expect_file() {  # deb path-pattern
    # The listing is read whole first: grep -q in a pipe would end it early under pipefail.
    local listing
    listing=$(dpkg-deb -c "$1" | awk '{print $6}')
    grep -Eq "$2" <<<"$listing" || fail "$(basename "$1") holds nothing matching $2"
}

expect_field "$runtime" Package "libzolt-client${soversion}"
expect_field "$dev" Package libzolt-client-dev
expect_field "$tools" Package zolt-tools
for deb in "$runtime" "$dev" "$tools"; do
    expect_field "$deb" Version "$version"
    expect_field "$deb" Architecture "$arch"
    [ -n "$(field "$deb" Maintainer)" ] || fail "$(basename "$deb"): no Maintainer"
    [ -n "$(field "$deb" Description)" ] || fail "$(basename "$deb"): no Description"
    expect_file "$deb" "^\./usr/share/doc/$(field "$deb" Package)/copyright$"
done
expect_field "$runtime" Section libs
expect_field "$dev" Section libdevel
expect_field "$tools" Section net
# The library's own dependencies come from its binary: libcurl, JsonCpp and simdjson at least.
expect_depends "$runtime" 'libcurl4' 'libjsoncpp25' 'libsimdjson14' 'libc6' 'libstdc\+\+6'
expect_depends "$dev" "libzolt-client${soversion} \\(= ${version}\\)" libjsoncpp-dev \
    libcurl4-openssl-dev
expect_depends "$tools" "libzolt-client${soversion} \\(= ${version}\\)" 'libc6'
expect_file "$runtime" "/libzolt-client\\.so\\.${soversion}$"
expect_file "$runtime" "/libzolt-client\\.so\\.${version}$"
grep -q '\.so$' <<<"$(dpkg-deb -c "$runtime")" && fail "the runtime package holds the .so link"
grep -q shlibs <<<"$(dpkg-deb --ctrl-tarfile "$runtime" | tar -t)" || fail "no shlibs in $runtime"
expect_file "$dev" '/libzolt-client\.so$'
expect_file "$dev" '/include/zolt-client/client/zoltclient\.h$'
expect_file "$dev" '/include/zolt-client/client/version\.h$'
expect_file "$dev" '/pkgconfig/zolt-client\.pc$'
expect_file "$dev" '/cmake/zolt-client/zolt-clientConfig\.cmake$'
expect_file "$dev" '/share/doc/libzolt-client-dev/reference/port\.md$'
expect_file "$tools" '^\./usr/bin/zolt-switch-sim$'
expect_file "$tools" '^\./usr/share/man/man1/zolt-switch-sim\.1\.gz$'

# Unpack all three into one root and build against it.
root="$scratch/root"
for deb in "$runtime" "$dev" "$tools"; do dpkg-deb -x "$deb" "$root"; done
libdir=$(dirname "$(find "$root" -name 'libzolt-client.so' | head -n 1)")
export LD_LIBRARY_PATH="$libdir"

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
c++ -std=c++17 -Wall -Wextra -Werror "$here/consumer/consumer.cpp" -o "$scratch/by-pkg-config" \
    $(pkg-config --cflags --libs zolt-client)
"$scratch/by-pkg-config"
cmake -S "$here/consumer" -B "$scratch/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" \
    >/dev/null
cmake --build "$scratch/consumer" >/dev/null
"$scratch/consumer/consumer"
grep -q -- '--state' <<<"$("$root/usr/bin/zolt-switch-sim" --help)" || fail "zolt-switch-sim --help"
if [ -x "$root/usr/bin/zolt" ]; then
    "$root/usr/bin/zolt" --help >/dev/null || fail "zolt --help"
fi

if command -v lintian >/dev/null 2>&1; then
    lintian --allow-root --fail-on error \
        "$runtime" "$dev" "$tools" || fail "lintian reports errors"
fi
echo "check_packages: ok ($(basename "$runtime") $(basename "$dev") $(basename "$tools"))"
