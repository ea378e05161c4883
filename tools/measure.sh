#!/usr/bin/env bash
# Measures the host and writes the results into docs/performance.md; see usage() below.
set -euo pipefail

projectRoot=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$projectRoot"
. tools/script-lib.sh

usage() {
  cat <<END
usage: tools/measure.sh [--trial FOLDER] [--build FOLDER] [PROGRAM...]

Builds the release preset, runs the benchmarks (about a quarter of an hour on an idle machine),
leaves their results in build/results/measured/ and renews the tables of docs/performance.md from all
the results that are there.

  PROGRAM         only these: ${programs[*]}, or "glass": the way to the canvas of a page, beside
                  noVNC, in a browser; or "remote": the same to a supporter on another computer, and
                  what that costs (both install what they take)
  --trial FOLDER  leaves results and document in that folder instead
  --build FOLDER  takes the programs of that build folder, as they are
END
}

programs=(peer change host capture jpeg video codec delivery payload input)
results="$projectRoot/build/results/measured"
document="$projectRoot/docs/performance.md"
buildFolder=

# For programs that do not repeat their measurements themselves.
repetitions=(--benchmark_repetitions=9)

useTrialFolder() {
  mkdir -p "$1"
  results=$(cd "$1" && pwd)
  cp "$document" "$results/"
  document="$results/performance.md"
}

parseArguments() {
  local -a wanted=()
  while (($# > 0)); do
    case "$1" in
      --trial) useTrialFolder "${2:?--trial needs a folder}" && shift 2 ;;
      --build) buildFolder=${2:?--build needs a folder} && shift 2 ;;
      --help | -h) usage && exit 0 ;;
      -*) usage >&2 && exit 2 ;;
      *) wanted+=("$1") && shift ;;
    esac
  done
  if ((${#wanted[@]} > 0)); then programs=("${wanted[@]}"); fi
}

build() {
  if [[ -n "$buildFolder" ]]; then return; fi
  buildFolder=build/release
  logged measure-configure cmake --preset release -DBUILD_TESTING=ON
  logged measure-build cmake --build --preset release --target Runner/all bench/all
}

isBusy() {
  local load
  read -r load _ </proc/loadavg
  awk -v load="$load" 'BEGIN { exit !(load > 0.5) }'
}

# What the build has left behind in the load average wears off in that time.
waitForRest() {
  local attempt
  for ((attempt = 0; attempt < 12; ++attempt)); do
    isBusy || return 0
    sleep 10
  done
  say "warning: other programs are at work here; ratios may hold, times not" >&2
}

# Renews its table itself.
measureGlass() {
  installPackages test bench
  logged measure-browser npm ci --prefix tests/e2e/browser --ignore-scripts --no-audit --no-fund
  logged measure-build cmake --build "$buildFolder" --target Runner/all quorvin-webui \
    tests/e2e/browser/all
  node bench/glass/glass.mjs \
    "$(realpath "$buildFolder")/Quorvin Support.app/Contents/Linux/quorvin-support" "$document"
}

measureRemote() {
  local built
  installPackages test virtual-screen
  logged measure-browser npm ci --prefix tests/e2e/browser --ignore-scripts --no-audit --no-fund
  logged measure-supporter npm ci --prefix supporter --ignore-scripts --no-audit --no-fund
  logged measure-build cmake --build "$buildFolder" --target Runner/all quorvin-webui \
    quorvin-signalling tests/e2e/browser/all wire
  built=$(realpath "$buildFolder")
  QUORVIN_WIRE="$built/tests/e2e/networks/wire" \
    QUORVIN_HOST="$built/Quorvin Support.app/Contents/Linux/quorvin-support" \
    QUORVIN_SCREEN_CHANGER="$built/tests/e2e/browser/screen_changer" \
    QUORVIN_INPUT_WINDOW="$built/tests/e2e/browser/input_window" \
    tests/e2e/networks/networks.sh run node bench/remote/remote.mjs "$document"
}

measure() {
  local name=$1 program="$buildFolder/bench/$1_bench"
  local -a options=()
  case "$name" in
    glass)
      measureGlass
      return
      ;;
    remote)
      measureRemote
      return
      ;;
    codec | delivery | payload) options=("${repetitions[@]}") ;;
  esac
  say "== $name"
  QUORVIN_MEASURE=1 "$program" --benchmark_out="$results/${name}_bench.json" \
    --benchmark_out_format=json "${options[@]}"
}

main() {
  local name
  parseArguments "$@"
  mkdir -p "$results"
  # Every program brings a screen of its own.
  unset DISPLAY WAYLAND_DISPLAY XAUTHORITY
  build
  waitForRest
  for name in "${programs[@]}"; do measure "$name"; done
  case "${programs[*]}" in
    glass | remote) ;;
    *) tools/bench_table.py --renew "$document" "$results" ;;
  esac
  say "written: $document"
}

main "$@"
