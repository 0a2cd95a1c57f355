#!/usr/bin/env bash
# Builds the fuzz targets with clang and runs the CTest label "fuzz": every
# target replays its seeds and regressions once, then fuzzes for the given
# number of seconds (default 30) from them, two targets at a time.
#
#   fuzz/run_ci.sh [seconds] [build-dir]     e.g. fuzz/run_ci.sh 3600 for a long session
#
# Installs clang and libFuzzer when missing. Inputs that grow the corpus stay
# in <build-dir>/fuzz/corpus/; a crash leaves its input in
# <build-dir>/fuzz/artifacts/<target>/ (and prints it in Base64).
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-30}"
build="${2:-build-fuzz}"

scripts/install_packages.sh clang libclang-rt-dev cmake ninja-build pkg-config libspng-dev libjpeg62-turbo-dev

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
  -DKOVRAL_BUILD_FUZZ=ON -DKOVRAL_BUILD_TESTS=OFF -DKOVRAL_BUILD_EXAMPLES=OFF -DKOVRAL_BUILD_TOOLS=OFF \
  -DKOVRAL_BUILD_BENCH=OFF \
  -DKOVRAL_FUZZ_SECONDS="$seconds" >/dev/null
cmake --build "$build" --target kovral_fuzzers -j"$(nproc)"
ctest --test-dir "$build" -L fuzz -j"$(nproc)" --output-on-failure
