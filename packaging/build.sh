#!/usr/bin/env bash
# packaging/build.sh [FOLDER]: builds into FOLDER (default build/packages)
#
#   tolvane_VERSION_ARCH.deb               the package for Debian and what is made of it
#   tolvane-VERSION-linux-ARCH.tar.gz      the program without any library, to be unpacked anywhere
#
# Both hold the program, manual pages, completions and documents. The same sources give the same bytes.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)
folder=${1:-$root/build/packages}
build=$root/build/release
# shellcheck source=../tools/packages.sh
source "$root/tools/packages.sh"

install_missing "$root/build/install.log" cmake ninja-build g++ libcli11-dev nlohmann-json3-dev dpkg-dev
[ -f "$build/build.ninja" ] ||
  quietly "$root/build/configure.log" cmake -S "$root" --preset release -DTOLVANE_TESTS=OFF
quietly "$root/build/build.log" ninja -C "$build" tolvane tolvane_static

umask 022
version=$("$build/tolvane" --version | sed -n '1s/tolvane //p')
arch=$(dpkg --print-architecture)
SOURCE_DATE_EPOCH=$(git -C "$root" log -1 --format=%ct 2>/dev/null || stat -c %Y "$root/CMakeLists.txt")
export SOURCE_DATE_EPOCH
maintainer='Tolvane maintainers <maintainers@tolvane.invalid>'
mkdir -p "$folder"
stage=$(mktemp -d "$folder/stage-XXXXXX")
trap 'rm -rf "$stage"' EXIT
deb=$stage/deb
doc=$deb/usr/share/doc/tolvane

# --- the Debian package ---
DESTDIR=$deb quietly "$root/build/package.log" cmake --install "$build" --prefix /usr --strip
mkdir -p "$deb/usr/share/zsh/vendor-completions" "$deb/DEBIAN"
mv "$deb/usr/share/zsh/site-functions/_tolvane" "$deb/usr/share/zsh/vendor-completions/_tolvane"
rmdir "$deb/usr/share/zsh/site-functions"
gzip -9n "$deb"/usr/share/man/man1/*.1
cp "$root/packaging/copyright" "$doc/copyright"
{
  printf 'tolvane (%s) unstable; urgency=medium\n\n  * This version.\n\n' "$version"
  printf ' -- %s  %s\n' "$maintainer" "$(date -u -R -d "@$SOURCE_DATE_EPOCH")"
} | gzip -9n >"$doc/changelog.gz"

# dpkg-shlibdeps wants to stand in a source package.
mkdir -p "$stage/source/debian"
printf 'Source: tolvane\n\nPackage: tolvane\nArchitecture: any\n' >"$stage/source/debian/control"
depends=$(cd "$stage/source" && dpkg-shlibdeps -O -e"$deb/usr/bin/tolvane" 2>"$root/build/package.log" |
  sed -n 's/^shlibs:Depends=//p')
cat >"$deb/DEBIAN/control" <<CONTROL
Package: tolvane
Version: $version
Architecture: $arch
Maintainer: $maintainer
Installed-Size: $(du -sk --apparent-size "$deb/usr" | cut -f1)
Depends: $depends
Recommends: libsqlite3-0
Section: database
Priority: optional
Description: repairs damaged Microsoft Access databases
 Tolvane reads a damaged .mdb or .accdb file page by page, without any database
 engine, rebuilds tables, columns, indexes, relationships, queries and rows as
 far as the pages still hold them, and writes a new database. It also shows,
 exports and checks what a file holds. The damaged file is only read.
CONTROL
(cd "$deb" && find usr -type f -printf '%P\n' | LC_ALL=C sort | sed 's,^,usr/,' | xargs -d '\n' md5sum >DEBIAN/md5sums)
find "$deb" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
quietly "$root/build/package.log" dpkg-deb --root-owner-group --build "$deb" "$folder/tolvane_${version}_$arch.deb"

# --- the portable archive ---
name=tolvane-$version-linux-$(uname -m)
quietly "$root/build/package.log" cmake --install "$build" --prefix "$stage/$name"
strip -o "$stage/$name/bin/tolvane" "$build/static/tolvane"
tar -C "$stage" --sort=name --mtime="@$SOURCE_DATE_EPOCH" --owner=0 --group=0 --numeric-owner -c "$name" |
  gzip -9n >"$folder/$name.tar.gz"

printf '%s\n' "$folder/tolvane_${version}_$arch.deb" "$folder/$name.tar.gz"
