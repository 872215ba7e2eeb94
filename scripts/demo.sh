#!/usr/bin/env bash
# Starts the stand-in daemons on a private bus over a copy of the demo ruleset
# (scripts/services.sh), shows what they hold through quivenctl: the system
# settings, the filter's status and the user's ruleset it serves, and the
# loaded demo ruleset with warnings for invalid and redundant rules. Stops
# everything it started on exit, also when something fails.
# usage: scripts/demo.sh BUILD_DIR
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD_DIR="${1:?usage: scripts/demo.sh BUILD_DIR}"
QUIVENCTL="$BUILD_DIR/tools/quivenctl/quivenctl"
[ -x "$QUIVENCTL" ] || { echo "demo: $QUIVENCTL is not built" >&2; exit 1; }

# A state file of our own, so the demo never stops services someone else started.
export QUIVEN_SERVICES_STATE="${XDG_RUNTIME_DIR:-/tmp}/quiven-demo-$$.state"
WORK="$(mktemp -d "${TMPDIR:-/tmp}/quiven-demo.XXXXXX")"
cleanup() {
    [ ! -f "$QUIVEN_SERVICES_STATE" ] || "$ROOT/scripts/services.sh" stop || true
    rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 1' INT TERM HUP

exports="$("$ROOT/scripts/services.sh" start "$BUILD_DIR")"
eval "$exports"

export QT_LOGGING_RULES="${QT_LOGGING_RULES:-*.debug=false;*.info=false;*.warning=false}"
status=0
# One privileged change, authorized by the authority's development backend and
# saved by the filter daemon, so the listing below shows it.
echo "Saving a user rule through the filter daemon (authority answers '${QUIVEN_DEV_AUTH:-grant}')..."
if "$QUIVENCTL" rules add --class allow --type prefix --path '~/Music/' --process /usr/bin/mpv \
    --operations r --tag "added by the demo" --no-prompt >/dev/null; then
    echo "  saved: allow prefix ~/Music/ for /usr/bin/mpv"
else
    echo "  not saved (see the message above)"
fi
"$QUIVENCTL" settings get >"$WORK/settings.json"
"$QUIVENCTL" daemon status >"$WORK/status.json"
"$QUIVENCTL" daemon rules >"$WORK/daemon-rules.json"
"$QUIVENCTL" load >"$WORK/load.json" || status=$?
# The rules as the configuration application loads them through the daemons.
"$QUIVENCTL" rules list >"$WORK/rules.json" || status=$?
if [ "$status" -gt 1 ]; then
    echo "demo: quivenctl failed with status $status" >&2
    exit "$status"
fi

python3 - "$WORK" "$QUIVEN_SYSTEM_RULES_DIR" "$QUIVEN_SHARED_DIR" <<'PY'
import json
import os
import sys
from collections import OrderedDict

work, system_dir, shared_dir = sys.argv[1:4]
root = os.path.dirname(system_dir.rstrip("/")) + "/"

def load(name):
    with open(os.path.join(work, name), encoding="utf-8") as f:
        return json.load(f)

def short(path):
    return path[len(root):] if path.startswith(root) else path

def rule_line(rule):
    words = ["allow", "deny", "watch"]
    types = ["prefix", "path", "suffix"]
    kind = "watch" if rule["kind"] == "watch" else (
        words[rule["policyClass"]] if rule["policyClass"] < 3 else "err")
    match = types[rule["policyType"]] if rule["policyType"] < 3 else "err"
    ops = "".join(l for b, l in zip((1, 2, 4, 8, 16), "rwcmx") if rule["operations"] & b) or "-"
    extras = []
    if rule.get("tag"):
        extras.append('"%s"' % rule["tag"])
    if rule.get("constraint"):
        extras.append("[%s]" % rule["constraint"])
    return ("%-5s %-6s %-5s %s %s" % (kind, match, ops, rule["path"], " ".join(extras))).rstrip()

def by_application(rules):
    groups = OrderedDict()
    for rule in rules:
        key = rule.get("name") or "?"
        if rule["kind"] == "policy" and rule.get("processName") not in (None, "any"):
            key = "%s  (%s)" % (key, rule["processName"])
        groups.setdefault(key, []).append(rule)
    return groups

def print_rules(rules, indent="  "):
    for application, grouped in by_application(rules).items():
        print("%s%s" % (indent, application))
        for rule in grouped:
            marks = ("  <- INVALID" if rule.get("valid") is False else "") + (
                "  <- redundant" if rule.get("redundant") else "")
            print("%s    %s%s" % (indent, rule_line(rule), marks))

print("QUIVEN demo")
print("===========")
print("Temporary root: " + root)

settings = load("settings.json")
print("\nSettings daemon (system settings):")
for key in sorted(settings):
    print("  %-30s %s" % (key, json.dumps(settings[key])))

print("\nFilter daemon status: %s" % load("status.json")["status"])

held = load("daemon-rules.json")
print("\nUser ruleset held by the filter daemon (%d watch, %d policy rules):"
      % (len(held["watchRules"]), len(held["policyRules"])))
print_rules(held["watchRules"] + held["policyRules"])

report = load("load.json")
rows = load("rules.json")["rules"]
if "files" in report:
    print("\nFiles read:")
    for f in report["files"]:
        print("  %-4s %s%s" % ("ok" if f["ok"] else "FAIL", short(f["path"]),
                              "" if f["ok"] else "  - " + (f["error"] or "")))
if "options" in report:
    options = OrderedDict()
    for option in report["options"]:
        options.setdefault(option["name"], option["value"])
    print("\nOptions in force:")
    for name, value in options.items():
        print("  %-28s %d" % (name, value))
if report.get("teamIDs"):
    print("\nTeam IDs trusted for home folders: " + ", ".join(report["teamIDs"]))

print("\nRules as the configuration application loads them through the daemons:")
for title, system in (("System rules", True), ("User rules", False)):
    selected = [r for r in rows if r.get("system") == system]
    print("\n%s (%d):" % (title, len(selected)))
    print_rules(selected)

warnings = [("invalid", r) for r in rows if r.get("valid") is False]
warnings += [("redundant", r) for r in rows if r.get("redundant")]
print("\nWarnings (%d):" % len(warnings))
for what, rule in warnings:
    origin = "system" if rule.get("system") else "user"
    print("  %s %s rule: %s" % (what, origin, rule["text"]))
if not warnings:
    print("  none")
PY
exit "$status"
