# Sourced by scripts/lab: a lab's directory, which must be the caller's alone, and the lab's settings in it.

# The settings that a lab runs with: snmp-port, trap-port, console, build, agentx, proxy, and the fabric's checksum.
declare -A settings=()

# sudo_here: prints what the caller puts before a command that needs root.
sudo_here() { [ "$(id -u)" -eq 0 ] || printf 'sudo '; }

# as_user USER: prints how the caller would give this same command as another user.
as_user() {
  local words=(sudo)
  [ "$1" = root ] || words=(sudo -u "$1")
  [ "$(id -u)" -ne 0 ] || words=(runuser -u "$1" --)
  printf '%s' "${words[*]}"
  printf ' %q' "${command_line[@]}"
}

# command_for COMMAND: prints how to give another command for this lab.
command_for() {
  printf 'scripts/lab %s' "$1"
  [ "$dir" = "$root/build/lab" ] || printf ' --dir %q' "$dir"
}

make_directory() {
  [ -d "$dir" ] && return
  mkdir -p -- "$(dirname "$dir")" && { mkdir -m 700 -- "$dir" || [ -d "$dir" ]; } || die "--dir $dir: cannot be made (see above)"
}

check_path() {
  local most=90
  [ -z "${given[agentx]-}${given[proxy]-}" ] || most=85 # Each switch has a folder.
  [ ${#dir} -le $most ] || die "--dir $dir: the path is too long for the service's socket ($most characters)"
  [[ "$dir$root" != *[:[:cntrl:]]* ]] || die "the paths of checkout and lab cannot have colons or line ends: $dir"
}

# first_file TEST...: prints a file of the lab, by find's tests. Its parts make and remove files meanwhile.
first_file() { find . -ignore_readdir_race "$@" -print -quit; }

# enter_directory: makes the lab's directory the working one, if nobody else can have a hand in it.
enter_directory() {
  local planted
  [ -O "$dir" ] || die "--dir $dir belongs to $(stat -c %U "$dir"): name a directory of your own, or work there as its owner:
  $(as_user "$(stat -c %U "$dir")")"
  cd -- "$dir" && [ -O . ] || die "--dir $dir: cannot be entered"
  [ -z "$(ls -A)" ] || [ -f lab.lock ] || die "--dir $dir: holds files, but no lab; name a directory for the lab alone"
  [ -z "$(first_file -maxdepth 0 -perm /022)" ] ||
    die "--dir $dir: others may write there; this keeps them out: chmod go-w $(printf %q "$dir")"
  planted=$(first_file \( -type l -o -type f -links +1 \))
  [ -z "$planted" ] ||
    die "$dir/${planted#./} is a link, and the lab writes through none; this removes it: rm $(printf %q "$dir/${planted#./}")"
  # Not "! -user", which is also true of a file that has just gone.
  planted=$(first_file \( -uid "+$(id -u)" -o -uid "-$(id -u)" \))
  [ -z "$planted" ] ||
    die "$dir/${planted#./} belongs to $(stat -c %U "$planted"); this makes the lab yours: $(sudo_here)chown -R $(id -un): $(printf %q "$dir")"
  read_settings
}

# enter_lab: the same for a lab that must be there.
enter_lab() {
  [ -d "$dir" ] || die "there is no lab in $dir (scripts/lab up makes one)"
  enter_directory
  [ -f settings ] || die "there is no lab in $dir (scripts/lab up makes one)"
  refuse_parts_of_others
}

# lock_directory: waits until no other scripts/lab changes this lab. Descriptor 9 holds the lock.
lock_directory() {
  (umask 077 && : >>lab.lock)
  exec 9<lab.lock
  flock -n 9 && return
  say "another scripts/lab is at work in $dir: waiting for it"
  flock 9
  read_settings
}

read_settings() {
  local line
  if [ -f settings ]; then
    while IFS= read -r line; do settings[${line%%=*}]=${line#*=}; done <settings
  fi
  name_parts
}

write_settings() {
  local name
  (umask 077 && for name in "${!settings[@]}"; do printf '%s=%s\n' "$name" "${settings[$name]}"; done >settings)
}

# settle NAME DEFAULT: a setting is that of the lab that runs; else as given; else the default.
settle() {
  local name=$1 now=${settings[$1]-} other
  if ! any_part_runs; then
    settings[$name]=${given[$name]-$2}
  elif [ "${given[$name]-$now}" != "$now" ]; then
    other=${now:+with $now}
    die "--$name: the lab in $dir runs already, ${other:-without it}; end it first: $(command_for down)"
  fi
}

# settle_fabric: a fabric description counts for a lab without a fabric. Any other is refused.
settle_fabric() {
  local sum
  fabric=${given[fabric]-$root/lab/sample-fabric.json}
  [ -f "$fabric" ] && [ -r "$fabric" ] || die "--fabric $fabric: is no file that can be read"
  sum=$(sha256sum <"$fabric")
  sum=${sum%% *}
  if [ ! -e "${first}fabric.db" ]; then
    settings[fabric]=$sum
  elif [ -n "${given[fabric]-}" ] && [ "$sum" != "${settings[fabric]-}" ]; then
    die "--fabric $fabric: the lab in $dir has begun with another fabric; this replaces it:
  $(printf '%q ' "$dir/${first}fcsctl" import "$fabric")"
  fi
}

settle_settings() {
  settle snmp-port 1161
  settle trap-port 1162
  settle console ''
  settle build ''
  settle agentx ''
  settle proxy ''
  name_parts
  settle_fabric
  snmp_port=${settings[snmp-port]}
  trap_port=${settings[trap-port]}
}
