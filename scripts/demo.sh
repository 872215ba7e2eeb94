#!/usr/bin/env bash
# Loads the demo ruleset from a temporary root through quivenctl and prints a
# readable summary: files read, options, system and user rules by application,
# and warnings for invalid and redundant rules.
# usage: scripts/demo.sh BUILD_DIR
set -euo pipefail
ROOT="$(cd "$(dirname "$0")/.." && pwd)"
BUILD_DIR="${1:?usage: scripts/demo.sh BUILD_DIR}"
QUIVENCTL="$BUILD_DIR/tools/quivenctl/quivenctl"
[ -x "$QUIVENCTL" ] || { echo "demo: $QUIVENCTL is not built" >&2; exit 1; }

DEMO_ROOT="$(mktemp -d "${TMPDIR:-/tmp}/quiven-demo.XXXXXX")"
trap 'rm -rf "$DEMO_ROOT"' EXIT
cp -R "$ROOT/demo/system" "$DEMO_ROOT/system"
cp -R "$ROOT/demo/shared" "$DEMO_ROOT/shared"
export QUIVEN_SYSTEM_RULES_DIR="$DEMO_ROOT/system/"
export QUIVEN_SHARED_DIR="$DEMO_ROOT/shared/"

status=0
QT_LOGGING_RULES="${QT_LOGGING_RULES:-*.debug=false;*.warning=false}" \
    "$QUIVENCTL" load >"$DEMO_ROOT/load.json" || status=$?
if [ "$status" -gt 1 ]; then
    echo "demo: quivenctl load failed with status $status" >&2
    exit "$status"
fi

python3 - "$DEMO_ROOT/load.json" "$DEMO_ROOT/" <<'PY'
import json
import sys
from collections import OrderedDict

report = json.load(open(sys.argv[1], encoding="utf-8"))
root = sys.argv[2]

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
        key = rule["name"] or "?"
        if rule["kind"] == "policy" and rule["processName"] not in ("any",):
            key = "%s  (%s)" % (rule["name"], rule["processName"])
        groups.setdefault(key, []).append(rule)
    return groups

print("QUIVEN demo ruleset")
print("===================")
print("Files read:")
for f in report["files"]:
    print("  %-4s %s%s" % ("ok" if f["ok"] else "FAIL", short(f["path"]),
                          "" if f["ok"] else "  - " + (f["error"] or "")))

options = OrderedDict()
for option in report["options"]:
    options.setdefault(option["name"], option["value"])
print("\nOptions in force:")
for name, value in options.items():
    print("  %-28s %d" % (name, value))
if report["teamIDs"]:
    print("\nTeam IDs trusted for home folders: " + ", ".join(report["teamIDs"]))

rows = report["rows"]
for title, system in (("System rules", True), ("User rules", False)):
    selected = [r for r in rows if r["system"] == system]
    print("\n%s (%d):" % (title, len(selected)))
    for application, rules in by_application(selected).items():
        print("  %s" % application)
        for rule in rules:
            marks = ("  <- INVALID" if not rule["valid"] else "") + (
                "  <- redundant" if rule.get("redundant") else "")
            print("      " + rule_line(rule) + marks)

warnings = [("invalid", r) for r in rows if not r["valid"]]
warnings += [("redundant", r) for r in rows if r.get("redundant")]
print("\nWarnings (%d):" % len(warnings))
for what, rule in warnings:
    origin = "system" if rule["system"] else "user"
    print("  %s %s rule: %s" % (what, origin, rule["text"]))
if not warnings:
    print("  none")
PY
exit "$status"
