#!/usr/bin/env bash
# Checks an installed package as its users meet it: elsewhere than it was built, and without the
# sources.
#   tests/consumer/check.sh PREFIX
set -euo pipefail
if [ $# -ne 1 ] || [ ! -d "$1" ]; then
  echo "usage: $0 PREFIX, the folder that 'cmake --install' wrote to" >&2
  exit 2
fi
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" >/dev/null && pwd)
sources=$(cd -- "$here/../.." >/dev/null && pwd)
package=$(realpath "$1")
. "$sources/cmake/packages.sh"
require_packages g++ binutils cmake ninja-build pkg-config

fail() {
  echo "consumer: $*" >&2
  exit 1
}

place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cp -a "$package" "$place/package"
cp "$here/CMakeLists.txt" "$here/main.cpp" "$place"
cd "$place"
unset CPATH CPLUS_INCLUDE_PATH LIBRARY_PATH LD_LIBRARY_PATH CMAKE_PREFIX_PATH
lib=$(dirname "$(find "$place/package" -name libtransformationtree.so)")
export PKG_CONFIG_PATH=$lib/pkgconfig
version=$(pkg-config --modversion transformationtree)

for folder in "$sources" "$package"; do
  if grep -rlF "$folder/" package; then fail "the files above name the folder $folder"; fi
done
if find package -path '*/internal/*' | grep .; then fail "the headers above are no interface"; fi

for name in platform transformationtree; do
  soname=lib$name.so.${version%.*}
  objdump -p "$lib/$soname" | grep -q "SONAME *$soname\$" || fail "$soname has another SONAME"
  for link in "$soname" "lib$name.so"; do
    [ "$(readlink -f "$lib/$link")" = "$lib/lib$name.so.$version" ] \
      || fail "$link does not lead to lib$name.so.$version"
  done
done

quietly cmake -S . -B build -G Ninja -DCMAKE_PREFIX_PATH="$place/package"
quietly cmake --build build
build/consumer || fail "the program that CMake built failed"

flags=$(pkg-config --cflags transformationtree)
# shellcheck disable=SC2086,SC2046 # options are words
c++ main.cpp -o consumer $flags $(pkg-config --libs transformationtree) -Wl,-rpath,"$lib"
./consumer || fail "the program built with pkg-config failed"
# shellcheck disable=SC2086
find package/include -name '*.h' -print0 \
  | xargs -0 -n 1 -P "$(nproc)" c++ -fsyntax-only -x c++ /dev/null -Wall -Wextra -Wpedantic -Werror \
    $flags -include || fail "not every header compiles on its own"

# What is exported is declared in an installed header. Excepted are the locks' steps, which tests
# take one by one, and what the compiler exports of standard templates: tables and the pool for
# atomic waits, one of each in a process, and those made of exported types.
for name in platform transformationtree; do
  nm -DC --defined-only "$lib/lib$name.so" | sed -E 's/^[0-9a-f]+ //' | grep -vE '^[VWu] std::' \
    | sed -E 's/^. (((non-)?virtual thunk|vtable|VTT|typeinfo( name)?|guard variable) (for|to) )?//' \
    | sed -E 's/^([A-Za-z0-9_]+).*/\1/' | sort -u | while read -r symbol; do
    [[ $symbol =~ ^CyLock(Engine|Queue|Thread)$ ]] \
      || grep -rqE "^ *(class|struct) [^;]*\b$symbol\b[^;]*\$|\b$symbol\(" package/include \
      || fail "lib$name.so exports $symbol, which no installed header declares"
  done
done
