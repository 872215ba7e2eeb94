"""Drives the configuration application from outside, through the
accessibility bus, as a screen reader or a person at the keyboard would."""

import os
import subprocess
import time

import pyatspi

DEFAULT_TIMEOUT = 30.0


class Timeout(Exception):
    pass


def wait_for(condition, what, timeout=DEFAULT_TIMEOUT):
    """Polls `condition` until it gives a true value, which is returned."""
    deadline = time.monotonic() + timeout
    while True:
        try:
            value = condition()
        except Exception:  # the tree changes under us while the window updates
            value = None
        if value:
            return value
        if time.monotonic() > deadline:
            raise Timeout("timed out waiting for " + what)
        time.sleep(0.05)


def find(root, role, name=None, contains=None):
    def matches(node):
        if node is None or node.getRoleName() != role:
            return False
        if name is not None and node.name.strip() != name:
            return False
        if contains is not None and contains not in node.name:
            return False
        return node.getState().contains(pyatspi.STATE_SHOWING)
    return pyatspi.findDescendant(root, matches, breadth_first=True)


class Application:
    def __init__(self, program, arguments=(), environment=None):
        self.process = subprocess.Popen([program, *arguments], env=environment or os.environ.copy())
        self.name = os.path.basename(program)
        self.root = wait_for(self._find_application, "the application on the accessibility bus")

    def _find_application(self):
        desktop = pyatspi.Registry.getDesktop(0)
        for index in range(desktop.childCount):
            application = desktop.getChildAtIndex(index)
            if application is not None and application.name == self.name:
                return application
        return None

    def find(self, role, name=None, contains=None, timeout=DEFAULT_TIMEOUT):
        return wait_for(lambda: find(self.root, role, name, contains),
                        "%s %r" % (role, name or contains), timeout)

    def gone(self, role, contains, timeout=DEFAULT_TIMEOUT):
        wait_for(lambda: find(self.root, role, contains=contains) is None,
                 "%s %r to go" % (role, contains), timeout)

    def wait_until_loaded(self):
        # The overlay is up before the application joins the accessibility bus.
        self.table()
        self.gone("label", contains="being loaded")

    def main_window(self):
        return self.find("frame", contains="Configuration")

    def table(self):
        return self.find("table", "Rules")

    def press(self, role, name):
        node = self.find(role, name)
        wait_for(lambda: node.getState().contains(pyatspi.STATE_ENABLED), "%r to be enabled" % name)
        node.queryAction().doAction(0)
        return node

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()


def table_rows(table, column):
    cells = table.queryTable()
    return [cells.getAccessibleAt(row, column).name for row in range(cells.nRows)]


def screenshot(window, path):
    """Saves the part of the screen the window covers as a PNG."""
    extents = window.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    geometry = "%dx%d+%d+%d" % (extents.width, extents.height, extents.x, extents.y)
    subprocess.run(["import", "-window", "root", "-crop", geometry, "+repage", path], check=True)
