#!/usr/bin/env bash
# Starts the stand-in daemons on a private bus over a copy of the demo ruleset
# (scripts/services.sh) and opens the configuration application on them. With
# no display, the application runs on a private X server instead and a picture
# of its main window is saved. Stops everything it started on exit.
# usage: scripts/demo.sh BUILD_DIR
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD_DIR="$(cd "${1:?usage: scripts/demo.sh BUILD_DIR}" && pwd)"
APP="$BUILD_DIR/src/app/quiven-config"
[ -x "$APP" ] || { echo "demo: $APP is not built" >&2; exit 1; }

# A state file of our own, so the demo never stops services someone else started.
export QUIVEN_SERVICES_STATE="${XDG_RUNTIME_DIR:-/tmp}/quiven-demo-$$.state"
cleanup() {
    [ ! -f "$QUIVEN_SERVICES_STATE" ] || "$ROOT/scripts/services.sh" stop || true
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

eval "$("$ROOT/scripts/services.sh" start "$BUILD_DIR")"

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ]; then
    echo "demo: opening the configuration application (the lock button unlocks with the development authority)"
    "$APP" || echo "demo: quiven-config ended with status $?" >&2
    exit 0
fi

SHOT="$BUILD_DIR/screenshots/main-window.png"
mkdir -p "$(dirname "$SHOT")"
echo "demo: no display; running the configuration application on a private X server"
export QT_LOGGING_RULES="${QT_LOGGING_RULES:-*.debug=false;*.info=false}"
"$ROOT/scripts/gui/xvfb-session.sh" /usr/bin/python3 "$ROOT/scripts/gui/screenshot.py" "$APP" "$SHOT"
echo "demo: the main window over the demo ruleset: $SHOT"
