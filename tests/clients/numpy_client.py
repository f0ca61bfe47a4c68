"""Debian's numpy on the core.

Run with /usr/bin/python3 and the core's directory first in LD_LIBRARY_PATH
(where its libblas.so.3 link is). The script

  1. runs itself again in a clean environment (no LD_PRELOAD or QOR_*
     variables, LD_LIBRARY_PATH only the --reference-path directories if
     given), where numpy uses the system's or the reference BLAS and
     LAPACK, and has that process prove it did not load the core and save
     its answers to a temporary .npz;
  2. proves from /proc/self/maps that this process loaded libqor_core and
     no other BLAS (when the LAPACK it loaded is the reference one), and
     from the core's own allocation counters that the products reached it;
  3. computes the same things here and compares them with the saved
     answers, within tolerances scaled by size and precision.

Exit status: 0 passed, 1 failed, 77 skipped (numpy missing).

    /usr/bin/python3 numpy_client.py [--reference-path DIR[:DIR]]   # the test
    /usr/bin/python3 numpy_client.py --compute OUT.npz                # one side only
"""
import ctypes
import os
import subprocess
import sys
import tempfile

SKIP = 77

try:
    import numpy as np
except ImportError as e:  # the test is registered only when numpy imports, but be plain about it
    print("numpy_client: SKIPPED, numpy does not import in %s: %s" % (sys.executable, e))
    sys.exit(SKIP)

# Sizes past the blocking of the GEMM paths (and not multiples of their tiles).
M, K, N = 301, 297, 283
SOLVE_N = 300
EIG_N = 300
SVD_M, SVD_N = 300, 240
TYPES = ("float32", "float64", "complex64", "complex128")


def data(rng, dtype, shape):
    x = rng.uniform(-1.0, 1.0, size=shape)
    if np.dtype(dtype).kind == "c":
        x = x + 1j * rng.uniform(-1.0, 1.0, size=shape)
    return x.astype(dtype)


def compute():
    """Every answer, in a dict of arrays. Inputs come from a fixed seed, so
    both processes see the same ones."""
    rng = np.random.default_rng(20261125)
    out = {}
    for t in TYPES:
        a = data(rng, t, (M, K))
        b = data(rng, t, (K, N))
        out["matmul_" + t] = np.matmul(a, b)
        # Transposed and conjugated operands, as views: numpy passes the
        # transposition letters instead of copying.
        out["matmul_T_" + t] = np.matmul(b.T, a.T.conj())
        out["dot_" + t] = np.dot(a, b[:, 0])  # matrix times vector (gemv)
        out["dot_syrk_" + t] = np.dot(a, a.T)  # an operand times its own transpose (syrk)
        v = data(rng, t, (K,))
        out["dot_vv_" + t] = np.array(np.dot(v, v))  # dot product (dotu for complex)
        out["vdot_" + t] = np.array(np.vdot(v, b[:, 1]))  # conjugated dot product (dotc for complex)
    s = data(rng, "float64", (SOLVE_N, SOLVE_N)) + SOLVE_N * np.eye(SOLVE_N)
    rhs = data(rng, "float64", (SOLVE_N, 7))
    out["solve"] = np.linalg.solve(s, rhs)
    zs = data(rng, "complex128", (SOLVE_N, SOLVE_N)) + SOLVE_N * np.eye(SOLVE_N)
    out["solve_z"] = np.linalg.solve(zs, rhs.astype(np.complex128))
    h = data(rng, "float64", (EIG_N, EIG_N))
    h = h + h.T
    w, v = np.linalg.eigh(h)
    out["eigh_w"] = w
    out["eigh_residual"] = np.array(np.linalg.norm(h @ v - v * w) / np.linalg.norm(h))
    out["eigh_orth"] = np.array(np.linalg.norm(v.T @ v - np.eye(EIG_N)))
    hz = data(rng, "complex128", (EIG_N, EIG_N))
    hz = hz + hz.conj().T
    out["eigh_z_w"] = np.linalg.eigvalsh(hz)
    g = data(rng, "float64", (SVD_M, SVD_N))
    u, sv, vt = np.linalg.svd(g, full_matrices=False)
    out["svd_s"] = sv
    out["svd_residual"] = np.array(np.linalg.norm((u * sv) @ vt - g) / np.linalg.norm(g))
    return out


def tolerance(key, ref):
    """Absolute tolerance for one answer: the precision's epsilon times the
    size of the sums, times the answer's scale."""
    eps = np.finfo(ref.dtype).eps
    scale = float(np.max(np.abs(ref))) if ref.size else 1.0
    if key.startswith(("matmul", "dot", "vdot")):
        # Entries are sums of K products; the order of the sums may differ.
        return 4.0 * K * eps * max(scale, 1.0)
    if key.startswith("solve"):
        return 64.0 * SOLVE_N * eps * max(scale, 1.0)
    if key.endswith(("residual", "orth")):
        return None  # checked against a bound of their own
    return 64.0 * max(EIG_N, SVD_M) * eps * max(scale, 1.0)  # eigenvalues, singular values


