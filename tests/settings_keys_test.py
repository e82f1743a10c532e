#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Every setting that the preferences write, or that has a default, is read by some other folder."""
import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parent.parent / "src"
KEY = re.compile(r'"((?:enable|value|use|check)[A-Z]\w*)"|k\w*Key = "(\w+)"')

written, read = {}, set()
for path in sorted(root.rglob("*")):
    if path.suffix not in {".h", ".cpp"}:
        continue
    name = str(path.relative_to(root))
    text = path.read_text()
    if name == "core/defaults.cpp":
        # What follows the groups of defaults are names that are no longer in use.
        text = text.split("void RenameOldSettings")[0]
    if name.startswith(("ui/preferences/", "core/defaults")):
        for match in KEY.finditer(text):
            written.setdefault(match.group(1) or match.group(2), name)
    else:
        read.update(re.findall(r'"(\w+)"', text))

faults = [f"src/{name}: nobody reads the setting {key}"
          for key, name in sorted(written.items()) if key not in read]
if len(written) < 20:
    faults.append(f"only {len(written)} settings found: has their notation changed?")
print("\n".join(faults) if faults else f"{len(written)} settings, each is read")
sys.exit(1 if faults else 0)
