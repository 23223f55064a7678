#!/bin/sh
# refused.sh COMPILER SOURCE_DIR: wrong programs do not compile, and each is refused because of its one wrong line.
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
exit $status
