#!/usr/bin/env bash
# Measures the library against hand-written references and prints the ratios; also against PCL and
# Open3D where libpcl-dev and libopen3d-dev are installed.
#   ./bench.sh [--filter REGEX] [--quick] [--json FILE]
set -euo pipefail
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" >/dev/null && pwd)
. "$here/cmake/packages.sh"
require_packages g++ cmake ninja-build libbenchmark-dev libcli11-dev

build="$here/build/bench"
CXX=g++ quietly cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF \
  -DTREE_BUILD_EXAMPLES=OFF -DTREE_BUILD_BENCHMARKS=ON
quietly cmake --build "$build" --target benchmarks
export OMP_NUM_THREADS=1 # the other libraries work on one thread, too
exec "$build/benchmarks/benchmarks" "$@"
