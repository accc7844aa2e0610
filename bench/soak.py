# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs the client for a while in front of a busy stage and watches that nothing grows: resident and
proportional memory, file descriptors, threads, processor time. Prints a line a minute and at the end
compares the last minute with the first. Usage: soak.py BIN_FOLDER [MINUTES [MESSAGES_PER_SECOND]]

Starts its own virtual display and stage, and ends everything by itself."""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

BIN = pathlib.Path(sys.argv[1]).resolve()
MINUTES = int(sys.argv[2]) if len(sys.argv) > 2 else 30
RATE = sys.argv[3] if len(sys.argv) > 3 else "50"
children = []


def start(command, **arguments):
    process = subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **arguments)
    children.append(process)
    return process


def sample(pid):
    rollup = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    megabytes = {key: int(re.search(rf"^{key}:\s+(\d+)", rollup, re.M)[1]) / 1024
                 for key in ("Rss", "Pss", "Private_Dirty")}
    return {**megabytes, "fds": len(os.listdir(f"/proc/{pid}/fd")), "threads": len(os.listdir(f"/proc/{pid}/task")),
            "cpu_s": (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")}


def main(folder):
    server = start(["Xvfb", "-displayfd", "1", "-screen", "0", "1600x1000x24", "-nolisten", "tcp"],
                   stderr=subprocess.DEVNULL)
    environment = dict(os.environ, DISPLAY=":" + server.stdout.readline().strip(), HOME=folder,
                       XDG_DATA_HOME=folder, NAKWIRE_DEPLOYMENT=f"{folder}/deployment.ini")
    environment.pop("QT_QPA_PLATFORM", None)
    stage = start([str(BIN / "nakwire-stage"), "--rate", RATE, "--busy-channel", "--write-deployment",
                   f"{folder}/deployment.ini", "--data-home", folder, "--seconds", str(60 * MINUTES + 120),
                   "--parent-pid", str(os.getpid())])
    while not stage.stdout.readline().startswith("ready"):
        pass
    client = start([str(BIN / "nakwire")], env=environment)
    began = time.monotonic()
    samples = {}
    for minute in range(1, MINUTES + 1):
        time.sleep(max(0.0, began + 60 * minute - time.monotonic()))
        samples[minute] = sample(client.pid)
        store = sum(p.stat().st_size for p in pathlib.Path(folder, "Nakwire").glob("discord_client.nakdb*")) / 2**20
        print(f"minute {minute:2}: " + "  ".join(f"{k} {v:.1f}" if isinstance(v, float) else f"{k} {v}"
                                                  for k, v in samples[minute].items()) + f"  store_MB {store:.1f}", flush=True)
    first, last = samples[1], samples[MINUTES]
    # Not by the proportional size, which moves with every other program that maps the same libraries.
    flat = all(last[key] <= first[key] * 1.03 + 0.5 for key in ("Rss", "Private_Dirty"))
    same = all(last[key] <= first[key] for key in ("fds", "threads"))
    print(f"memory {'flat' if flat else 'GROWS'}, descriptors and threads {'constant' if same else 'GROW'}")
    return 0 if flat and same else 1


with tempfile.TemporaryDirectory() as temporary:
    try:
        status = main(temporary)
    finally:
        for child in reversed(children):
            child.terminate()
            child.wait(timeout=20)
sys.exit(status)
