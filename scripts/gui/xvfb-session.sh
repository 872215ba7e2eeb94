#!/usr/bin/env bash
# Runs COMMAND on a private X server (Xvfb) inside a private session bus with
# the accessibility bus started, as the configuration application's
# screenshots and end-to-end tests need. Everything it started ends with it.
# usage: scripts/gui/xvfb-session.sh COMMAND [ARGUMENTS...]
set -euo pipefail
[ $# -gt 0 ] || { echo "usage: $0 COMMAND [ARGUMENTS...]" >&2; exit 2; }

RUNTIME="$(mktemp -d "${TMPDIR:-/tmp}/quiven-xvfb.XXXXXX")"
chmod 700 "$RUNTIME"
XVFB_PID=""
cleanup() {
    [ -z "$XVFB_PID" ] || kill "$XVFB_PID" 2>/dev/null || true
    rm -rf "$RUNTIME"
}
trap cleanup EXIT

# Xvfb picks a free display itself and writes its number once it accepts clients.
# Without -noreset it resets whenever its last client leaves (the
# accessibility bus launcher connects only to publish its address), and a
# client that connects during the reset is refused.
exec 3>"$RUNTIME/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp -noreset >"$RUNTIME/xvfb.log" 2>&1 &
XVFB_PID=$!
exec 3>&-
for _ in $(seq 1 100); do
    [ -s "$RUNTIME/display" ] && break
    kill -0 "$XVFB_PID" 2>/dev/null || { cat "$RUNTIME/xvfb.log" >&2; exit 1; }
    sleep 0.1
done
[ -s "$RUNTIME/display" ] || { echo "xvfb-session: Xvfb did not start" >&2; exit 1; }
export DISPLAY=":$(head -n1 "$RUNTIME/display")"
export XDG_RUNTIME_DIR="$RUNTIME"
export QT_QPA_PLATFORM=xcb
export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
export NO_AT_BRIDGE=0

# The accessibility bus is started on demand by asking the session bus for it.
dbus-run-session -- bash -c '
    dbus-send --session --print-reply --dest=org.a11y.Bus /org/a11y/bus org.a11y.Bus.GetAddress >/dev/null
    exec "$@"' xvfb-session "$@"
