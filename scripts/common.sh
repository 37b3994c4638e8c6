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
    # npm may well be here without being Debian's.
    [ "$package" = npm ] && command -v npm >/dev/null && continue
    installed "$package" || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  say "installing: ${missing[*]}"
  as_root apt-get -qq update
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends --no-remove \
    "${missing[@]}" >&2
  case " ${missing[*]} " in
  *" snmpd "*)
    if pgrep -x snmpd >/dev/null; then
      say "note: Debian's snmpd package has started an SNMP agent of its own; it is left alone"
    fi
    ;;
  esac
}

# configure DIR OPTION...: configures a build directory.
configure() {
  local dir=$1
  shift
  cmake -S "$root" -B "$dir" -G Ninja "$@" >&2 || die "cannot configure $dir (see above)"
}

# build DIR TARGET...: builds targets in a configured build directory.
build() {
  local dir=$1
  shift
  cmake --build "$dir" --target "$@" >&2 || die "cannot build in $dir (see above)"
}
