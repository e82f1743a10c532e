#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Follows every relative link and picture of README.md and docs/, and the way from the first help page
to all others."""
import pathlib
import re
import sys

root = pathlib.Path(__file__).resolve().parent.parent
link = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)")
faults = []
leads_to = {}

for page in [root / "README.md", *sorted((root / "docs").rglob("*.md"))]:
    leads_to[page] = set()
    for target in link.findall(page.read_text()):
        if re.match(r"[a-z]+:", target):
            continue
        path = (page.parent / target.partition("#")[0]).resolve()
        leads_to[page].add(path)
        if not path.exists():
            faults.append(f"{page.relative_to(root)}: {target} is not there")

reached, waiting = set(), [root / "docs/help/index.md"]
while waiting:
    page = waiting.pop()
    if page not in reached:
        reached.add(page)
        waiting += leads_to.get(page, ())
for page in sorted((root / "docs/help").glob("*.md")):
    if page not in reached:
        faults.append(f"{page.relative_to(root)}: no way from index.md")

print("\n".join(faults) or f"links: {len(leads_to)} pages, no fault")
sys.exit(1 if faults else 0)
