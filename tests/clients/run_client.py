#!/usr/bin/env python3
"""Runs a client program built against the system's -lblas twice, once on
the reference BLAS and once on the core, and compares the two outputs.

    run_client.py --reference DIR --ours DIR [--def-library FILE]
                  [--preload FILE] [--compare exact|tolerance] -- PROGRAM [ARGS...]
    run_client.py --skip REASON

DIR is put first in LD_LIBRARY_PATH, so the program's libblas.so.3 is
taken from it: the reference directory holds Debian's reference BLAS
(libblas3), ours the core's libblas.so.3 link. --preload loads a runtime
(the ASan library, when the core is instrumented and the program is not)
in our run only.

The program prints a line starting with '# blas:' naming the library it
ran on (checked here, and left out of the comparison). In exact mode every
other line must be identical. In tolerance mode each line reads
"LABEL tol=T v1 v2 ...": the labels must be identical and each value within
T of the reference's; lines without tol= must be identical.

Exit status: 0 agreed, 1 differed or failed, 77 skipped (--skip).
"""
import argparse
import os
import re
import subprocess
import sys

SKIP = 77


def run(cmd, env, what):
    p = subprocess.run(cmd, env=env, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    if p.returncode != 0:
        sys.stdout.write(p.stdout[-4000:])
        sys.stdout.write(p.stderr[-4000:])
        raise SystemExit("run_client: the run on %s ended with status %d" % (what, p.returncode))
    if p.stderr.strip():
        sys.stdout.write("run_client: standard error of the run on %s:\n%s" % (what, p.stderr[-4000:]))
    return p.stdout.splitlines()


def provenance(lines, what, must_contain):
    blas = [l for l in lines if l.startswith("# blas:")]
    if not blas:
        raise SystemExit("run_client: the run on %s did not say which BLAS it loaded" % what)
    path = blas[0].split(":", 1)[1].strip()
    if must_contain not in os.path.realpath(path):
        raise SystemExit("run_client: the run on %s loaded %s, not a library under %s" % (what, path, must_contain))
    print("run_client: %s: %s" % (what, path))
    return [l for l in lines if not l.startswith("#")]


def split(line):
    words = re.sub(r"tol=\s+", "tol=", line).split()
    for i, w in enumerate(words):
        if w.startswith("tol="):
            return " ".join(words[:i]), float(w[4:]), words[i + 1:]
    return line, None, []


def compare(ref, ours, mode):
    if len(ref) != len(ours):
        print("run_client: %d lines on the reference, %d on the core" % (len(ref), len(ours)))
    bad = 0
    worst = {}
    for i, (r, o) in enumerate(zip(ref, ours)):
        if mode == "exact" or "tol=" not in r:
            ok = r == o
        else:
            lr, tol, vr = split(r)
            lo, _, vo = split(o)
            ok = lr == lo and len(vr) == len(vo)
            if ok:
                err = max((abs(float(a) - float(b)) for a, b in zip(vr, vo)), default=0.0)
                ok = err <= tol
                key = lr.split(" (")[0]
                worst[key] = max(worst.get(key, (0.0, tol))[0], err), tol
        if not ok:
            bad += 1
            if bad <= 20:
                print("line %d differs:\n  reference: %s\n  core:      %s" % (i + 1, r, o))
    for key, (err, tol) in worst.items():
        print("  %-24s largest difference %.3e (tolerance %.1e)" % (key, err, tol))
    return bad == 0 and len(ref) == len(ours)


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--skip")
    ap.add_argument("--reference")
    ap.add_argument("--ours")
    ap.add_argument("--def-library")
    ap.add_argument("--preload")
    ap.add_argument("--compare", choices=("exact", "tolerance"), default="exact")
    ap.add_argument("program", nargs="*")
    args = ap.parse_args()
    if args.skip:
        print("SKIPPED: %s" % args.skip)
        return SKIP
    if not (args.reference and args.ours and args.program):
        ap.error("--reference, --ours and the program are required")

    base = {k: v for k, v in os.environ.items()
            if k not in ("LD_LIBRARY_PATH", "LD_PRELOAD") and not k.startswith("QOR_")}
    ref_env = dict(base, LD_LIBRARY_PATH=args.reference)
    ours_env = dict(base, LD_LIBRARY_PATH=args.ours)
    if args.def_library:
        ours_env["QOR_DEF_LIBRARY"] = args.def_library
    if args.preload:
        ours_env["LD_PRELOAD"] = args.preload

    ref = provenance(run(args.program, ref_env, "the reference BLAS"), "reference", os.path.realpath(args.reference))
    ours = provenance(run(args.program, ours_env, "the core"), "core", "libqor_core")
    if not compare(ref, ours, args.compare):
        print("run_client: FAILED, %s on the core differs from the reference" % os.path.basename(args.program[0]))
        return 1
    print("run_client: %s agrees on the core and the reference (%d lines)" %
          (os.path.basename(args.program[0]), len(ref)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
