#!/usr/bin/env bash
# bench/run.sh [MEGABYTES]: builds the release programs, makes a database of that size (default 1000) under
# build/bench unless it is there already, and measures a repair of it. Needs about four times the size on disk.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
megabytes=${1:-1000}
# shellcheck source=../tools/packages.sh
source "$root/tools/packages.sh"

install_missing "$root/build/install.log" cmake ninja-build g++ libcli11-dev nlohmann-json3-dev python3 mdbtools
quietly "$root/build/configure.log" cmake -S "$root" --preset release -DTOLVANE_BENCH=ON
quietly "$root/build/build.log" ninja -C "$root/build/release" tolvane make_big
database=$root/build/bench/big-$megabytes.mdb
mkdir -p "$(dirname "$database")"
if [ ! -f "$database" ]; then
  "$root/build/release/bench/make_big" "$database.part" "$megabytes"
  mv "$database.part" "$database"
fi
exec python3 "$root/bench/bench.py" --tolvane "$root/build/release/tolvane" "$database"
