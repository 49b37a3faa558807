#!/usr/bin/env bash
# Builds and tests:
#
#   ./test.sh            the release build with all its tests, real files too, and the readers of damaged bytes under
#                        sanitizers; some minutes
#   ./test.sh --quick    the release build and its fast tests
#   ./test.sh --all      everything: also other compilers, all under sanitizers, Windows, checks of the sources, packages
#
# Installs the Debian packages that are missing (as root or through sudo). Every stage says how it ended and how
# long it took; a failed one does not stop the others. The last thing that runs is one ctest, in which each
# stage counts as a test of its own, so its closing line speaks for the whole run.
set -uo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd -P)
stages=$root/build/stages
jobs=$(nproc)
# shellcheck source=tools/packages.sh
source "$root/tools/packages.sh"

case $# in 0) scope=usual ;; 1) scope=${1#--} ;; *) scope= ;; esac
case "$scope" in
  usual | quick | all) ;;
  *) say "usage: ./test.sh [--quick | --all]"; exit 64 ;;
esac

# Where the pinned npm reader lives; the corpus tests look there too.
export TOLVANE_MDB_READER=$root/build/npm/node_modules/mdb-reader
export TOLVANE_CORPUS=${TOLVANE_CORPUS:-$root/../shared/corpus}
export TOLVANE_STAGES=$stages
export CTEST_OUTPUT_ON_FAILURE=1

# stage NAME COMMAND...: runs it with its output in a log file; the log's end is shown when it fails.
stage() {
  local name=$1 started=$SECONDS status=0
  shift
  printf '== %s\n' "$name"
  "$@" >"$stages/$name.log" 2>&1 </dev/null || status=$?
  printf '%s\n' "$status" >"$stages/$name.status"
  if [ "$status" -eq 0 ]; then
    printf '   %s passed in %d s\n' "$name" $((SECONDS - started))
  else
    { grep -m 12 -E 'error:|FAILED|Failed ' "$stages/$name.log"; echo ...; tail -n 30 "$stages/$name.log"; } | sed 's/^/   | /'
    printf '   %s FAILED in %d s (status %d, whole output in build/stages/%s.log)\n' \
      "$name" $((SECONDS - started)) "$status" "$name"
  fi
  return "$status"
}

# left NAME...: stages that only ./test.sh --all has.
left() {
  local name
  for name in "$@"; do : >"$stages/$name.left"; done
  printf '== left to ./test.sh --all: %s\n' "$*"
}

build() { cmake -S "$root" --preset "$1" "${@:2}" && ninja -C "$root/build/$1" -j "$jobs"; }

sources() {
  local folder
  for folder in format platform status query store model render engine dao writer embedded automation checker export app cli; do
    [ ! -d "$root/$folder" ] || find "$root/$folder" -name '*.cpp' ! -name '*_win.cpp'
  done | sort
}

check_format() {
  find "$root" -path "$root/build" -prune -o \( -name '*.cpp' -o -name '*.h' \) -print0 |
    xargs -0 clang-format --dry-run -Werror
}

# The analyser gives a function up after a ninth of the steps that it would take by itself: a third of the time, and
# what it has to say it says early.
check_tidy() {
  local files argument arguments=()
  for argument in -Xclang -analyzer-config -Xclang max-nodes=25000; do arguments+=("-extra-arg=$argument"); done
  mapfile -t files < <(sources)
  (cd "$root" && run-clang-tidy -quiet -j "$jobs" "${arguments[@]}" -p build/clang "${files[@]}")
}

# The fast tests of a build that is not optimised: what inlining hides shows there.
test_build() { ctest --test-dir "$root/build/$1" -j "$jobs" -LE slow --no-tests=error; }

# The debug build's objects hold what the linker needs to compare the types of all files: two of one name are an
# error.
check_odr() { ninja -C "$root/build/debug" tolvane_odr; }

# What meets damaged bytes first; built in a third of the time that all of it takes.
readers=(format query store engine)

build_readers() {
  cmake -S "$root" --preset sanitizers && ninja -C "$root/build/sanitizers" -j "$jobs" "${readers[@]/%/_tests}"
}

