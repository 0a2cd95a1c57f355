#!/usr/bin/env bash
# Installs what the build needs (Debian packages), then configures and builds
# into build/ (or the directory given as first argument; further arguments go
# to cmake), and points the virtual environment .venv at its Python package.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install_packages.sh g++ cmake ninja-build pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
  nlohmann-json3-dev libcli11-dev libspng-dev libjpeg62-turbo-dev \
  pybind11-dev python3-dev python3-numpy python3-pytest python3-dask python3-distributed

build="${1:-build}"
shift || true
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
cmake --build "$build" -j"$(nproc)"

# The Python package: .venv, a virtual environment on Debian's own python3
# (whose numpy and Dask it sees), imports kovral from this build.
if [ -f "$build/python/kovral/__init__.py" ]; then
  .venv/bin/python -c "import numpy" 2>/dev/null || /usr/bin/python3 -m venv --clear --system-site-packages --without-pip .venv
  site="$(.venv/bin/python -c 'import sysconfig; print(sysconfig.get_path("purelib"))')"
  realpath "$build/python" > "$site/kovral.pth"
fi
