#!/usr/bin/env bash
# Zelvaro's playback figures beside ffmpeg's and mpv's, on one generated clip
# (20 s of 1080p30 H.264), in one run, under one display (Xvfb when there is
# none), and a table of the ratios against their targets.
#
#   bash bench/playback_vs_peers.sh [build-dir]      (default: build)
#   REPEAT=3 bash bench/playback_vs_peers.sh         (each run 3 times; default 2)
#
# As root it first installs what is missing, mpv and GNU time included
# (packaging/debian-packages-bench.txt). Without mpv it says so and prints
# Zelvaro's figures with the ffmpeg ratios only. CPU figures are CPU seconds
# of the measured process (GNU time), the lowest of the repeated runs, so a
# busy machine inflates them less than it does the wall-clock latencies;
# those are medians, and worth repeating on a quiet machine.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
build=$(realpath -m "${1:-$root/build}")

if [[ -z "${ZELVARO_PEERS_INNER:-}" ]]; then
  if [[ $(id -u) -eq 0 ]]; then
    bash "$root/packaging/setup.sh" "$root/packaging/debian-packages.txt" \
      "$root/packaging/debian-packages-bench.txt"
  fi
  [[ -f "$build/CMakeCache.txt" ]] ||
    cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$build" -j "$(nproc)" --target zelvaro bench_playback_engine \
    bench_playback_window bench_playback_seek bench_playback_launch >/dev/null
  export ZELVARO_PEERS_INNER=1
  exec bash "$root/packaging/run-headless.sh" bash "$0" "$build"
fi

bin="$build/bin"
# Each measured run is repeated and the cheapest kept: other work on the
# machine only ever adds CPU time.
repeat=${REPEAT:-2}
media="$build/bench-media/playback-1080p30-20s.mp4"
[[ -f "$media" ]] || bash "$here/playback_media.sh" "$media"
work=$(mktemp -d /tmp/zelvaro-peers.XXXXXX)
trap 'rm -rf "$work"' EXIT
# Peers and Zelvaro alike see a private home: no user configuration.
export XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data"
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME"
have_mpv=0
command -v mpv >/dev/null && have_mpv=1
((have_mpv)) || echo "mpv is not installed: Zelvaro's figures and the ffmpeg ratios only." >&2
[[ -x /usr/bin/time ]] || { echo "GNU time (/usr/bin/time) is missing: apt-get install time" >&2; exit 1; }

