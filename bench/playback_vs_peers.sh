#!/usr/bin/env bash
# Zelvaro's performance targets beside ffmpeg's and mpv's, in one run, under
# one display (a 3840x2160 Xvfb when there is none), and a table of the
# figures and ratios against their targets: playback of one generated clip
# (20 s of 1080p30 H.264) on both renderer paths, the engine alone, seeks,
# launch, resident memory, 10 s of 2160p30 HEVC decoded in software on the
# QPainter path, seek-bar previews, the playlist panel at 100,000 items,
# audio only, and clip cutting.
#
#   bash bench/playback_vs_peers.sh [build-dir]      (default: build)
#   REPEAT=3 bash bench/playback_vs_peers.sh         (each run 3 times; default 2)
#   make bench-report                                (the same, each run once)
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
    bench_playback_window bench_playback_seek bench_playback_launch bench_thumbnails \
    bench_playlist_panel bench_picture bench_clip_cut >/dev/null
  export ZELVARO_PEERS_INNER=1
  # The 2160p window is shown pixel for pixel, as on a 4K screen.
  export ZELVARO_XVFB_SCREEN=3840x2160x24
  exec bash "$root/packaging/run-headless.sh" bash "$0" "$build"
fi

bin="$build/bin"
# Each measured run is repeated and the cheapest kept: other work on the
# machine only ever adds CPU time.
repeat=${REPEAT:-2}
media="$build/bench-media/playback-1080p30-20s.mp4"
[[ -f "$media" ]] || bash "$here/playback_media.sh" "$media"
hevc="$build/bench-media/playback-2160p30-hevc-10s.mkv"
[[ -f "$hevc" ]] || bash "$here/hevc_media.sh" "$hevc"
cut_input="$build/bench-media/thumbnails-1080p-10min.ts"
[[ -f "$cut_input" ]] || bash "$here/thumbnail_media.sh" "$cut_input"
work=$(mktemp -d /tmp/zelvaro-peers.XXXXXX)
# ZELVARO_PEERS_KEEP=1 keeps every run's output there, for a look afterwards.
[[ -n "${ZELVARO_PEERS_KEEP:-}" ]] && echo "Outputs kept in $work" >&2 || trap 'rm -rf "$work"' EXIT
# Peers and Zelvaro alike see a private home: no user configuration.
export XDG_CONFIG_HOME="$work/config" XDG_DATA_HOME="$work/data"
mkdir -p "$XDG_CONFIG_HOME" "$XDG_DATA_HOME"
have_mpv=0
command -v mpv >/dev/null && have_mpv=1
((have_mpv)) || echo "mpv is not installed: Zelvaro's figures and the ffmpeg ratios only." >&2
[[ -x /usr/bin/time ]] || { echo "GNU time (/usr/bin/time) is missing: apt-get install time" >&2; exit 1; }

