# What ./run and ./test have in common. Sourced, with projectRoot set to the folder of the checkout.
# shellcheck shell=bash

: "${projectRoot:?script-lib.sh is sourced by a script that sets projectRoot}"
logDirectory="$projectRoot/build/logs"
packageList="$projectRoot/tools/debian-packages.txt"

say() { printf '%s\n' "$*"; }

fail() {
  printf 'error: %s\n' "$*" >&2
  return 1
}

# logged NAME COMMAND...: runs the command with its output in build/logs/NAME.log; when it fails,
# shows the end of that file.
logged() {
  local log="$logDirectory/$1.log" status=0
  shift
  mkdir -p "$logDirectory"
  "$@" >"$log" 2>&1 || status=$?
  if ((status != 0)); then
    printf -- '--- the last lines of %s\n' "${log#"$projectRoot/"}"
    tail -n 40 "$log"
    printf -- '---\n'
  fi >&2
  return "$status"
}

# packagesIn SECTION...: the package names of these sections of the list, one a line.
packagesIn() {
  local section
  for section in "$@"; do
    awk -v wanted="[$section]" '
      /^#/ || /^$/ { next }
      /^\[/ { inside = ($0 == wanted); next }
      inside { print $1 }' "$packageList"
  done
}

# missingPackages SECTION...: those of them that are not installed.
missingPackages() {
  local installed
  installed=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' 2>/dev/null |
    awk '$2 == "installed" { print $1 }')
  packagesIn "$@" | sort -u | grep -vxF -f <(printf '%s\n' "$installed") || true
}

checkSuite() {
  local suite codename=unknown
  suite=$(awk '$1 == "suite" { print $2 }' "$packageList")
  if [[ -r /etc/os-release ]]; then
    codename=$(. /etc/os-release && printf '%s' "${VERSION_CODENAME:-unknown}")
  fi
  if [[ "$codename" != "$suite" ]]; then
    say "note: the package names are those of Debian $suite; this system says it is \"$codename\"."
  fi
}

# installPackages SECTION...: installs what is missing and leaves apt alone when nothing is.
installPackages() {
  local -a missing asRoot=()
  if ! command -v dpkg-query >/dev/null || ! command -v apt-get >/dev/null; then
    fail "this script installs packages with apt-get, which this system does not have." \
      "Install what tools/debian-packages.txt lists by other means." || return
  fi
  mapfile -t missing < <(missingPackages "$@")
  if ((${#missing[@]} == 0)); then
    say "packages: nothing to install"
    return 0
  fi
  checkSuite
  if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
      fail "packages are missing and neither root rights nor sudo are at hand. As root, run:" \
        "apt-get install ${missing[*]}" || return
    fi
    if ! sudo -v; then
      fail "sudo was refused. As root, run: apt-get install ${missing[*]}" || return
    fi
    asRoot=(sudo)
  fi
  say "packages: installing ${#missing[@]} (${missing[*]})"
  logged packages-update "${asRoot[@]}" apt-get update ||
    fail "the package lists could not be fetched; check the network and try again." || return
  logged packages-install "${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install -y --no-install-recommends "${missing[@]}" ||
    fail "the packages could not be installed; see build/logs/packages-install.log." || return
  endNewServices "${missing[@]}"
}

# endNewServices PACKAGE...: the tests start servers of their own; those that Debian starts with a
# package that has just come are nobody's.
endNewServices() {
  local package
  [[ -d /run/systemd/system ]] || return 0
  for package in "$@"; do
    case "$package" in
      mosquitto | coturn) "${asRoot[@]}" systemctl disable --now --quiet "$package" ;;
      nginx-light) "${asRoot[@]}" systemctl disable --now --quiet nginx ;;
    esac
  done
}

nodeIsRecent() {
  local version
  command -v npm >/dev/null && version=$(node --version 2>/dev/null) || return 1
  version=${version#v}
  ((${version%%.*} >= 18))
}

# Ends the processes given by id, those of their process groups included, and waits until they
# are gone. Only for processes that this script started as jobs of their own group (set -m).
endProcessGroups() {
  local pid attempt
  for pid in "$@"; do kill -TERM -- "-$pid" 2>/dev/null || true; done
  for pid in "$@"; do
    for ((attempt = 0; attempt < 50; ++attempt)); do
      kill -0 -- "-$pid" 2>/dev/null || break
      sleep 0.1
    done
    kill -KILL -- "-$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
}
