# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Compiles every header of src and stage alone, with the flags of its room but without the
precompiled headers, which would hide a missing include. Usage: check_headers.py BUILD_FOLDER"""
import concurrent.futures
import json
import os
import pathlib
import shlex
import subprocess
import sys

flags_of_folder = {}
for entry in json.loads(pathlib.Path(sys.argv[1], "compile_commands.json").read_text()):
    folder = os.path.relpath(os.path.dirname(entry["file"]))
    if folder.startswith(("src", "stage")) and folder not in flags_of_folder:
        words = shlex.split(entry["command"])
        kept, skip = [], False
        for word in words:
            if skip:
                skip = False
            elif word == "-include":  # the precompiled header
                skip = True
            elif word.startswith(("-I", "-D", "-std", "-W", "-fPI")) or kept and kept[-1] == "-isystem" \
                    or word == "-isystem":
                kept.append(word)
        flags_of_folder[folder] = kept


def compile_alone(header):
    flags = flags_of_folder[os.path.dirname(header)]
    run = subprocess.run(["g++", *flags, "-w", "-fsyntax-only", "-x", "c++", header],
                         capture_output=True, text=True)
    return header, run.returncode, run.stderr


listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "src/*.h", "stage/*.h"],
                        check=True, capture_output=True, text=True).stdout.split()
headers = [header for header in sorted(set(listed)) if os.path.exists(header)]
failed = False
with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    for header, status, errors in pool.map(compile_alone, headers):
        if status:
            failed = True
            print(f"{header} does not compile alone:\n{errors}")
sys.exit(1 if failed else 0)
