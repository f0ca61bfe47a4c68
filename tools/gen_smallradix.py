#!/usr/bin/env python3
"""Writes the straight-line complex transforms of lengths 2 to 64 (double).

Usage: gen_smallradix.py --output DIR --parts N [--stats]

Each kernel is the full, unscaled transform of one length, forward
(exp(-2 pi i jk/n)) or inverse (exp(+2 pi i jk/n)), unrolled into one
function whose constants are immediates. A kernel is built from a
factorisation of its length:

  * lengths with two or more distinct prime factors split into coprime
    parts by the prime-factor (Good-Thomas) mapping, which needs no twiddle
    factors at all;
  * prime powers split by Cooley-Tukey into two near-equal powers, with the
    twiddle factors that are powers of i or odd eighth roots applied with
    fewer operations than a general complex product;
  * odd primes take whichever of two forms needs fewer operations: the
    paired direct form (with s_j = x_j + x_{p-j} and d_j = x_j - x_{p-j},
    X_k and X_{p-k} share one cosine sum over s and one sine sum over d,
    which halves the multiplications of the plain sum), the cheaper one up to
    11 and for 23 and 47, whose p - 1 has a large prime factor; or Rader's form,
    a cyclic convolution of length p - 1 done by two transforms of that
    length, which are built the same way.

The code is a list of single assignments. Negation is never emitted as an
operation: every value carries a sign that the next addition, subtraction or
multiplication by a constant absorbs, so products by -1 and by +-i are free.
All inputs are loaded before any output is stored, which makes every kernel
safe in place.

Constants are cosines and sines of rational multiples of 2 pi, evaluated
with 40 significant digits in decimal arithmetic after an exact reduction
of the angle to the first octant, then rounded once to binary64 and printed
with repr, which round-trips. Equal magnitudes therefore give identical
constants. The output depends only on the arguments: same bytes every run.

Files written into DIR: smallradix_part<i>.cpp for i in 0..N-1, holding the
kernels spread by operation count so that the parts compile in similar
time, and smallradix_tables.cpp with the two exported tables.
"""
import argparse
import decimal
import fractions
import functools
import math
import pathlib
import sys

MIN_LENGTH, MAX_LENGTH = 2, 64
DIGITS = 40


# ---- constants --------------------------------------------------------------

@functools.lru_cache(maxsize=None)
def _pi() -> decimal.Decimal:
    """pi by Machin's formula, in the current decimal context."""
    def arctan_inv(x: int) -> decimal.Decimal:
        x2, term, total, k = x * x, decimal.Decimal(1) / x, decimal.Decimal(0), 0
        while term != 0:
            total += term / (2 * k + 1) if k % 2 == 0 else -term / (2 * k + 1)
            term /= x2
            k += 1
        return total
    return 4 * (4 * arctan_inv(5) - arctan_inv(239))


def _taylor(x: decimal.Decimal, cosine: bool) -> decimal.Decimal:
    term = decimal.Decimal(1) if cosine else x
    total, k = term, 1 if cosine else 2
    while True:
        term *= -x * x / (k * (k + 1))
        if term == 0 or abs(term) < decimal.Decimal(10) ** -(DIGITS + 5):
            return total + term
        total += term
        k += 2


@functools.lru_cache(maxsize=None)
def cos_sin_exact(t: int, n: int) -> tuple[decimal.Decimal, decimal.Decimal]:
    """cos and sin of 2 pi t / n to about DIGITS significant digits."""
    f = fractions.Fraction(t % n, n)  # in [0, 1)
    octant = math.floor(f * 8)
    r = f * 8 - octant  # in [0, 1): position inside the octant
    # Within each octant the angle is a mirror or a shift of one in [0, pi/4].
    if octant % 2 == 1:
        r = 1 - r
    with decimal.localcontext() as ctx:
        ctx.prec = DIGITS + 10
        x = _pi() / 4 * decimal.Decimal(r.numerator) / decimal.Decimal(r.denominator)
        c0, s0 = _taylor(x, True), _taylor(x, False)
        # (c, s) of the angle octant * pi/4 + (mirrored) x
        table = {
            0: (c0, s0), 1: (s0, c0), 2: (-s0, c0), 3: (-c0, s0),
            4: (-c0, -s0), 5: (-s0, -c0), 6: (s0, -c0), 7: (c0, -s0),
        }
        return table[octant]


def cos_sin(t: int, n: int) -> tuple[float, float]:
    """cos and sin of 2 pi t / n, each correctly rounded to binary64."""
    c, s = cos_sin_exact(t, n)
    return float(c), float(s)


# ---- single-assignment code with folded signs --------------------------------

