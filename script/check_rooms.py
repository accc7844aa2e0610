# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails on an include that a room may not have: each CMakeLists.txt below src names the rooms that
its folder SEES; nothing else may be included from it. The stage sees no room at all."""
import pathlib
import re
import subprocess
import sys

files = subprocess.run(["git", "ls-files", "src", "stage", "tests", "fuzz", "bench", "tools"],
                       check=True, capture_output=True, text=True).stdout.split()
room_of_folder, sees = {}, {}
for name in files:
    if name.endswith("CMakeLists.txt"):
        declared = re.search(r"nakwire_room\(\s*(\w+)(?:\s+SEES ([\w\s]*?))?\s+(?:LIBS|EXCEPT|\))",
                             pathlib.Path(name).read_text())
        if declared:
            room_of_folder[str(pathlib.Path(name).parent)] = declared.group(1)
            sees[declared.group(1)] = set((declared.group(2) or "").split())

home, problems = {}, []
for name in files:
    path = pathlib.Path(name)
    if path.suffix == ".h" and name.startswith(("src/", "stage/")):
        if path.name in home:
            problems.append(f"{name}: {home[path.name]} holds a header of the same name")
        home[path.name] = str(path.parent)

for name in files:
    path = pathlib.Path(name)
    if path.suffix not in (".h", ".cpp"):
        continue
    text = path.read_text()
    if "SPDX-License-Identifier: GPL-3.0-or-later" not in text:
        problems.append(f"{name}: no SPDX line")
    for module in re.findall(r"#include <(Qt[A-Z]\w+/\w+)>", text):
        problems.append(f"{name}: include <{module.split('/')[1]}> without its module")
    own = str(path.parent)
    for header in re.findall(r'#include "([^"]+)"', text):
        folder = home.get(header)
        if folder is None or folder == own:
            continue
        if own.startswith("stage"):
            problems.append(f"{name}: the stage may not include {header} of {folder}")
        elif own in room_of_folder and room_of_folder.get(folder) not in sees[room_of_folder[own]]:
            problems.append(f"{name}: {room_of_folder[own]} may not include {header} of {folder}")

print("\n".join(problems), end="\n" if problems else "")
sys.exit(1 if problems else 0)
