#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Writes pictures of every tab and window, light and dark, to build/screenshots, and renews those of
# them that the docs show: the real window over media that are made for it. Needs a build with tests.
set -euo pipefail
shopt -s nullglob
here=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
target=$here/build/screenshots
mkdir -p "$target"
ninja -C "$here/build" --quiet screenshots decoder
QT_QPA_PLATFORM=offscreen QT_QPA_PLATFORMTHEME= "$here/build/bin/screenshots" "$target" 2>/dev/null
for picture in "$here"/docs/images/*.png "$here"/docs/help/*.png; do
  cp "$target/$(basename "$picture")" "$picture"
done
