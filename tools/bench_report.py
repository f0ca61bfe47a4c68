#!/usr/bin/python3
"""Turns the benchmarks' rows into a report: PNG plots and index.md.

    /usr/bin/python3 tools/bench_report.py REPORT_DIR [--quick] [--readme PNG]

REPORT_DIR/data holds the JSON Lines files the benchmark programs write
(bench/common/results.h) and runs.txt from tools/bench.sh; the plots and
index.md go to REPORT_DIR. Every figure and table is computed from those
rows. --readme also writes the GEMM double plot to PNG.
Rows of benchmarks this script does not know still appear in the tables.
"""

import argparse
import collections
import json
import math
import os
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
from matplotlib.ticker import FuncFormatter  # noqa: E402

COLOURS = {"qor": "#d62728", "OpenBLAS": "#1f77b4", "BLIS": "#2ca02c", "FFTW": "#9467bd"}
MARKERS = {"qor": "o", "OpenBLAS": "s", "BLIS": "^", "FFTW": "D"}
FORM_STYLE = {"fwd out of place": "-", "fwd in place": "--", "batch contiguous": "-", "batch vector": "--",
              "batch stride 3": ":"}
LABEL = {"blas_gemm": "GEMM (double)", "blas_gemm_scz": "GEMM (single, complex)", "blas_level1": "BLAS Level 1",
         "blas_level2": "BLAS Level 2", "blas_level3": "BLAS Level 3", "dft": "Fourier transforms (FFT)",
         "dft_descriptor": "Transform descriptors (qor/dft.h)",
         "trans": "Transposition and matrix addition", "reference": "Machine references"}
TYPE_NAME = {"s": "single", "d": "double", "c": "single complex", "z": "double complex"}


# ---- Reading ---------------------------------------------------------------

class Data:
    def __init__(self, directory):
        self.machines = {}  # benchmark -> machine record
        self.peers = {}  # library -> peer record (first seen)
        self.peer_notes = set()
        self.rows = []
        self.runs = []  # (benchmark, program, seconds, exit status)
        for name in sorted(os.listdir(directory)):
            path = os.path.join(directory, name)
            if name.endswith(".jsonl"):
                self._read(path)
        runs = os.path.join(directory, "runs.txt")
        if os.path.exists(runs):
            with open(runs) as f:
                for line in f:
                    parts = line.split()
                    if len(parts) == 4:
                        self.runs.append((parts[0], parts[1], int(parts[2]), int(parts[3])))

    def _read(self, path):
        with open(path) as f:
            for line in f:
                try:
                    rec = json.loads(line)
                except ValueError:
                    continue  # a line cut short by a run that was stopped
                kind = rec.get("record")
                if kind == "machine":
                    self.machines[rec.get("benchmark", "")] = rec
                elif kind == "peer":
                    self.peers.setdefault(rec.get("library", ""), rec)
                    if rec.get("note"):
                        self.peer_notes.add("%s: %s" % (rec["library"], rec["note"]))
                elif kind == "row" and isinstance(rec.get("rate"), (int, float)):
                    self.rows.append(rec)

    def machine(self):
        for key in ("reference", "blas_gemm"):
            if key in self.machines:
                return self.machines[key]
        return next(iter(self.machines.values()), {})

    def select(self, **want):
        out = []
        for r in self.rows:
            ok = True
            for k, v in want.items():
                if callable(v):
                    ok = v(r.get(k))
                elif isinstance(v, (list, tuple, set)):
                    ok = r.get(k) in v
                else:
                    ok = r.get(k) == v
                if not ok:
                    break
            if ok:
                out.append(r)
        return out

    def peak(self, type_letter, how="peak fma", bits=None):
        """The best measured one-thread peak of a precision ('d' or 's')."""
        best = 0.0
        for r in self.select(library="machine", operation=how, type=type_letter):
            if bits is None or int(r.get("n", 0)) == bits:
                best = max(best, r["rate"])
        return best

    def copy_curve(self, threads):
        pts = sorted((r["bytes"], r["rate"]) for r in self.select(benchmark="reference", operation="copy",
                                                                    threads=threads))
        return [p[0] for p in pts], [p[1] for p in pts]


