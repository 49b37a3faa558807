#!/usr/bin/env bash
# bench/run.sh [MEGABYTES]: builds the release programs, makes a database of that size (default 1000) under
# build/bench unless it is there already, and measures a repair of it. Needs about four times the size on disk.
# bench/run.sh growth [MEGABYTES...]: the same of several sizes (default 50 500), of ten thousand tables and of 255
# columns, and what a megabyte of each costs.
# bench/run.sh hostile: repairs files that lie in the ways that cost most, of growing sizes.
# bench/run.sh rows [ROWS]: measures writing that many rows (default ten million) into 0, 1, 3 and 10 indexes.
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
  hostile)
    exec python3 "$root/bench/hostile.py" --tolvane "$programs/tolvane" --make-big "$programs/bench/make_big" ;;
  sizes)
    exec python3 "$root/bench/sizes.py" --tolvane "$programs/tolvane" ;;
esac
# make_database MEGABYTES [KIND]: prints its path.
make_database() {
  local database=$root/build/bench/big-$1${2:+-$2}.mdb
  if [ ! -f "$database" ]; then
    "$programs/bench/make_big" "$database.part" "$@" >&2
    mv "$database.part" "$database"
  fi
  printf '%s\n' "$database"
}
databases=()
if [ "${1:-}" = growth ]; then
  shift
  [ $# -gt 0 ] || set -- 50 500
  for megabytes in "$@"; do databases+=("$(make_database "$megabytes")"); done
  databases+=("$(make_database 120 tables)" "$(make_database 50 columns)")
else
  databases+=("$(make_database "${1:-1000}")")
fi
exec python3 "$root/bench/bench.py" --tolvane "$programs/tolvane" "${databases[@]}"
