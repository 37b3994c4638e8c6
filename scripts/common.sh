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

# install_missing PURPOSE...: the packages that scripts/packages lists for these purposes.
install_missing() {
  local missing=() package purpose why
  command -v apt-get >/dev/null || die "this script installs Debian packages, and there is no apt-get; install what scripts/packages lists by other means"
  while read -r package purpose why; do
    case "$package" in '#'* | '') continue ;; esac
    case " $* " in *" $purpose "*) ;; *) continue ;; esac
    # npm may well be here without being Debian's.
    [ "$package" = npm ] && command -v npm >/dev/null && continue
    installed "$package" || missing+=("$package")
  done <"$root/scripts/packages"
  [ ${#missing[@]} -eq 0 ] && return
  say "installing: ${missing[*]}"
  as_root apt-get -qq update
  as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends \
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