def mapped_files():
    files = []
    with open("/proc/self/maps") as f:
        for line in f:
            parts = line.split(None, 5)
            if len(parts) == 6 and parts[5].startswith("/"):
                path = parts[5].strip()
                if path not in files:
                    files.append(path)
    return files


def core_counts(core):
    class Counts(ctypes.Structure):
        _fields_ = [("allocations", ctypes.c_int64), ("frees", ctypes.c_int64), ("failures", ctypes.c_int64),
                    ("live", ctypes.c_int64)]

    c = Counts()
    core.qor_alloc_stats(3, ctypes.byref(c))
    return c.allocations


def prove_core(failures):
    """The core is loaded, as libblas.so.3, and no other BLAS is."""
    files = mapped_files()
    core = [f for f in files if "libqor_core" in os.path.basename(f)]
    if not core:
        failures.append("libqor_core is not mapped: numpy did not load the core")
        return None
    lapack = [f for f in files if os.path.basename(f).startswith("liblapack")]
    others = [f for f in files
              if os.path.basename(f).startswith(("libblas", "libcblas", "libopenblas", "libblis", "libmkl"))]
    print("numpy_client: core %s" % core[0])
    print("numpy_client: LAPACK %s" % (", ".join(lapack) if lapack else "not loaded"))
    # The reference LAPACK calls its BLAS through libblas.so.3, the core;
    # another LAPACK (OpenBLAS's) may carry a BLAS of its own.
    reference_lapack = bool(lapack) and all("/lapack/" in os.path.realpath(f) for f in lapack)
    if others:
        if reference_lapack:
            failures.append("another BLAS is mapped besides the core: %s" % ", ".join(others))
        else:
            print("numpy_client: note: the system LAPACK brings its own BLAS (%s); only numpy's own calls "
                  "are proven to reach the core" % ", ".join(others))
    return ctypes.CDLL(core[0])


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "--compute":
        answers = compute()
        mine = [f for f in mapped_files() if "libqor_core" in f]
        if mine:
            print("numpy_client: the reference process loaded the core (%s): the system's BLAS is qor itself; "
                  "give the reference BLAS's directory with --reference-path" % mine[0])
            return 1
        blas = [f for f in mapped_files() if os.path.basename(f).startswith(("libblas", "libopenblas", "libblis"))]
        print("numpy_client: reference BLAS %s" % (", ".join(blas) if blas else "?"))
        np.savez(sys.argv[2], **answers)
        return 0
    reference_path = None
    if len(sys.argv) == 3 and sys.argv[1] == "--reference-path":
        reference_path = sys.argv[2]
    failures = []
    core = prove_core(failures)
    if core is None:
        print("numpy_client FAILED: %s" % "; ".join(failures))
        return 1

    # Every product type reaches the core: its kernels allocate their packed
    # blocks through the core's pools.
    rng = np.random.default_rng(1)
    for t in TYPES:
        a, b = data(rng, t, (M, K)), data(rng, t, (K, N))
        before = core_counts(core)
        np.matmul(a, b)
        if core_counts(core) == before:
            failures.append("matmul on %s did not reach the core (no allocation counted)" % t)

    # The answers without the core, from a clean process.
    env = {k: v for k, v in os.environ.items()
           if k not in ("LD_LIBRARY_PATH", "LD_PRELOAD", "ASAN_OPTIONS", "UBSAN_OPTIONS") and not k.startswith("QOR_")}
    if reference_path:
        env["LD_LIBRARY_PATH"] = reference_path
    with tempfile.TemporaryDirectory(prefix="qor_numpy_") as tmp:
        ref_file = os.path.join(tmp, "reference.npz")
        child = subprocess.run([sys.executable, os.path.abspath(__file__), "--compute", ref_file], env=env,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
        print(child.stdout.strip())
        if child.returncode != 0:
            print("numpy_client FAILED: the reference process ended with status %d" % child.returncode)
            return 1
        with np.load(ref_file) as f:
            ref = {k: f[k] for k in f.files}

    ours = compute()
    for key in sorted(ref):
        r, o = ref[key], ours[key]
        if r.shape != o.shape or r.dtype != o.dtype:
            failures.append("%s: shape/type %s %s against %s %s" % (key, o.shape, o.dtype, r.shape, r.dtype))
            continue
        tol = tolerance(key, r)
        if tol is None:
            bound = 1e3 * np.finfo(np.float64).eps * EIG_N
            err = float(o)
            ok = err <= bound
            print("  %-22s %.3e (bound %.1e, reference %.3e)" % (key, err, bound, float(r)))
        else:
            err = float(np.max(np.abs(o - r))) if r.size else 0.0
            ok = err <= tol
            print("  %-22s max |ours - reference| %.3e (tolerance %.1e)" % (key, err, tol))
        if not ok:
            failures.append(key)
    if failures:
        print("numpy_client FAILED: %s" % "; ".join(failures))
        return 1
    print("numpy_client: numpy on the core agrees with numpy without it (%d answers)" % len(ref))
    return 0


if __name__ == "__main__":
    sys.exit(main())