# ---- Figures ---------------------------------------------------------------

def footer_text(data, threads):
    m = data.machine()
    cores = m.get("cores", "?")
    parts = [m.get("processor", "unknown processor"),
             "qor path %s, %s-bit %s" % (m.get("cpu_path", "?"), m.get("vector_bits", "?"), m.get("isa", "?")),
             "widest vector %s bits" % m.get("machine_vector_bits", "?"),
             "%s core%s" % (cores, "" if cores == 1 else "s"),
             threads,
             (m.get("date") or "")[:10]]
    parts = [str(p) for p in parts if p]
    return "  |  ".join(parts[:3]) + "\n" + "  |  ".join(parts[3:])


def finish(fig, data, threads, path, top=1.0):
    fig.text(0.5, 0.005, footer_text(data, threads), ha="center", va="bottom", fontsize=7.5, color="#444444",
             linespacing=1.4)
    fig.tight_layout(rect=(0, 0.3 / fig.get_size_inches()[1] + 0.01, 1, top))
    fig.savefig(path, dpi=110)
    plt.close(fig)


def threads_label(threads):
    ts = sorted(set(threads))
    if not ts:
        return ""
    if len(ts) == 1:
        return "%d thread%s" % (ts[0], "" if ts[0] == 1 else "s")
    return "%s threads" % " and ".join(str(t) for t in ts)


def bytes_fmt(v, _pos=None):
    for unit, scale in (("GiB", 2 ** 30), ("MiB", 2 ** 20), ("KiB", 2 ** 10)):
        if v >= scale:
            return "%g %s" % (round(v / scale, 1), unit)
    return "%g B" % v


def series(rows, library):
    pts = {}
    for r in rows:
        if r["library"] == library:
            x = r["bytes"] if r.get("_x") == "bytes" else r["n"]
            pts[x] = max(pts.get(x, 0), r["rate"])  # best of repeated rows
    xs = sorted(pts)
    return xs, [pts[x] for x in xs]


def plot_libraries(ax, rows, libraries, xkey="n"):
    drawn = False
    for lib in libraries:
        pts = {}
        for r in rows:
            if r["library"] == lib:
                x = r[xkey]
                pts[x] = max(pts.get(x, 0), r["rate"])
        if not pts:
            continue
        xs = sorted(pts)
        ax.plot(xs, [pts[x] for x in xs], marker=MARKERS.get(lib, "."), ms=4, lw=1.6 if lib == "qor" else 1.2,
                color=COLOURS.get(lib), label=lib, zorder=3 if lib == "qor" else 2)
        drawn = True
    return drawn


def cache_marks(ax, data):
    """Dotted lines at the cache sizes that fall inside the x range (call after set_xlim)."""
    m = data.machine()
    lo, hi = ax.get_xlim()
    for key, name in (("l1d_bytes", "L1d"), ("l2_bytes", "L2"), ("l3_bytes", "L3")):
        v = m.get(key) or 0
        if lo < v < hi:
            ax.axvline(v, color="#bbbbbb", lw=0.8, ls=":", zorder=1)
            ax.text(v, 0.98, " " + name, transform=ax.get_xaxis_transform(), fontsize=7, color="#888888",
                    va="top")


