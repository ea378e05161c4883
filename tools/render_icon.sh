#!/usr/bin/env bash
# Renders packaging/macos/AppIcon.svg in the sizes of a macOS icon. Needs rsvg-convert (Debian:
# librsvg2-bin); the pictures are kept in the repository, so that a build does not.
set -euo pipefail

cd "$(dirname "${BASH_SOURCE[0]}")/../packaging/macos"
mkdir -p AppIcon.iconset
for points in 16 32 128 256 512; do
  for scale in 1 2; do
    pixels=$((points * scale))
    suffix=""
    if ((scale == 2)); then suffix="@2x"; fi
    rsvg-convert --width "$pixels" --height "$pixels" AppIcon.svg \
      --output "AppIcon.iconset/icon_${points}x${points}${suffix}.png"
  done
done
