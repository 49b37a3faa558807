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
[ $# -gt 0 ] || set -- fuzz_repair fuzz_template fuzz_check fuzz_page fuzz_definition fuzz_row fuzz_text \
  fuzz_properties fuzz_data_file fuzz_queries fuzz_words
build=$root/build/fuzz

install_missing "$root/build/install.log" cmake ninja-build clang libclang-rt-14-dev libcli11-dev nlohmann-json3-dev
quietly "$build/configure.log" cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DTOLVANE_FUZZ=ON -DTOLVANE_TESTS=OFF -DTOLVANE_UNITY=ON
quietly "$build/build.log" ninja -C "$build" make_seeds "$@"
mkdir -p "$build/finds" "$build/seeds"/{files,pairs,definitions,queries,words}
"$build/fuzz/make_seeds" "$build/seeds"
split -l 1 "$root/fuzz/queries.txt" "$build/seeds/queries/"
grep -o '[A-Z]\{2,\}' "$root/fuzz/queries.txt" | sort -u | sed 's/.*/" & "/' >"$build/queries.dict"
printf '"%s"\n' 'MR2\x00' 'KKD\x00' '\x80\x00' >"$build/properties.dict"
{
  grep -oh -- '"--\?[a-z][a-z-]*' "$root"/cli/*Arguments.cpp | tr -d '"'
  printf '%s\n' repair export check '\x0a' '0x0000 0x100 +'
} | sort -u | sed 's/.*/"&"/' >"$build/words.dict"

# Sets `input`: what a fuzzer starts from, how long an input may be, and words that mean something to its parser.
choose_input() {
  local seeds=$build/seeds
  case $1 in
    fuzz_repair | fuzz_check | fuzz_page) input=(-max_len=262144 "$seeds/files" ${SEEDS:+"$SEEDS"}) ;;
    fuzz_template) input=(-max_len=524288 "$seeds/pairs") ;;
    fuzz_definition) input=(-max_len=8192 "$seeds/definitions") ;;
    fuzz_properties) input=(-max_len=4096 -dict="$build/properties.dict") ;;
    fuzz_queries) input=(-max_len=2000 -dict="$build/queries.dict" "$seeds/queries") ;;
    fuzz_words) input=(-max_len=2000 -dict="$build/words.dict") ;;
    *) input=(-max_len=4096) ;;
  esac
}

# A fuzzer keeps its corpus in memory, some hundred megabytes with databases in SEEDS.
# The files of a run live in memory where there is a place for that.
TMPDIR=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo /tmp)" tolvane-fuzz-XXXXXX)
export TMPDIR ASAN_OPTIONS=quarantine_size_mb=32 # what is held back for the checks counts as used memory
trap 'rm -rf "$TMPDIR"' EXIT
status=0
for fuzzer in "$@"; do
  mkdir -p "$build/corpus/$fuzzer"
  choose_input "$fuzzer"
  "$build/fuzz/$fuzzer" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$build/finds/$fuzzer-" "$build/corpus/$fuzzer" "${input[@]}" || status=1
done
exit "$status"
