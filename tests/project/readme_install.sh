#!/bin/sh
# readme_install.sh [BUILD_DIR]: does what the section "Install" of README.md says, line by line, in a temporary folder:
# builds and installs Limber, compiles the program of the README by pkg-config and by CMake, and runs it. Without an argument
# the lines are executed unchanged and install to /usr/local. With one they install the existing build in BUILD_DIR to a
# temporary prefix.
set -eu
here=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
section() { awk '/^## / { on = ($0 == "## Install") } on' "$here/README.md"; }
# block LANGUAGE NUMBER: prints that block of code of the input.
block() { awk -v fence="\`\`\`$1" -v wanted="$2" '$0 == fence { on = ++n == wanted; next } /^```/ { on = 0 } on'; }

block cpp 1 <"$here/README.md" >"$work/line.cpp"
expected=$(awk '/^```cpp$/ { program = 1 } /^```$/ && program { if (++n == 2) on = 1; if (n == 3) exit; next } on' "$here/README.md")
section | block sh 1 >"$work/install"
section | block sh 2 >"$work/compile"
section | block cmake 1 >"$work/CMakeLists.txt"
[ -s "$work/install" ] && [ -s "$work/compile" ] && [ -s "$work/CMakeLists.txt" ] && [ -n "$expected" ]

if [ $# -eq 1 ]; then
  grep -q -- '--prefix /usr/local$' "$work/install"
  sed -n "s|build/install|$1|; s|/usr/local|$work/prefix|; /--install/p" "$work/install" >"$work/install-here"
  mv "$work/install-here" "$work/install"
  libraries=$work/prefix/$(sed -n 's/^CMAKE_INSTALL_LIBDIR:[A-Z]*=//p' "$1/CMakeCache.txt")
  export PKG_CONFIG_PATH="$libraries/pkgconfig" LD_LIBRARY_PATH="$libraries" CMAKE_PREFIX_PATH="$work/prefix"
fi
(cd "$here" && sh -eux "$work/install") >"$work/log" 2>&1 || { tail -n 20 "$work/log"; exit 1; }
cd "$work"
says() {
  [ "$2" = "$expected" ] || { printf '%s: the program prints\n%s\nand the README says\n%s\n' "$1" "$2" "$expected"; exit 1; }
}
says pkg-config "$(sh -eu compile)"
cmake -S . -B build >>log
cmake --build build >>log
says CMake "$(build/line)"
echo "the README's lines install Limber and compile its program"
