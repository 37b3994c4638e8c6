#!/bin/bash
# Checks the MIB file that managers load: that it is well-formed, that it says of every object what
# objects.txt says, and that it resolves names with and without the SMI modules at hand.
#
# usage: check_mib.sh MIBDIR
#   MIBDIR holds SNMPv2-SMI.mib, SNMPv2-TC.mib and SNMPv2-CONF.mib
set -euo pipefail

root=.1.3.6.1.4.1.32473.1.1
module=ZEPHRIN-FCS-MIB

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
our_dir=$(cd "$here/../../mibs" && pwd)
mib=$our_dir/$module.txt
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

stop() {
  echo "check_mib: $*" >&2
  exit 1
}

failures=0
fail() { # message, file with the details
  echo "FAIL: $1" >&2
  sed 's/^/    /' "$2" >&2
  failures=$((failures + 1))
}

[[ $# -eq 1 && -d $1 ]] || stop "usage: check_mib.sh MIBDIR"
smi_dir=$(cd "$1" && pwd)
for tool in smilint snmptranslate; do
  command -v "$tool" >/dev/null || stop "$tool is not installed"
done
preloads=()
for name in SNMPv2-SMI SNMPv2-TC SNMPv2-CONF; do
  [[ -r $smi_dir/$name.mib ]] || stop "$smi_dir has no $name.mib"
  preloads+=(-p "$smi_dir/$name.mib")
done
[[ -r $mib ]] || stop "no $mib"

# --- The file is well-formed -------------------------------------------------------------------

# What smilint has to say, except about the preloaded modules.
lint() {
  { smilint -c /dev/null -l 6 -s -m "${preloads[@]}" "$1" 2>&1 || echo "smilint: exit status $?"; } |
    { grep -vF "$smi_dir/" || true; }
}

lint "$mib" >"$work/lint"
if [[ -s $work/lint ]]; then
  fail "smilint complains about $module" "$work/lint"
else
  # Silence proves something only if a fault at the end of the same file is reported.
  sed 's/^END$/fcsStray OBJECT IDENTIFIER ::= { fcsNowhere 1 }\n&/' "$mib" >"$work/$module.txt"
  lint "$work/$module.txt" >"$work/lint"
  grep -qF fcsNowhere "$work/lint" ||
    fail "smilint does not read $module: it overlooks an undefined parent" "$work/lint"
fi

# Tools take some hints for more than a display: "1x:" for a MAC address, which has six octets, "255a"
# and its like for octets that are text, which names need not be. Of a notification they show the
# first line of its description.
grep -nE 'DISPLAY-HINT +"(1x:|[0-9]+[at])"' "$mib" >"$work/hints" &&
  fail "hints with which tools cut values or refuse them" "$work/hints"
awk '/ NOTIFICATION-TYPE$/ { name = $1 }
     name && /^ +"/ { if (!/\."?$/) print name ": " $0; name = "" }' "$mib" >"$work/first"
[[ ! -s $work/first ]] || fail "descriptions that do not begin with a line of one sentence" "$work/first"

# --- Names, OIDs, types and access -------------------------------------------------------------

translate() { # MIB directories, snmptranslate arguments
  local dirs=$1
  shift
  SNMPCONFPATH=$work SNMP_PERSISTENT_DIR=$work MIBDIRS=$dirs MIBS=$module snmptranslate "$@"
}

sed '/^#/d' "$here/objects.txt" >"$work/objects"
registered=$(grep -cE ' R[OW]$' "$work/objects") || stop "objects.txt lists no objects"
for guide in README.md docs/porting.md; do
  grep -o '[0-9]\+ objects' "$here/../../$guide" >"$work/told" || true
  [[ $(<"$work/told") == "$registered objects" ]] ||
    fail "$guide does not tell of $registered objects" "$work/told"
done

awk -v root="$root" '{ print $2, root "." $1 }' "$work/objects" >"$work/oids.expected"
mapfile -t names < <(awk -v module="$module" '{ print module "::" $2 }' "$work/objects")

