#!/usr/bin/env bash
# Builds everything and runs the tests. With --soak the long soaks run too; further options go to
# ctest, as in ./test.sh -R Iterators.
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")" >/dev/null

# ctest skips only what all of its exclusions name, so there is one for the soaks and the caller's.
excluded=soak
options=()
while [ $# -gt 0 ]; do
  case "$1" in
    --soak) excluded= ;;
    --help)
      echo "usage: $0 [--soak] [options of ctest, which 'ctest --help' lists]"
      exit 0
      ;;
    -LE | --label-exclude)
      if [ $# -eq 1 ]; then
        echo "$0: $1 needs a regular expression behind it" >&2
        exit 2
      fi
      excluded="${excluded:+$excluded|}$2"
      shift
      ;;
    *) options+=("$1") ;;
  esac
  shift
done
[ -z "$excluded" ] || options+=(-LE "$excluded")

. cmake/packages.sh
require_packages g++ cmake ninja-build libgtest-dev libgmock-dev libcli11-dev libpng-dev
quietly cmake --preset dev
quietly cmake --build --preset dev
exec ctest --test-dir build/dev --no-tests=error --output-on-failure -j "$(nproc)" ${options[@]+"${options[@]}"}
