#!/usr/bin/env bash
# Installs what the build needs (Debian packages), then configures and builds
# into build/ (or the directory given as first argument; further arguments go
# to cmake).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_packages.sh g++ cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
  nlohmann-json3-dev libcli11-dev libspng-dev libjpeg62-turbo-dev

build="${1:-build}"
shift || true
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"
