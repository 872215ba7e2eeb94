#!/usr/bin/env bash
# Runs the stand-in daemons on a private system bus over a copy of the demo
# ruleset in a temporary root.
#
#   scripts/services.sh start BUILD_DIR   prints eval-able `export` lines
#   scripts/services.sh stop              stops what start started
#
# QUIVEN_DEV_AUTH=grant|deny|cancel (default grant) tells the development
# authority how to answer. QUIVEN_SERVICES_STATE names the state file (default
# ${XDG_RUNTIME_DIR:-/tmp}/quiven-services.state), so several runs can coexist.
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
STATE="${QUIVEN_SERVICES_STATE:-${XDG_RUNTIME_DIR:-/tmp}/quiven-services.state}"
NAME_TIMEOUT_SECONDS=20

say() { echo "services: $*" >&2; }

usage() {
    echo "usage: scripts/services.sh start BUILD_DIR | stop" >&2
    exit 2
}

xml_escape() {
    local text="$1"
    text="${text//&/&amp;}"
    text="${text//</&lt;}"
    text="${text//>/&gt;}"
    printf '%s' "$text"
}

# The state file holds "root PATH" and "pid PID PROGRAM" lines, in start order.
record() { echo "$*" >>"$STATE"; }

alive() {
    local pid="$1" state
    [ -r "/proc/$pid/stat" ] || return 1
    # A zombie whose parent is gone has stopped all the same.
    state="$(sed -e 's/^.*) //' "/proc/$pid/stat" | cut -d' ' -f1)"
    [ "$state" != "Z" ]
}

# True when PID still runs PROGRAM, so a recycled pid is never signalled.
runs_program() {
    local pid="$1" program="$2"
    alive "$pid" && tr '\0' '\n' <"/proc/$pid/cmdline" 2>/dev/null | head -n1 | grep -qF "$program"
}

any_recorded_running() {
    local kind pid program
    while read -r kind pid program; do
        [ "$kind" = pid ] && runs_program "$pid" "$program" && return 0
    done <"$STATE"
    return 1
}

stop_pid() {
    local pid="$1" program="$2" waited=0
    runs_program "$pid" "$program" || return 0
    kill -TERM "$pid" 2>/dev/null || return 0
    while alive "$pid" && [ "$waited" -lt 50 ]; do
        sleep 0.1
        waited=$((waited + 1))
    done
    if alive "$pid"; then
        say "$program ($pid) ignored SIGTERM; killing it"
        kill -KILL "$pid" 2>/dev/null || true
    fi
}

cmd_stop() {
    if [ ! -f "$STATE" ]; then
        say "nothing to stop ($STATE does not exist)"
        return 0
    fi
    local -a pids=() programs=()
    local root="" kind first second
    while read -r kind first second; do
        case "$kind" in
        root) root="$first" ;;
        pid)
            pids+=("$first")
            programs+=("$second")
            ;;
        esac
    done <"$STATE"
    # Daemons first, the bus they talk over last.
    local i
    for ((i = ${#pids[@]} - 1; i >= 0; i--)); do
        stop_pid "${pids[$i]}" "${programs[$i]}"
    done
    # Only a root that start made is removed, whatever the state file says.
    case "$(basename "${root:-/}")" in
    quiven-services.*) rm -rf "$root" ;;
    *) [ -z "$root" ] || say "not removing unexpected root '$root'" ;;
    esac
    rm -f "$STATE"
}

bus_call() {
    DBUS_SYSTEM_BUS_ADDRESS="$BUS_ADDRESS" dbus-send --system --print-reply --reply-timeout=2000 \
        --dest=org.freedesktop.DBus /org/freedesktop/DBus "$@"
}

# Waits until NAME has an owner on the bus, or PID has died, or time is up.
wait_for_name() {
    local name="$1" pid="$2" log="$3" deadline=$((SECONDS + NAME_TIMEOUT_SECONDS))
    while [ "$SECONDS" -lt "$deadline" ]; do
        if ! alive "$pid"; then
            say "$name: the daemon exited during start-up; its log ($log):"
            tail -n 20 "$log" >&2 || true
            return 1
        fi
        if bus_call org.freedesktop.DBus.NameHasOwner "string:$name" 2>/dev/null | grep -q 'boolean true'; then
            return 0
        fi
        sleep 0.1
    done
    say "$name did not appear on the bus within ${NAME_TIMEOUT_SECONDS}s"
    return 1
}

wait_for_bus() {
    local pid="$1" deadline=$((SECONDS + NAME_TIMEOUT_SECONDS))
    while [ "$SECONDS" -lt "$deadline" ]; do
        alive "$pid" || break
        bus_call org.freedesktop.DBus.GetId >/dev/null 2>&1 && return 0
        sleep 0.1
    done
    say "the private bus did not come up; its log:"
    cat "$SERVICES_ROOT/dbus-daemon.log" >&2 || true
    return 1
}

