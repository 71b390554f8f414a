#!/usr/bin/env bash
# Runs a command with a display and a D-Bus session bus: under Xvfb (1080p)
# when there is no display, always inside its own session bus, so tests never
# touch the desktop's bus.
set -euo pipefail
if [[ -z "${XDG_RUNTIME_DIR:-}" ]]; then
  XDG_RUNTIME_DIR=$(mktemp -d /tmp/zelvaro-runtime.XXXXXX)
  export XDG_RUNTIME_DIR
fi
if [[ -z "${DISPLAY:-}" && -z "${WAYLAND_DISPLAY:-}" ]]; then
  exec xvfb-run -a -s "-screen 0 1920x1080x24 -nolisten tcp" dbus-run-session -- "$@"
fi
exec dbus-run-session -- "$@"
