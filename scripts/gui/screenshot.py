#!/usr/bin/python3
"""Starts the configuration application, waits for its rules to load and
saves a picture of the main window.
usage: screenshot.py QUIVEN_CONFIG OUTPUT.png"""

import sys

import quiven_atspi


def main():
    program, output = sys.argv[1:3]
    application = quiven_atspi.Application(program)
    try:
        application.wait_until_loaded()
        # A failed load ends in an alert over the table: no picture then.
        if quiven_atspi.find(application.root, "alert") is not None:
            sys.exit("screenshot: the rules did not load")
        quiven_atspi.screenshot(application.main_window(), output)
    finally:
        application.stop()


if __name__ == "__main__":
    main()
