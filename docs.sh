#!/usr/bin/env bash
# Writes pages of the public headers, the README and docs/ to build/docs/html. Fails where a public
# declaration has no comment, or a comment can't be understood.
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")" >/dev/null
. cmake/packages.sh
require_packages doxygen

rm -rf build/docs
mkdir -p build
doxygen docs/Doxyfile
echo "$PWD/build/docs/html/index.html"
