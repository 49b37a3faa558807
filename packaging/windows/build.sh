#!/usr/bin/env bash
# packaging/windows/build.sh [FOLDER]: builds into FOLDER (default build/packages)
#
#   tolvane-VERSION-windows.zip     the programs for x64 and x86, the guide and the licences; to be unpacked anywhere
#   tolvane-VERSION-windows-x64.exe, -x86.exe     installers of the same for one user, one for each kind of system
#
# The same programs give the same archive.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd -P)
folder=${1:-$root/build/packages}
# shellcheck source=../../tools/packages.sh
source "$root/tools/packages.sh"

install_missing "$root/build/install.log" cmake ninja-build python3 nsis zip g++-mingw-w64-x86-64-posix \
  g++-mingw-w64-i686-posix libcli11-dev nlohmann-json3-dev
for cpu in x64 x86; do
  build=$root/build/windows-$cpu
  [ -f "$build/build.ninja" ] || quietly "$root/build/configure.log" cmake -S "$root" --preset "windows-$cpu"
  quietly "$root/build/build.log" ninja -C "$build" TolvaneForAccess tolvane guide
done

umask 022
version=$(sed -n 's/^project(tolvane.* VERSION \([0-9.]*\).*/\1/ip' "$root/CMakeLists.txt")
[ -n "$version" ] || { say "no version in CMakeLists.txt"; exit 1; }
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct 2>/dev/null || stat -c %Y "$root/CMakeLists.txt")
export SOURCE_DATE_EPOCH TZ=UTC
mkdir -p "$folder"
stage=$(mktemp -d "$folder/stage-XXXXXX")
trap 'rm -rf "$stage"' EXIT
name=tolvane-$version-windows
content=$stage/$name

mkdir -p "$content/licences"
for cpu in x64 x86; do
  mkdir "$content/$cpu"
  strip=$([ "$cpu" = x64 ] && echo x86_64 || echo i686)-w64-mingw32-strip
  for program in ui/TolvaneForAccess.exe tolvane.exe; do
    "$strip" -o "$content/$cpu/${program##*/}" "$root/build/windows-$cpu/$program"
  done
done
cp "$root/build/windows-x64/ui/TolvaneForAccess.html" "$content/"
cp "$content/TolvaneForAccess.html" "$content/x64/"
cp "$content/TolvaneForAccess.html" "$content/x86/"
# The program's own terms, and those of what is linked into it.
cp "$root/packaging/copyright" "$content/licences/Tolvane for Access.txt"
for package in g++-mingw-w64-x86-64-posix mingw-w64-common libcli11-dev nlohmann-json3-dev; do
  cp -L "/usr/share/doc/$package/copyright" "$content/licences/$package.txt"
done

find "$content" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
rm -f "$folder/$name.zip"
(cd "$stage" && find "$name" -type f | LC_ALL=C sort | zip -q -X -9 -@ "$folder/$name.zip")
for cpu in x64 x86; do
  target=$([ "$cpu" = x64 ] && echo amd64 || echo x86)-unicode
  quietly "$root/build/package.log" makensis -V2 "-DTARGET=$target" "-DCPU=$cpu" "-DVERSION=$version" \
    "-DSOURCE=$content" "-DOUTPUT=$folder/$name-$cpu.exe" "-DICON=$root/ui/TolvaneForAccess.ico" \
    "$root/packaging/windows/installer.nsi"
done

printf '%s\n' "$folder/$name.zip" "$folder/$name-x64.exe" "$folder/$name-x86.exe"
