# Sourced by scripts/lab: what a lab has of each switch, in a folder of its own where it has several: the
# service with its fabric, and what answers for it.

# place_of SWITCH: where its files are below the lab's directory; the lab itself where it is the only one.
place_of() { [ -z "$1" ] || printf '%s/' "$1"; }

# address_of SWITCH: where its agent listens, or that of the lab: each on an address of its own.
address_of() {
  [ -z "$1" ] && printf 127.0.0.1 || printf '127.0.1.%s' "${1#switch-}"
}

# fill_in HOST SWITCH TEMPLATE...: prints templates of lab/ for an agent on HOST, and a switch.
fill_in() {
  local host=$1 switch=$2 text template remote
  shift 2
  remote=$(address_of "$switch")
  for template in "$@"; do
    text=$(cat "$root/lab/$template.conf")
    text=${text//@HOST@/"$host"}
    text=${text//@FROM@/"${switch:+ -n $switch}"}
    text=${text//@SWITCH@/"$switch"}
    text=${text//@PLACE@/"$dir${switch:+/$switch}"}
    text=${text//@DIR@/"$dir"}
    text=${text//@REMOTE@/"$remote:$snmp_port"}
    text=${text//@SNMP_PORT@/"$snmp_port"}
    printf '%s\n' "${text//@TRAP_PORT@/"$trap_port"}"
  done
}

write_wrapper() {
  local place=$1
  {
    printf '#!/usr/bin/env bash\n'
    printf 'FCS_SOCKET=%q FCS_STORE=%q FCS_HISTORY=%q \\\n' "$dir/${place}fcsd.sock" "$dir/${place}fabric.db" "$dir/${place}history"
    printf '  exec %q "$@"\n' "$build_dir/tools/fcsctl"
  } >"${place}fcsctl"
  chmod +x "${place}fcsctl"
}

# fabric_of SWITCH: prints the file with the fabric that it begins with. The first has that of the lab.
fabric_of() {
  local file
  case $1 in
  '' | switch-1) printf '%s' "$fabric" ;;
  *)
    file=$1/fabric.json
    [ -e "$file" ] || "$build_dir/tools/fcsctl" generate --seed "${1#switch-}" --vsans 3 --output "$file" >&2
    printf '%s' "$file"
    ;;
  esac
}

start_service() {
  local place
  place=$(place_of "$1")
  write_wrapper "$place"
  pid_of "${place}fcsd" >/dev/null && return
  [ -e "${place}fabric.db" ] || new_store=${place}fabric.db
  start "${place}fcsd" "${place}fcsd.out" "$build_dir/service/fcsd" --socket "$dir/${place}fcsd.sock" \
    --store "$dir/${place}fabric.db" --fabric "$(fabric_of "$1")"
  wait_for "${place}fcsd" 600 "${place}fcsd.out" "the FCS service does not answer" "./${place}fcsctl" status
  new_store=
}

# module_answers HOST COMMUNITY: whether the module answers. One that could not be loaded has no value.
module_answers() {
  [[ "$(manager snmpget -v2c -c "$2" -r 0 -t 0.5 -Oqv "$1:$snmp_port" "$module_root.1.1.10.0")" =~ ^[0-9]+$ ]]
}

# start_snmpd PLACE SECONDS COMMAND...: starts the agent whose configuration stands there, and waits for the command.
start_snmpd() {
  local output=/dev/null place=$1 seconds=$2
  shift 2
  mkdir -p "${place}agent"
  if [ -n "${settings[console]}" ]; then
    output=${place}snmpd.out
    say "--console: each varbind that is read adds some 30 to 60 octets to $dir/$output, and nothing bounds it"
  else
    rm -f "${place}snmpd.out" # Of another time.
  fi
  # Built with SMUX, the agent of root would listen for its peers on TCP port 199 of every address.
  # The second directory of the configuration holds what the agent keeps across restarts.
  LD_PRELOAD=$(sanitizer_of_module) ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=0} MIBS='' \
    SNMPDLMODPATH=$build_dir/platform/linux SNMP_PERSISTENT_DIR=$dir/${place}agent SNMPCONFPATH=$dir/$place:$dir/${place}agent \
    start "${place}snmpd" "$output" snmpd -f -I -smux -A -LF i "${place}snmpd.log"
  wait_for "${place}snmpd" "$seconds" "${place}snmpd.log" "the agent does not answer for the module on port $snmp_port" "$@"
}

# fcs_lines SWITCH: prints what the module of a switch goes by, and what fcs.local.conf adds for all of them.
fcs_lines() {
  fill_in 127.0.0.1 "$1" fcs
  [ ! -f fcs.local.conf ] || cat fcs.local.conf
}

# start_subagent SWITCH: starts what answers for a switch behind the lab's agent.
start_subagent() {
  local place console=()
  place=$(place_of "$1")
  pid_of "${place}fcs-agentx" >/dev/null && return
  [ -z "${settings[console]}" ] || console=(--console)
  fcs_lines "$1" >"${place}fcs-agentx.conf"
  start "${place}fcs-agentx" "${place}fcs-agentx.log" "$build_dir/platform/linux/agentx/fcs-agentx" \
    --master "unix:$dir/agentx" --context "$1" --user admin --context "$1-operations=operator" \
    --config "$dir/${place}fcs-agentx.conf" --state "$dir/${place}agent" "${console[@]}"
}

# start_switch_agent SWITCH: starts the agent of a switch, to which that of the lab forwards.
start_switch_agent() {
  local place host
  place=$(place_of "$1")
  host=$(address_of "$1")
  pid_of "${place}snmpd" >/dev/null && return
  { fill_in "$host" "$1" snmpd inform plugin && fcs_lines "$1"; } >"${place}snmpd.conf"
  start_snmpd "$place" 30 module_answers "$host" public
}
