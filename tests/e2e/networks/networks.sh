#!/usr/bin/env bash
# Two private networks behind a NAT each and a public one between them, on a machine without internet.
#
#   networks.sh run COMMAND [ARGUMENT ...]   makes them, runs the command beside them, and ends all.
#                                            As root or without
#   networks.sh check                        ends with 77, and says why, where that cannot be
#
# and while that runs, from within:
#
#   networks.sh nat open|plain|symmetric     what stands before both private networks
#   networks.sh udp pass|block               out of the supporter's network
#   networks.sh shape DELAY_MS LOSS_PERCENT RATE_MBIT QUEUE_MS   each of the two wires, each direction
#   networks.sh in NETWORK COMMAND ...       runs the command in one of the networks
#
#   customer 10.1.0.2 -- customer-nat == wire ==\
#                                                public 198.51.100.10, place.test
#   supporter 10.2.0.2 -- supporter-nat == wire ==/
#
# QUORVIN_WIRE names the program that the wires are.
set -euo pipefail

script=$(readlink -f "${BASH_SOURCE[0]}")
cannotRun=77
work=/run/networks
sides=(customer supporter)

fail() {
  printf 'networks.sh: %s\n' "$1" >&2
  exit "$cannotRun"
}

inNetwork() {
  local network=$1
  shift
  nsenter --net="/run/netns/$network" "$@"
}

# attach SIDE NUMBER: a private network, its router, and the wire from there to the public one.
attach() {
  local side=$1 number=$2 router="$1-nat" private="10.$2.0"
  ip netns add "$side"
  ip netns add "$router"
  ip -n "$side" link set lo up
  # An address that appears by itself a second later is a change of networks to a browser.
  inNetwork "$side" sysctl -qw net.ipv6.conf.default.disable_ipv6=1
  ip link add eth0 netns "$side" type veth peer name lan netns "$router"
  ip -n "$side" address add "$private.2/24" dev eth0
  ip -n "$router" address add "$private.1/24" dev lan
  ip -n "$side" link set eth0 up
  ip -n "$router" link set lan up
  ip -n "$side" route add default via "$private.1"

  mkfifo "$work/$side.up"
  "$QUORVIN_WIRE" "$router" wan public "$side" "$work/shape" "$number" >"$work/$side.up" &
  echo $! >"$work/$side.wire"
  read -r _ <"$work/$side.up" || fail "there is no wire to be had."
  ip -n "$router" address add "198.51.100.2$number/24" dev wan
  ip -n "$router" link set wan up
  ip -n public link set "$side" up master exchange
  ip -n public route add "$private.0/24" via "198.51.100.2$number"
  ip -n "$router" route add "10.$((3 - number)).0.0/24" via "198.51.100.2$((3 - number))"
  inNetwork "$router" sysctl -qw net.ipv4.ip_forward=1
}

makePublic() {
  ip netns add public
  ip -n public link set lo up
  ip -n public link add exchange type bridge
  ip -n public address add 198.51.100.10/24 dev exchange
  ip -n public link set exchange up
  # A way for packets to nowhere: coturn 4.6.1 gives a whole allocation up when there is no route to
  # one of the addresses that it is to relay to.
  ip -n public link add void type bridge
  ip -n public address add 203.0.113.2/24 dev void
  ip -n public link set void up
  ip -n public neighbour add 203.0.113.1 lladdr 02:00:00:00:00:01 dev void nud permanent
}

enter() {
  mount -t tmpfs tmpfs /run || fail "there is no folder of its own here."
  mkdir -p "$work" /run/netns
  # The first of its addresses leads nowhere, which is for everybody to find out.
  { cat /etc/hosts && echo "::1 place.test" && echo "198.51.100.10 place.test"; } >"$work/hosts"
  mount --bind "$work/hosts" /etc/hosts
  ip link set lo up
  shape 0 0 0 200
  makePublic
  attach customer 1
  attach supporter 2
  ip -n public route add default via 203.0.113.1
  nat plain
  # Not exec: the wires end with this process.
  "$@"
}

user=()
if ((EUID != 0)); then user=(--user --map-root-user); fi

check() {
  unshare "${user[@]}" --mount --net true 2>/dev/null || fail "there are no namespaces here."
  [[ -r /dev/net/tun && -w /dev/net/tun ]] || fail "/dev/net/tun is not there to be used."
}

run() {
  check
  [[ -x ${QUORVIN_WIRE:-} ]] || fail "QUORVIN_WIRE has to name the program \"wire\", which is built beside the tests."
  exec "${script%/*}/../../../tools/end_with_parent.sh" "$PPID" \
    unshare "${user[@]}" --fork --kill-child --pid --mount --propagation private --mount-proc --net \
    "$script" enter "$@"
}

nat() {
  local side translation='' unasked=drop
  case $1 in
    open) unasked=accept ;;
    plain) translation='oifname "wan" masquerade' ;;
    symmetric) translation='oifname "wan" masquerade fully-random' ;;
    *) fail "no NAT is $1." ;;
  esac
  for side in "${sides[@]}"; do
    inNetwork "$side-nat" nft -f - <<END
table ip nat
delete table ip nat
table ip nat {
  chain leaving {
    type nat hook postrouting priority srcnat
    $translation
  }
}
table ip filter
delete table ip filter
table ip filter {
  chain forwarded {
    type filter hook forward priority filter; policy $unasked
    iifname "lan" accept
    ct state established,related accept
  }
  chain incoming {
    type filter hook input priority filter
    iifname "wan" ct state new drop
  }
}
END
  done
}

udp() {
  inNetwork supporter-nat nft -f - <<END
table ip blocked
delete table ip blocked
table ip blocked {
  chain leaving {
    type filter hook forward priority filter - 1
    $([[ $1 == pass ]] || echo 'iifname "lan" meta l4proto udp drop')
  }
}
END
}

shape() {
  local wire
  echo "$*" >"$work/shape"
  for wire in "$work"/*.wire; do
    [[ ! -e "$wire" ]] || kill -USR1 "$(<"$wire")"
  done
}

command=${1:?what to do}
shift
case $command in
  check | run | enter | nat | udp | shape) "$command" "$@" ;;
  in) exec nsenter --net="/run/netns/$1" "${@:2}" ;;
  *) fail "it does not know \"$command\"." ;;
esac
