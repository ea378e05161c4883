#!/usr/bin/env bash
# Signs the application for the hardened runtime, from the inside out: a signature covers those of
# what lies within. Runs on a Mac.
set -euo pipefail

usage() {
  cat <<TEXT
usage: sign.sh IDENTITY APPLICATION [ENTITLEMENTS]

IDENTITY is a name such as "Developer ID Application: Some Company (ABCDE12345)", or - for a
signature that counts on this machine only, and without the hardened runtime, which would refuse to
load frameworks that nobody signed. ENTITLEMENTS are those of a release unless given.
TEXT
}

if (($# < 2 || $# > 3)); then
  usage >&2
  exit 2
fi
identity=$1
application=$2
entitlements=${3:-$(dirname "${BASH_SOURCE[0]}")/QuorvinSupport.entitlements}

strength=(--options runtime --timestamp)
if [[ "$identity" == - ]]; then strength=(--timestamp=none); fi

sign() {
  codesign --force "${strength[@]}" --sign "$identity" "$@"
}

for framework in "$application"/Contents/Frameworks/*.framework; do
  sign "$framework"
done
sign --entitlements "$entitlements" "$application"
