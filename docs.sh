#!/usr/bin/env bash
# Writes pages of the public headers, the README and docs/ to build/docs/html. Fails where public
# declarations have no comment of their own or above them, or a comment can't be understood.
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")" >/dev/null
. cmake/packages.sh
require_packages doxygen

rm -rf build/docs
mkdir -p build
doxygen docs/Doxyfile
echo "$PWD/build/docs/html/index.html"
