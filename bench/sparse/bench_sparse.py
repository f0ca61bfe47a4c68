#!/usr/bin/python3
"""Sparse products of qor (through ctypes) against scipy, on the same arrays.

    /usr/bin/python3 bench/sparse/bench_sparse.py --lib LIBQOR_CORE --matrices DIR

DIR holds the matrices `bench_sparse --write DIR` makes (bench_sparse runs
this script itself at its end). Both sides run on one thread, beta 0, and
are timed in alternating rounds, the best sample of each kept. Lines give
the time, GB/s (values, column indices, row pointers, x and y once each),
the ratio scipy time / qor time (above 1: qor is faster) and the fraction
of a triad-sized stream (numpy a = b + c: 24 bytes an element, as the
triad) over as many bytes, measured in the same run.

scipy sides: the bare kernel scipy.sparse._sparsetools.csr_matvec (which
adds into a zeroed y) and A @ x; A.T @ x for the transposed product; the
full matrix for the symmetric one; A @ B for mm.
"""
import argparse
import ctypes
import os
import sys
import time

import numpy as np
import scipy
import scipy.sparse as sp
from scipy.sparse import _sparsetools

OP_N, OP_T = 10, 11
GENERAL, SYMMETRIC = 20, 21
LOWER, FULL = 40, 42
NON_UNIT = 50
ROW_MAJOR, COLUMN_MAJOR = 101, 102


class Descr(ctypes.Structure):
    _fields_ = [("type", ctypes.c_int32), ("mode", ctypes.c_int32), ("diag", ctypes.c_int32)]


def best_pair(f, g, min_seconds=0.3, rounds=3):
    """Best times of f and g, timed in alternating rounds."""
    best = [1e30, 1e30]
    for _ in range(rounds):
        for i, h in enumerate((f, g)):
            total, reps = 0.0, 0
            while reps < 3 or total < min_seconds / rounds:
                t0 = time.perf_counter()
                h()
                t = time.perf_counter() - t0
                total += t
                reps += 1
                best[i] = min(best[i], t)
    return best


def best_one(f, min_seconds=0.3):
    return best_pair(f, lambda: None, min_seconds)[0]


class Qor:
    def __init__(self, path):
        self.lib = ctypes.CDLL(path)
        L = self.lib
        P = ctypes.c_void_p
        L.qor_set_num_threads.argtypes = [ctypes.c_int]
        L.qor_sparse_d_create_csr.argtypes = [ctypes.POINTER(P), ctypes.c_int, ctypes.c_int32, ctypes.c_int32, P, P, P, P]
        L.qor_sparse_d_create_csr_64.argtypes = [ctypes.POINTER(P), ctypes.c_int, ctypes.c_int64, ctypes.c_int64, P, P, P, P]
        L.qor_sparse_d_mv.argtypes = [ctypes.c_int, ctypes.c_double, P, Descr, P, ctypes.c_double, P]
        L.qor_sparse_d_mv_64.argtypes = L.qor_sparse_d_mv.argtypes
        L.qor_sparse_d_dotmv.argtypes = [ctypes.c_int, ctypes.c_double, P, Descr, P, ctypes.c_double, P,
                                         ctypes.POINTER(ctypes.c_double)]
        L.qor_sparse_d_mm.argtypes = [ctypes.c_int, ctypes.c_double, P, Descr, ctypes.c_int, P, ctypes.c_int32,
                                      ctypes.c_int32, ctypes.c_double, P, ctypes.c_int32]
        L.qor_sparse_set_mv_hint.argtypes = [P, ctypes.c_int, Descr, ctypes.c_int32]
        L.qor_sparse_set_dotmv_hint.argtypes = L.qor_sparse_set_mv_hint.argtypes
        L.qor_sparse_optimize.argtypes = [P]
        L.qor_sparse_destroy.argtypes = [P]
        L.qor_sparse_destroy_64.argtypes = [P]
        L.qor_set_num_threads(1)

    def create(self, a, wide=False):
        h = ctypes.c_void_p()
        ptr = a.indptr.astype(np.int64 if wide else np.int32)
        col = a.indices.astype(np.int64 if wide else np.int32)
        keep = (ptr, col, a.data)
        f = self.lib.qor_sparse_d_create_csr_64 if wide else self.lib.qor_sparse_d_create_csr
        st = f(ctypes.byref(h), 0, a.shape[0], a.shape[1], ptr.ctypes.data, ptr.ctypes.data + ptr.itemsize,
               col.ctypes.data, a.data.ctypes.data)
        if st != 0:
            raise RuntimeError("create failed: %d" % st)
        return h, keep


