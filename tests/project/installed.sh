#!/bin/sh
# installed.sh BUILD_DIR SOURCE_DIR COMPILER: installs Limber to a prefix of its own and builds, against what was
# installed, a program through CMake's package, the same through pkg-config, and all examples; each runs.
set -eu
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >/dev/null
if find "$work/prefix" -path '*detail*' | grep -q .; then
  echo "private headers were installed"
  exit 1
fi

cmake -S "$source/tests/project/consumer" -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" >/dev/null
cmake --build "$work/consumer" >/dev/null
"$work/consumer/consumer"

pc=$(dirname "$(find "$work/prefix" -name limber.pc)")
flags=$(PKG_CONFIG_PATH="$pc" pkg-config --cflags --libs limber)
"$compiler" -std=c++17 "$source/tests/project/consumer/main.cpp" -o "$work/by-pkg-config" $flags -Wl,-rpath,"$(dirname "$pc")"
"$work/by-pkg-config"

cmake -S "$source/examples" -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  >/dev/null
cmake --build "$work/examples" >/dev/null
echo "the installed package serves a program, pkg-config and the examples"