class Code:
    """Straight-line code over doubles. A value is (name, sign)."""

    def __init__(self) -> None:
        self.lines: list[str] = []
        self.count = 0
        self.ops = 0

    def _new(self, expr: str, ops: int) -> str:
        name = f"t{self.count}"
        self.count += 1
        self.ops += ops
        self.lines.append(f"  const double {name} = {expr};")
        return name

    def load(self, expr: str) -> tuple[str, int]:
        return self._new(expr, 0), 1

    @staticmethod
    def neg(a: tuple[str, int]) -> tuple[str, int]:
        return a[0], -a[1]

    def add(self, a: tuple[str, int], b: tuple[str, int]) -> tuple[str, int]:
        (x, sa), (y, sb) = a, b
        if sa > 0 and sb > 0:
            return self._new(f"{x} + {y}", 1), 1
        if sa > 0:
            return self._new(f"{x} - {y}", 1), 1
        if sb > 0:
            return self._new(f"{y} - {x}", 1), 1
        return self._new(f"{x} + {y}", 1), -1

    def sub(self, a: tuple[str, int], b: tuple[str, int]) -> tuple[str, int]:
        return self.add(a, self.neg(b))

    def mul(self, a: tuple[str, int], c: float) -> tuple[str, int]:
        sign = a[1] if c > 0 else -a[1]
        return self._new(f"{a[0]} * {repr(abs(c))}", 1), sign

    def total(self, terms: list[tuple[str, int]]) -> tuple[str, int]:
        acc = terms[0]
        for t in terms[1:]:
            acc = self.add(acc, t)
        return acc

    def dot(self, base, consts: list[float], values) -> tuple[str, int]:
        """base + sum consts[j] * values[j], base may be None."""
        terms = [] if base is None else [base]
        terms += [self.mul(v, c) for c, v in zip(consts, values)]
        return self.total(terms)


# A complex value is a pair of real values (re, im).

def cadd(code: Code, a, b):
    return code.add(a[0], b[0]), code.add(a[1], b[1])


def csub(code: Code, a, b):
    return code.sub(a[0], b[0]), code.sub(a[1], b[1])


def times_i(a, k: int):
    """a times i^k, free: only names and signs move."""
    re, im = a
    for _ in range(k % 4):
        re, im = Code.neg(im), re
    return re, im


