#!/usr/bin/env bash
# Runs a command with a display and a D-Bus session bus: under Xvfb (1080p,
# or ZELVARO_XVFB_SCREEN such as 3840x2160x24) when there is no display,
# always inside its own session bus, so tests never touch the desktop's bus.
#
# --own-display: a fresh Xvfb even when a display exists. The test suite runs
# every window test this way, so tests running side by side never share a
# pointer, a keyboard focus or a window stack.
set -euo pipefail
if [[ "${1:-}" == "--own-display" ]]; then
  shift
  unset DISPLAY WAYLAND_DISPLAY
fi
if [[ -z "${XDG_RUNTIME_DIR:-}" ]]; then
  XDG_RUNTIME_DIR=$(mktemp -d /tmp/zelvaro-runtime.XXXXXX)
  export XDG_RUNTIME_DIR
fi
if [[ -n "${DISPLAY:-}" || -n "${WAYLAND_DISPLAY:-}" ]]; then
  exec dbus-run-session -- "$@"
fi

# Xvfb picks a free display itself and writes its number (-displayfd), so
# servers started at the same moment never race for one.
number_file=$(mktemp /tmp/zelvaro-display.XXXXXX)
Xvfb -displayfd 3 -screen 0 "${ZELVARO_XVFB_SCREEN:-1920x1080x24}" -nolisten tcp 3>"$number_file" 2>/dev/null &
xvfb_pid=$!
trap 'kill "$xvfb_pid" 2>/dev/null || true; wait "$xvfb_pid" 2>/dev/null || true; rm -f "$number_file"' EXIT
for _ in $(seq 1 200); do
  [[ -s "$number_file" ]] && break
  kill -0 "$xvfb_pid" 2>/dev/null || { echo "run-headless: Xvfb did not start" >&2; exit 1; }
  sleep 0.05
done
[[ -s "$number_file" ]] || { echo "run-headless: Xvfb gave no display" >&2; exit 1; }
DISPLAY=":$(tr -d '[:space:]' <"$number_file")"
# Benchmarks add the server's CPU time to what a window costs.
ZELVARO_XVFB_PID=$xvfb_pid
export DISPLAY ZELVARO_XVFB_PID
status=0
dbus-run-session -- "$@" || status=$?
exit "$status"
