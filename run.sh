#!/usr/bin/env bash
# Builds Tolvane when needed and runs it with the given arguments:
#
#   ./run.sh repair damaged.mdb          any command of the program; see ./run.sh --help
#   ./run.sh                             repairs the bundled damaged sample and shows what came back
#
# Works from any folder. Installs the few Debian packages that the build needs (as root or through sudo). Only
# the program itself writes to standard output.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd -P)
build=$root/build/release
# shellcheck source=tools/packages.sh
source "$root/tools/packages.sh"

install_missing "$root/build/install.log" cmake ninja-build g++ libcli11-dev nlohmann-json3-dev
# Only the first configuration leaves the tests out (they need more packages); one that ./test.sh made stays.
if [ ! -f "$build/build.ninja" ]; then
  quietly "$root/build/configure.log" cmake -S "$root" --preset release -DTOLVANE_TESTS=OFF
fi
[ -x "$build/tolvane" ] || say "Building (the first time takes a few minutes) ..."
quietly "$root/build/build.log" ninja -C "$build" tolvane

if [ $# -gt 0 ]; then
  exec "$build/tolvane" "$@"
fi

sample=$root/samples/damaged.mdb
repaired=$root/build/sample/repaired.mdb
mkdir -p "$(dirname "$repaired")"
printf 'Repairing the bundled sample, a database with destroyed pages:\n\n  tolvane repair samples/damaged.mdb -o build/sample/repaired.mdb\n\n'
status=0
"$build/tolvane" repair "$sample" -o "$repaired" --overwrite --quiet || status=$?
# 3 means done with losses, which is what a damaged file is about.
[ "$status" -eq 0 ] || [ "$status" -eq 3 ] || exit "$status"
printf '\nA look into the new database:\n\n  tolvane preview build/sample/repaired.mdb Customers --rows 5\n\n'
"$build/tolvane" preview "$repaired" Customers --rows 5 --quiet