# The names resolve to the OIDs of the registration: quietly with the SMI modules, and also on a
# machine that has none of them, where complaints about the imports are to be expected.
for dirs in "$our_dir:$smi_dir" "$our_dir"; do
  translate "$dirs" -On "${names[@]}" >"$work/oids" 2>"$work/messages" || true
  grep -v '^Created directory: ' "$work/messages" >"$work/err" || true
  { grep -v '^$' "$work/oids" || true; } | paste -d' ' <(awk '{ print $2 }' "$work/objects") - >"$work/oids.found"
  diff "$work/oids.expected" "$work/oids.found" >"$work/diff" ||
    fail "names do not resolve as expected with MIBDIRS=$dirs" <(cat "$work/diff" "$work/err")
  [[ $dirs == "$our_dir" || ! -s $work/err ]] || fail "Net-SNMP complains about $module" "$work/err"
done

# Type and access of all that can be accessed in the MIB: nothing is missing, and nothing is promised
# that no agent serves. A writable column belongs to a row that managers create.
awk '{
  access = $NF; type = $3
  for (i = 4; i < NF; i++) type = type " " $i
  if (access == "RO") access = "read-only"
  if (access == "RW") access = split($1, part, ".") == 3 ? "read-write" : "read-create"
  if (access == "NOTIFY") access = "accessible-for-notify"
  print $2, type, access
}' "$work/objects" | sort >"$work/kinds.expected"

mapfile -t all < <(translate "$our_dir:$smi_dir" -Tz 2>/dev/null |
  awk -F'"' -v root="${root#.}" -v module="$module" \
    'index($4 ".", root ".") == 1 { print module "::" $2 }')
[[ ${#all[@]} -ge ${#names[@]} ]] || stop "snmptranslate lists but ${#all[@]} nodes under $root"

translate "$our_dir:$smi_dir" -Td "${all[@]}" 2>/dev/null | awk -v module="$module" '
  function flush() {
    if (macro == "NOTIFICATION-TYPE") print name, "NOTIFICATION", "-"
    if (access ~ /^(read-|accessible-)/) print name, type, access
    macro = ""; type = "?"; access = ""
  }
  index($0, module "::") == 1 { flush(); name = substr($0, length(module) + 3); next }
  $1 == name && NF == 2 { macro = $2 }
  /^  SYNTAX\t/ {
    type = $2 == "OCTET" ? "OCTET STRING" : $2
    if (type == "Integer32") type = "INTEGER"
  }
  /^  MAX-ACCESS\t/ { access = $2 }
  END { flush() }
' | sort >"$work/kinds.found"
diff "$work/kinds.expected" "$work/kinds.found" >"$work/diff" ||
  fail "type or access differ between objects.txt (<) and $module (>)" "$work/diff"

# Nothing that the module makes of a reason code lacks a name, nor does a transmitter type of FC-GS.
for enumeration in fcsRejReasonCode:10 fcsRejReasonCodeExpl:20 fcsPortTxType:5; do
  translate "$our_dir:$smi_dir" -Td "$module::${enumeration%:*}" | grep '^  SYNTAX' | grep -oP '\(\K\d+' |
    diff <(seq "${enumeration#*:}") - >"$work/diff" || fail "${enumeration%:*} lacks a value" "$work/diff"
done

# --- Row indexes -------------------------------------------------------------------------------

# An instance as the agent builds it is taken apart into exactly the table's two indexes, or one:
# names are fixed in length and have no length in front.
wwn=32.0.0.13.236.1.2.3
while read -r object instance count; do
  suffix=$(awk -v name="$object" '$2 == name { print $1 }' "$work/objects")
  translate "$our_dir:$smi_dir" -OX "$root.$suffix.$instance" >"$work/index" 2>&1 || true
  grep -qxE "$module::$object(\[[^][]+\]){$count}" <(grep -v '^$' "$work/index") ||
    fail "$object.$instance does not have $count indexes" "$work/index"
done <<INSTANCES
fcsDiscoveryStatus      4096                              1
fcsIeType               1.$wwn                            2
fcsMgmtAddr             7.1                               2
fcsPortListIndex        7.$wwn                            2
fcsPortType             1.$wwn                            2
fcsAttachPortName       7.$wwn.0.1.2.3                    2
fcsPlatformName         1.5                               2
fcsNodeNameRowStatus    7.$wwn                            2
fcsRejects              4096                              1
INSTANCES

[[ $failures -eq 0 ]] || exit 1
echo "$module: ${#names[@]} objects and notifications as registered, no complaint from smilint"