# Starts PROGRAM ARGS... in the background with its output in ROOT/NAME.log
# and records its pid; sets STARTED_PID.
launch() {
    local log
    log="$SERVICES_ROOT/$(basename "$1").log"
    "$@" </dev/null >"$log" 2>&1 &
    STARTED_PID=$!
    record pid "$STARTED_PID" "$1"
}

abandon_start() {
    [ "$START_COMPLETE" = 1 ] && return 0
    say "start failed; stopping what was started"
    cmd_stop
}

cmd_start() {
    local build_dir="${1:-}"
    [ -n "$build_dir" ] || usage
    build_dir="$(cd "$build_dir" && pwd)"
    local authd="$build_dir/services/authority/quiven-authd"
    local settingsd="$build_dir/services/settingsd/quiven-settingsd"
    local filterd="$build_dir/services/filterd/quiven-filterd"
    local program
    for program in "$authd" "$settingsd" "$filterd"; do
        [ -x "$program" ] || { say "$program is not built"; exit 1; }
    done
    for program in dbus-daemon dbus-send; do
        command -v "$program" >/dev/null || { say "$program is needed"; exit 1; }
    done
    if [ -f "$STATE" ]; then
        if any_recorded_running; then
            say "services are already running ($STATE); run 'scripts/services.sh stop' first"
            exit 1
        fi
        # Left behind by a run that died with the machine or a kill -9.
        say "clearing the stale state of an earlier run"
        cmd_stop
    fi

    # Whatever fails or interrupts from here on takes down what was already started.
    START_COMPLETE=0
    trap abandon_start EXIT
    trap 'exit 1' INT TERM HUP
    SERVICES_ROOT="$(mktemp -d "${TMPDIR:-/tmp}/quiven-services.XXXXXX")"
    : >"$STATE"
    record root "$SERVICES_ROOT"

    cp -R "$ROOT/demo/system" "$SERVICES_ROOT/system"
    cp -R "$ROOT/demo/shared" "$SERVICES_ROOT/shared"
    mkdir -p "$SERVICES_ROOT/state" "$SERVICES_ROOT/bus"

    local includes="" policy
    for policy in "$ROOT"/dbus/*.conf; do
        includes+="  <include>$(xml_escape "$policy")</include>"$'\n'
    done
    local socket="$SERVICES_ROOT/bus/system_bus_socket"
    BUS_ADDRESS="unix:path=$socket"
    local template
    template="$(<"$ROOT/dbus/private-system-bus.conf.in")"
    template="${template//@QUIVEN_LISTEN@/$(xml_escape "$BUS_ADDRESS")}"
    printf '%s\n' "${template//@QUIVEN_POLICY_INCLUDES@/$includes}" >"$SERVICES_ROOT/bus.conf"

    launch dbus-daemon --nofork --config-file="$SERVICES_ROOT/bus.conf"
    wait_for_bus "$STARTED_PID"

    export DBUS_SYSTEM_BUS_ADDRESS="$BUS_ADDRESS"
    export QUIVEN_SYSTEM_RULES_DIR="$SERVICES_ROOT/system/"
    export QUIVEN_SHARED_DIR="$SERVICES_ROOT/shared/"
    export QUIVEN_DEV_AUTH="${QUIVEN_DEV_AUTH:-grant}"

    launch "$authd" --dev-backend
    local authd_pid="$STARTED_PID"
    wait_for_name com.norvalis.nrauthd "$authd_pid" "$SERVICES_ROOT/quiven-authd.log"
    launch "$settingsd" --state-dir "$SERVICES_ROOT/state"
    local settingsd_pid="$STARTED_PID"
    wait_for_name com.norvalis.nrsettingsd "$settingsd_pid" "$SERVICES_ROOT/quiven-settingsd.log"
    launch "$filterd"
    local filterd_pid="$STARTED_PID"
    wait_for_name com.norvalis.nrquivend "$filterd_pid" "$SERVICES_ROOT/quiven-filterd.log"
    START_COMPLETE=1

    say "daemons running in $SERVICES_ROOT (logs: *.log there; authority answers '$QUIVEN_DEV_AUTH')"
    local variable
    for variable in DBUS_SYSTEM_BUS_ADDRESS QUIVEN_SYSTEM_RULES_DIR QUIVEN_SHARED_DIR; do
        printf 'export %s=%q\n' "$variable" "${!variable}"
    done
    printf 'export QUIVEN_AUTHD_PID=%d\n' "$authd_pid"
    printf 'export QUIVEN_FILTERD_PID=%d\n' "$filterd_pid"
    printf 'export QUIVEN_SETTINGSD_PID=%d\n' "$settingsd_pid"
}

case "${1:-}" in
start)
    shift
    cmd_start "$@"
    ;;
stop) cmd_stop ;;
*) usage ;;
esac
