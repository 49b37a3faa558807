#!/usr/bin/env bash
# fuzz/coverage.sh [FUZZER...]: which lines of the folders that read foreign bytes the fuzzers reach with what they have
# learnt (build/fuzz/corpus, build/fuzz/seeds), as a table by folder and one by file in build/coverage/files.txt. MOST, if
# set, is the number of inputs of each fuzzer that are taken.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
# shellcheck source=../tools/packages.sh
source "$root/tools/packages.sh"
[ $# -gt 0 ] || set -- fuzz_repair fuzz_template fuzz_check fuzz_page fuzz_definition fuzz_row fuzz_text \
  fuzz_properties fuzz_data_file fuzz_queries fuzz_words
build=$root/build/coverage

install_missing "$root/build/install.log" cmake ninja-build clang llvm libclang-rt-14-dev libcli11-dev nlohmann-json3-dev
quietly "$build/configure.log" cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_CXX_FLAGS_DEBUG="-O1 -g1" -DTOLVANE_FUZZ=ON -DTOLVANE_COVERAGE=ON \
  -DTOLVANE_TESTS=OFF -DTOLVANE_UNITY=ON
quietly "$build/build.log" ninja -C "$build" "$@"

TMPDIR=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo /tmp)" tolvane-fuzz-XXXXXX)
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
profiles=()
objects=()
for fuzzer in "$@"; do
  inputs=()
  while IFS= read -r path; do inputs+=("$path"); done < <(
    find "$root/build/fuzz/corpus/$fuzzer" "$root/build/fuzz/seeds" -type f 2>/dev/null | head -n "${MOST:-1000000}")
  printf '%-16s %6d inputs\n' "$fuzzer" "${#inputs[@]}"
  # Named one by one, inputs are run as they are; a hundred a process.
  printf '%s\0' "${inputs[@]}" | LLVM_PROFILE_FILE="$build/$fuzzer-%4m.profraw" xargs -0 -n 100 \
    "$build/fuzz/$fuzzer" -runs=1 -timeout=60 -rss_limit_mb=1024 >"$build/$fuzzer.log" 2>&1
  profiles+=("$build/$fuzzer"-*.profraw)
  objects+=(-object "$build/fuzz/$fuzzer")
done
llvm-profdata merge -sparse "${profiles[@]}" -o "$build/all.profdata"
llvm-cov export -summary-only -instr-profile "$build/all.profdata" "${objects[@]}" >"$build/summary.json"
python3 - "$root" "$build" <<'END'
import collections, json, os, sys
root, build = sys.argv[1:]
FOLDERS = ('format', 'platform', 'query', 'store', 'render', 'engine', 'writer', 'embedded', 'checker')
total, reached, lines = collections.Counter(), collections.Counter(), []
for file in json.load(open(build + '/summary.json'))['data'][0]['files']:
    name, count = os.path.relpath(file['filename'], root), file['summary']['lines']
    folder = name.split('/')[0]
    if folder in FOLDERS:
        total[folder] += count['count']
        reached[folder] += count['covered']
        lines.append('%5.1f %%  %5d of %5d  %s' % (count['percent'], count['covered'], count['count'], name))
with open(build + '/files.txt', 'w') as out:
    out.write('\n'.join(sorted(lines, key=lambda line: float(line.split()[0]))) + '\n')
print('\n%-10s %7s %8s' % ('folder', 'lines', 'reached'))
for folder in FOLDERS:
    if total[folder]:
        print('%-10s %7d %6.1f %%' % (folder, total[folder], 100 * reached[folder] / total[folder]))
END
