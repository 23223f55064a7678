#!/bin/sh
# subdirectory.sh SOURCE_DIR COMPILER: a project that adds Limber with add_subdirectory builds and runs, and gets
# neither Limber's tests nor its examples.
set -eu
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake -S "$1/tests/project/subdirectory" -B "$work" -G Ninja -DLIMBER_SOURCE="$1" -DCMAKE_CXX_COMPILER="$2" \
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 >/dev/null
cmake --build "$work" --target consumer >/dev/null
"$work/consumer"
if ninja -C "$work" -t targets all | grep -qE 'test_|examples'; then
  echo "tests or examples came along"
  exit 1
fi
