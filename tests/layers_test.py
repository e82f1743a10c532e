#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Holds every #include in src/ to the table of layers of docs/ARCHITECTURE.md."""
import pathlib
import re
import sys

# What each folder, or each room of a large one, may include besides itself. An edge that nobody uses
# yet is no fault: the table tells what is allowed.
CORE = {"core"}
LOW = CORE | {"storage", "signal"}
ENGINES = LOW | {"decoding", "device", "audio", "image"}
APP = ENGINES | {"results", "workers", "app"}
WINDOW = APP | {"inspection", "platform", "ui/widgets"}
TABLE = WINDOW | {"ui/inspection", "ui/table"}
LAYERS = {
    "core": set(),
    "storage": CORE,
    "signal": CORE,
    "decoding": LOW,
    "device": CORE,
    "audio": LOW | {"decoding", "device"},
    "image": LOW | {"decoding"},
    "results": ENGINES,
    "inspection": LOW | {"decoding"},
    "workers": ENGINES | {"results"},
    "app": ENGINES | {"results", "workers"},
    "platform": APP | {"inspection"},
    "cli": APP | {"platform"},
    "ui/widgets": CORE,
    "ui/inspection": WINDOW,
    "ui/table": WINDOW | {"ui/inspection"},
    "ui/marking": WINDOW,
    "ui/tags": WINDOW,
    "ui/folders": WINDOW,
    "ui/preferences": WINDOW,
    "ui/audio": TABLE | {"ui/marking", "ui/tags"},
    "ui/images": TABLE | {"ui/marking"},
    "ui/quality": TABLE,
    "ui/window": TABLE
    | {"ui/audio", "ui/images", "ui/quality", "ui/folders", "ui/preferences"},
    "ui": WINDOW | {"ui/window"},
    "decoder/link": set(),
    "decoder/input": set(),
    "decoder/sound": {"decoder/link", "decoder/input"},
    "decoder/picture": {"decoder/link", "decoder/input"},
    "decoder/tags": {"decoder/link", "decoder/input"},
    "decoder/commands": {f"decoder/{room}" for room in ("link", "input", "sound", "picture", "tags")},
    "decoder": {"decoder/link", "decoder/input", "decoder/commands"},
}
# A single header that all rooms of a folder may include on top of the table.
EXCEPTIONS = {("decoder", "decoding/wire.h")}
# Which folders may include the headers of a library.
LIBRARIES = {
    r"Q[A-Z]|Qt[A-Z]": ("Qt", {"platform", "ui", "cli"}),
    r"lib(av|sw)|vips/|\w+file\.h$|tiostream\.h$": ("a codec or tag library", {"decoder"}),
    r"CL/": ("OpenCL's headers", {"device"}),
    # Written for C: one that compiles today need not do so after the next update.
    r"linux/|asm/": ("a header of the kernel", set()),
}

root = pathlib.Path(__file__).resolve().parent.parent / "src"
include = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[">]')
faults = []
used_exceptions = set()

# The table goes one way only: no two rows allow each other.
for room, allowed in LAYERS.items():
    faults += [f"{room} and {other} may include each other"
               for other in sorted(allowed) if room < other and room in LAYERS[other]]
    faults += [f"{room}: {other} is not in the table" for other in sorted(allowed - LAYERS.keys())]

for path in sorted(root.rglob("*")):
    if path.suffix not in {".h", ".cpp"}:
        continue
    room = str(path.parent.relative_to(root))
    folder = room.split("/")[0]
    if room not in LAYERS:
        faults.append(f"src/{room}: not in the table of layers")
        continue
    for number, line in enumerate(path.read_text().splitlines(), 1):
        match = include.match(line)
        if not match:
            continue
        quoted, name = match.group(1) == '"', match.group(2)
        where = f"{path.relative_to(root.parent)}:{number}"
        if not quoted:
            for pattern, (library, folders) in LIBRARIES.items():
                if re.match(pattern, name) and folder not in folders:
                    faults.append(f"{where}: {library} outside of {sorted(folders)}")
            continue
        target = str(pathlib.PurePath(name).parent)
        if not (root / name).is_file():
            faults.append(f'{where}: "{name}" is no header below src/')
        elif (folder, name) in EXCEPTIONS:
            used_exceptions.add((folder, name))
        elif target != room and target not in LAYERS[room]:
            faults.append(f"{where}: {room} must not include {target}")

for folder, name in sorted(EXCEPTIONS - used_exceptions):
    faults.append(f"the exception {folder} -> {name} is no longer used")

for fault in faults:
    print(fault)
print(f"layers: {len(faults)} fault(s)")
sys.exit(bool(faults))