# The X server's CPU seconds so far, when it is an Xvfb of ours; "" otherwise.
xvfb_pid=""
for proc in /proc/[0-9]*; do
  if [[ "$(tr '\0' ' ' <"$proc/cmdline" 2>/dev/null)" == "Xvfb ${DISPLAY} "* ]]; then
    xvfb_pid=${proc#/proc/}
  fi
done
xvfb_cpu() {
  [[ -n "$xvfb_pid" ]] || return 0
  awk -v tick="$(getconf CLK_TCK)" '{ printf "%.2f", ($14 + $15) / tick }' "/proc/$xvfb_pid/stat"
}

# run NAME COMMAND...: runs it under GNU time, REPEAT times, and keeps the
# run with the fewest CPU seconds (user + system) in cpu[NAME], its output in
# $work/NAME.out, and the X server's CPU seconds during it in xcpu[NAME].
# Other runs' outputs stay as $work/NAME.<n>.out for worst().
declare -A cpu xcpu
run() {
  local name=$1
  shift
  local attempts=${RUN_REPEAT:-$repeat}
  local before after seconds
  for ((attempt = 1; attempt <= attempts; attempt++)); do
    before=$(xvfb_cpu)
    /usr/bin/time -o "$work/$name.time" -f "%U %S %e" "$@" >"$work/$name.$attempt.out" \
      2>"$work/$name.err" || true
    after=$(xvfb_cpu)
    seconds=$(tail -1 "$work/$name.time" | awk '{ printf "%.2f", $1 + $2 }')
    echo "  $name: $seconds CPU s" >&2
    if ((attempt == 1)) || awk -v a="$seconds" -v b="${cpu[$name]}" 'BEGIN { exit !(a < b) }'; then
      cpu[$name]=$seconds
      cp "$work/$name.$attempt.out" "$work/$name.out"
      xcpu[$name]=""
      if [[ -n "$before" ]]; then
        xcpu[$name]=$(awk -v a="$after" -v b="$before" 'BEGIN { printf "%.2f", a - b }')
      fi
    fi
  done
}
# figure NAME KEY: the value of "KEY=value" in NAME's kept output.
figure() {
  sed -n "s/^.*$2=\([-0-9.e+]*\).*$/\1/p" "$work/$1.out" | head -1
}
# worst NAME KEY: the largest value of KEY over all of NAME's runs.
worst() {
  cat "$work/$1".[0-9]*.out | sed -n "s/^.*$2=\([-0-9.e+]*\).*$/\1/p" | sort -g | tail -1
}

echo "Clip: $media" >&2
echo "Measuring, each run $repeat times (about $((3 * repeat + 1)) minutes, one run after another)..." >&2
RUN_REPEAT=$((repeat > 3 ? repeat : 3)) run ffmpeg_decode ffmpeg -nostdin -hide_banner -loglevel error -i "$media" -f null -
bare=${cpu[ffmpeg_decode]}
run ffmpeg_paced ffmpeg -nostdin -hide_banner -loglevel error -re -i "$media" -f null -

mpv_common=(mpv --no-config --really-quiet --ao=null --geometry=1920x1080+0+0)
if ((have_mpv)); then
  run mpv_gpu "${mpv_common[@]}" --vo=gpu --gpu-sw --script="$here/playback_mpv_stats.lua" "$media"
  run mpv_null "${mpv_common[@]}" --vo=null "$media"
  run mpv_x11 "${mpv_common[@]}" --vo=x11 "$media"
  ZELVARO_SEEK_TARGETS=$("$bin/bench_playback_seek" --list-targets)
  export ZELVARO_SEEK_TARGETS
  run mpv_seek "${mpv_common[@]}" --vo=gpu --gpu-sw --pause --keep-open=yes --hr-seek=yes \
    --script="$here/playback_mpv_seek.lua" "$media"
fi

run engine "$bin/bench_playback_engine" "$media"
run window_opengl "$bin/bench_playback_window" --path opengl "$media"
run window_painter "$bin/bench_playback_window" --path painter "$media"
run path_choice "$bin/bench_playback_window" --which-path
# What the decoder's threading costs at 1x: the same two runs on one thread.
RUN_REPEAT=1 run engine_1thread "$bin/bench_playback_engine" --decoder-threads 1 "$media"
RUN_REPEAT=1 run painter_1thread "$bin/bench_playback_window" --path painter --decoder-threads 1 "$media"
run seek "$bin/bench_playback_seek" "$media"
launch_args=(--runs 7)
((have_mpv)) && launch_args+=(--mpv)
run launch "$bin/bench_playback_launch" "${launch_args[@]}" "$media"

# ---- the table ----
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (a == "" || b == "" || b + 0 == 0) print "-"; else printf "%.2f", a / b }'; }
verdict() {  # value limit
  awk -v v="$1" -v l="$2" 'BEGIN { if (v == "-" || v == "") print "n/a"; else print (v + 0 <= l + 0 ? "PASS" : "FAIL") }'
}
row() { printf '| %-34s | %9s | %-26s | %9s | %5s | %-15s | %-6s |\n' "$@"; }
na() { [[ -n "$1" ]] && echo "$1" || echo "-"; }

gl_drops=$(worst window_opengl frames_dropped)
painter_drops=$(worst window_painter frames_dropped)
gl_cpu=${cpu[window_opengl]}
if ! grep -q "opengl path (asked: opengl)" "$work/window_opengl.out"; then
  gl_cpu="" gl_drops=""  # no usable OpenGL on this display
fi
gl_frames="$(figure window_opengl frames_delivered)/$(figure window_opengl frames_expected)"
painter_frames="$(figure window_painter frames_delivered)/$(figure window_painter frames_expected)"
auto_path=$(sed -n 's/^auto_path=//p' "$work/path_choice.out")
gl_renderer=$(sed -n 's/^gl_renderer=//p' "$work/path_choice.out")
cheaper=painter
if [[ -n "$gl_cpu" ]] && awk -v g="$gl_cpu" -v p="${cpu[window_painter]}" 'BEGIN { exit !(g < p) }'; then
  cheaper=opengl
fi
mpv_gpu="" mpv_drops="" mpv_first="" mpv_exact="" mpv_key=""
if ((have_mpv)); then
  mpv_gpu=${cpu[mpv_gpu]}
  mpv_drops=$(worst mpv_gpu mpv_frames_dropped)
  mpv_first=$(figure launch mpv_first_frame_s)
  mpv_exact=$(figure mpv_seek mpv_exact_seek_median_ms)
  mpv_key=$(figure mpv_seek mpv_keyframe_seek_median_ms)
fi
first=$(figure launch zelvaro_first_frame_s)
key=$(figure seek keyframe_seek_median_ms)
exact=$(figure seek exact_seek_median_ms)

