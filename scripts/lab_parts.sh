# Sourced by scripts/lab and scripts/lab_logs, in the lab's directory: the processes of a lab. NAME.pid
# has what is known of one: its process id, when it started, and its program.

# name_parts: sets parts, in the order in which they are stopped; switches to those that the lab has several of; and
# first to where the files of the first are.
name_parts() {
  local switch number=${settings[agentx]-}${settings[proxy]-} answering=snmpd
  switches=
  first=
  parts='lab_logs snmpd snmptrapd'
  if [ -z "$number" ]; then
    parts+=' fcsd'
    return
  fi
  [ -z "${settings[agentx]-}" ] || answering=fcs-agentx
  switches=$(seq -f 'switch-%.0f' -s ' ' "$number")
  first=switch-1/
  for switch in $switches; do parts+=" $switch/$answering $switch/fcsd"; done
}

# start_time PID: sets started to when a process began, in clock ticks since the machine did.
start_time() {
  local fields
  started=
  { read -r fields <"/proc/$1/stat"; } 2>/dev/null || return
  read -ra fields <<<"${fields##*) }" # The name of the program may hold blanks and brackets.
  started=${fields[19]}
}

# is_alive NAME: sets pid and program to what is written down of a process that has not ended.
is_alive() {
  local written started
  { read -r pid written program <"$1.pid"; } 2>/dev/null && start_time "$pid" && [ "$started" = "$written" ]
}

# pid_of NAME: prints the process id of a part that runs. Its program may have been built anew since.
pid_of() {
  local pid program running
  is_alive "$1" && running=$(readlink "/proc/$pid/exe") || return 1
  [ "${running% (deleted)}" = "$program" ] || return 1
  printf '%s' "$pid"
}

any_part_runs() {
  local name
  for name in $parts; do
    if pid_of "$name" >/dev/null; then return 0; fi
  done
  return 1
}

refuse_parts_of_others() {
  local name pid program foreign=() owner
  for name in $parts; do
    if is_alive "$name" && ! [ -O "/proc/$pid" ]; then
      owner=$(stat -c %U "/proc/$pid")
      foreign+=("$pid")
    fi
  done
  [ ${#foreign[@]} -eq 0 ] || die "the lab in $dir runs as $owner; this ends it: $(sudo_here)kill ${foreign[*]}"
}

# stop_on_failure: from here on, until keep_running, whatever ends the script stops what it has started.
stop_on_failure() {
  begun=()
  trap stop_begun EXIT
  trap 'interrupt 129' HUP
  trap 'interrupt 130' INT
  trap 'interrupt 143' TERM
}

keep_running() { trap - EXIT HUP INT TERM; }

stop_begun() {
  local name
  trap '' HUP INT TERM
  for name in $parts; do
    case " ${begun[*]} " in *" $name "*) stop "$name" ;; esac
  done
  [ -z "${new_store-}" ] || rm -f "$new_store"*
  [ ${#begun[@]} -eq 0 ] || say "scripts/lab: stopped what it had started"
}

# A process that has begun is written down first.
interrupt() {
  interrupted=$1
  [ -n "${beginning-}" ] || exit "$1"
}

# start NAME OUTPUT PROGRAM ARGUMENT...: starts a part in the background.
start() {
  local name=$1 output=$2 program pid started
  program=$(command -v "$3") || die "$3 is not there"
  program=$(realpath "$program")
  shift 3
  beginning=yes
  setsid "$program" "$@" </dev/null >>"$output" 2>&1 9<&- &
  start_time $! || true
  printf '%s %s %s\n' $! "$started" "$program" >"$name.pid"
  begun+=("$name")
  until pid_of "$name" >/dev/null || ! is_alive "$name"; do sleep 0.01 || true; done
  beginning=
  [ -z "${interrupted-}" ] || exit "$interrupted"
}

# wait_for NAME SECONDS LOG WHAT COMMAND...: polls until the command succeeds, or NAME ends, or the time has passed.
wait_for() {
  local name=$1 began=$SECONDS seconds=$2 log=$3 what=$4 told=
  shift 4
  # In a shell of its own: an interruption is to be heard of.
  until ("$@") >/dev/null 2>&1 && pid_of "$name" >/dev/null; do
    if [ $((SECONDS - began)) -ge "$seconds" ] || ! pid_of "$name" >/dev/null; then
      say "$(tail -n 5 "$log" 2>/dev/null)"
      die "$what (the last lines of $dir/$log stand above)"
    fi
    if [ -z "$told" ] && [ $((SECONDS - began)) -ge 3 ]; then
      say "waiting for $name"
      told=yes
    fi
    sleep 0.05
  done
}

# stop NAME: ends a part, with the processes that it has started.
stop() {
  local name=$1 pid deadline=$((SECONDS + 5))
  if pid=$(pid_of "$name"); then
    kill -- "-$pid" 2>/dev/null || true
    kill -CONT -- "-$pid" 2>/dev/null || true
    while pid_of "$name" >/dev/null; do
      if [ $SECONDS -ge $deadline ]; then
        say "$name does not end by itself: killed"
        kill -KILL -- "-$pid" 2>/dev/null || true
        deadline=$((SECONDS + 5))
      fi
      sleep 0.05
    done
  fi
  rm -f "$name.pid"
}
