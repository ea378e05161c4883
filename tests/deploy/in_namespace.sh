#!/usr/bin/env bash
# usage: in_namespace.sh COMMAND [ARGUMENT ...]
#
# Runs a command as on a server of its own, and ends with its status: with a network in which there
# is nothing, and in which /etc, /usr and /var can be written to without a trace. Needs root.
# Ends with 77 where that cannot be had.
set -euo pipefail

cannotRun=77
folders=(/etc /usr /var)

fail() {
  printf 'in_namespace.sh: %s\n' "$1" >&2
  exit "$cannotRun"
}

enter() {
  local folder over=/run/over
  mount -t tmpfs tmpfs /run || fail "no folder can be put over another here."
  for folder in "${folders[@]}"; do
    mkdir -p "$over$folder/upper" "$over$folder/work"
    mount -t overlay overlay -o \
      "lowerdir=$folder,upperdir=$over$folder/upper,workdir=$over$folder/work" "$folder" ||
      fail "no folder can be put over another here."
  done
  ip link set lo up || fail "there is no network of its own here."
  exec "$@"
}

if [[ "${1:-}" == --enter ]]; then
  shift
  enter "$@"
fi
((EUID == 0)) || fail "only root can become other users."
unshare --mount --net true 2>/dev/null || fail "there are no namespaces here."
exec "${BASH_SOURCE[0]%/*}/../../tools/end_with_parent.sh" "$PPID" \
  unshare --fork --kill-child --pid --mount --propagation private --mount-proc --net \
  "$(readlink -f "${BASH_SOURCE[0]}")" --enter "$@"
