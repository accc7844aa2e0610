# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the benches of whole processes share: children that end with the script, a virtual display,
the rows of the table, and what /proc tells of a process."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

BIN = pathlib.Path(sys.argv[1]).resolve()
children = []


def row(name, unit, ours, floor, goal, goal_is_ratio=True):
    ratio = f"{ours / floor:.3f}" if goal_is_ratio else "-"
    held = (ours / floor if goal_is_ratio else ours) <= goal
    print(f"{name}\t{unit}\t{ours:.2f}\t{f'{floor:.2f}' if goal_is_ratio else '-'}\t{ratio}\t<={goal}\t"
          f"{'held' if held else 'missed'}", flush=True)


def start(command, **arguments):
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **arguments)
    children.append(process)
    return process


def stop(process):
    if process.stdin:
        process.stdin.close()
    else:
        process.terminate()
    process.wait(timeout=20)
    children.remove(process)


def start_display(folder):
    """The environment of programs on a virtual display of their own."""
    server = start(["Xvfb", "-displayfd", "1", "-screen", "0", "1600x1000x24", "-nolisten", "tcp"],
                   stderr=subprocess.DEVNULL)
    environment = dict(os.environ, DISPLAY=":" + server.stdout.readline().strip(), HOME=folder)
    environment.pop("QT_QPA_PLATFORM", None)
    return environment


def client_environment(environment, folder):
    """With the data directory and the deployment file that a stage wrote into folder."""
    return dict(environment, XDG_DATA_HOME=folder, NAKWIRE_DEPLOYMENT=f"{folder}/deployment.ini")


def wait_until_ready(process):
    while not process.stdout.readline().startswith("ready"):
        if process.poll() is not None:
            sys.exit("a program ended before it was ready")


def memory(pid):
    """Megabytes by the names of the kernel."""
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    text += pathlib.Path(f"/proc/{pid}/status").read_text()
    return {key: int(value) / 1024 for key, value in re.findall(r"^(\w+):\s+(\d+) kB", text, re.M)}


def run(main):
    """Calls main with a temporary folder; every child ends with it. Gives what main gives."""
    with tempfile.TemporaryDirectory() as temporary:
        try:
            return main(temporary)
        finally:
            for child in reversed(children):
                child.terminate()
            for child in children:
                try:
                    child.wait(timeout=20)
                except subprocess.TimeoutExpired:
                    child.kill()