def gemm_figure(data, t, path, threads_list=(1, 2), title=None):
    rows = data.select(benchmark=("blas_gemm", "blas_gemm_scz"), operation="gemm NN", type=t,
                       library=("qor", "OpenBLAS", "BLIS"))
    threads_list = [th for th in threads_list if any(r["threads"] == th for r in rows)]
    if not threads_list:
        return False
    prec = "d" if t in "dz" else "s"
    peak = data.peak(prec)
    peak_path = data.peak(prec, bits=int(data.machine().get("vector_bits", 0) or 0))
    fig, axes = plt.subplots(1, len(threads_list), figsize=(max(7.5, 6.2 * len(threads_list)), 4.8),
                             squeeze=False)
    for ax, th in zip(axes[0], threads_list):
        sub = [r for r in rows if r["threads"] == th]
        plot_libraries(ax, sub, ("qor", "OpenBLAS", "BLIS"))
        if peak > 0:
            ax.axhline(peak * th, color="black", ls="--", lw=1,
                       label="machine peak, %s (measured)" % widest_label(data, prec))
        if peak_path > 0 and abs(peak_path - peak) > 0.02 * peak:
            ax.axhline(peak_path * th, color="#777777", ls=":", lw=1,
                       label="peak at qor's %s-bit width" % data.machine().get("vector_bits"))
        ax.set_xscale("log")
        sizes = sorted({r["n"] for r in sub})
        ax.set_xticks(sizes)
        ax.set_xticks([], minor=True)
        ax.xaxis.set_major_formatter(FuncFormatter(lambda v, _p: "%d" % round(v)))
        ax.tick_params(axis="x", labelsize=8)
        ax.set_xlabel("matrix order n (m = n = k)")
        ax.set_ylabel("GFLOP/s")
        # Room above the peak line for the legend.
        ax.set_ylim(0, max([peak * th] + [r["rate"] for r in sub]) * 1.4)
        ax.grid(True, which="major", alpha=0.3)
        ax.set_title(title or "%sgemm (%s), %s" % (t, TYPE_NAME[t], threads_label([th])))
        ax.legend(fontsize=8, loc="upper center", ncol=2, framealpha=0.95)
    finish(fig, data, threads_label(threads_list), path)
    return True


def widest_label(data, prec):
    best, label = 0.0, ""
    for r in data.select(library="machine", operation="peak fma", type=prec):
        if r["rate"] > best:
            best, label = r["rate"], r["size"]
    return label or "FMA"


def bandwidth_panel(ax, data, rows, libraries, cx, cy, margin):
    """GB/s against working set on a log2 axis, with the measured memcpy
    curve (cx, cy) and the cache sizes marked; x runs `margin` beyond the
    data on each side."""
    plot_libraries(ax, rows, libraries, xkey="bytes")
    if cx:
        ax.plot(cx, cy, color="#555555", ls="--", lw=1, label="memcpy (measured)")
    ax.set_xscale("log", base=2)
    ax.xaxis.set_major_formatter(FuncFormatter(bytes_fmt))
    ax.tick_params(axis="x", labelsize=7)
    xs = [r["bytes"] for r in rows]
    lo, hi = min(xs) / margin, max(xs) * margin
    ax.set_xlim(lo, hi)
    cache_marks(ax, data)
    ax.set_ylim(0, max([r["rate"] for r in rows] + [y for x, y in zip(cx, cy) if lo <= x <= hi]) * 1.1)


def bandwidth_figure(data, benchmark, ops, path, title):
    """Bandwidth against working set, one panel per (operation, type)."""
    panels = []
    for op, t in ops:
        rows = data.select(benchmark=benchmark, operation=op, type=t, threads=1)
        if rows:
            panels.append((op, t, rows))
    if not panels:
        return False
    cols = 3
    nrows = (len(panels) + cols - 1) // cols
    fig, axes = plt.subplots(nrows, cols, figsize=(4.6 * cols, 3.5 * nrows + 0.4), squeeze=False)
    cx, cy = data.copy_curve(1)
    for ax in axes.flat[len(panels):]:
        ax.set_visible(False)
    for ax, (op, t, rows) in zip(axes.flat, panels):
        bandwidth_panel(ax, data, rows, ("qor", "OpenBLAS", "BLIS"), cx, cy, 1.5)
        ax.set_xlabel("working set")
        ax.set_ylabel("GB/s")
        ax.grid(True, alpha=0.3)
        # idamax: the index letter comes before the type letter.
        ax.set_title("i%s%s" % (t, op[1:]) if op.startswith("i") else "%s%s" % (t, op))
    handles, labels = axes.flat[0].get_legend_handles_labels()
    fig.suptitle(title, fontsize=12, y=0.995)
    fig.legend(handles, labels, loc="upper center", ncol=len(labels), fontsize=8, bbox_to_anchor=(0.5, 0.965),
               frameon=False)
    finish(fig, data, "1 thread", path, top=0.93)
    return True


