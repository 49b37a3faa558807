#!/usr/bin/env bash
# bench/run.sh [MEGABYTES]: builds the release programs, makes a database of that size (default 1000) under
# build/bench unless it is there already, and measures a repair of it. Needs about four times the size on disk.
# bench/run.sh rows [ROWS]: measures writing that many rows (default ten million) into 1, 3 and 10 indexes.
# bench/run.sh sizes: sets the sizes of our files beside those of real ones.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
# shellcheck source=../tools/packages.sh
source "$root/tools/packages.sh"

install_missing "$root/build/install.log" cmake ninja-build g++ libcli11-dev nlohmann-json3-dev python3 mdbtools
quietly "$root/build/configure.log" cmake -S "$root" --preset release -DTOLVANE_BENCH=ON
quietly "$root/build/build.log" ninja -C "$root/build/release" tolvane make_big write_rows
programs=$root/build/release
mkdir -p "$root/build/bench"
case ${1:-} in
  rows)
    exec python3 "$root/bench/rows.py" --write-rows "$programs/bench/write_rows" --tolvane "$programs/tolvane" \
      --rows "${2:-10000000}" --folder "$root/build/bench" ;;
  sizes)
    exec python3 "$root/bench/sizes.py" --tolvane "$programs/tolvane" ;;
esac
megabytes=${1:-1000}
database=$root/build/bench/big-$megabytes.mdb
if [ ! -f "$database" ]; then
  "$programs/bench/make_big" "$database.part" "$megabytes"
  mv "$database.part" "$database"
fi
exec python3 "$root/bench/bench.py" --tolvane "$programs/tolvane" "$database"