# test_sanitizers BUILD [FOLDER...]: the fast tests of these folders, or all.
test_sanitizers() {
  local only=()
  [ $# -eq 1 ] || only=(-R "^($(IFS='|'; printf '%s' "${*:2}"))\.")
  ASAN_OPTIONS=halt_on_error=1:detect_leaks=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    ctest --test-dir "$root/build/$1" -j "$jobs" -LE slow --no-tests=error "${only[@]}"
}

# What several threads do, under the sanitizer that sees them meet.
threaded=(status engine embedded app)

build_threads() {
  cmake -S "$root" --preset threads && ninja -C "$root/build/threads" -j "$jobs" "${threaded[@]/%/_tests}"
}

test_threads() {
  TSAN_OPTIONS=halt_on_error=1 ctest --test-dir "$root/build/threads" -j "$jobs" -LE slow --no-tests=error \
    -R '^(status\.|app\.(Workflow|RecordStore)|engine\.(Threads|Progress|.*Repair)|embedded\..*AnyNumberOfThreads)'
}

# Each test program once as a whole: starting one a test costs a second each. Some open windows, on a screen
# that nobody sees.
test_under_wine() {
  local program failed=0 ran=0 screen=$stages/screen
  rm -f "$screen"
  Xvfb -displayfd 3 -nolisten tcp 3>"$screen" &
  local server=$!
  for _ in {1..100}; do [ -s "$screen" ] && break || sleep 0.1; done
  local -x DISPLAY WINEPREFIX=$root/build/wine WINEDEBUG=-all
  DISPLAY=:$(cat "$screen")
  mkdir -p "$WINEPREFIX"
  while IFS= read -r program; do
    printf -- '-- %s\n' "${program##*/}"
    (cd "$(dirname "$program")" && timeout 600 "$wine" "$program" --gtest_brief=1) || failed=$((failed + 1))
    ran=$((ran + 1))
  done < <(find "$root/build/windows-x64/tests" -name '*_tests.exe' | sort)
  kill "$server"
  printf '%d test programs, %d failed\n' "$ran" "$failed"
  [ "$ran" -gt 0 ] && [ "$failed" -eq 0 ]
}

# The window program worked from outside, whole stories; pictures of its pages are left in build/ui-stories.
test_windows() { python3 "$root/tests/ui/run_stories.py" --build "$root/build/ui-stories"; }

install_reader() {
  [ -d "$TOLVANE_MDB_READER" ] && grep -q '"version": "3.2.0"' "$TOLVANE_MDB_READER/package.json" ||
    npm install --prefix "$root/build/npm" --no-save --no-audit --no-fund --ignore-scripts mdb-reader@3.2.0
}

# What ./test.sh alone leaves out.
test_everything() {
  stage format check_format || failed=1
  stage debug build debug -DTOLVANE_ODR=ON || failed=1
  stage debug-tests test_build debug || failed=1
  stage odr check_odr || failed=1
  # One build shows both what clang warns of and what its sanitizers see; clang-tidy needs its commands.
  stage sanitizers build clang || failed=1
  stage sanitizer-tests test_sanitizers clang || failed=1
  stage tidy check_tidy || failed=1
  stage threads build_threads || failed=1
  stage thread-tests test_threads || failed=1
  stage windows-x64 build windows-x64 || failed=1
  stage windows-x86 build windows-x86 || failed=1
  stage wine-tests test_under_wine || failed=1
  # Most of the time the stories wait for windows: what else there is to do gives way to them.
  stage window-tests test_windows &
  local stories=$!
  stage packages nice -n 10 "$root/packaging/test.sh" || failed=1
  stage windows-packages nice -n 10 "$root/packaging/windows/test.sh" || failed=1
  wait "$stories" || failed=1
}

mkdir -p "$stages"
rm -f "$stages"/*.status "$stages"/*.left
packages=(cmake ninja-build g++ ccache libcli11-dev nlohmann-json3-dev libgtest-dev libgmock-dev googletest python3)
if [ "$scope" = all ]; then
  packages+=(clang clang-format clang-tidy libclang-rt-dev libbenchmark-dev g++-mingw-w64-x86-64-posix
    g++-mingw-w64-i686-posix nsis zip unzip wine wine64 xvfb imagemagick fonts-dejavu-core dpkg-dev lintian mandoc man-db zsh fish chromium tidy
    poppler-utils postgresql mariadb-server)
fi
if [ "$scope" != quick ]; then
  packages+=(mdbtools python3-jsonschema sqlite3)
  # A Node.js from elsewhere conflicts with Debian's packages: theirs only where there is none.
  command -v node >/dev/null || packages+=(nodejs)
  command -v npm >/dev/null || packages+=(npm)
fi
install_missing "$root/build/install.log" "${packages[@]}" || exit 1
wine=$(command -v wine64 || command -v wine || echo /usr/lib/wine/wine64)

stage release build release -DTOLVANE_TESTS=ON -DTOLVANE_BENCH="$([ "$scope" = all ] && echo ON || echo OFF)" || exit 1
if [ "$scope" = quick ]; then
  exec ctest --test-dir "$root/build/release" -j "$jobs" -LE slow --no-tests=error
fi

failed=0
stage npm-reader install_reader || failed=1
if [ "$scope" = usual ]; then
  stage sanitizers build_readers || failed=1
  stage sanitizer-tests test_sanitizers sanitizers "${readers[@]}" || failed=1
  left format debug debug-tests odr tidy threads thread-tests windows-x64 windows-x86 wine-tests \
    window-tests packages windows-packages
else
  test_everything
fi

printf '== tests of the release build\n'
ctest --test-dir "$root/build/release" -j "$jobs" --no-tests=error || failed=1
exit "$failed"