def fft_figure(data, path):
    panels = [(t, data.select(benchmark="dft", operation="fwd", type=t)) for t in ("z", "c")]
    panels = [(t, rows) for t, rows in panels if rows]
    if not panels:
        return False
    fig, axes = plt.subplots(1, len(panels), figsize=(6.2 * len(panels), 4.4), squeeze=False)
    for ax, (t, rows) in zip(axes[0], panels):
        is_pow2 = lambda n: n > 0 and (n & (n - 1)) == 0  # noqa: E731
        pow2 = [r for r in rows if is_pow2(round(r["n"]))]
        other = [r for r in rows if not is_pow2(round(r["n"]))]
        plot_libraries(ax, pow2, ("qor", "FFTW"))
        for lib in ("qor", "FFTW"):
            xs, ys = series(other, lib)
            if xs:
                ax.scatter(xs, ys, marker=MARKERS[lib], facecolors="none", edgecolors=COLOURS[lib], s=30,
                           label="%s, other lengths" % lib, zorder=4)
        ax.set_xscale("log", base=2)
        ax.xaxis.set_major_formatter(FuncFormatter(lambda v, _p: "2^%d" % round(math.log2(v)) if v > 0 else ""))
        ax.set_xlabel("transform length n")
        ax.set_ylabel("GFLOP/s  (5 n log2 n / time)")
        ax.set_ylim(bottom=0, top=max(r["rate"] for r in rows) * 1.25)
        ax.grid(True, alpha=0.3)
        ax.set_title("complex FFT, %s precision, forward, out of place" % ("double" if t == "z" else "single"))
        ax.legend(fontsize=7.5, loc="upper right", ncol=2)
    finish(fig, data, "1 thread", path)
    return True


def trans_figure(data, path):
    ops = ("omatcopy T", "imatcopy T square", "omatcopy N")
    square = lambda s: "x" in (s or "") and s.split("x")[0] == s.split("x")[1]  # noqa: E731
    threads = sorted({r["threads"] for r in data.select(benchmark="trans")})
    panels = []
    for op in ops:
        for th in threads:
            rows = [r for r in data.select(benchmark="trans", operation=op, threads=th) if square(r["size"])]
            if rows:
                panels.append((op, th, rows))
    if not panels:
        return False
    cols = max(1, len(threads))
    nrows = (len(panels) + cols - 1) // cols
    fig, axes = plt.subplots(nrows, cols, figsize=(6 * cols, 3.6 * nrows + 0.4), squeeze=False)
    for ax in axes.flat[len(panels):]:
        ax.set_visible(False)
    for ax, (op, th, rows) in zip(axes.flat, panels):
        cx, cy = data.copy_curve(th)
        bandwidth_panel(ax, data, rows, ("qor", "OpenBLAS"), cx, cy, 2)
        ax.set_xlabel("working set (matrices read and written)")
        ax.set_ylabel("GB/s (bytes read + written)")
        ax.grid(True, alpha=0.3)
        ax.set_title("d%s, %s" % (op.replace(" square", ""), threads_label([th])))
    handles, labels = axes.flat[0].get_legend_handles_labels()
    fig.suptitle("Transposition bandwidth, square matrices", fontsize=12, y=0.995)
    fig.legend(handles, labels, loc="upper center", ncol=len(labels), fontsize=8, bbox_to_anchor=(0.5, 0.97),
               frameon=False)
    finish(fig, data, threads_label(threads), path, top=0.94)
    return True


def is_pow2(n):
    return n > 0 and (n & (n - 1)) == 0


def is_prime(n):
    if n < 2:
        return False
    f = 2
    while f * f <= n:
        if n % f == 0:
            return False
        f += 1
    return True


