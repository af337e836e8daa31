#!/usr/bin/env bash
# Builds everything and runs the tests. With --soak the long soaks run too; further options go to
# ctest, as in ./test.sh -R Iterators.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
. cmake/packages.sh
require_packages g++ cmake ninja-build libgtest-dev libgmock-dev libcli11-dev

selection=(-LE soak)
options=()
for option in "$@"; do
  if [ "$option" = --soak ]; then selection=(); else options+=("$option"); fi
done

quietly cmake --preset dev
quietly cmake --build --preset dev
exec ctest --test-dir build/dev --output-on-failure -j "$(nproc)" \
  ${selection[@]+"${selection[@]}"} ${options[@]+"${options[@]}"}
