#!/usr/bin/env bash
# Generates a short demo clip with subtitles and lyrics beside it and plays it.
# Without a display the player runs under Xvfb, a screenshot of its window is
# saved, and its path is printed.
set -euo pipefail
build=${1:?usage: demo.sh BUILD_DIR}
demo="$build/demo"
mkdir -p "$demo"
clip="$demo/Zelvaro Demo.mp4"
if [[ ! -s "$clip" ]]; then
  ffmpeg -nostdin -hide_banner -loglevel error -y \
    -f lavfi -i "testsrc2=size=1280x720:rate=30:duration=30" \
    -f lavfi -i "sine=frequency=330:sample_rate=48000:duration=30,volume=0.3" \
    -c:v libx264 -preset veryfast -g 30 -pix_fmt yuv420p -c:a aac -b:a 128k -shortest "$clip"
  cat > "$demo/Zelvaro Demo.srt" <<'SRT'
1
00:00:01,000 --> 00:00:06,000
Welcome to Zelvaro

2
00:00:07,000 --> 00:00:12,000
Subtitles, lyrics and a playlist that remembers
SRT
  cat > "$demo/Zelvaro Demo.lrc" <<'LRC'
[ti:Zelvaro Demo]
[ar:Zelvaro]
[00:01.00]A tone at three hundred thirty hertz
[00:07.00]Played by a player that keeps your place
[00:13.00]And shows the words as they come
LRC
fi

player="$build/bin/zelvaro"
if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
  exec "$player" "$clip"
fi
shot="$build/demo/zelvaro-demo.png"
rm -f "$shot"
ZELVARO_DEMO_SCREENSHOT="$shot" ZELVARO_DEMO_SECONDS=5 \
  xvfb-run -a -s "-screen 0 1920x1080x24 -nolisten tcp" dbus-run-session -- "$player" "$clip"
echo "No display: the player ran under Xvfb. Screenshot of its window: $shot"
