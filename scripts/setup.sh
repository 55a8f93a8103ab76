#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need. Idempotent: does nothing when all
# are present, and runs apt-get update only when something has to be installed.
set -euo pipefail

packages=(
    build-essential cmake ninja-build ccache pkg-config python3
    libcurl4-openssl-dev libjsoncpp-dev libcpp-httplib-dev libsimdjson-dev
    libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
    dpkg-dev lintian
    pybind11-dev python3-dev python3-pytest mypy python3-requests
    python3-prometheus-client python3-yaml prometheus
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done

if [[ ${#missing[@]} -eq 0 ]]; then
    exit 0
fi

if ! command -v apt-get >/dev/null 2>&1; then
    echo "setup: missing packages: ${missing[*]}" >&2
    echo "setup: apt-get not found; this project expects Debian 12." >&2
    exit 1
fi
if [[ $(id -u) -ne 0 ]]; then
    echo "setup: missing packages: ${missing[*]}" >&2
    echo "setup: run as root, or install them with: sudo apt-get install ${missing[*]}" >&2
    exit 1
fi

echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
if ! apt-get update -q; then
    echo "setup: apt-get update failed" >&2
    exit 1
fi
if ! apt-get install -y -q --no-install-recommends "${missing[@]}"; then
    echo "setup: apt-get install failed for: ${missing[*]}" >&2
    exit 1
fi
