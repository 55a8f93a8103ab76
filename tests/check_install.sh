#!/usr/bin/env bash
# Installs the build into a scratch prefix, checks that its headers stand on their own
# (check_headers.sh), and builds an application against the installed library twice, once with
# pkg-config and once with the CMake package; both must run.
# Usage: check_install.sh BUILD_DIR
set -euo pipefail
build=${1:?usage: check_install.sh BUILD_DIR}
here=$(cd "$(dirname "$0")" && pwd)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
"$here/check_headers.sh" "$scratch/prefix/include/zolt-client"
libdir=$(dirname "$(find "$scratch/prefix" -name 'libzolt-client.so' | head -n 1)")

export PKG_CONFIG_PATH="$libdir/pkgconfig"
# shellcheck disable=SC2046
c++ -std=c++17 -Wall -Wextra -Werror "$here/consumer/consumer.cpp" -o "$scratch/by-pkg-config" \
    $(pkg-config --cflags --libs zolt-client)
LD_LIBRARY_PATH="$libdir" "$scratch/by-pkg-config"

cmake -S "$here/consumer" -B "$scratch/consumer" -G Ninja \
    -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/consumer" >/dev/null
LD_LIBRARY_PATH="$libdir" "$scratch/consumer/consumer"
