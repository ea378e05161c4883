#!/usr/bin/env bash
# usage: with_user_manager.sh COMMAND [ARGUMENT ...]
#
# Runs a command beside a systemd user manager that nothing else can see, and ends with its status.
# Needs root, for namespaces and a control group: a manager takes over the group that it finds itself
# in with every process there, so it must find itself alone. The manager and the command share a home
# folder that is empty, and a folder for what runs.
set -euo pipefail

script=$(readlink -f "${BASH_SOURCE[0]}")
cannotRun=77

fail() {
  printf 'with_user_manager.sh: %s\n' "$1" >&2
  exit "$cannotRun"
}

# In a mount namespace: makes a control group and hands over to the manager's namespaces.
inGroup() {
  local own group status=0
  mount -t cgroup2 none /sys/fs/cgroup || fail "control groups cannot be mounted here."
  own=/sys/fs/cgroup$(sed -n 's/^0:://p' /proc/self/cgroup)
  group=$own/quorvin-test-$$
  mkdir "$group" || fail "no control group can be made here."
  # Nothing outlives this script, even when it is killed.
  "${script%/*}/../../../tools/end_with_parent.sh" $$ \
    unshare --fork --kill-child --pid --mount --propagation private --mount-proc \
    "$script" --enter "$group" "$@" || status=$?
  # What the namespace held has been killed; the groups empty themselves as it goes.
  local attempt
  for ((attempt = 0; attempt < 100; ++attempt)); do
    find "$group" -depth -type d -exec rmdir {} + 2>/dev/null && break
    sleep 0.05
  done
  return "$status"
}

# Process 1 of the manager's world, still in the outer control group's namespace.
enter() {
  local group=$1
  shift
  echo 0 >"$group/cgroup.procs"
  exec unshare --cgroup "$script" --manage "$@"
}

manage() {
  local status=0 attempt
  # The tree as this namespace sees it takes the place of the whole one.
  umount /sys/fs/cgroup
  mount -t cgroup2 none /sys/fs/cgroup
  # A process of somebody else's would show as 0.
  if [[ "$(sed -n 's/^0:://p' /proc/self/cgroup)" != / ]] ||
    grep -qx 0 /sys/fs/cgroup/cgroup.procs; then
    fail "the control group is not a private one."
  fi
  mount -t tmpfs none /run
  # systemd looks here for whether the machine was started by it.
  mkdir -p /run/systemd/system "/run/user/$UID"
  chmod 700 "/run/user/$UID"
  mkdir /run/home
  export XDG_RUNTIME_DIR=/run/user/$UID HOME=/run/home
  unset DBUS_SESSION_BUS_ADDRESS DISPLAY WAYLAND_DISPLAY XDG_CONFIG_HOME XDG_STATE_HOME
  /lib/systemd/systemd --user --log-target=console --log-level=warning >&2 &
  for ((attempt = 0; attempt < 200; ++attempt)); do
    [[ -S $XDG_RUNTIME_DIR/systemd/private ]] && break
    sleep 0.05
  done
  systemctl --user show-environment >/dev/null || fail "the manager does not answer."
  "$@" || status=$?
  systemctl --user exit
  wait || true
  return "$status"
}

case "${1:-}" in
  --in-group) shift && inGroup "$@" ;;
  --enter) shift && enter "$@" ;;
  --manage) shift && manage "$@" ;;
  "") fail "a command is needed." ;;
  *)
    [[ $UID == 0 ]] || fail "only root can run a manager of its own."
    [[ -x /lib/systemd/systemd ]] || fail "there is no systemd on this machine."
    exec unshare --mount --propagation private "$script" --in-group "$@"
    ;;
esac
