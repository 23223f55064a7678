#!/bin/sh
# inside.sh subdirectory|fetch SOURCE_DIR COMPILER: a project that builds Limber as a part of itself, from a copy of the
# sources, builds and runs. It gets neither Limber's tests nor its examples nor its installation, and keeps its own
# settings: without a build type, in C++20, static for the second.
set -eu
how=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "$source/tests/project/consumers.sh"
settings=
[ "$how" = subdirectory ] || settings=-DBUILD_SHARED_LIBS=OFF

mkdir "$work/copy"
(cd "$source" && tar -c CMakeLists.txt cmake limber limber_*) | tar -x -C "$work/copy"
build_consumer "$work/build" -DHOW="$how" -DLIMBER_SOURCE="$work/copy" -DCMAKE_CXX_STANDARD=20 -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS_DEBUG=-O0 $settings
run_consumers "$work/build"
if ninja -C "$work/build" -t targets all | grep -E '^(test_|examples|uninstall)'; then
  echo "these came along"
  exit 1
fi
cmake --install "$work/build" --prefix "$work/prefix" >/dev/null
if [ "$(cd "$work/prefix" && find . -type f)" != "./bin/consumer" ]; then
  echo "the project installs more than its own program:"
  find "$work/prefix"
  exit 1
fi
