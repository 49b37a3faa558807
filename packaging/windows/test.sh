#!/usr/bin/env bash
# packaging/windows/test.sh: builds the archive and the installer, and tries both under Wine as users do; of the
# installers the one for x64, for a Wine of 64 bits runs no other.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
work=$root/build/packages-windows-test
# shellcheck source=../../tools/packages.sh
source "$root/tools/packages.sh"
install_missing "$root/build/install.log" wine wine64 xvfb unzip
rm -rf "$work"
mkdir -p "$work"
fail() { printf 'FAILED: %s\n' "$*"; exit 1; }

"$root/packaging/windows/build.sh" "$work/packages"
unzip -q "$work"/packages/*.zip -d "$work"
content=$(echo "$work"/tolvane-*-windows)
version=${content##*/tolvane-} version=${version%-windows}
for cpu in x64 x86; do
  for file in TolvaneForAccess.exe tolvane.exe TolvaneForAccess.html; do
    [ -s "$content/$cpu/$file" ] || fail "the archive lacks $cpu/$file"
  done
  # The program tells its name, version and maker, asks for no rights, and has a picture.
  python3 - "$content/$cpu/TolvaneForAccess.exe" "$version" "$root/ui/TolvaneForAccess.ico" <<'PYTHON' || fail "resources of $cpu"
import sys
program, version, icon = open(sys.argv[1], 'rb').read(), sys.argv[2], open(sys.argv[3], 'rb').read()
for text in ('VS_VERSION_INFO', 'Tolvane for Access', version, 'LegalCopyright'):
    assert text.encode('utf-16le') in program, text
for text in (b'level="asInvoker"', b'PerMonitorV2'):
    assert text in program, text
assert icon[-256:] in program, 'icon'
PYTHON
done
for file in "Tolvane for Access" mingw-w64-common nlohmann-json3-dev; do
  [ -s "$content/licences/$file.txt" ] || fail "the archive lacks the licence of $file"
done

wine=$(command -v wine64 || command -v wine || echo /usr/lib/wine/wine64)
export WINEPREFIX=$work/wine WINEDEBUG=-all WINEDLLOVERRIDES='winemenubuilder.exe,mscoree,mshtml=d'
Xvfb -displayfd 3 -nolisten tcp 3>"$work/screen" 2>/dev/null &
server=$!
trap 'kill $server' EXIT
for _ in {1..100}; do [ -s "$work/screen" ] && break || sleep 0.1; done
DISPLAY=:$(cat "$work/screen")
export DISPLAY
class='HKCU\Software\Classes\TolvaneForAccess.Database'
uninstall='HKCU\Software\Microsoft\Windows\CurrentVersion\Uninstall\TolvaneForAccess'
has_key() { timeout 60 "$wine" reg query "$1" >/dev/null 2>&1; }
place=$WINEPREFIX/drive_c/Tools/Tolvane

timeout 300 "$wine" "$work"/packages/*-x64.exe /S /ASSOCIATE '/D=C:\Tools\Tolvane' || fail "the installer ends with $?"
for file in TolvaneForAccess.exe tolvane.exe TolvaneForAccess.html uninstall.exe "licences/Tolvane for Access.txt"; do
  [ -s "$place/$file" ] || fail "the installer left out $file"
done
cmp "$place/TolvaneForAccess.exe" "$content/x64/TolvaneForAccess.exe"
for key in "$class\\shell\\open\\command" "$uninstall"; do has_key "$key" || fail "no key $key"; done
timeout 60 "$wine" "$place/tolvane.exe" --version | grep -q "$version" || fail "the installed program does not run"
echo mine >"$place/mine.txt"

timeout 300 "$wine" "$place/uninstall.exe" /S '_?=C:\Tools\Tolvane' || fail "taking it away ends with $?"
[ "$(ls "$place")" = "mine.txt" ] || [ "$(ls "$place" | sort | tr '\n' ' ')" = "mine.txt uninstall.exe " ] ||
  fail "left behind: $(ls "$place")"
[ "$(cat "$place/mine.txt")" = mine ] || fail "a file of the user is gone"
for key in "$class" "$uninstall"; do ! has_key "$key" || fail "left behind: $key"; done

timeout 300 "$wine" "$work"/packages/*-x64.exe /S '/D=C:\Tools\Plain' || fail "the second installation ends with $?"
! has_key "$class" || fail "databases are associated though nobody asked for it"
/usr/lib/wine/wineserver -k 2>/dev/null || wineserver -k 2>/dev/null || true
echo passed
