# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Lints sources with clang-tidy, with the flags of the build but without GCC's precompiled headers,
which clang cannot read and which would hide a missing include.
Usage: check_lint.py BUILD_FOLDER SOURCE..."""
import concurrent.futures
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

build_folder, *sources = sys.argv[1:]
commands = json.loads(pathlib.Path(build_folder, "compile_commands.json").read_text())
known = set()
for entry in commands:
    entry["command"] = re.sub(r" -Winvalid-pch| -include \S+cmake_pch\.hxx", "", entry["command"])
    known.add(os.path.relpath(entry["file"]))


def lint(source, flags_folder):
    run = subprocess.run(["clang-tidy-14", "-p", flags_folder, "--quiet", source],
                         capture_output=True, text=True)
    # A crash or an unknown option says so only on standard error.
    return run.returncode, run.stdout or (run.stderr if run.returncode else "")


failed = False
with tempfile.TemporaryDirectory() as flags_folder:
    pathlib.Path(flags_folder, "compile_commands.json").write_text(json.dumps(commands))
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for source in sorted(set(sources) - known):
            failed = True
            print(f"{source}: not part of the build in {build_folder}; configure it again")
        runs = pool.map(lambda source: lint(source, flags_folder), sorted(set(sources) & known))
        for status, findings in runs:
            print(findings, end="", flush=True)
            failed = failed or status != 0
sys.exit(1 if failed else 0)