echo
echo "Zelvaro playback beside its peers: 20 s of 1080p30 H.264, $(nproc) cores, OpenGL: ${gl_renderer:-?}"
echo
row "Figure" "Zelvaro" "Peer" "Peer" "Ratio" "Target" "Result"
row "----------------------------------" "---------" "--------------------------" "---------" "-----" "---------------" "------"
r=$(ratio "$first" "$mpv_first")
row "Launch to first frame shown, s" "$(na "$first")" "mpv --frames=1 --vo=gpu" "$(na "$mpv_first")" "$r" "<= 1.00 x peer" "$(verdict "$r" 1.00)"
r=$(ratio "$gl_cpu" "$mpv_gpu")
row "CPU s at 1x, OpenGL path" "$(na "$gl_cpu")" "mpv --vo=gpu --gpu-sw" "$(na "$mpv_gpu")" "$r" "<= 0.80 x peer" "$(verdict "$r" 0.80)"
row "Dropped frames, OpenGL path" "$(na "$gl_drops")" "mpv --vo=gpu --gpu-sw" "$(na "$mpv_drops")" "" "0 of $gl_frames" "$(verdict "$gl_drops" 0)"
r=$(ratio "${cpu[window_painter]}" "$bare")
row "CPU s at 1x, QPainter path" "${cpu[window_painter]}" "ffmpeg -f null (decode)" "$bare" "$r" "<= 1.30 x peer" "$(verdict "$r" 1.30)"
row "Dropped frames, QPainter path" "$painter_drops" "" "" "" "0 of $painter_frames" "$(verdict "$painter_drops" 0)"
r=$(ratio "${cpu[engine]}" "$bare")
row "CPU s at 1x, engine alone" "${cpu[engine]}" "ffmpeg -f null (decode)" "$bare" "$r" "<= 1.15 x peer" "$(verdict "$r" 1.15)"
row "Keyframe seek to shown frame, ms" "$(na "$key")" "mpv keyframes (median)" "$(na "$mpv_key")" "" "<= 30 ms median" "$(verdict "$(na "$key")" 30)"
r=$(ratio "$exact" "$mpv_exact")
row "Exact seek to shown frame, ms" "$(na "$exact")" "mpv --hr-seek=yes (median)" "$(na "$mpv_exact")" "$r" "<= 1.00 x peer" "$(verdict "$r" 1.00)"
choice=$([[ "$auto_path" == "$cheaper" ]] && echo PASS || echo FAIL)
row "Path the renderer takes here" "$auto_path" "cheaper of the two above" "$cheaper" "" "the cheaper" "$choice"
echo
echo "CPU seconds are the lowest of $repeat runs (ffmpeg: of at least 3), dropped frames the most."
echo
echo "For reference (CPU s over the same 20 s; X server CPU beside each window run when it is our Xvfb):"
printf '  %-44s %6s\n' "ffmpeg -f null (bare decode)" "$bare"
printf '  %-44s %6s\n' "ffmpeg -re -f null (decode paced at 1x)" "${cpu[ffmpeg_paced]}"
if ((have_mpv)); then
  printf '  %-44s %6s   X server %s\n' "mpv --vo=gpu --gpu-sw" "${cpu[mpv_gpu]}" "$(na "${xcpu[mpv_gpu]}")"
  printf '  %-44s %6s   X server %s\n' "mpv --vo=x11" "${cpu[mpv_x11]}" "$(na "${xcpu[mpv_x11]}")"
  printf '  %-44s %6s\n' "mpv --vo=null" "${cpu[mpv_null]}"
else
  echo "  mpv is not installed: its columns are empty (apt-get install mpv, or run this as root)."
fi
printf '  %-44s %6s   X server %s\n' "Zelvaro, OpenGL path" "${cpu[window_opengl]}" "$(na "${xcpu[window_opengl]}")"
printf '  %-44s %6s   X server %s\n' "Zelvaro, QPainter path" "${cpu[window_painter]}" "$(na "${xcpu[window_painter]}")"
printf '  %-44s %6s\n' "Zelvaro, engine alone" "${cpu[engine]}"
printf '  %-44s %6s   (%s x ffmpeg)\n' "Zelvaro, engine alone, decoder on 1 thread" "${cpu[engine_1thread]}" \
  "$(ratio "${cpu[engine_1thread]}" "$bare")"
printf '  %-44s %6s   (%s x ffmpeg, %s dropped)\n' "Zelvaro, QPainter path, decoder on 1 thread" \
  "${cpu[painter_1thread]}" "$(ratio "${cpu[painter_1thread]}" "$bare")" \
  "$(na "$(figure painter_1thread frames_dropped)")"
printf '  %-44s %6s s (mpv %s s)\n' "Whole run of a first-frame launch" "$(na "$(figure launch zelvaro_whole_run_s)")" "$(na "$(figure launch mpv_whole_run_s)")"
printf '  %-44s %6s / %s ms\n' "Seek maxima, keyframe / exact" "$(na "$(figure seek keyframe_seek_max_ms)")" "$(na "$(figure seek exact_seek_max_ms)")"
echo "  load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)"
