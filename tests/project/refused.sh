#!/bin/sh
# refused.sh COMPILER SOURCE_DIR: wrong programs do not compile, and each is refused because of its one wrong line. A 32-bit
# build is refused by name, where the compiler can make one.
set -eu
compiler=$1 source=$2
status=0
try() { printf '#include "limber/limber.h"\nint main() { %s }\n' "$1" | "$compiler" -std=c++17 -I"$source" -fsyntax-only -x c++ - 2>/dev/null; }
refuse() {
  try "$1" || { echo "does not compile though it should: $1"; status=1; }
  if try "$1 $2"; then echo "compiles though it should not: $2"; status=1; fi
}
refuse 'FullMatrix a(2, 2), b(2, 2); FullMatrix c = a * b; (void)c;' 'a * 2;'
refuse 'StringArray a;' 'StringArray b(a);'
refuse 'Vector v(3);' 'limber::strcasecmp("a", "b");'

if echo 'int main() {}' | "$compiler" -m32 -x c++ -c - -o /dev/null 2>/dev/null; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  cmake -S "$source" -B "$work/build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_C_FLAGS=-m32 -DCMAKE_CXX_FLAGS=-m32 \
    -DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY >"$work/log" 2>&1 && { echo "a 32-bit build is not refused"; status=1; }
  grep -q "32-bit machines are not supported" "$work/log" || { cat "$work/log"; status=1; }
fi
exit $status
