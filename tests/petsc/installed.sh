#!/bin/sh
# installed.sh BUILD_DIR SOURCE_DIR COMPILER MPIEXEC: installs Limber to a temporary prefix; a program builds and runs on two
# processes against its distributed component, found by CMake and by pkg-config.
set -eu
build=$1 source=$2 compiler=$3 mpiexec=$4
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -S "$source/tests/petsc/consumer" -B "$work/consumer" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" \
  -DCMAKE_PREFIX_PATH="$work/prefix" >"$work/log" 2>&1 && cmake --build "$work/consumer" >>"$work/log" 2>&1 || {
  cat "$work/log"
  exit 1
}
pc=$(find "$work/prefix" -name limber-petsc.pc)
export PKG_CONFIG_PATH="$(dirname "$pc")"
pkg-config --validate limber-petsc
"$compiler" -std=c++17 "$source/tests/petsc/consumer/main.cpp" -o "$work/by_pkg_config" $(pkg-config --cflags --libs limber-petsc) \
  -Wl,-rpath,"$(dirname "$PKG_CONFIG_PATH")"
for program in "$work/consumer/consumer" "$work/by_pkg_config"; do
  "$mpiexec" --allow-run-as-root --oversubscribe -n 2 "$program"
done
