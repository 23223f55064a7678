#!/bin/sh
# packaged.sh: if the Debian packages are installed, builds programs with them and runs the installed programs.
set -eu
source=$(cd "$(dirname "$0")/../.." && pwd) compiler=c++
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
. "$source/tests/project/consumers.sh"
use_package /usr
use_pkg_config "/usr/lib/$(dpkg-architecture -qDEB_HOST_MULTIARCH 2>/dev/null || gcc -print-multiarch)"
for program in limber-solve limber-skeleton limber-motion-edit limber-ai2png; do
  "$program" --help >"$work/help"
  [ -s "$work/help" ]
  "$program" --version | grep -qF "Limber $(pkg-config --modversion limber)"
  [ -e "/usr/share/bash-completion/completions/$program" ]
done
limber-solve --ls -p "$source/examples/data" -b survey_network_b.mtx.gz survey_network.mtx.gz
dpkg -s limber-doc >/dev/null
echo "the packages serve programs"
