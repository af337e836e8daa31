#!/usr/bin/env bash
# Builds the library and runs the main job on a built-in scan session. Options go to the program:
#   ./run.sh --scans DIR --poses FILE
set -euo pipefail
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" >/dev/null && pwd)
. "$here/cmake/packages.sh"
require_packages g++ cmake ninja-build libcli11-dev libpng-dev

# Options of the program name files relative to where the caller stands.
build="$here/build/run"
echo "Building; for the first time that takes a few minutes" >&2
CXX=g++ quietly cmake -S "$here" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_TESTING=OFF
quietly cmake --build "$build" --target scansession
exec "$build/examples/scansession/scansession" "$@"
