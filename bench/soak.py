# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs the client for a while in front of a busy stage and watches that nothing grows: resident and
proportional memory, file descriptors, threads, processor time. Prints a line a minute and at the end
compares the last minute with that at a quarter of the time, when the caches, which are bounded, are
full. Usage: soak.py BIN_FOLDER [MINUTES [MESSAGES_PER_SECOND]]

Starts its own virtual display and stage, and ends everything by itself."""
import os
import pathlib
import sys
import time

from processes import BIN, client_environment, memory, run, start, start_display, wait_until_ready

MINUTES = int(sys.argv[2]) if len(sys.argv) > 2 else 30
RATE = sys.argv[3] if len(sys.argv) > 3 else "50"


def sample(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rsplit(")", 1)[1].split()
    kernel = memory(pid)
    megabytes = {key: kernel[key] for key in ("Rss", "Pss", "Private_Dirty")}
    return {**megabytes, "fds": len(os.listdir(f"/proc/{pid}/fd")), "threads": len(os.listdir(f"/proc/{pid}/task")),
            "cpu_s": (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")}


def main(folder):
    environment = client_environment(start_display(folder), folder)
    wait_until_ready(start([str(BIN / "nakwire-stage"), "--rate", RATE, "--busy-channel", "--write-deployment",
                            f"{folder}/deployment.ini", "--data-home", folder, "--seconds", str(60 * MINUTES + 120),
                            "--parent-pid", str(os.getpid())]))
    client = start([str(BIN / "nakwire")], env=environment)
    began = time.monotonic()
    samples = {}
    for minute in range(1, MINUTES + 1):
        time.sleep(max(0.0, began + 60 * minute - time.monotonic()))
        samples[minute] = sample(client.pid)
        store = sum(p.stat().st_size for p in pathlib.Path(folder, "Nakwire").glob("discord_client.nakdb*")) / 2**20
        print(f"minute {minute:2}: " + "  ".join(f"{k} {v:.1f}" if isinstance(v, float) else f"{k} {v}"
                                                  for k, v in samples[minute].items()) + f"  store_MB {store:.1f}", flush=True)
    first, last = samples[max(1, MINUTES // 4)], samples[MINUTES]
    # Not by the proportional size, which moves with every other program that maps the same libraries.
    flat = all(last[key] <= first[key] * 1.03 + 0.5 for key in ("Rss", "Private_Dirty"))
    same = all(last[key] <= first[key] for key in ("fds", "threads"))
    print(f"memory {'flat' if flat else 'GROWS'}, descriptors and threads {'constant' if same else 'GROW'}")
    return 0 if flat and same else 1


sys.exit(run(main))