def load(directory):
    with open(os.path.join(directory, "index.txt")) as f:
        for line in f:
            name, rows, cols, nnz, symmetric = line.split()
            rows, cols, nnz = int(rows), int(cols), int(nnz)
            ptr = np.fromfile(os.path.join(directory, name + ".ptr"), dtype=np.int32)
            col = np.fromfile(os.path.join(directory, name + ".col"), dtype=np.int32)
            val = np.fromfile(os.path.join(directory, name + ".val"), dtype=np.float64)
            yield name, sp.csr_matrix((val, col, ptr), shape=(rows, cols)), symmetric == "1"


def product_bytes(a, columns=1):
    return a.nnz * 12 + (a.shape[0] + 1) * 4 + (a.shape[0] + a.shape[1]) * 8 * columns


def stream_seconds(nbytes):
    n = int(nbytes / 24) + 1
    a, b, c = np.zeros(n), np.ones(n), np.full(n, 2.0)
    return best_one(lambda: np.add(b, c, out=a))


def report(what, name, nbytes, ours, peers, stream_gbs):
    line = "%-22s %-12s qor %8.3f ms %7.2f GB/s" % (what, name, ours * 1e3, nbytes / ours * 1e-9)
    for label, t in peers:
        line += " | %s %8.3f ms ratio %5.2fx" % (label, t * 1e3, t / ours)
    line += " | %.0f%% of stream" % (100 * nbytes / ours * 1e-9 / stream_gbs)
    print(line, flush=True)