# The X server's CPU seconds so far, when it is an Xvfb of ours; "" otherwise.
xvfb_pid=${ZELVARO_XVFB_PID:-}
[[ -n "$xvfb_pid" ]] || for proc in /proc/[0-9]*; do
  if [[ "$(tr '\0' ' ' 2>/dev/null <"$proc/cmdline")" == "Xvfb ${DISPLAY} "* ]]; then
    xvfb_pid=${proc#/proc/}
  fi
done
xvfb_cpu() {
  [[ -n "$xvfb_pid" ]] || return 0
  awk -v tick="$(getconf CLK_TCK)" '{ printf "%.2f", ($14 + $15) / tick }' "/proc/$xvfb_pid/stat"
}

# run NAME COMMAND...: runs it under GNU time, REPEAT times, and keeps the
# run with the fewest CPU seconds (user + system) in cpu[NAME], its output in
# $work/NAME.out, the X server's CPU seconds during it in xcpu[NAME] and its
# peak resident memory (the largest process, MB) in rss[NAME].
# Other runs' outputs stay as $work/NAME.<n>.out for worst().
declare -A cpu xcpu rss
run() {
  local name=$1
  shift
  local attempts=${RUN_REPEAT:-$repeat}
  local before after seconds
  for ((attempt = 1; attempt <= attempts; attempt++)); do
    before=$(xvfb_cpu)
    /usr/bin/time -o "$work/$name.time" -f "%U %S %e %M" "$@" >"$work/$name.$attempt.out" \
      2>"$work/$name.err" || true
    after=$(xvfb_cpu)
    seconds=$(tail -1 "$work/$name.time" | awk '{ printf "%.2f", $1 + $2 }')
    echo "  $name: $seconds CPU s" >&2
    if ((attempt == 1)) || awk -v a="$seconds" -v b="${cpu[$name]}" 'BEGIN { exit !(a < b) }'; then
      cpu[$name]=$seconds
      cp "$work/$name.$attempt.out" "$work/$name.out"
      rss[$name]=$(tail -1 "$work/$name.time" | awk '{ printf "%.0f", $4 / 1024 }')
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

# Measured once each: what they report is not CPU time.
RUN_REPEAT=1 run hevc_painter "$bin/bench_playback_window" --path painter --size 3840x2160 "$hevc"
# Whether this machine decodes it in real time at all: the bare decode's wall time.
RUN_REPEAT=1 run ffmpeg_hevc ffmpeg -nostdin -hide_banner -loglevel error -i "$hevc" -f null -
# The real player's peak resident memory over 12 s of the 1080p clip (it is
# ended by a signal, which GNU time still reports), beside mpv's.
RUN_REPEAT=1 run rss_zelvaro timeout -k 5 12 "$bin/zelvaro" "$media"
((have_mpv)) && RUN_REPEAT=1 run rss_mpv "${mpv_common[@]}" --vo=gpu --gpu-sw --length=12 "$media"
RUN_REPEAT=1 run audio "$bin/bench_picture" --mode audio --seconds 10
audio_clip="$build/bench-media/audio-cover-60s.mp3"
((have_mpv)) && RUN_REPEAT=1 run rss_mpv_audio mpv --no-config --really-quiet --no-video --ao=null \
  --length=10 "$audio_clip"
RUN_REPEAT=1 run thumbnails "$bin/bench_thumbnails" "$media"
RUN_REPEAT=1 run playlist "$bin/bench_playlist_panel"
RUN_REPEAT=1 run clip_cut "$bin/bench_clip_cut"

# ---- the table ----
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { if (a == "" || b == "" || b + 0 == 0) print "-"; else printf "%.2f", a / b }'; }
verdict() {  # value limit
  awk -v v="$1" -v l="$2" 'BEGIN { if (v == "-" || v == "") print "n/a"; else print (v + 0 <= l + 0 ? "PASS" : "FAIL") }'
}
row() { printf '| %-38s | %9s | %-26s | %9s | %5s | %-15s | %-6s |\n' "$@"; }
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
row "--------------------------------------" "---------" "--------------------------" "---------" "-----" "---------------" "------"
r=$(ratio "$first" "$mpv_first")
row "Launch to first frame shown, s" "$(na "$first")" "mpv --frames=1 --vo=gpu" "$(na "$mpv_first")" "$r" "<= 1.00 x peer" "$(verdict "$r" 1.00)"
# The OpenGL row: the process and the X server together, per frame shown,
# so a peer that drops frames is not credited with the work it skipped.
per_frame() {  # process-CPU X-CPU expected dropped -> ms per frame shown
  awk -v c="$1" -v x="$2" -v e="$3" -v d="$4" \
    'BEGIN { if (c == "" || e == "" || e - d <= 0) print ""; else printf "%.2f", 1000 * (c + x) / (e - d) }'
}
expected=$(figure window_opengl frames_expected)
gl_ms=$(per_frame "$gl_cpu" "${xcpu[window_opengl]:-0}" "$expected" "${gl_drops:-0}")
mpv_ms=""
((have_mpv)) && mpv_ms=$(per_frame "$mpv_gpu" "${xcpu[mpv_gpu]:-0}" "$expected" "${mpv_drops:-0}")
r=$(ratio "$gl_ms" "$mpv_ms")
row "CPU ms per frame shown, OpenGL+X" "$(na "$gl_ms")" "mpv --vo=gpu --gpu-sw, +X" "$(na "$mpv_ms")" "$r" "<= 0.80 x peer" "$(verdict "$r" 0.80)"
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

rss_mpv=""
((have_mpv)) && rss_mpv=${rss[rss_mpv]}
row "Peak RSS playing 1080p, MB" "${rss[rss_zelvaro]}" "mpv --vo=gpu --gpu-sw" "$(na "$rss_mpv")" \
  "$(ratio "${rss[rss_zelvaro]}" "$rss_mpv")" "< 150 MB" "$(verdict "${rss[rss_zelvaro]}" 149.99)"
hevc_drops=$(figure hevc_painter frames_dropped)
hevc_frames="$(figure hevc_painter frames_delivered)/$(figure hevc_painter frames_expected)"
row "2160p30 HEVC sw, QPainter, dropped" "$(na "$hevc_drops")" "" "" "" "0 of $hevc_frames" "$(verdict "$(na "$hevc_drops")" 0)"

# Audio only: the real main window with a cover and the spectrum (the
# benchmark runs mpv --no-video itself for the CPU; its memory is ours).
audio_figure() { sed -n "s/^ *$1[^0-9]*\([0-9.]*\).*/\1/p" "$work/audio.out" | head -1; }
shown_pct=$(audio_figure "shown:")
minimised_pct=$(audio_figure "minimised:")
mpv_audio_pct=$(audio_figure "mpv --no-video:")
audio_rss=$(audio_figure "RSS while playing:")
row "Audio only, shown, % of a core" "$(na "$shown_pct")" "" "" "" "<= 10 %" "$(verdict "$(na "$shown_pct")" 10)"
r=$(ratio "$minimised_pct" "$mpv_audio_pct")
row "Audio only, minimised, % of a core" "$(na "$minimised_pct")" "mpv --no-video" "$(na "$mpv_audio_pct")" "$r" "<= 1.50 x peer" "$(verdict "$r" 1.50)"
rss_mpv_audio=""
((have_mpv)) && rss_mpv_audio=${rss[rss_mpv_audio]}
row "Audio only, RSS, MB" "$(na "$audio_rss")" "mpv --no-video (peak)" "$(na "$rss_mpv_audio")" \
  "$(ratio "$audio_rss" "$rss_mpv_audio")" "<= 80 MB" "$(verdict "$(na "$audio_rss")" 80)"

# Lines the other benchmarks print with their own targets, "... target T met".
declare -A preview_label=(
  ["request to frame ready, median"]="Preview, request to frame, median"
  ["request to frame ready, p95"]="Preview, request to frame, p95"
  ["GetFrame on the calling thread, longest"]="Preview, GetFrame wall, longest"
  ["GetFrame CPU time on the calling thread, longest"]="Preview, GetFrame CPU, longest"
  ["interface thread stall beyond a tick, max"]="Preview sweep, longest stall"
  ["100 frames tried, all decoded ones ready"]="Preview cache, 100 frames"
)
sed -n 's/^ *\(.*[^ ]\) \{1,\}\([-0-9.]\{1,\}\) *\([a-z]*\) \{1,\}target \(.*[^ ]\) \{1,\}\(met\|NOT MET\)$/\1|\2|\3|\4|\5/p' \
  "$work/thumbnails.out" | while IFS='|' read -r what value unit target met; do
  [[ -n "${preview_label[$what]:-}" ]] || continue
  row "$(printf '%.34s' "${preview_label[$what]}"), $unit" "$value" "" "" "" "${target:0:15}" \
    "$([[ "$met" == met ]] && echo PASS || echo FAIL)"
done
# The playlist panel: each step's worst thread CPU against a frame's 16 ms.
sed -n 's/^\(.*[^ ]\) \{1,\}wall median.*thread CPU median *[0-9.]* worst *\([0-9.]*\) ms.*: \(pass\|FAIL\)$/\1|\2|\3/p' \
  "$work/playlist.out" | while IFS='|' read -r what worst verdict; do
  row "$(printf '%.34s' "100k list, $what"), ms" "$worst" "" "" "" "< 16 ms CPU" \
    "$([[ "$verdict" == pass ]] && echo PASS || echo FAIL)"
done
cut_alone=$(sed -n 's/^ *ffmpeg alone *\([0-9.]*\).*/\1/p' "$work/clip_cut.out")
cut_ours=$(sed -n "s/^ *the player's cut *\([0-9.]*\).*/\1/p" "$work/clip_cut.out")
r=$(ratio "$cut_ours" "$cut_alone")
row "Cut 60 s of 10 min, ms (median)" "$(na "$cut_ours")" "ffmpeg -c copy alone" "$(na "$cut_alone")" "$r" "<= 1.05 x peer" "$(verdict "$r" 1.05)"
stall=$(sed -n 's/^ *longest event-loop stall *\([0-9.]*\).*/\1/p' "$work/clip_cut.out")
row "Cut: longest event-loop stall, ms" "$(na "$stall")" "" "" "" "<= 16 ms" "$(verdict "$(na "$stall")" 16)"
echo
echo "CPU seconds are the lowest of $repeat runs (ffmpeg: of at least 3), dropped frames the most;"
echo "the rows from RSS down are measured once. Load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)."
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
printf '  %-44s %6s   (%s of %s frames dropped)\n' "Zelvaro, 2160p30 HEVC, QPainter path (10 s)" \
  "${cpu[hevc_painter]}" "$(na "$hevc_drops")" "$(na "$(figure hevc_painter frames_expected)")"
printf '  %-44s %6s   (%s s wall for 10 s of video)\n' "ffmpeg -f null, the same 2160p30 HEVC clip" \
  "${cpu[ffmpeg_hevc]}" "$(tail -1 "$work/ffmpeg_hevc.time" | awk '{ print $3 }')"
printf '  %-44s %6s   (%s x ffmpeg)\n' "Zelvaro, engine alone, decoder on 1 thread" "${cpu[engine_1thread]}" \
  "$(ratio "${cpu[engine_1thread]}" "$bare")"
printf '  %-44s %6s   (%s x ffmpeg, %s dropped)\n' "Zelvaro, QPainter path, decoder on 1 thread" \
  "${cpu[painter_1thread]}" "$(ratio "${cpu[painter_1thread]}" "$bare")" \
  "$(na "$(figure painter_1thread frames_dropped)")"
printf '  %-44s %6s s (mpv %s s)\n' "Whole run of a first-frame launch" "$(na "$(figure launch zelvaro_whole_run_s)")" "$(na "$(figure launch mpv_whole_run_s)")"
printf '  %-44s %6s / %s ms\n' "Seek maxima, keyframe / exact" "$(na "$(figure seek keyframe_seek_max_ms)")" "$(na "$(figure seek exact_seek_max_ms)")"
echo "  load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)"
