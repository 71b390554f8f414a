#!/usr/bin/env bash
# Runs a test binary as a client of a headless weston of its own. Exits 77
# (ctest's skip) when weston or Qt's Wayland plugin is not installed.
set -euo pipefail
test_binary=$1
shift
if ! command -v weston >/dev/null; then
  echo "SKIP: weston is not installed (Debian package weston)"
  exit 77
fi
if ! compgen -G "/usr/lib/*/qt6/plugins/platforms/libqwayland-*.so" >/dev/null; then
  echo "SKIP: Qt's Wayland platform plugin is not installed (Debian package qt6-wayland)"
  exit 77
fi
runtime=$(mktemp -d /tmp/zelvaro-wayland.XXXXXX)
chmod 700 "$runtime"
socket=zelvaro-test-$$
export XDG_RUNTIME_DIR=$runtime
weston --backend=headless-backend.so --socket="$socket" --width=1600 --height=1000 \
  --idle-time=0 >"$runtime/weston.log" 2>&1 &
weston_pid=$!
trap 'kill "$weston_pid" 2>/dev/null; wait "$weston_pid" 2>/dev/null; rm -rf "$runtime"' EXIT
for _ in $(seq 100); do
  [[ -S "$runtime/$socket" ]] && break
  kill -0 "$weston_pid" 2>/dev/null || { cat "$runtime/weston.log"; exit 1; }
  sleep 0.1
done
[[ -S "$runtime/$socket" ]] || { echo "weston did not open its socket"; cat "$runtime/weston.log"; exit 1; }
unset DISPLAY
WAYLAND_DISPLAY=$socket QT_QPA_PLATFORM=wayland "$test_binary" "$@"
