# Sourced by run.sh and test.sh: installs the Debian packages that they need and that are not there yet.
# Nothing is printed on standard output, which belongs to the program that is built.

say() { printf '%s\n' "$*" >&2; }

is_installed() { [ "$(dpkg-query -W -f='${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

# quietly LOG COMMAND...: the output goes to LOG, and to standard error when the command fails.
quietly() {
  local log=$1
  shift
  mkdir -p "$(dirname "$log")"
  if ! "$@" >"$log" 2>&1 </dev/null; then
    cat "$log" >&2
    say "failed: $*"
    return 1
  fi
}

apt() {
  local lead=()
  [ "$(id -u)" -eq 0 ] || lead=(sudo)
  "${lead[@]}" env DEBIAN_FRONTEND=noninteractive apt-get "$@"
}

# install_missing LOG PACKAGE...
install_missing() {
  local log=$1 package
  local missing=()
  shift
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    say "This is no Debian system; these packages (or their like) must be there: $*"
    return 0
  fi
  for package in "$@"; do is_installed "$package" || missing+=("$package"); done
  [ ${#missing[@]} -gt 0 ] || return 0
  say "Installing: ${missing[*]}"
  quietly "$log" apt -q update || return 1
  quietly "$log" apt -q -y --no-install-recommends install "${missing[@]}"
}