def descriptor_figure(data, path):
    """Descriptors against FFTW: one transform (in and out of place) and batches, GFLOP/s against length."""
    panels = []
    for t in ("z", "c"):
        single = data.select(benchmark="dft_descriptor", type=t, threads=1, library=("qor", "FFTW"),
                             operation=("fwd out of place", "fwd in place"))
        batch = data.select(benchmark="dft_descriptor", type=t, threads=1, library=("qor", "FFTW"),
                            operation=lambda op: (op or "").startswith("batch"))
        if single or batch:
            panels.append((t, single, batch))
    if not panels:
        return False
    fig, axes = plt.subplots(len(panels), 2, figsize=(13, 4.3 * len(panels) + 0.4), squeeze=False)
    for (t, single, batch), row in zip(panels, axes):
        prec = "double" if t == "z" else "single"
        for ax, rows, kind in ((row[0], single, "one transform"), (row[1], batch, "batches")):
            if not rows:
                ax.set_visible(False)
                continue
            forms = [f for f in FORM_STYLE if any(r["operation"] == f for r in rows)]
            for form in forms:
                for lib in ("qor", "FFTW"):
                    sub = [r for r in rows if r["operation"] == form and r["library"] == lib]
                    line = [r for r in sub if kind == "batches" or is_pow2(round(r["n"]))]
                    other = [r for r in sub if kind != "batches" and not is_pow2(round(r["n"]))]
                    label = "%s, %s" % (lib, form.replace("fwd ", "").replace("batch ", ""))
                    xs, ys = series(line, lib)
                    if xs:
                        ax.plot(xs, ys, marker=MARKERS[lib], ms=4, lw=1.5 if lib == "qor" else 1.1,
                                ls=FORM_STYLE[form], color=COLOURS[lib], label=label,
                                zorder=3 if lib == "qor" else 2)
                        label = None
                    xs, ys = series(other, lib)
                    if xs:
                        ax.scatter(xs, ys, marker=MARKERS[lib], s=28, zorder=4, color=COLOURS[lib],
                                   facecolors="none" if FORM_STYLE[form] != "-" else COLOURS[lib],
                                   label=(label + ", other lengths") if label else None)
            ax.set_xscale("log", base=2)
            ax.xaxis.set_major_formatter(FuncFormatter(lambda v, _p: "2^%d" % round(math.log2(v)) if v > 0 else ""))
            ax.set_xlabel("transform length n" + (" (1000 transforms; 64 at 2^16)" if kind == "batches" else ""))
            ax.set_ylabel("GFLOP/s  (5 n log2 n x count / time)")
            ax.set_ylim(bottom=0, top=max(r["rate"] for r in rows) * 1.3)
            ax.grid(True, alpha=0.3)
            ax.set_title("descriptors, %s precision, %s, forward" % (prec, kind))
            ax.legend(fontsize=7, loc="upper right", ncol=2)
    finish(fig, data, "1 thread", path)
    return True


def descriptor_target(r):
    """The ratio a descriptor row is held to, with a short name of the rule, or None."""
    op, lib, n = r["operation"], r["library"], round(r["n"])
    if lib == "engine":
        return 0.95, "within 5% of the engine"
    if lib == "qor 1 thread":
        return 1.8, "two threads / one"
    if lib != "FFTW":
        return None
    if r["threads"] > 1:
        return 1.0, "two threads vs FFTW's"
    if op.startswith("batch"):
        if op == "batch stride 3" and not is_pow2(n):
            return 0.9, "strided batch"
        return 1.0, "batch"
    if is_prime(n) and n > 16:
        return 0.8, "prime length"
    return 1.0, "power of two / smooth"


