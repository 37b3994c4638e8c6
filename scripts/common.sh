# Sourced by the scripts: the repository's place, messages, and installing what is missing.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

say() { printf '%s\n' "$*" >&2; }

die() {
  say "${0##*/}: $*"
  exit 1
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    die "'$*' needs root: run this as root, or install sudo and be allowed to use it"
  fi
}

installed() { [ "$(dpkg-query -W -f '${db:Status-Status}' "$1" 2>/dev/null)" = installed ]; }

# packages_for PURPOSE...: prints the packages that scripts/packages lists for these purposes.
packages_for() {
  local package purposes why purpose
  while read -r package purposes why; do
    case "$package" in '#'* | '') continue ;; esac
    for purpose in "$@"; do
      case ",$purposes," in *",$purpose,"*) printf '%s\n' "$package"; break ;; esac
    done
  done <"$root/scripts/packages"
}

# install_missing PURPOSE...: installs the packages for these purposes; removes none for them.
install_missing() {
  local missing=() package
  command -v apt-get >/dev/null || die "this script installs Debian packages, and there is no apt-get; install what scripts/packages lists by other means"
  for package in $(packages_for "$@"); do
    installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  say "installing: ${missing[*]}"
  say_what_starts "${missing[@]}"
  as_root apt-get -qq update
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends --no-remove \
    "${missing[@]}" >&2
}

# say_what_starts PACKAGE...: two of Debian's packages start a service of their own, where there is systemd.
say_what_starts() {
  local package
  for package in "$@"; do
    case $package in
    snmpd) say "note: Debian's snmpd starts an SNMP agent of its own, on UDP port 161 of the loopback
  addresses; it is left alone. To be rid of it: sudo systemctl disable --now snmpd.service" ;;
    snmptrapd) say "note: Debian's snmptrapd opens UDP port 162 of every address.
  To close it: sudo systemctl disable --now snmptrapd.socket" ;;
    esac
  done
}

download_package() { apt-get -qq -o APT::Sandbox::User= download "$1"; }

# unpack_package PACKAGE DIR: unpacks a Debian package into a directory without installing it.
unpack_package() {
  rm -rf "$2"
  mkdir -p "$2"
  (cd "$2" && { download_package "$1" || { as_root apt-get -qq update && download_package "$1"; }; }) >&2 ||
    die "$1 cannot be downloaded (see above)"
  dpkg-deb -x "$2/$1"_*.deb "$2"
}

# cached DIR NAME: prints a path that a build directory was configured with.
cached() { sed -n "s/^$2:INTERNAL=//p" "$1/CMakeCache.txt" 2>/dev/null; }

# configured DIR: whether a build directory is ready to build this checkout, which may have been moved.
configured() {
  [ -f "$1/build.ninja" ] && [ "$(cached "$1" CMAKE_HOME_DIRECTORY)" -ef "$root" ] &&
    [ "$(cached "$1" CMAKE_CACHEFILE_DIR)" -ef "$1" ]
}

# need_own_files DIR: refuses a build directory with files of another user, root with sudo above all,
# that cannot be replaced. A lab in it has rules of its own.
need_own_files() {
  local file
  file=$(find "$1" -path "$1/lab" -prune -o ! -user "$(id -u)" ! -writable -print -quit)
  [ -z "$file" ] || die "$file belongs to $(stat -c %U "$file"); this makes the build yours:
  sudo chown -R $(id -un): $(printf %q "$1")"
}

# configure DIR OPTION...: configures a build directory, anew if it was another place's. One at a time.
configure() {
  local dir=$1
  shift
  mkdir -p "$dir"
  need_own_files "$dir"
  configured "$dir" || rm -rf "$dir/CMakeCache.txt" "$dir/CMakeFiles"
  flock -o "$dir" cmake -S "$root" -B "$dir" -G Ninja "$@" >&2 || die "cannot configure $dir (see above)"
}

# build DIR TARGET...: builds targets in a configured build directory. One at a time.
build() {
  local dir=$1
  shift
  need_own_files "$dir"
  flock -o "$dir" cmake --build "$dir" --target "$@" >&2 || die "cannot build in $dir (see above)"
}
