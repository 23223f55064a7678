#!/bin/sh
# readme_install.sh [BUILD_DIR]: does what the section "Install" of README.md says, block by block, in temporary folders:
# builds and installs Limber, compiles the program of the README by pkg-config, by CMake and with Limber as a part of its build,
# runs it and the installed programs, and undoes the installation. Without an argument the lines are executed unchanged, once
# for shared and once for static libraries, and install to /usr/local; that needs root. With one they install the existing build
# in BUILD_DIR to a prefix of their own, and what compiles Limber anew is left to the other tests.
set -eu
here=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
section() { awk '/^## / { on = ($0 == "## Install") } on' "$here/README.md"; }
# block LANGUAGE NUMBER: prints that block of code of the input.
block() { awk -v fence="\`\`\`$1" -v wanted="$2" '$0 == fence { on = ++n == wanted; next } /^```/ { on = 0 } on'; }
says() {
  [ "$2" = "$expected" ] || { printf '%s: the program prints\n%s\nand the README says\n%s\n' "$1" "$2" "$expected"; exit 1; }
}
quiet() { "$@" >"$work/log" 2>&1 || { tail -n 20 "$work/log"; exit 1; }; }

mkdir "$work/line" "$work/part"
block cpp 1 <"$here/README.md" >"$work/line/line.cpp"
expected=$(awk '/^```cpp$/ { program = 1 } /^```$/ && program { if (++n == 2) on = 1; if (n == 3) exit; next } on' "$here/README.md")
n=0
for name in install prefix compile cmake uninstall; do
  n=$((n + 1))
  section | block sh $n >"$work/$name"
  [ -s "$work/$name" ] || { echo "README.md: the section Install has no block of commands for: $name"; exit 1; }
done
section | block cmake 1 >"$work/line/CMakeLists.txt"
section | block cmake 2 | sed "s|/path/to/limber|$here|" >"$work/fetch"
grep -q "SOURCE_DIR $here)" "$work/fetch" && [ -n "$expected" ]
cp "$work/line/line.cpp" "$work/part"
sed "/find_package/ { r $work/fetch
  d }" "$work/line/CMakeLists.txt" >"$work/part/CMakeLists.txt"

# use_it: compiles and runs the program in both ways, and runs the installed programs, as a user would.
use_it() {
  rm -rf "$work/line/build"
  says pkg-config "$(cd "$work/line" && sh -eu "$work/compile")"
  cd "$work/line"
  says CMake "$(sh -eu "$work/cmake" | tail -n 2)"
  section | sed -n 's/^| `\(limber-[a-z0-9-]*\)` .*/\1/p' >"$work/programs"
  [ -s "$work/programs" ]
  while read -r program; do
    "$program" --help >"$work/help"
    [ -s "$work/help" ]
    "$program" --version | grep -q "Limber $(pkg-config --modversion limber)" || { echo "$program: no version"; exit 1; }
    folder=$(dirname "$(dirname "$(command -v "$program")")")
    [ -s "$folder/share/man/man1/$program.1.gz" ] && [ -s "$folder/share/bash-completion/completions/$program" ]
  done <"$work/programs"
}

cd "$here"
export HOME="$work"
if [ $# -eq 1 ]; then
  libraries=$(sed -n 's/^CMAKE_INSTALL_LIBDIR:[A-Z]*=//p' "$1/CMakeCache.txt")
  sed -i "s|build/install|$1|" "$work/prefix" "$work/uninstall"
  sed -i "s|limber/lib\\b|limber/$libraries|g" "$work/prefix"
else
  for kind in OFF ON; do
    case $kind in
      OFF) sed "s|build/install|build/static|; 1s|\$| -DBUILD_SHARED_LIBS=OFF|" "$work/install" >"$work/install-now" ;;
      ON) cp "$work/install" "$work/install-now" ;;
    esac
    quiet sh -eux "$work/install-now"
    use_it
    cd "$here"
    sed "s|build/install|$(sed -n 's/^cmake -S . -B \([^ ]*\).*/\1/p' "$work/install-now")|" "$work/uninstall" >"$work/uninstall-now"
    quiet sh -eux "$work/uninstall-now"
    if find /usr/local -name '*limber*' | grep .; then
      echo "uninstall did not remove these"
      exit 1
    fi
  done
  cd "$work/part"
  says "a part of the build" "$(sh -eu "$work/cmake" | tail -n 2)"
  cd "$here"
fi
quiet . "$work/prefix"
use_it
cd "$here"
quiet sh -eux "$work/uninstall"
if [ -e "$work/limber" ] && find "$work/limber" -mindepth 1 -name '*limber*' | grep .; then
  echo "uninstall did not remove these"
  exit 1
fi
echo "the README's lines install Limber, compile its program and remove Limber again"
