#!/bin/sh
# installed.sh BUILD_DIR SOURCE_DIR COMPILER: installs Limber to a temporary prefix and moves it; a program builds and runs
# against the moved tree through CMake's package and through pkg-config, and all examples build. Then the installation is
# undone.
set -eu
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "$source/tests/project/consumers.sh"

cmake --install "$build" --prefix "$work/first" >/dev/null
if find "$work/first" -path '*detail*' | grep -q .; then
  echo "private headers were installed"
  exit 1
fi
# The exact list except limber_petsc, which is not built everywhere, with one name for every library folder and build type.
(cd "$work/first" && find . -not -type d) | grep -v petsc | sed 's|^\./||; s|^lib/[a-z0-9_]*-linux-[a-z0-9]*/|lib/|
  s/Targets-[a-z]*\.cmake$/Targets-CONFIG.cmake/' | LC_ALL=C sort >"$work/files"
diff "$source/tests/project/installed_files.txt" "$work/files" || {
  echo "other files were installed than tests/project/installed_files.txt lists (< listed, > installed); correct one of the two"
  exit 1
}
mv "$work/first" "$work/prefix"

use_package "$work/prefix"
use_pkg_config "$(dirname "$(dirname "$(find "$work/prefix" -name limber.pc)")")"
for program in "$work"/prefix/bin/limber-*; do
  name=${program##*/}
  complain() { echo "$name: $1"; exit 1; }
  "$program" --help | grep -q . || complain "no help"
  "$program" --version | grep -qF "(Limber $(pkg-config --modversion limber))" || complain "no version"
  gunzip -c "$work/prefix/share/man/man1/$name.1.gz" | tr -d '\\' | grep -q "^.B $name" || complain "no man page"
  bash -c '. "$1" && complete -p "$2"' bash "$work/prefix/share/bash-completion/completions/$name" "$name" |
    grep -q -e "--help.* $name\$" || complain "no completion"
done
if cmake -S "$source/tests/project/wrong_component" -B "$work/wrong" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
  >"$work/log" 2>&1 || ! grep -q 'without its component "nonsense"' "$work/log"; then
  echo "a component that was not built is not refused by its name:"
  cat "$work/log"
  exit 1
fi
cmake -S "$source/examples" -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_COMPILER="$compiler" \
  >/dev/null
cmake --build "$work/examples" >/dev/null

cmake --install "$build" --prefix "$work/again" >/dev/null
cmake --build "$build" --target uninstall >/dev/null
if find "$work/again" -not -type d | grep . || find "$work/again" -name 'limber*' | grep .; then
  echo "uninstall did not remove these"
  exit 1
fi
echo "the installed package serves programs and the examples, and can be moved and removed"
