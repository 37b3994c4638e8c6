# Sourced by scripts/check: Debian's packages of another machine, unpacked for its compiler and its
# programs. The host's own packages, and what its package manager knows of them, are left alone.

# make_sysroot ARCH DIR: unpacks what scripts/packages lists for a sysroot, unless DIR has it already.
make_sysroot() {
  local arch=$1 dir=$2 packages state
  mapfile -t packages < <(packages_for sysroot)
  # The path is in it, for some programs name their libraries' place.
  state="$arch $dir ${packages[*]}"
  [ "$(cat "$dir/complete" 2>/dev/null)" = "$state" ] && return
  [[ "$dir" != *[[:space:]]* ]] || die "$dir: the place of a sysroot cannot have blanks in its path"
  rm -rf "$dir" "$dir.apt"
  mkdir -p "$dir" "$dir.apt"
  say "unpacking for $arch: ${packages[*]}"
  download_packages "$arch" "$dir.apt" "${packages[@]}"
  find "$dir.apt" -name '*.deb' -exec dpkg-deb -x {} "$dir" \;
  make_links_relative "$dir"
  [ "$arch" != i386 ] || make_snmpd_runnable "$dir"
  rm -rf "$dir.apt"
  printf '%s\n' "$state" >"$dir/complete"
}

# download_packages ARCH DIR PACKAGE...: the packages and all that they depend on, from the host's
# package sources, with lists and a state of their own in DIR, where nothing is installed.
download_packages() {
  local arch=$1 dir=$2
  shift 2
  mkdir -p "$dir/lists/partial" "$dir/cache/archives/partial"
  : >"$dir/status"
  cat >"$dir/apt.conf" <<TEXT
APT::Architecture "$arch";
#clear APT::Architectures;
APT::Architectures { "$arch"; };
APT::Sandbox::User "";
Dir::State "$dir";
Dir::State::status "$dir/status";
Dir::Cache "$dir/cache";
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
TEXT
  apt-get -qq -c "$dir/apt.conf" update >&2 ||
    say "note: some of $arch's package lists cannot be read (see above); the others have to do"
  apt-get -qq -c "$dir/apt.conf" install -y --no-install-recommends --download-only "$@" >&2 ||
    die "the package sources of this machine do not give all $arch packages (see above)"
}

make_links_relative() {
  local link
  find "$1" -lname '/*' | while read -r link; do
    ln -sfn "$(realpath -sm --relative-to="${link%/*}" "$1$(readlink "$link")")" "$link"
  done
}

# i386's agent in DIR/agent, where the host runs it with the sysroot's loader and libraries.
make_snmpd_runnable() {
  mkdir "$1/agent"
  patchelf --set-interpreter "$1/lib/ld-linux.so.2" --force-rpath \
    --set-rpath "$1/lib/i386-linux-gnu:$1/usr/lib/i386-linux-gnu" \
    --output "$1/agent/snmpd" "$1/usr/sbin/snmpd"
}
