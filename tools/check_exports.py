#!/usr/bin/env python3
"""Checks the built kernel library against the export manifest, both ways.

Usage: check_exports.py LIBRARY MANIFEST_DIR [--instrumented]

Fails when a name of exports/*.txt is not defined by the library, when the
library defines a name the manifest does not list, when a manifest lists a
name twice, or when the library's SONAME and needed entries are not those of
the kernel member.
"""
import pathlib
import re
import subprocess
import sys

PREFIXES = ("qor_", "dll_cpu_version", "dfxi_")


def main() -> int:
    lib, manifest_dir = sys.argv[1], pathlib.Path(sys.argv[2])
    listed: dict[str, str] = {}
    problems: list[str] = []
    for path in sorted(manifest_dir.glob("*.txt")):
        for line in path.read_text().splitlines():
            name = line.strip()
            if not name or name.startswith("#"):
                continue
            if name in listed:
                problems.append(f"{name} listed twice ({listed[name]}, {path.name})")
            listed[name] = path.name
    out = subprocess.run(["nm", "-D", "--defined-only", lib], check=True, capture_output=True, text=True).stdout
    defined = {parts[-1].split("@")[0] for parts in (l.split() for l in out.splitlines()) if len(parts) >= 3}
    for name in sorted(set(listed) - defined):
        problems.append(f"missing from the library: {name} ({listed[name]})")
    for name in sorted(defined - set(listed)):
        problems.append(f"exported but not in the manifest: {name}")
    for name in sorted(listed):
        if not name.startswith(PREFIXES):
            problems.append(f"manifest name without a library prefix: {name}")

    dyn = subprocess.run(["readelf", "-d", lib], check=True, capture_output=True, text=True).stdout
    soname = re.findall(r"\(SONAME\).*\[(.*)\]", dyn)
    needed = set(re.findall(r"\(NEEDED\).*\[(.*)\]", dyn))
    if soname != ["libqor_def.so.3"]:
        problems.append(f"SONAME is {soname}, not libqor_def.so.3")
    for want in ("libqor_core.so.3", "libdl.so.2"):
        if want not in needed:
            problems.append(f"{want} is not a needed entry (needed: {sorted(needed)})")
    # One init entry (frame_dummy) comes from the C runtime; more means
    # static constructors, that is start-up work.
    init = re.findall(r"\(INIT_ARRAYSZ\)\s+(\d+)", dyn)
    if "--instrumented" not in sys.argv[3:] and init and int(init[0]) > 8:
        problems.append(f"the library has static constructors ({init[0]} bytes of init array)")

    for p in problems:
        print("FAIL:", p)
    print(f"{len(listed)} names listed, {len(defined)} exported, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
