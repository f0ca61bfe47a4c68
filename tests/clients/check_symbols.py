#!/usr/bin/env python3
"""Every name the system's reference libblas.so.3 defines must be exported
by the core, so that a program linked against the reference finds all it
found there. Usage: check_symbols.py REFERENCE_LIBBLAS CORE_LIBRARY"""
import subprocess
import sys


def defined(path):
    out = subprocess.run(["nm", "-D", "--defined-only", path], check=True, capture_output=True, text=True).stdout
    return {line.split()[-1] for line in out.splitlines() if line.strip()}


def main():
    reference, core = sys.argv[1], sys.argv[2]
    missing = sorted(defined(reference) - defined(core))
    if missing:
        print(f"{len(missing)} names of {reference} missing from {core}:")
        for name in missing:
            print("  " + name)
        return 1
    print(f"all {len(defined(reference))} names of {reference} are exported")
    return 0


if __name__ == "__main__":
    sys.exit(main())
