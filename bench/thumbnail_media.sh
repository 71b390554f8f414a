#!/usr/bin/env bash
# Writes the cache-mode benchmark's input: 10 minutes of 1080p H.264 in
# MPEG-TS, a container without an index, from ffmpeg's moving test pattern
# (ultrafast, low bitrate: a few minutes to make on two cores).
# Usage: thumbnail_media.sh <output.ts> [seconds]
set -euo pipefail
out=${1:?usage: thumbnail_media.sh <output.ts> [seconds]}
seconds=${2:-600}
mkdir -p "$(dirname "$out")"
tmp="$out.partial.ts"
ffmpeg -nostdin -hide_banner -loglevel error -y \
  -f lavfi -i "testsrc2=size=1920x1080:rate=25" -t "$seconds" \
  -c:v libx264 -preset ultrafast -b:v 1500k -g 50 -pix_fmt yuv420p -f mpegts "$tmp"
mv "$tmp" "$out"
