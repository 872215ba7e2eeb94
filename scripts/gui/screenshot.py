#!/usr/bin/python3
"""Starts the configuration application, waits for its rules to load and
saves a picture of the main window.
usage: screenshot.py QUIVEN_CONFIG OUTPUT.png"""

import sys

import quiven_atspi


def put_suggestions_aside(application):
    """The suggestion import opens by itself when the filter left suggestions
    (as in the demo); its notice and window are closed for the picture."""
    try:
        notice = application.find("alert", timeout=3)
    except quiven_atspi.Timeout:
        return
    quiven_atspi.find(notice, "push button", "OK").queryAction().doAction(0)
    importer = application.find("dialog", "Import Rules")
    quiven_atspi.find(importer, "push button", "Cancel").queryAction().doAction(0)
    application.gone("dialog", "Import Rules")


def main():
    program, output = sys.argv[1:3]
    application = quiven_atspi.Application(program)
    try:
        application.wait_until_loaded()
        if quiven_atspi.find(application.root, "label", contains="Failed to reload") is not None:
            sys.exit("screenshot: the rules did not load")
        put_suggestions_aside(application)
        quiven_atspi.screenshot(application.main_window(), output)
    finally:
        application.stop()


if __name__ == "__main__":
    main()
