# SPDX-FileCopyrightText: 2026 The Nakwire authors
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails on an include that a room may not have: each CMakeLists.txt below src names the rooms that
its folder SEES; nothing else may be included from it. The stage sees no room at all."""
import pathlib
import re
import subprocess
import sys

listed = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "CMakeLists.txt", "bench",
                         "cmake", "fuzz", "script", "src", "stage", "tests", "tools"],
                        check=True, capture_output=True, text=True).stdout.split()
files = [name for name in sorted(set(listed)) if pathlib.Path(name).is_file()]
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
    if path.suffix not in (".h", ".cpp", ".cmake", ".py") and path.name != "CMakeLists.txt":
        continue
    text = path.read_text()
    if "SPDX-License-Identifier: GPL-3.0-or-later" not in text:
        problems.append(f"{name}: no SPDX line")
    if path.suffix not in (".h", ".cpp"):
        continue
    for module in re.findall(r"#include <(Qt[A-Z]\w+/\w+)>", text):
        problems.append(f"{name}: include <{module.split('/')[1]}> without its module")
    for header in re.findall(r"#include <([^>]+)>", text):
        if header in home:
            problems.append(f"{name}: include \"{header}\" with quotes")
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