def descriptor_targets(data):
    """Markdown: each descriptor case's ratios, double and single, against its target."""
    cases = collections.OrderedDict()
    for r in data.select(benchmark="dft_descriptor"):
        target = descriptor_target(r)
        if target is None:
            continue
        key = (r["operation"], r["size"], r["threads"], r["library"])
        cases.setdefault(key, {"target": target})[r["type"]] = r["ratio"]
    if not cases:
        return []
    lines = ["### Ratios against the targets", "",
             "Ratio = the other side's time / the descriptor's time: against FFTW (MEASURE plans), against the "
             "one-length engine called directly (the descriptor's overhead), and our one thread against our "
             "two (the speed-up).", "",
             "| case | size | threads | against | target | double | single | met |", "|---|---|---|---|---|---|---|---|"]
    missed = []
    for (op, size, th, lib), v in cases.items():
        goal, rule = v["target"]
        cells = []
        ok = True
        for t in ("z", "c"):
            x = v.get(t)
            if x is None:
                cells.append("")
                continue
            met = round(x, 2) >= goal  # as printed
            cells.append("%.2f" % x if met else "**%.2f**" % x)
            ok = ok and met
        if not ok:
            missed.append("%s %s (%s)" % (op, size, lib))
        lines.append("| %s | %s | %d | %s | %.2f (%s) | %s | %s | %s |" % (
            op, size, th, lib, goal, rule, cells[0], cells[1], "yes" if ok else "**no**"))
    lines.append("")
    lines.append("Targets missed (bold above): %d of %d cases." % (len(missed), len(cases)))
    lines.append("")
    return lines


# ---- Tables ----------------------------------------------------------------

def fmt_rate(v):
    return "%.3g" % v if v < 10 else "%.1f" % v


def ratio_table(rows):
    """Markdown table: one line per case, qor's rate, each peer's rate and ratio."""
    cases = collections.OrderedDict()
    peers = []
    for r in rows:
        if r["library"] == "machine":
            continue
        key = (r["operation"], r.get("type", ""), r["size"], r["threads"], r.get("unit", ""))
        cases.setdefault(key, {})[r["library"]] = r
        if r["library"] != "qor" and r["library"] not in peers:
            peers.append(r["library"])
    if not cases:
        return [], {}
    head = ["operation", "type", "size", "threads", "unit", "qor"]
    for p in peers:
        head += [p, "ratio " + p]
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    ratios = collections.defaultdict(list)
    for (op, t, size, th, unit), libs in cases.items():
        q = libs.get("qor")
        cells = [op, t or "", size, str(th), unit, fmt_rate(q["rate"]) if q else ""]
        for p in peers:
            r = libs.get(p)
            if r and q:
                ratios[(p, th)].append(r["ratio"])
                mark = "**%.2f**" % r["ratio"] if r["ratio"] >= 1 else "%.2f" % r["ratio"]
                cells += [fmt_rate(r["rate"]), mark]
            else:
                cells += [fmt_rate(r["rate"]) if r else "", ""]
        lines.append("| " + " | ".join(cells) + " |")
    return lines, ratios


def geomean(xs):
    xs = [x for x in xs if x and x > 0]
    return math.exp(sum(math.log(x) for x in xs) / len(xs)) if xs else float("nan")


# ---- The report ------------------------------------------------------------

