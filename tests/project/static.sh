#!/bin/sh
# static.sh SOURCE_DIR COMPILER: a static Limber, installed to absolute directories outside its prefix, serves programs
# through CMake's package and through pkg-config.
set -eu
source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "$source/tests/project/consumers.sh"

cmake -S "$source" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DBUILD_SHARED_LIBS=OFF -DLIMBER_TESTS=OFF \
  -DLIMBER_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 -DCMAKE_INSTALL_PREFIX="$work/prefix" \
  -DCMAKE_INSTALL_LIBDIR="$work/libraries" -DCMAKE_INSTALL_INCLUDEDIR="$work/headers" >/dev/null
cmake --build "$work/build" >/dev/null
cmake --install "$work/build" >/dev/null
rm -r "$work/build"
if find "$work" -name '*.so*' | grep .; then
  echo "these are shared"
  exit 1
fi
use_package "$work/prefix" -Dlimber_DIR="$work/libraries/cmake/limber"
use_pkg_config "$work/libraries"
if ldd "$work/by-pkg-config/consumer" | grep limber; then
  echo "the program is not linked statically"
  exit 1
fi
