#!/usr/bin/env bash
# packaging/test.sh: builds the packages twice, and looks at them as those do who install them.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
work=$root/build/packages-test
rm -rf "$work"
mkdir -p "$work"
fail() { printf 'FAILED: %s\n' "$*"; exit 1; }

"$root/packaging/build.sh" "$work/a"
"$root/packaging/build.sh" "$work/b" >/dev/null
diff -r "$work/a" "$work/b" || fail "two builds of the packages differ"
lintian --allow-root --fail-on error "$work"/a/*.deb || fail lintian

dpkg -x "$work"/a/*.deb "$work/system"
tar -xzf "$work"/a/*.tar.gz -C "$work"
portable=$(echo "$work"/tolvane-*/bin/tolvane)
installed=$work/system/usr/bin/tolvane
if ldd "$portable" >/dev/null 2>&1; then fail "the portable program needs libraries"; fi
cmp <("$installed" --version) <("$portable" --version)

share=$work/system/usr/share
pages=("$share"/man/man1/*.1.gz)
for command in $("$installed" man | sed -n 's/^\.BR tolvane\\-\([a-z]*\) .*/\1/p'); do
  [ -f "$share/man/man1/tolvane-$command.1.gz" ] || fail "no manual page of $command"
done
for page in "${pages[@]}"; do
  zcat "$page" | mandoc -T lint -W warning || fail "$page"
  man -l "$page" >/dev/null
done
[ "${#pages[@]}" -gt 8 ] || fail "manual pages are missing"
bash -n "$share/bash-completion/completions/tolvane"
zsh -n "$share/zsh/vendor-completions/_tolvane"
fish -n "$share/fish/vendor_completions.d/tolvane.fish"

# The portable program passes the tests of the built one.
for test in program durability; do
  python3 "$root/tests/cli/test_$test.py" "$portable" "$root/samples/damaged.mdb"
done
python3 "$root/tests/cli/test_program.py" "$installed" "$root/samples/damaged.mdb"
