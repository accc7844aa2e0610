# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""The whole-process rows: first painted window (wall, instructions), steady memory and idle wake-ups
of the client, beside a bare Qt window. Prints rows as bench_row.h does: name, unit, ours, floor,
ratio, goal, held or missed. Usage: whole_process.py BIN_FOLDER [RUNS]

Starts its own virtual display and stage; everything ends with the script."""
import glob
import os
import pathlib
import re
import statistics
import subprocess
import sys
import time

from processes import (BIN, client_environment, memory, read_line, row, run, start, start_display, stop,
                       wait_until, wait_until_ready)

RUNS = int(sys.argv[2]) if len(sys.argv) > 2 else 11


def first_paint(command, environment):
    """Runs command until it has painted; gives (milliseconds, pid, the watcher)."""
    watcher = start([str(BIN / "first-paint"), *command], env=environment, stdin=subprocess.PIPE)
    words = read_line(watcher, "first paint", 120).split()
    return float(words[0]), int(words[1]), watcher


def instructions(command, environment, folder):
    """Instructions from exec to painted, by callgrind."""
    out = os.path.join(folder, "callgrind")
    _, pid, watcher = first_paint(["valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={out}.%p",
                                   *command], environment)
    subprocess.run(["callgrind_control", "--dump", str(pid)], check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    dump = pathlib.Path(f"{out}.{pid}.1")
    wait_until(lambda: dump.exists() and "totals:" in dump.read_text(), "callgrind's dump")
    total = int(re.search(r"^totals: (\d+)", dump.read_text(), re.M)[1])
    os.kill(pid, 9)
    stop(watcher)
    return total / 1e6


def wakeups_and_ticks(pid):
    switches = ticks = 0
    for task in glob.glob(f"/proc/{pid}/task/*"):
        switches += int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", pathlib.Path(task, "status").read_text(),
                                  re.M)[1])
        fields = pathlib.Path(task, "stat").read_text().rsplit(")", 1)[1].split()
        ticks += int(fields[11]) + int(fields[12])
    return switches, ticks


def main(folder):
    environment = start_display(folder)
    online = f"{folder}/online"
    pathlib.Path(online).mkdir()
    wait_until_ready(start([str(BIN / "nakwire-stage"), "--rate", "0", "--busy-channel", "--hello-interval", "41250",
                            "--write-deployment", f"{online}/deployment.ini", "--data-home", online,
                            "--parent-pid", str(os.getpid())]))
    # The same layout without an account: a restored tab, and no network.
    offline = pathlib.Path(folder, "offline", "Nakwire")
    offline.mkdir(parents=True)
    (offline / "settings.ini").write_bytes(pathlib.Path(online, "Nakwire/settings.ini").read_bytes())

    bare, client = [str(BIN / "bare-window")], [str(BIN / "nakwire")]
    offline_env = dict(environment, XDG_DATA_HOME=f"{folder}/offline")
    online_env = client_environment(environment, online)

    walls = {"bare": [], "client": []}
    for _ in range(RUNS):
        for name, command, env in (("bare", bare, environment), ("client", client, offline_env)):
            wall, _, watcher = first_paint(command, env)
            walls[name].append(wall)
            stop(watcher)
    row("exec to first painted window", "ms", statistics.median(walls["client"]), statistics.median(walls["bare"]),
        0.75)
    row("exec to first painted window", "M instr", instructions(client, offline_env, folder),
        instructions(bare, environment, folder), 0.8)

    _, bare_pid, bare_watcher = first_paint(bare, environment)
    _, pid, watcher = first_paint(client, online_env)
    time.sleep(15)  # signed in, history read, caches filled
    ours, floor = memory(pid), memory(bare_pid)
    row("steady PSS, one busy channel", "MB", ours["Pss"], floor["Pss"], 1.0)
    row("steady private dirty", "MB", ours["Private_Dirty"], floor["Private_Dirty"], 2.0)
    switches, ticks = wakeups_and_ticks(pid)
    time.sleep(10)
    switches_after, ticks_after = wakeups_and_ticks(pid)
    row("voluntary wake-ups in ten idle seconds", "count", switches_after - switches, None, 8, goal_is_ratio=False)
    row("processor time in ten idle seconds", "ms", 10 * (ticks_after - ticks), None, 0, goal_is_ratio=False)
    for process in (watcher, bare_watcher):
        stop(process)


run(main)