def bench_matrix(q, name, a, symmetric):
    L = q.lib
    g = Descr(GENERAL, FULL, NON_UNIT)
    m, n = a.shape
    x = np.linspace(-1, 1, n)
    xr = np.linspace(-1, 1, m)
    y = np.zeros(m)
    yt = np.zeros(n)
    nbytes = product_bytes(a)
    stream_gbs = nbytes / stream_seconds(nbytes) * 1e-9
    print("\n== %s: %d x %d, %d elements (stream %.2f GB/s at this size)" % (name, m, n, a.nnz, stream_gbs))

    plain, keep1 = q.create(a)
    opt, keep2 = q.create(a)
    opt_t, keep5 = q.create(a)
    L.qor_sparse_set_mv_hint(opt, OP_N, g, 1000)
    L.qor_sparse_set_dotmv_hint(opt, OP_N, g, 1000)
    t0 = time.perf_counter()
    L.qor_sparse_optimize(opt)
    optimize_s = time.perf_counter() - t0
    L.qor_sparse_set_mv_hint(opt_t, OP_T, g, 1000)
    L.qor_sparse_optimize(opt_t)

    ys = np.zeros(m)

    def bare():
        ys.fill(0)
        _sparsetools.csr_matvec(m, n, a.indptr, a.indices, a.data, x, ys)

    def qmv(h):
        return lambda: L.qor_sparse_d_mv(OP_N, 1.0, h, g, x.ctypes.data, 0.0, y.ctypes.data)

    for label, h in (("mv n plain", plain), ("mv n optimised", opt)):
        t_ours, t_bare = best_pair(qmv(h), bare)
        _, t_at = best_pair(qmv(h), lambda: a @ x)
        report(label, name, nbytes, t_ours, [("csr_matvec", t_bare), ("A@x", t_at)], stream_gbs)
    plain_s = best_one(qmv(plain))
    print("%-22s %-12s optimize costs %.1f plain products" % ("optimize", name, optimize_s / plain_s))
    if not np.allclose(y, a @ x):
        print("  WRONG RESULT in mv n", flush=True)

    for label, h in (("mv t plain", plain), ("mv t optimised", opt_t)):
        t_ours, t_peer = best_pair(lambda: L.qor_sparse_d_mv(OP_T, 1.0, h, g, xr.ctypes.data, 0.0, yt.ctypes.data),
                                   lambda: a.T @ xr)
        report(label, name, nbytes, t_ours, [("A.T@x", t_peer)], stream_gbs)

    if symmetric:
        low = sp.tril(a, format="csr")
        low.sort_indices()
        lh, keep3 = q.create(low)
        s = Descr(SYMMETRIC, LOWER, NON_UNIT)
        t_ours, t_peer = best_pair(lambda: L.qor_sparse_d_mv(OP_N, 1.0, lh, s, x.ctypes.data, 0.0, y.ctypes.data),
                                   lambda: a @ x)
        report("sym lower (scipy full)", name, product_bytes(low), t_ours, [("A@x", t_peer)], stream_gbs)
        L.qor_sparse_destroy(lh)

    if m == n:
        d = ctypes.c_double()
        t_ours, t_peer = best_pair(
            lambda: L.qor_sparse_d_dotmv(OP_N, 1.0, opt, g, x.ctypes.data, 0.0, y.ctypes.data, ctypes.byref(d)),
            lambda: x @ (a @ x))
        report("dotmv optimised", name, nbytes, t_ours, [("x@(A@x)", t_peer)], stream_gbs)

    for k in (8, 32):
        bf = np.asfortranarray(np.random.default_rng(1).standard_normal((n, k)))
        bc = np.ascontiguousarray(bf)
        cf = np.zeros((m, k), order="F")
        cc = np.zeros((m, k))
        kb = product_bytes(a, k)
        t_ours, t_peer = best_pair(
            lambda: L.qor_sparse_d_mm(OP_N, 1.0, plain, g, COLUMN_MAJOR, bf.ctypes.data, k, n, 0.0, cf.ctypes.data, m),
            lambda: a @ bf)
        report("mm %d col-major" % k, name, kb, t_ours, [("A@B", t_peer)], stream_gbs)
        t_ours, t_peer = best_pair(
            lambda: L.qor_sparse_d_mm(OP_N, 1.0, plain, g, ROW_MAJOR, bc.ctypes.data, k, k, 0.0, cc.ctypes.data, k),
            lambda: a @ bc)
        report("mm %d row-major" % k, name, kb, t_ours, [("A@B", t_peer)], stream_gbs)

    wide, keep4 = q.create(a, wide=True)
    p64 = a.indptr.astype(np.int64)
    c64 = a.indices.astype(np.int64)

    def bare64():
        ys.fill(0)
        _sparsetools.csr_matvec(m, n, p64, c64, a.data, x, ys)

    t_ours, t_peer = best_pair(lambda: L.qor_sparse_d_mv_64(OP_N, 1.0, wide, g, x.ctypes.data, 0.0, y.ctypes.data),
                               bare64)
    report("mv n plain i8", name, nbytes + (a.nnz + m + 1) * 4, t_ours, [("csr_matvec i8", t_peer)], stream_gbs)
    L.qor_sparse_destroy_64(wide)
    L.qor_sparse_destroy(plain)
    L.qor_sparse_destroy(opt)
    L.qor_sparse_destroy(opt_t)


def main():
    ap = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    ap.add_argument("--lib", required=True, help="libqor_core.so.3")
    ap.add_argument("--matrices", required=True, help="directory written by bench_sparse --write")
    args = ap.parse_args()
    print("qor through ctypes against scipy %s (numpy %s), one thread, double, beta 0" % (scipy.__version__,
                                                                                         np.__version__))
    q = Qor(args.lib)
    for name, a, symmetric in load(args.matrices):
        bench_matrix(q, name, a, symmetric)
    return 0


if __name__ == "__main__":
    sys.exit(main())
