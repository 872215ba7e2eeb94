#!/usr/bin/python3
"""The real configuration application on the stand-in daemons, driven through
the accessibility bus as a user with a screen reader would: wait for the rules
to load, read them, filter, test which rules apply to an access, unlock, hide
the system rules, delete a user rule, and find the filter daemon's file
without it; import the suggestions the failsafe file offers, and create a rule
in the policy editor.
usage: main_window_e2e.py BUILD_DIR (inside scripts/gui/xvfb-session.sh)"""

import os
import shlex
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
sys.path.insert(0, os.path.join(ROOT, "scripts", "gui"))

import quiven_atspi  # noqa: E402
from quiven_atspi import find, table_rows, wait_for  # noqa: E402

PATH_COLUMN = 6
STATE_COLUMN = 0


def start_services(build_dir, environment):
    output = subprocess.run([os.path.join(ROOT, "scripts", "services.sh"), "start", build_dir],
                            env=environment, check=True, capture_output=True, text=True).stdout
    for line in output.splitlines():
        name, _, value = line.removeprefix("export ").partition("=")
        environment[name] = shlex.split(value)[0]


def user_file(environment):
    with open(os.path.join(environment["QUIVEN_SHARED_DIR"], "local.quiven.rc"), encoding="utf-8") as f:
        return f.read()


def press_in(window, role, name):
    node = wait_for(lambda: find(window, role, name), "%s %r" % (role, name))
    node.queryAction().doAction(0)


def dismiss_notice(application, text):
    """Reads the notice that contains `text` and closes it with its OK button."""
    notice = application.find("alert", contains=None)
    wait_for(lambda: find(notice, "label", contains=text), "the notice %r" % text)
    press_in(notice, "push button", "OK")


def import_failsafe_suggestions(application, environment):
    # Learning mode is off and the failsafe file exists: its suggestions open by themselves.
    window = application.find("dialog", "Import Rules")
    dismiss_notice(application, "denied the following file access attempts")
    suggestions = wait_for(lambda: find(window, "table", "Suggested rules"), "the suggestions")
    paths = table_rows(suggestions, PATH_COLUMN)
    assert paths.count("/home/alice/.ssh/") == 1, paths
    assert not any("id_ed25519" in path for path in paths), paths
    press_in(window, "push button", "Import")
    wait_for(lambda: '"/home/alice/.ssh/" "/tmp/.x11-unix-helper"' in user_file(environment),
             "the two denials to arrive as one rule on their folder")
    dismiss_notice(application, "imported")


def create_rule_in_the_editor(application, environment):
    application.press("push button", "New Rule")
    editor = application.find("dialog", "New policy")
    wait_for(lambda: find(editor, "text", "Path"), "the path field").queryEditableText().setTextContents("/tmp/")
    find(editor, "text", "Application").queryEditableText().setTextContents("/usr/bin/env")
    press_in(editor, "push button", "Save")
    wait_for(lambda: '"/tmp/" "/usr/bin/env" rwc' in user_file(environment), "the new rule in the daemon's file")


def run(build_dir, environment):
    application = quiven_atspi.Application(os.path.join(build_dir, "src", "app", "quiven-config"),
                                           environment=environment)
    try:
        application.wait_until_loaded()
        table = application.table()
        paths = table_rows(table, PATH_COLUMN)
        assert "/mnt/backup/" in paths, paths
        assert "System rule" in table_rows(table, STATE_COLUMN)

        search = application.find("text", "Search rules")
        search.queryEditableText().setTextContents("rsync")
        wait_for(lambda: table.queryTable().nRows == 2, "the filter to leave the two rsync rules")
        search.queryEditableText().setTextContents("")
        wait_for(lambda: table.queryTable().nRows == len(paths), "every rule back")

        # Which rules are about git writing a file in a project?
        application.press("menu item", "Test Access…", showing=False)
        dialog = application.find("dialog", "Test Access")
        quiven_atspi.find(dialog, "text", "Program").queryEditableText().setTextContents("/usr/bin/git")
        quiven_atspi.find(dialog, "text", "File or folder").queryEditableText().setTextContents(
            "~/Projects/app/main.c")
        application.press("push button", "Test")
        application.find("label", contains="Rules matching /usr/bin/git reads ~/Projects/app/main.c")
        matching = table_rows(table, PATH_COLUMN)
        assert 0 < len(matching) < len(paths) and "~/Projects/" in matching, matching
        application.press("push button", "Show All Rules")
        wait_for(lambda: table.queryTable().nRows == len(paths), "every rule back")

        application.press("push button", "Click the lock to make changes.")
        application.find("push button", "Click the lock again to apply changes.")

        application.press("push button", "Hide System Rules")
        application.find("push button", "Show System Rules")
        wait_for(lambda: "System rule" not in table_rows(table, STATE_COLUMN), "system rules to be hidden")

        row = table_rows(table, PATH_COLUMN).index("/mnt/backup/")
        table.queryTable().addRowSelection(row)
        application.press("push button", "Delete")
        wait_for(lambda: "/mnt/backup/" not in user_file(environment), "the filter daemon to drop the rule")
        wait_for(lambda: "/mnt/backup/" not in table_rows(table, PATH_COLUMN), "the row to go")
        assert "~/Music/" in user_file(environment)

        import_failsafe_suggestions(application, environment)
        create_rule_in_the_editor(application, environment)
    finally:
        application.stop()


def main():
    build_dir = os.path.abspath(sys.argv[1])
    environment = os.environ.copy()
    environment["QUIVEN_SERVICES_STATE"] = os.path.join(environment["XDG_RUNTIME_DIR"], "services.state")
    environment["QUIVEN_DEV_AUTH"] = "grant"
    start_services(build_dir, environment)
    try:
        run(build_dir, environment)
    finally:
        subprocess.run([os.path.join(ROOT, "scripts", "services.sh"), "stop"], env=environment, check=False)
    print("main window end-to-end: passed")


if __name__ == "__main__":
    main()
