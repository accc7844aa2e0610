# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the benches of whole processes share: children that end with the script, a virtual display,
the rows of the table, and what /proc tells of a process."""
import contextlib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

BIN = pathlib.Path(sys.argv[1]).resolve()
LAST_LINES = 8
children = []
logs = {}  # what each child says beside its output, by process


def row(name, unit, ours, floor, goal, goal_is_ratio=True):
    ratio = f"{ours / floor:.3f}" if goal_is_ratio else "-"
    held = (ours / floor if goal_is_ratio else ours) <= goal
    print(f"{name}\t{unit}\t{ours:.2f}\t{f'{floor:.2f}' if goal_is_ratio else '-'}\t{ratio}\t<={goal}\t"
          f"{'held' if held else 'missed'}", flush=True)


@contextlib.contextmanager
def within(seconds, what):
    """Whatever waits in it fails after so many seconds."""

    def fail(*_):
        raise TimeoutError(f"{what}: not within {seconds} seconds")

    before = signal.signal(signal.SIGALRM, fail)
    signal.alarm(seconds)
    try:
        yield
    finally:
        signal.alarm(0)
        signal.signal(signal.SIGALRM, before)


def start(command, **arguments):
    log = tempfile.TemporaryFile()
    process = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=log, text=True, **arguments)
    children.append(process)
    logs[process] = log
    return process


def stop(process):
    if process.stdin:
        process.stdin.close()
    else:
        process.terminate()
    process.wait(timeout=20)
    children.remove(process)
    logs.pop(process).close()


def read_line(process, what, seconds=60):
    with within(seconds, what):
        line = process.stdout.readline()
    if not line:
        raise RuntimeError(f"{what}: {process.args[0]} ended before it told")
    return line


def wait_until(condition, what, seconds=60):
    with within(seconds, what):
        while not condition():
            time.sleep(0.2)


def start_display(folder):
    """The environment of programs on a virtual display of their own. The server takes the first
    number that no other has locked, and tells it when it can be used."""
    server = start(["Xvfb", "-displayfd", "1", "-screen", "0", "1600x1000x24", "-nolisten", "tcp"])
    number = read_line(server, "number of the display").strip()
    environment = dict(os.environ, DISPLAY=":" + number, HOME=folder)
    environment.pop("QT_QPA_PLATFORM", None)
    return environment


def client_environment(environment, folder):
    """With the data directory and the deployment file that a stage wrote into folder."""
    return dict(environment, XDG_DATA_HOME=folder, NAKWIRE_DEPLOYMENT=f"{folder}/deployment.ini")


def wait_until_ready(process):
    while not read_line(process, "readiness").startswith("ready"):
        pass


def memory(pid):
    """Megabytes by the names of the kernel."""
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    text += pathlib.Path(f"/proc/{pid}/status").read_text()
    return {key: int(value) / 1024 for key, value in re.findall(r"^(\w+):\s+(\d+) kB", text, re.M)}


def tell_of_children():
    """How each stands, and what it said last."""
    for child in children:
        status = child.poll()
        state = "runs" if status is None else f"ended with {status}"
        print(f"{' '.join(child.args)}: {state}", file=sys.stderr)
        logs[child].seek(0)
        for line in logs[child].read().decode(errors="replace").splitlines()[-LAST_LINES:]:
            print(f"    {line}", file=sys.stderr)


def end_children():
    for child in reversed(children):
        child.terminate()
        try:
            child.wait(timeout=20)
        except subprocess.TimeoutExpired:
            child.kill()


def run(main):
    """Calls main with a temporary folder; every child ends with it. Gives what main gives. A failure
    tells what stood how when it came."""
    with tempfile.TemporaryDirectory() as temporary:
        try:
            return main(temporary)
        except BaseException as failure:
            print(f"{sys.argv[0]}: {type(failure).__name__}: {failure}", file=sys.stderr)
            tell_of_children()
            raise
        finally:
            end_children()
