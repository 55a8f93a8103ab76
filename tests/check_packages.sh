#!/usr/bin/env bash
# Builds the Debian packages from a build tree into a scratch directory and checks them without
# installing anything into the machine: their control fields, their contents, the headers standing
# on their own (check_headers.sh), a consumer compiled and run against the unpacked root through
# pkg-config and through the CMake package, the unpacked programs, and lintian when it is
# installed.
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
python="$scratch/out/python3-zolt_${version}_${arch}.deb"
exporter="$scratch/out/zolt-exporter_${version}_all.deb"
# python3-zolt and zolt-exporter are made when the build has the binding (ZOLT_PYTHON).
debs=("$runtime" "$dev" "$tools")
if grep -q '^ZOLT_PYTHON:BOOL=ON' "$build/CMakeCache.txt"; then
    debs+=("$python" "$exporter")
fi
for deb in "${debs[@]}"; do
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

# Names, sections and the dependencies written in the packaging stand as written; what follows
# is what the build derives or installs. Missing fields and the like are lintian's part.
for deb in "${debs[@]}"; do
    expect_field "$deb" Version "$version"
    # The exporter is a script: one package for every architecture.
    [ "$deb" = "$exporter" ] || expect_field "$deb" Architecture "$arch"
    expect_file "$deb" "^\./usr/share/doc/$(field "$deb" Package)/copyright$"
done
# The library's own dependencies come from its binary: libcurl and JsonCpp and simdjson at least.
expect_depends "$runtime" 'libcurl4' 'libjsoncpp25' 'libsimdjson14' 'libc6' 'libstdc\+\+6'
expect_depends "$tools" 'libc6'
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
if [ ${#debs[@]} -eq 5 ]; then
    expect_file "$exporter" '^\./usr/bin/zolt-exporter$'
    expect_file "$exporter" '^\./usr/share/zolt-exporter/metrics\.json$'
    expect_file "$exporter" '^\./usr/share/man/man1/zolt-exporter\.1\.gz$'
    expect_file "$exporter" '^\./usr/lib/systemd/system/zolt-exporter\.service$'
    expect_file "$exporter" '^\./usr/share/doc/zolt-exporter/metrics\.md$'
    expect_file "$exporter" '^\./usr/share/doc/zolt-exporter/examples/zolt-exporter\.yml$'
    expect_field "$python" Package python3-zolt
    expect_field "$python" Section python
    expect_depends "$python" "libzolt-client${soversion} \\(= ${version}\\)" 'python3'
    for file in __init__.py _base.py aio.py testing.py py.typed _zolt.pyi aio.pyi; do
        expect_file "$python" "^\./usr/lib/python3/dist-packages/zolt/${file//./\\.}$"
    done
    expect_file "$python" '^\./usr/lib/python3/dist-packages/zolt/_zolt\.cpython-[^/]*\.so$'
fi

# Unpack all three into one root and build against it.
root="$scratch/root"
for deb in "${debs[@]}"; do dpkg-deb -x "$deb" "$root"; done
libdir=$(dirname "$(find "$root" -name 'libzolt-client.so' | head -n 1)")
export LD_LIBRARY_PATH="$libdir"
"$here/check_headers.sh" "$root/usr/include/zolt-client" || fail "the headers of $(basename "$dev")"

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

if [ ${#debs[@]} -eq 5 ]; then
    # The unpacked exporter finds its map beside it (../share/zolt-exporter) and serves.
    printf 'modules:\n  default:\n    user: admin\n    password: admin\n' >"$scratch/exporter.yml"
    PYTHONPATH="$root/usr/lib/python3/dist-packages" timeout 5 /usr/bin/python3 \
        "$root/usr/bin/zolt-exporter" --config "$scratch/exporter.yml" --listen 127.0.0.1:0 \
        >"$scratch/exporter.out" 2>&1 || true
    grep -q '^listening on' "$scratch/exporter.out" ||
        fail "zolt-exporter from zolt-exporter: $(cat "$scratch/exporter.out")"
    PYTHONPATH="$root/usr/lib/python3/dist-packages" /usr/bin/python3 -c \
        'import zolt, zolt.aio, zolt.testing; assert zolt.Client and zolt.zolt_appl_port_mib_conf_t' ||
        fail "import zolt from python3-zolt"
fi

if command -v lintian >/dev/null 2>&1; then
    lintian --allow-root --fail-on error \
        "${debs[@]}" || fail "lintian reports errors"
fi
echo "check_packages: ok ($(for deb in "${debs[@]}"; do basename "$deb"; done | tr '\n' ' '))"
