# Sourced by the scripts that build users' programs with Limber. Needs the variables source, compiler and work.
clip=$source/examples/data/walk.bvh

# run_consumers FOLDER: checks that the two programs of tests/project/consumer work.
run_consumers() {
  "$1/consumer"
  "$1/motion_consumer" "$clip"
}

# build_consumer FOLDER CMAKE-ARGUMENT...: builds tests/project/consumer in the folder.
build_consumer() {
  folder=$1
  shift
  cmake -S "$source/tests/project/consumer" -B "$folder" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" "$@" >"$work/log" 2>&1 &&
    cmake --build "$folder" --target consumer motion_consumer >>"$work/log" 2>&1 || { cat "$work/log"; return 1; }
}

# use_package PREFIX [CMAKE-ARGUMENT...]: checks that find_package finds the installed Limber, and that the programs run.
use_package() {
  prefix=$1
  shift
  rm -rf "$work/consumer"
  build_consumer "$work/consumer" -DCMAKE_PREFIX_PATH="$prefix" "$@"
  run_consumers "$work/consumer"
}

# use_pkg_config LIBDIR: the same with pkg-config.
use_pkg_config() {
  export PKG_CONFIG_PATH="$1/pkgconfig"
  for module in limber limber_motion; do pkg-config --validate "$module"; done
  mkdir -p "$work/by-pkg-config"
  "$compiler" -std=c++17 "$source/tests/project/consumer/main.cpp" -o "$work/by-pkg-config/consumer" \
    $(pkg-config --cflags --libs limber) $(pkg-config --variable=fixed_bits limber) -Wl,-rpath,"$1"
  "$compiler" -std=c++17 "$source/tests/project/consumer/motion.cpp" -o "$work/by-pkg-config/motion_consumer" \
    $(pkg-config --cflags --libs limber_motion) -Wl,-rpath,"$1"
  run_consumers "$work/by-pkg-config"
}