def twiddle(code: Code, a, t: int, n: int, sign: int):
    """a times exp(sign 2 pi i t / n)."""
    t = (sign * t) % n
    if t == 0:
        return a
    if (4 * t) % n == 0:
        return times_i(a, 4 * t // n)
    if (8 * t) % n == 0:
        # An odd eighth root, i^q exp(i pi/4): two additions and two products.
        re, im = a
        q = (8 * t // n - 1) // 2
        h = cos_sin(1, 8)[0]
        return times_i((code.mul(code.sub(re, im), h), code.mul(code.add(re, im), h)), q)
    return times_const(code, a, *cos_sin(t, n))


def times_const(code: Code, a, c: float, s: float):
    """a times the constant c + i s, skipping a part that is zero."""
    re, im = a
    if s == 0:
        return code.mul(re, c), code.mul(im, c)
    if c == 0:
        return times_i((code.mul(re, s), code.mul(im, s)), 1)
    return (code.sub(code.mul(re, c), code.mul(im, s)), code.add(code.mul(re, s), code.mul(im, c)))


# ---- factorisation -------------------------------------------------------------

def prime_factors(n: int) -> list[tuple[int, int]]:
    out, p = [], 2
    while p * p <= n:
        if n % p == 0:
            e = 0
            while n % p == 0:
                n //= p
                e += 1
            out.append((p, e))
        p += 1
    if n > 1:
        out.append((n, 1))
    return out


def dft(code: Code, x: list, sign: int) -> list:
    """The transform of the complex values x; sign -1 forward, +1 inverse."""
    n = len(x)
    if n == 1:
        return list(x)
    factors = prime_factors(n)
    if len(factors) > 1:
        n1 = factors[0][0] ** factors[0][1]
        return prime_factor_split(code, x, n1, n // n1, sign)
    p, e = factors[0]
    if e == 1:
        if p == 2:
            return [cadd(code, x[0], x[1]), csub(code, x[0], x[1])]
        return PRIME_FORMS[prime_form(p)](code, x, sign)
    n1 = p ** (e // 2)
    return cooley_tukey(code, x, n1, n // n1, sign)


def prime_factor_split(code: Code, x: list, n1: int, n2: int, sign: int) -> list:
    """Good-Thomas: x[(n2 j1 + n1 j2) mod n] is a true two-dimensional
    n1 x n2 transform when gcd(n1, n2) = 1, read out at the index that is
    k1 mod n1 and k2 mod n2 (Chinese remainders)."""
    n = n1 * n2
    cols = [dft(code, [x[(n2 * j1 + n1 * j2) % n] for j1 in range(n1)], sign) for j2 in range(n2)]
    rows = [dft(code, [cols[j2][k1] for j2 in range(n2)], sign) for k1 in range(n1)]
    u, v = pow(n2, -1, n1), pow(n1, -1, n2)
    out = [None] * n
    for k1 in range(n1):
        for k2 in range(n2):
            out[(k1 * n2 * u + k2 * n1 * v) % n] = rows[k1][k2]
    return out


def cooley_tukey(code: Code, x: list, n1: int, n2: int, sign: int) -> list:
    """Decimation in time: n1-point transforms of x[n2 j1 + j2], twiddles
    w^(j2 k1), then n2-point transforms giving X[k1 + n1 k2]."""
    n = n1 * n2
    inner = [dft(code, [x[n2 * j1 + j2] for j1 in range(n1)], sign) for j2 in range(n2)]
    inner = [[twiddle(code, inner[j2][k1], j2 * k1, n, sign) for k1 in range(n1)] for j2 in range(n2)]
    out = [None] * n
    for k1 in range(n1):
        for k2, v in enumerate(dft(code, [inner[j2][k1] for j2 in range(n2)], sign)):
            out[k1 + n1 * k2] = v
    return out


def prime_direct(code: Code, x: list, sign: int) -> list:
    """Paired direct form for an odd prime p: with s_j = x_j + x_{p-j} and
    d_j = x_j - x_{p-j}, A_k = x_0 + sum cos(2 pi jk/p) s_j and
    B_k = sum sin(2 pi jk/p) d_j give X_k = A_k + sign i B_k and
    X_{p-k} = A_k - sign i B_k."""
    p = len(x)
    m = (p - 1) // 2
    s = [cadd(code, x[j], x[p - j]) for j in range(1, m + 1)]
    d = [csub(code, x[j], x[p - j]) for j in range(1, m + 1)]
    out = [None] * p
    out[0] = (code.total([x[0][0]] + [v[0] for v in s]), code.total([x[0][1]] + [v[1] for v in s]))
    for k in range(1, m + 1):
        cs = [cos_sin(j * k, p) for j in range(1, m + 1)]
        cos_k, sin_k = [c for c, _ in cs], [si for _, si in cs]
        a = (code.dot(x[0][0], cos_k, [v[0] for v in s]), code.dot(x[0][1], cos_k, [v[1] for v in s]))
        b = (code.dot(None, sin_k, [v[0] for v in d]), code.dot(None, sin_k, [v[1] for v in d]))
        ib = times_i(b, 1 if sign > 0 else 3)
        out[k] = cadd(code, a, ib)
        out[p - k] = csub(code, a, ib)
    return out


def primitive_root(p: int) -> int:
    phi = p - 1
    for g in range(2, p):
        if all(pow(g, phi // q, p) != 1 for q, _ in prime_factors(phi)):
            return g
    raise ValueError(p)


@functools.lru_cache(maxsize=None)
def rader_filter(p: int, sign: int) -> tuple[tuple[float, float], ...]:
    """Forward transform of b_q = w^(g^-q), w = exp(sign 2 pi i / p), divided
    by p - 1, summed in decimal and rounded once."""
    m, g = p - 1, primitive_root(p)
    ginv = pow(g, -1, p)
    b = [cos_sin_exact((sign * pow(ginv, q, p)) % p, p) for q in range(m)]
    out = []
    with decimal.localcontext() as ctx:
        ctx.prec = DIGITS + 10
        for k in range(m):
            re = im = decimal.Decimal(0)
            for q in range(m):
                c, s = cos_sin_exact(-q * k, m)
                re += b[q][0] * c - b[q][1] * s
                im += b[q][0] * s + b[q][1] * c
            small = decimal.Decimal(10) ** -(DIGITS - 5)
            re = 0 if abs(re) < small else re / m
            im = 0 if abs(im) < small else im / m
            out.append((float(re), float(im)))
    return tuple(out)


def prime_rader(code: Code, x: list, sign: int) -> list:
    """Rader's form for an odd prime p: with g a primitive root, the outputs
    X_{g^-r} - x_0, r = 0 .. p-2, are the cyclic convolution of a_q = x_{g^q} with
    b_q = w^(g^-q), done by transforms of length p - 1 and a product by the
    transformed b. Adding x_0 to the zero-frequency product before the
    inverse transform adds it to every output at the cost of one addition."""
    p = len(x)
    m, g = p - 1, primitive_root(p)
    a = dft(code, [x[pow(g, q, p)] for q in range(m)], -1)
    filt = rader_filter(p, sign)
    prod = [times_const(code, a[k], *filt[k]) for k in range(m)]
    prod[0] = cadd(code, prod[0], x[0])
    conv = dft(code, prod, 1)
    out = [None] * p
    out[0] = cadd(code, x[0], a[0])
    ginv = pow(g, -1, p)
    for q in range(m):
        out[pow(ginv, q, p)] = conv[q]
    return out


PRIME_FORMS = {"direct": prime_direct, "rader": prime_rader}


@functools.lru_cache(maxsize=None)
def prime_form(p: int) -> str:
    """The form that takes fewer operations for the prime p (the direct form
    on a tie); measured by generating both on placeholder inputs."""
    costs = {}
    for form in ("direct", "rader"):
        code = Code()
        PRIME_FORMS[form](code, [(code.load("0"), code.load("0")) for _ in range(p)], -1)
        costs[form] = code.ops
    return "rader" if costs["rader"] < costs["direct"] else "direct"


# ---- kernels and files ------------------------------------------------------------

def kernel_name(n: int, inverse: bool) -> str:
    return f"smallradixDFXInv_CToC_{n}_64fc" if inverse else f"smallradixDFTFwd_CToC_{n}_64fc"


# The signature of a node's kernel slot: untyped data, the node record and a
# work buffer, neither of which these kernels use.
PARAMS = "const void* src, void* dst, dfxi_node*, void*"


def kernel(n: int, inverse: bool) -> tuple[str, int]:
    """C++ source of one kernel and its count of floating-point operations."""
    code = Code()
    x = [(code.load(f"in[{j}].re"), code.load(f"in[{j}].im")) for j in range(n)]
    y = dft(code, x, 1 if inverse else -1)
    stores = []
    for k, (re, im) in enumerate(y):
        for part, (name, sg) in (("re", re), ("im", im)):
            stores.append(f"  out[{k}].{part} = {'' if sg > 0 else '-'}{name};")
    direction = "inverse" if inverse else "forward"
    body = [f"// Length {n}, {direction}: {code.ops} operations.",
            f"extern \"C\" unsigned int {kernel_name(n, inverse)}({PARAMS}) {{",
            "  const qor_zups_64fc* in = static_cast<const qor_zups_64fc*>(src);",
            "  qor_zups_64fc* out = static_cast<qor_zups_64fc*>(dst);"]
    body += code.lines + stores + ["  return 0;", "}", ""]
    return "\n".join(body), code.ops


HEADER = """// Generated by tools/gen_smallradix.py; do not edit.
#include <cstdint>

#include "dft/smallradix/smallradix.h"
"""


def write_if_changed(path: pathlib.Path, text: str) -> None:
    if not path.exists() or path.read_text() != text:
        path.write_text(text)


def main() -> int:
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--output", required=True, type=pathlib.Path)
    ap.add_argument("--parts", type=int, default=4)
    ap.add_argument("--stats", action="store_true", help="print the operation count of each kernel")
    args = ap.parse_args()
    if args.parts < 1:
        ap.error("--parts must be at least 1")

    kernels = []  # (ops, n, inverse, source), in length order
    for n in range(MIN_LENGTH, MAX_LENGTH + 1):
        for inverse in (False, True):
            src, ops = kernel(n, inverse)
            kernels.append((ops, n, inverse, src))
    if args.stats:
        for ops, n, inverse, _ in kernels:
            if not inverse:
                print(f"{n:3d} {ops:6d}")

    # Largest first onto the lightest part; ties go to the lower part.
    load = [0] * args.parts
    members: list[list[tuple[int, bool, str]]] = [[] for _ in range(args.parts)]
    for ops, n, inverse, src in sorted(kernels, key=lambda k: (-k[0], k[1], k[2])):
        i = min(range(args.parts), key=lambda j: (load[j], j))
        load[i] += ops
        members[i].append((n, inverse, src))

    args.output.mkdir(parents=True, exist_ok=True)
    for i, part in enumerate(members):
        part.sort(key=lambda k: (k[0], k[1]))
        write_if_changed(args.output / f"smallradix_part{i}.cpp", HEADER + "\n" + "".join(s for _, _, s in part))

    lines = [HEADER]
    lines.append(f"static_assert(qor::dft::smallradix::kMinLength == {MIN_LENGTH} && "
                 f"qor::dft::smallradix::kMaxLength == {MAX_LENGTH},")
    lines.append('              "the header and tools/gen_smallradix.py disagree on the lengths");')
    lines.append("")
    for n in range(MIN_LENGTH, MAX_LENGTH + 1):
        for inverse in (False, True):
            lines.append(f"extern \"C\" unsigned int {kernel_name(n, inverse)}({PARAMS});")
    for inverse, table in ((False, "forward"), (True, "inverse")):
        lines.append("")
        lines.append(f"const zsmallradix_kernel qor_dft_def_zsmallradix_{table}[qor::dft::smallradix::kCount] = {{")
        lines += [f"    {kernel_name(n, inverse)}," for n in range(MIN_LENGTH, MAX_LENGTH + 1)]
        lines.append("};")
    write_if_changed(args.output / "smallradix_tables.cpp", "\n".join(lines) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
