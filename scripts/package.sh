#!/usr/bin/env bash
# Builds the Debian packages libzolt-client0, libzolt-client-dev and zolt-tools into
# build/packages/. Install them with: apt-get install ./build/packages/*.deb
set -euo pipefail
cd "$(dirname "$0")/.."

./scripts/setup.sh
./scripts/build.sh build -DCMAKE_BUILD_TYPE=RelWithDebInfo
rm -f build/packages/*.deb
(cd build && cpack --config CPackConfig.cmake)
ls -1 build/packages/*.deb