def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("report_dir")
    ap.add_argument("--quick", action="store_true", help="the data came from the quick size set")
    ap.add_argument("--readme", metavar="PNG", help="also write the GEMM double plot here")
    a = ap.parse_args()

    data_dir = os.path.join(a.report_dir, "data")
    if not os.path.isdir(data_dir):
        sys.exit("bench_report: no %s (run tools/bench.sh --report)" % data_dir)
    data = Data(data_dir)
    if not data.rows:
        sys.exit("bench_report: no rows in %s" % data_dir)
    m = data.machine()
    out = a.report_dir
    figures = []  # (section, file, caption)

    for t in ("d", "s", "z", "c"):
        f = "gemm_%s.png" % t
        if gemm_figure(data, t, os.path.join(out, f)):
            figures.append(("gemm", f, "%sgemm, GFLOP/s against size" % t))
    if a.readme:
        os.makedirs(os.path.dirname(os.path.abspath(a.readme)), exist_ok=True)
        if not gemm_figure(data, "d", a.readme, threads_list=(1,),
                           title="dgemm, one thread: qor against OpenBLAS and BLIS"):
            print("bench_report: no dgemm rows for %s" % a.readme, file=sys.stderr)
    if bandwidth_figure(data, "blas_level1",
                        [("dot", "d"), ("axpy", "d"), ("nrm2", "d"), ("iamax", "d"), ("scal", "d"), ("dotc", "z")],
                        os.path.join(out, "level1.png"), "BLAS Level 1: bandwidth against working set"):
        figures.append(("blas_level1", "level1.png", "Level 1 bandwidth"))
    if bandwidth_figure(data, "blas_level2",
                        [("gemv N", "d"), ("gemv T", "d"), ("symv L", "d"), ("ger", "d"), ("gemv N", "z"),
                         ("gemv C", "z")],
                        os.path.join(out, "level2.png"), "BLAS Level 2: bandwidth against matrix size"):
        figures.append(("blas_level2", "level2.png", "Level 2 bandwidth"))
    if fft_figure(data, os.path.join(out, "fft.png")):
        figures.append(("dft", "fft.png", "FFT GFLOP/s against length"))
    if descriptor_figure(data, os.path.join(out, "dft_descriptor.png")):
        figures.append(("dft_descriptor", "dft_descriptor.png", "descriptor GFLOP/s against length"))
    if trans_figure(data, os.path.join(out, "trans.png")):
        figures.append(("trans", "trans.png", "transposition bandwidth"))

    md = []
    md.append("# qor benchmark report")
    md.append("")
    md.append("Generated by `tools/bench.sh --report%s` from the rows in `data/`; every figure below was measured "
              "in this run, qor and its peers side by side. Ratios are **peer time / qor time**: above 1, qor is "
              "faster (in bold)." % (" --quick" if a.quick else ""))
    md.append("")
    md.append("Size set: **%s**." % ("quick (fewer and smaller sizes)" if a.quick else "full"))
    md.append("")
    md.append("## Machine")
    md.append("")
    md.append("| | |")
    md.append("|---|---|")
    md.append("| processor | %s (%s family %s model %s) |" % (m.get("processor"), m.get("vendor"), m.get("family"),
                                                               m.get("model")))
    md.append("| qor processor path | %s: %s-bit %s |" % (m.get("cpu_path"), m.get("vector_bits"), m.get("isa")))
    md.append("| widest vector of the machine | %s bits |" % m.get("machine_vector_bits"))
    md.append("| cores / logical processors | %s / %s |" % (m.get("cores"), m.get("logical_processors")))
    used = sorted({r["threads"] for r in data.rows})
    md.append("| threads used | %s (qor's default team: %s) |" % (", ".join(map(str, used)), m.get("max_threads")))
    md.append("| caches (L1d / L2 / L3) | %s / %s / %s |" % tuple(bytes_fmt(m.get(k) or 0) for k in
                                                               ("l1d_bytes", "l2_bytes", "l3_bytes")))
    md.append("| library | %s |" % m.get("qor"))
    md.append("| date | %s |" % m.get("date"))
    loads = sorted((b, rec.get("load_average")) for b, rec in data.machines.items()
                   if isinstance(rec.get("load_average"), (int, float)) and rec.get("load_average") >= 0)
    if loads:
        md.append("| load average at the start of each benchmark | %s |" % ", ".join(
            "%s %.1f" % (b, v) for b, v in loads))
    md.append("")
    busy = [v for _b, v in loads if v > (m.get("cores") or 1)]
    if busy:
        md.append("The machine was busy with other work during this run (load average up to %.1f on %s cores): "
                  "figures on more than one thread, timed by the wall clock, are the least reliable here; "
                  "one-thread figures are timed by the thread's processor time where the programs can."
                  % (max(busy), m.get("cores")))
        md.append("")
    if data.peers:
        md.append("### Peers and the kernels they chose")
        md.append("")
        md.append("| library | kernels | build |")
        md.append("|---|---|---|")
        for lib, p in data.peers.items():
            md.append("| %s | %s | %s |" % (lib, p.get("kernels"), p.get("config")))
        md.append("")
        md.append("Each peer runs the kernels it picks for this machine: OPENBLAS_CORETYPE, OPENBLAS_L2_SIZE and "
                  "BLIS_ARCH_TYPE are set aside while it loads, and OpenBLAS, should it take a generic SSE3 set on "
                  "a processor it does not know, is loaded again with the set the machine's instructions call "
                  "for. In this run:")
        md.append("")
        for note in sorted(data.peer_notes) or ["nothing was set aside or reloaded."]:
            md.append("- " + note)
        md.append("")

    peaks = data.select(library="machine", operation=("peak fma", "peak mul+add"), benchmark="reference")
    if not peaks:
        peaks = data.select(library="machine", operation=("peak fma", "peak mul+add"))
    if peaks:
        md.append("## Measured references")
        md.append("")
        md.append("Peak of one thread, from loops of independent multiply-adds at each vector width:")
        md.append("")
        md.append("| precision | instructions | GFLOP/s |")
        md.append("|---|---|---|")
        seen = set()
        for r in peaks:
            key = (r["type"], r["size"])
            if key in seen:
                continue
            seen.add(key)
            md.append("| %s | %s | %.1f |" % (TYPE_NAME.get(r["type"], r["type"]), r["size"], r["rate"]))
        md.append("")
        for th in sorted({r["threads"] for r in data.select(benchmark="reference", operation="copy")}):
            xs, ys = data.copy_curve(th)
            if xs:
                best = max(range(len(ys)), key=lambda i: ys[i])
                md.append("memcpy, %s: %.1f GB/s at best (working set %s), %.1f GB/s at %s (bytes read + "
                          "written)." % (threads_label([th]), ys[best], bytes_fmt(xs[best]), ys[-1],
                                         bytes_fmt(xs[-1])))
                md.append("")

    if data.runs:
        md.append("## Runs")
        md.append("")
        md.append("| benchmark | program | seconds | result |")
        md.append("|---|---|---|---|")
        for name, prog, secs, rc in data.runs:
            md.append("| %s | %s | %d | %s |" % (name, prog, secs, "ok" if rc == 0 else "**failed (%d)**" % rc))
        md.append("| all | | %d | |" % sum(r[2] for r in data.runs))
        md.append("")

    benchmarks = []
    for r in data.rows:
        if r["benchmark"] not in benchmarks and r["benchmark"] != "reference":
            benchmarks.append(r["benchmark"])
    order = ["blas_gemm", "blas_gemm_scz", "blas_level1", "blas_level2", "blas_level3", "dft", "dft_descriptor",
             "trans"]
    benchmarks.sort(key=lambda b: (order.index(b) if b in order else len(order), b))

    summary = []
    sections = []
    for b in benchmarks:
        rows = data.select(benchmark=b)
        sec = ["## %s (`%s`)" % (LABEL.get(b, b), b), ""]
        for _s, f, cap in (f for f in figures if f[0] == b):
            sec.append("![%s](%s)" % (cap, f))
            sec.append("")
        if b == "dft_descriptor":
            sec += descriptor_targets(data)
        lines, ratios = ratio_table(rows)
        if lines:
            sec += lines
            sec.append("")
        for (p, th), rs in sorted(ratios.items(), key=lambda kv: (kv[0][1], kv[0][0])):
            wins = sum(1 for x in rs if x >= 1)
            summary.append("| %s | %s | %d | %d | %.2f | %.2f | %.2f | %d of %d |" % (
                b, p, th, len(rs), geomean(rs), min(rs), max(rs), wins, len(rs)))
        sections.append(sec)

    if summary:
        md.append("## Summary of ratios (peer time / qor time)")
        md.append("")
        md.append("| benchmark | peer | threads | cases | geometric mean | lowest | highest | qor faster |")
        md.append("|---|---|---|---|---|---|---|---|")
        md += summary
        md.append("")
    gemm_plots = [f for f in figures if f[0] == "gemm"]
    if gemm_plots:
        md.append("## GEMM against size")
        md.append("")
        md.append("Square products, GFLOP/s against the order n; the dashed line is the machine's measured peak "
                  "of one thread times the threads used, the dotted one the peak at qor's vector width.")
        md.append("")
        for _s, f, cap in gemm_plots:
            md.append("![%s](%s)" % (cap, f))
            md.append("")
    for sec in sections:
        md += sec

    with open(os.path.join(out, "index.md"), "w") as f:
        f.write("\n".join(md) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
