#!/usr/bin/env bash
# fuzz/run.sh SECONDS [FUZZER...]: builds the fuzzers with clang and runs each (or those that are named) for that long.
# What they learn stays in build/fuzz/corpus, finds go to build/fuzz/finds; a find ends the run with status 1. SEEDS
# may name a folder of further databases to start from.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
# shellcheck source=../tools/packages.sh
source "$root/tools/packages.sh"
seconds=${1:?"usage: fuzz/run.sh SECONDS [FUZZER...]"}
shift
[ $# -gt 0 ] || set -- fuzz_repair fuzz_check fuzz_queries
build=$root/build/fuzz

install_missing "$root/build/install.log" cmake ninja-build clang libclang-rt-14-dev libcli11-dev nlohmann-json3-dev
quietly "$build/configure.log" cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DTOLVANE_FUZZ=ON -DTOLVANE_TESTS=OFF
quietly "$build/build.log" ninja -C "$build" make_seeds "$@"
mkdir -p "$build/finds" "$build/seeds/pages" "$build/seeds/queries"
"$build/fuzz/make_seeds" "$build/seeds/pages"
split -l 1 "$root/fuzz/queries.txt" "$build/seeds/queries/"
grep -o '[A-Z]\{2,\}' "$root/fuzz/queries.txt" | sort -u | sed 's/.*/" & "/' >"$build/words.txt"

# The files of a run live in memory where there is a place for that.
TMPDIR=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo /tmp)" tolvane-fuzz-XXXXXX)
export TMPDIR ASAN_OPTIONS=quarantine_size_mb=32 # what is held back for the checks counts as used memory
trap 'rm -rf "$TMPDIR"' EXIT
status=0
for fuzzer in "$@"; do
  mkdir -p "$build/corpus/$fuzzer"
  input=(-max_len=262144 "$build/corpus/$fuzzer" "$build/seeds/pages" ${SEEDS:+"$SEEDS"})
  [ "$fuzzer" != fuzz_queries ] ||
    input=(-max_len=2000 -dict="$build/words.txt" "$build/corpus/$fuzzer" "$build/seeds/queries")
  "$build/fuzz/$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=512 -print_final_stats=1 \
    -artifact_prefix="$build/finds/$fuzzer-" "${input[@]}" || status=1
done
exit "$status"
