# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""A large account in the running client: what memory its READY takes and leaves behind, and how long
the window does not answer meanwhile. Prints rows as bench_row.h does. Usage: ready_process.py BIN_FOLDER

Starts its own virtual display and stage; everything ends with the script."""
import contextlib
import pathlib
import sqlite3
import statistics
import subprocess
import time

from processes import (BIN, client_environment, memory, read_line, row, run, start, start_display, stop,
                       wait_until, wait_until_ready)

SETTLED = 6  # seconds after a client has signed in until everything is still
RUNS = 3
FRAME_MS = 16


class SignedIn:
    """A client that is signed in to a small account, which is about to become a large one."""

    def __init__(self, environment, folder, shape):
        pathlib.Path(folder).mkdir()
        self.store = f"{folder}/Nakwire/discord_client.nakdb"
        guilds, _, members = shape
        self.members = guilds * members
        self.stage = start([str(BIN / "ready-stage"), folder, *map(str, shape)], stdin=subprocess.PIPE)
        wait_until_ready(self.stage)
        self.client = start([str(BIN / "nakwire")], env=client_environment(environment, folder))
        wait_until(lambda: self.count("local_user") > 0, "sign-in")
        time.sleep(SETTLED)

    def count(self, table):
        """Rows in the client's store; 0 while it is not there."""
        with contextlib.suppress(sqlite3.OperationalError):
            with contextlib.closing(sqlite3.connect(f"file:{self.store}?mode=ro", uri=True)) as store:
                return store.execute(f"select count(*) from {table}").fetchone()[0]
        return 0

    def send_ready(self):
        """Until it is in the store; gives the document's megabytes."""
        self.stage.stdin.write("\n")
        self.stage.stdin.flush()
        size = int(read_line(self.stage, "size of the READY"))
        wait_until(lambda: self.count("guild_member") >= self.members, "READY in the store")
        return size / 2**20

    def stop(self):
        stop(self.client)
        stop(self.stage)


def ready_memory(environment, folder):
    signed_in = SignedIn(environment, folder, (100, 120, 200))
    pid = signed_in.client.pid
    steady = memory(pid)
    pathlib.Path(f"/proc/{pid}/clear_refs").write_text("5")  # the peak is counted anew
    document = signed_in.send_ready()
    time.sleep(5)
    after = memory(pid)
    signed_in.stop()
    return (after["VmHWM"] - steady["VmRSS"]) / document, after["VmRSS"] / steady["VmRSS"], steady["VmRSS"]


def start_pings(environment, process):
    pings = start([str(BIN / "window-pings"), str(process.pid)], env=environment, stdin=subprocess.PIPE)
    wait_until_ready(pings)
    return pings


def stop_pings(pings):
    """Milliseconds of the longest wait, by the clock and by the processor time of the thread."""
    pings.stdin.close()
    count, wall, processor = map(float, read_line(pings, "waits of the window").split())
    if count < 1000:
        raise RuntimeError("the window did not answer")
    return wall, processor


def longest_waits(environment, folder):
    """Of the client and of a bare window beside it, which the same busy machine keeps waiting."""
    signed_in = SignedIn(environment, folder, (100, 200, 1000))
    bare = start([str(BIN / "bare-window")], env=environment)
    both = [start_pings(environment, process) for process in (signed_in.client, bare)]
    signed_in.send_ready()
    time.sleep(5)
    (wall, processor), (bare_wall, _) = (stop_pings(pings) for pings in both)
    stop(bare)
    signed_in.stop()
    return wall, processor, bare_wall


def main(folder):
    environment = start_display(folder)
    peaks, rests, steadies = zip(*(ready_memory(environment, f"{folder}/memory{i}") for i in range(RUNS)))
    row("READY of 14 MB: peak above steady / document", "x", statistics.median(peaks), None, 5, goal_is_ratio=False)
    steady = statistics.median(steadies)
    row("READY of 14 MB: resident five seconds later", "MB", statistics.median(rests) * steady, steady, 1.05)
    walls, processors, bares = zip(*(longest_waits(environment, f"{folder}/window{i}") for i in range(RUNS)))
    name = "READY of 100,000 members: longest wait for the window"
    row(name, "ms", statistics.median(walls), statistics.median(bares), 2)
    row(f"{name}, processor", "ms", statistics.median(processors), FRAME_MS, 1)


run(main)
