#!/usr/bin/env python3
"""Holds every #include in src/ to the table of layers of docs/ARCHITECTURE.md."""
import pathlib
import re
import sys

# What each folder may include, besides itself. An edge that nobody uses yet is no fault: the table
# tells what is allowed.
CORE = {"core"}
LOW = CORE | {"storage", "signal"}
LAYERS = {
    "core": set(),
    "storage": CORE,
    "signal": CORE,
    "decoding": LOW,
    "device": CORE,
    "audio": LOW | {"decoding", "device"},
    "image": LOW | {"decoding"},
    "results": LOW | {"decoding", "device", "audio", "image"},
    "inspection": LOW | {"decoding"},
    "workers": LOW | {"decoding", "device", "audio", "image", "results"},
    "app": LOW | {"decoding", "device", "audio", "image", "results", "workers"},
    "platform": LOW
    | {"decoding", "device", "audio", "image", "results", "inspection", "workers", "app"},
    "cli": LOW | {"decoding", "device", "audio", "image", "results", "workers", "app", "platform"},
    "ui": LOW
    | {"decoding", "device", "audio", "image", "results", "inspection", "workers", "app"}
    | {"platform"},
    "decoder": set(),
}
# Single headers allowed on top of the table.
EXCEPTIONS = {("decoder", "decoding/wire.h")}
QT_FOLDERS = {"platform", "ui", "cli"}
CODEC_FOLDERS = {"decoder"}
OPENCL_FOLDERS = {"device"}

root = pathlib.Path(__file__).resolve().parent.parent / "src"
include = re.compile(r'^\s*#\s*include\s*([<"])([^">]+)[">]')
faults = []
used_exceptions = set()

for folder in sorted(p.name for p in root.iterdir() if p.is_dir() and any(p.glob("*.*"))):
    if folder not in LAYERS:
        faults.append(f"src/{folder}: not in the table of layers")
        continue
    for path in sorted((root / folder).rglob("*")):
        if path.suffix not in {".h", ".cpp"}:
            continue
        for number, line in enumerate(path.read_text().splitlines(), 1):
            match = include.match(line)
            if not match:
                continue
            quoted, name = match.group(1) == '"', match.group(2)
            where = f"{path.relative_to(root.parent)}:{number}"
            if re.match(r"Q[A-Z]|Qt[A-Z]", name) and folder not in QT_FOLDERS:
                faults.append(f"{where}: Qt outside of {sorted(QT_FOLDERS)}")
            if re.match(r"(lib(av|sw)|vips/)", name) and folder not in CODEC_FOLDERS:
                faults.append(f"{where}: a codec library outside of the decoder program")
            if name.startswith("CL/") and folder not in OPENCL_FOLDERS:
                faults.append(f"{where}: OpenCL's headers outside of {sorted(OPENCL_FOLDERS)}")
            if not quoted:
                continue
            target = name.split("/")[0]
            if not (root / name).is_file():
                faults.append(f'{where}: "{name}" is no header below src/')
            elif (folder, name) in EXCEPTIONS:
                used_exceptions.add((folder, name))
            elif target != folder and target not in LAYERS[folder]:
                faults.append(f"{where}: {folder} must not include {target}")

for folder, name in sorted(EXCEPTIONS - used_exceptions):
    faults.append(f"the exception {folder} -> {name} is no longer used")

for fault in faults:
    print(fault)
print(f"layers: {len(faults)} fault(s)")
sys.exit(bool(faults))
