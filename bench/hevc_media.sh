#!/usr/bin/env bash
# Writes the software-decode clip: 10 s of 2160p30 HEVC (x265 ultrafast,
# 8-bit 4:2:0, 2 s GOP, no audio) from ffmpeg's moving test pattern, about
# a minute to make on two cores. Usage: hevc_media.sh <output.mkv> [seconds]
set -euo pipefail
out=${1:?usage: hevc_media.sh <output.mkv> [seconds]}
seconds=${2:-10}
mkdir -p "$(dirname "$out")"
tmp="$out.partial.mkv"
ffmpeg -nostdin -hide_banner -loglevel error -y \
  -f lavfi -i "testsrc2=size=3840x2160:rate=30" -t "$seconds" \
  -c:v libx265 -preset ultrafast -x265-params log-level=error:keyint=60 \
  -b:v 12M -pix_fmt yuv420p "$tmp"
mv "$tmp" "$out"
