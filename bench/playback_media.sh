#!/usr/bin/env bash
# Writes the playback benchmarks' clip: 20 s of 1080p30 H.264 (x264, 2 s
# GOP, yuv420p, no audio) from ffmpeg's moving test pattern. The one place
# that defines it, for bench/playback_vs_peers.sh and the bench_playback_*
# executables alike. Usage: playback_media.sh <output.mp4> [seconds]
set -euo pipefail
out=${1:?usage: playback_media.sh <output.mp4> [seconds]}
seconds=${2:-20}
mkdir -p "$(dirname "$out")"
tmp="$out.partial.mp4"
ffmpeg -nostdin -hide_banner -loglevel error -y \
  -f lavfi -i "testsrc2=size=1920x1080:rate=30" -t "$seconds" \
  -c:v libx264 -preset veryfast -g 60 -pix_fmt yuv420p -movflags +faststart "$tmp"
mv "$tmp" "$out"
