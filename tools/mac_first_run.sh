#!/usr/bin/env bash
# The first run on a Mac: says what is missing, builds, tests, tries what nobody promises about
# macOS, and writes all of it into a report without names or paths, to be attached to a bug report.
#
# Usage: tools/mac_first_run.sh [arguments for CMake]. It must run with macOS's bash 3.2.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/.."
facts=build/macos-dev/tests/macos/facts/macos_facts
report=build/mac-report.txt
missing=no

# need WHAT REMEDY COMMAND...
need() {
  local what=$1 remedy=$2
  shift 2
  if "$@" >/dev/null 2>&1; then return; fi
  printf 'missing: %s\n  %s\n' "$what" "$remedy" >&2
  missing=yes
}

checkTools() {
  prefix=$(brew --prefix 2>/dev/null) || prefix=/usr/local
  need "macOS 13" "System Settings, General, Software Update" \
    test "$(sw_vers -productVersion | cut -d. -f1)" -ge 13
  need "Xcode's command line tools" "xcode-select --install" xcrun --find clang++
  need "Homebrew" "see https://brew.sh" command -v brew
  need "CMake" "brew install cmake" command -v cmake
  need "Ninja" "brew install ninja" command -v ninja
  need "GoogleTest" "brew install googletest" test -e "$prefix/lib/cmake/GTest/GTestConfig.cmake"
  if [ "$missing" = yes ]; then exit 1; fi
  need "Xcode, for the nib alone" \
    "App Store; then: sudo xcode-select --switch /Applications/Xcode.app" xcodebuild -version
}

# The application's nib with classes of the facts' own, and without what connects them.
makeNib() {
  sed -e 's/customClass="AppDelegate"/customClass="FactDelegate"/' \
    -e 's/customClass="MainFlutterWindow"/customClass="FactWindow"/' \
    -e 's/visibleAtLaunch="YES"/visibleAtLaunch="NO"/' \
    -e '/<outlet property="applicationMenu"/d' -e '/<outlet property="mainFlutterWindow"/d' \
    packaging/macos/MainMenu.xib >build/facts.xib
  if xcrun ibtool --compile build/facts.nib build/facts.xib >/dev/null 2>&1; then
    export QUORVIN_FACTS_NIB=$PWD/build/facts.nib
  fi
}

# tryFact NAME SECONDS: its row.
tryFact() {
  local pid status=0 waited=0
  "$facts" "$1" >build/fact.txt 2>/dev/null &
  pid=$!
  while kill -0 "$pid" 2>/dev/null; do
    if [ "$waited" -ge "$2" ]; then kill -KILL "$pid" || true; fi
    waited=$((waited + 1))
    sleep 1
    # Something moves on the screen, but for whoever wants it still.
    if [ "$1" != still-screen ]; then printf . >&2; fi
  done
  wait "$pid" 2>/dev/null || status=$?
  if [ "$waited" -gt "$2" ]; then "$facts" "$1" "no answer within $2 s"
  elif [ "$status" != 0 ]; then "$facts" "$1" "ended with status $status"
  else cat build/fact.txt; fi
}

checkTools
cmake --preset macos-dev -DCMAKE_PREFIX_PATH="$prefix" ${1+"$@"}
cmake --build --preset macos-dev
ctest --preset macos-dev --timeout 300 | tee build/mac-tests.txt || testStatus=1
codesign --force --sign - "$facts"
makeNib

{
  printf 'macOS %s, %s, %s, %s GB\n' "$(sw_vers -productVersion)" "$(sysctl -n hw.model)" \
    "$(sysctl -n machdep.cpu.brand_string)" "$(($(sysctl -n hw.memsize) / 1073741824))"
  grep -E '^[0-9]+% tests|^[[:space:]]+[0-9]+ - ' build/mac-tests.txt || true
  printf '\n| Question | What the host counts on | What was seen | Agrees |\n|---|---|---|---|\n'
} >"$report"
"$facts" >build/facts.txt
while read -r name limit; do
  tryFact "$name" "$limit" | tee -a "$report"
done <build/facts.txt
printf 'The report is in %s\n' "$report"
exit "${testStatus:-0}"
