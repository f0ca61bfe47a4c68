#!/usr/bin/env python3
"""Writes xerbla_cases.f90: a Fortran program that installs its own XERBLA
and provokes argument errors in every Level 2 and Level 3 routine of the
reference BLAS, in every type where the routine exists.

For each routine it makes one call per argument the reference checks (that
argument bad, the others good), one call with every checked argument bad
(the first must be reported) and one call with lower-case option letters
and the last checked argument bad. After each call it prints the name and
the length XERBLA received, and INFO. The program also calls LSAME and
XERBLA_ARRAY, and a few Level 1 routines with bad sizes (the reference
reports nothing there). It prints which BLAS it runs on as a line starting
with '#', which the comparison leaves out.

    gen_xerbla_cases.py <output.f90>
"""
import sys

# Arguments: (name, kind, good value). Kinds: 'ch' an option letter, 'i' an
# integer, 's' a scalar of the routine's type, 'r' a real scalar of the
# routine's precision, 'a', 'b', 'c' arrays of the routine's type.
# Cases: the bad value of each checked argument, in the reference order.
ROUTINES = []


def routine(base, types, args, bad, names=None, extra=()):
    ROUTINES.append(dict(base=base, types=types, args=args, bad=bad, names=names, extra=extra))


A = [("a", "a", None)]
TR = ("trans", "ch", "N")
UPLO = ("uplo", "ch", "U")
DIAG = ("diag", "ch", "N")
SIDE = ("side", "ch", "L")

# Level 2 --------------------------------------------------------------------------------
routine("gemv", "sdcz",
        [TR, ("m", "i", 2), ("n", "i", 2), ("alpha", "s", None), ("a", "a", None), ("lda", "i", 4),
         ("x", "b", None), ("incx", "i", 1), ("beta", "s", None), ("y", "c", None), ("incy", "i", 1)],
        [("trans", "'X'"), ("m", "-1"), ("n", "-1"), ("lda", "1"), ("incx", "0"), ("incy", "0")])
routine("gbmv", "sdcz",
        [TR, ("m", "i", 2), ("n", "i", 2), ("kl", "i", 1), ("ku", "i", 1), ("alpha", "s", None),
         ("a", "a", None), ("lda", "i", 4), ("x", "b", None), ("incx", "i", 1), ("beta", "s", None),
         ("y", "c", None), ("incy", "i", 1)],
        [("trans", "'X'"), ("m", "-1"), ("n", "-1"), ("kl", "-1"), ("ku", "-1"), ("lda", "2"), ("incx", "0"),
         ("incy", "0")])
SYMV = [UPLO, ("n", "i", 2), ("alpha", "s", None), ("a", "a", None), ("lda", "i", 4), ("x", "b", None),
        ("incx", "i", 1), ("beta", "s", None), ("y", "c", None), ("incy", "i", 1)]
SYMV_BAD = [("uplo", "'X'"), ("n", "-1"), ("lda", "1"), ("incx", "0"), ("incy", "0")]
routine("symv", "sd", SYMV, SYMV_BAD)
routine("hemv", "cz", SYMV, SYMV_BAD)
SBMV = [UPLO, ("n", "i", 2), ("k", "i", 1), ("alpha", "s", None), ("a", "a", None), ("lda", "i", 4),
        ("x", "b", None), ("incx", "i", 1), ("beta", "s", None), ("y", "c", None), ("incy", "i", 1)]
SBMV_BAD = [("uplo", "'X'"), ("n", "-1"), ("k", "-1"), ("lda", "1"), ("incx", "0"), ("incy", "0")]
routine("sbmv", "sd", SBMV, SBMV_BAD)
routine("hbmv", "cz", SBMV, SBMV_BAD)
SPMV = [UPLO, ("n", "i", 2), ("alpha", "s", None), ("ap", "a", None), ("x", "b", None), ("incx", "i", 1),
        ("beta", "s", None), ("y", "c", None), ("incy", "i", 1)]
SPMV_BAD = [("uplo", "'X'"), ("n", "-1"), ("incx", "0"), ("incy", "0")]
routine("spmv", "sd", SPMV, SPMV_BAD)
routine("hpmv", "cz", SPMV, SPMV_BAD)
TRI_HEAD = [UPLO, TR, DIAG, ("n", "i", 2)]
TRI_HEAD_BAD = [("uplo", "'X'"), ("trans", "'X'"), ("diag", "'X'"), ("n", "-1")]
for base in ("trmv", "trsv"):
    routine(base, "sdcz", TRI_HEAD + [("a", "a", None), ("lda", "i", 4), ("x", "b", None), ("incx", "i", 1)],
            TRI_HEAD_BAD + [("lda", "1"), ("incx", "0")])
for base in ("tbmv", "tbsv"):
    routine(base, "sdcz",
            TRI_HEAD + [("k", "i", 1), ("a", "a", None), ("lda", "i", 4), ("x", "b", None), ("incx", "i", 1)],
            TRI_HEAD_BAD + [("k", "-1"), ("lda", "1"), ("incx", "0")])
for base in ("tpmv", "tpsv"):
    routine(base, "sdcz", TRI_HEAD + [("ap", "a", None), ("x", "b", None), ("incx", "i", 1)],
            TRI_HEAD_BAD + [("incx", "0")])
GER = [("m", "i", 2), ("n", "i", 2), ("alpha", "s", None), ("x", "b", None), ("incx", "i", 1), ("y", "c", None),
       ("incy", "i", 1), ("a", "a", None), ("lda", "i", 4)]
GER_BAD = [("m", "-1"), ("n", "-1"), ("incx", "0"), ("incy", "0"), ("lda", "1")]
routine("ger", "sd", GER, GER_BAD)
routine("geru", "cz", GER, GER_BAD)
routine("gerc", "cz", GER, GER_BAD)
SYR = [UPLO, ("n", "i", 2), ("alpha", "s", None), ("x", "b", None), ("incx", "i", 1), ("a", "a", None),
       ("lda", "i", 4)]
SYR_BAD = [("uplo", "'X'"), ("n", "-1"), ("incx", "0"), ("lda", "1")]
routine("syr", "sd", SYR, SYR_BAD)
routine("her", "cz", [(n, "r" if n == "alpha" else k, v) for n, k, v in SYR], SYR_BAD)
SPR = [UPLO, ("n", "i", 2), ("alpha", "s", None), ("x", "b", None), ("incx", "i", 1), ("ap", "a", None)]
SPR_BAD = [("uplo", "'X'"), ("n", "-1"), ("incx", "0")]
routine("spr", "sd", SPR, SPR_BAD)
routine("hpr", "cz", [(n, "r" if n == "alpha" else k, v) for n, k, v in SPR], SPR_BAD)
SYR2 = [UPLO, ("n", "i", 2), ("alpha", "s", None), ("x", "b", None), ("incx", "i", 1), ("y", "c", None),
        ("incy", "i", 1), ("a", "a", None), ("lda", "i", 4)]
SYR2_BAD = [("uplo", "'X'"), ("n", "-1"), ("incx", "0"), ("incy", "0"), ("lda", "1")]
routine("syr2", "sd", SYR2, SYR2_BAD)
routine("her2", "cz", SYR2, SYR2_BAD)
SPR2 = [UPLO, ("n", "i", 2), ("alpha", "s", None), ("x", "b", None), ("incx", "i", 1), ("y", "c", None),
        ("incy", "i", 1), ("ap", "a", None)]
SPR2_BAD = [("uplo", "'X'"), ("n", "-1"), ("incx", "0"), ("incy", "0")]
routine("spr2", "sd", SPR2, SPR2_BAD)
routine("hpr2", "cz", SPR2, SPR2_BAD)

# Level 3 --------------------------------------------------------------------------------
routine("gemm", "sdcz",
        [("transa", "ch", "N"), ("transb", "ch", "N"), ("m", "i", 2), ("n", "i", 2), ("k", "i", 2),
         ("alpha", "s", None), ("a", "a", None), ("lda", "i", 4), ("b", "b", None), ("ldb", "i", 4),
         ("beta", "s", None), ("c", "c", None), ("ldc", "i", 4)],
        [("transa", "'X'"), ("transb", "'X'"), ("m", "-1"), ("n", "-1"), ("k", "-1"), ("lda", "1"), ("ldb", "1"),
         ("ldc", "1")],
        extra=[{"transa": "'T'", "k": "3", "lda": "2"}, {"transb": "'C'", "n": "3", "ldb": "2"}])
SYMM = [SIDE, UPLO, ("m", "i", 2), ("n", "i", 2), ("alpha", "s", None), ("a", "a", None), ("lda", "i", 4),
        ("b", "b", None), ("ldb", "i", 4), ("beta", "s", None), ("c", "c", None), ("ldc", "i", 4)]
SYMM_BAD = [("side", "'X'"), ("uplo", "'X'"), ("m", "-1"), ("n", "-1"), ("lda", "1"), ("ldb", "1"), ("ldc", "1")]
routine("symm", "sdcz", SYMM, SYMM_BAD, extra=[{"side": "'R'", "n": "3", "lda": "2"}])
routine("hemm", "cz", SYMM, SYMM_BAD, extra=[{"side": "'R'", "n": "3", "lda": "2"}])
SYRK = [UPLO, TR, ("n", "i", 2), ("k", "i", 2), ("alpha", "s", None), ("a", "a", None), ("lda", "i", 4),
        ("beta", "s", None), ("c", "c", None), ("ldc", "i", 4)]
SYRK_BAD = [("uplo", "'X'"), ("trans", "'X'"), ("n", "-1"), ("k", "-1"), ("lda", "1"), ("ldc", "1")]
# The transposition letters each routine takes: C is no option of the
# complex symmetric forms, T none of the Hermitian ones.
TRANS_C = [{"trans": "'C'", "ldc": "1"}, {"trans": "'T'", "k": "3", "lda": "2"}]
routine("syrk", "sdcz", SYRK, SYRK_BAD, extra=TRANS_C)
routine("herk", "cz", [(n, "r" if n in ("alpha", "beta") else k, v) for n, k, v in SYRK], SYRK_BAD, extra=TRANS_C)
SYR2K = [UPLO, TR, ("n", "i", 2), ("k", "i", 2), ("alpha", "s", None), ("a", "a", None), ("lda", "i", 4),
         ("b", "b", None), ("ldb", "i", 4), ("beta", "s", None), ("c", "c", None), ("ldc", "i", 4)]
SYR2K_BAD = [("uplo", "'X'"), ("trans", "'X'"), ("n", "-1"), ("k", "-1"), ("lda", "1"), ("ldb", "1"), ("ldc", "1")]
routine("syr2k", "sdcz", SYR2K, SYR2K_BAD, extra=TRANS_C)
routine("her2k", "cz", [(n, "r" if n == "beta" else k, v) for n, k, v in SYR2K], SYR2K_BAD, extra=TRANS_C)
TRXM = [SIDE, UPLO, ("transa", "ch", "N"), DIAG, ("m", "i", 2), ("n", "i", 2), ("alpha", "s", None),
        ("a", "a", None), ("lda", "i", 4), ("b", "b", None), ("ldb", "i", 4)]
TRXM_BAD = [("side", "'X'"), ("uplo", "'X'"), ("transa", "'X'"), ("diag", "'X'"), ("m", "-1"), ("n", "-1"),
            ("lda", "1"), ("ldb", "1")]
routine("trmm", "sdcz", TRXM, TRXM_BAD, extra=[{"side": "'R'", "n": "3", "lda": "2"}])
routine("trsm", "sdcz", TRXM, TRXM_BAD, extra=[{"side": "'R'", "n": "3", "lda": "2"}])

TYPE_DECL = {"s": "real", "d": "double precision", "c": "complex", "z": "complex(kind=kind(0d0))"}
REAL_OF = {"s": "s", "d": "d", "c": "s", "z": "d"}


def call(name, t, args, values):
    out = []
    for arg, kind, good in args:
        v = values.get(arg)
        if kind == "ch":
            out.append(v if v is not None else "'%s'" % good)
        elif kind == "i":
            out.append(v if v is not None else str(good))
        elif kind == "s":
            out.append("%salpha" % t)
        elif kind == "r":
            out.append("%salpha" % REAL_OF[t])
        else:  # arrays a, b, c
            out.append("%s%s" % (t, kind))
    return "call %s(%s)" % (name, ", ".join(out))


def label(name, values):
    text = " ".join("%s=%s" % (k, v.replace("'", "")) for k, v in values.items())
    return "%s %s" % (name.upper(), text)


def cases():
    lines = []
    for r in ROUTINES:
        for t in r["types"]:
            name = t + r["base"]
            tried = [dict([b]) for b in r["bad"]]
            tried.append(dict(r["bad"]))  # every checked argument bad: the first is reported
            lower = {a: "'%s'" % g.lower() for a, k, g in r["args"] if k == "ch"}
            lower.update(dict([r["bad"][-1]]))
            tried.append(lower)  # option letters in lower case, the last checked argument bad
            tried.extend(dict(e) for e in r["extra"])
            for values in tried:
                lines.append("  %s" % call(name, t, r["args"], values))
                lines.append("  call report('%s')" % label(name, values))
    return lines


HEAD = """\
! Generated by tests/clients/gen_xerbla_cases.py; do not edit.
module xerbla_record
  implicit none
  integer :: calls = 0, last_info = 0, last_len = 0
  character(len=64) :: last_name = ''
end module xerbla_record

! The application's XERBLA: it replaces the library's, records what it was
! given and returns (the reference one stops the program).
subroutine xerbla(srname, info)
  use xerbla_record
  implicit none
  character(len=*), intent(in) :: srname
  integer, intent(in) :: info
  calls = calls + 1
  last_name = srname
  last_len = len(srname)
  last_info = info
end subroutine xerbla

! One line per call: what XERBLA received, or that it was not called.
subroutine report(what)
  use xerbla_record
  implicit none
  character(len=*), intent(in) :: what
  if (calls == 0) then
    write(*, '(a, a)') what, ' -> no error reported'
  else
    write(*, '(a, a, a, a, i0, a, i0, a, i0)') what, ' -> "', last_name(1:min(last_len, 64)), '" len=', last_len, &
        ' info=', last_info, ' calls=', calls
  end if
  calls = 0
  last_name = ''
  last_len = 0
  last_info = 0
end subroutine report

! Names the BLAS the program runs on, from its own mappings, on a line the
! comparison leaves out.
subroutine which_blas()
  implicit none
  character(len=512) :: line
  integer :: u, ios
  open(newunit=u, file='/proc/self/maps', action='read', iostat=ios)
  if (ios /= 0) return
  do
    read(u, '(a)', iostat=ios) line
    if (ios /= 0) exit
    if (index(line, 'libqor_core') > 0 .or. index(line, 'libblas') > 0) then
      write(*, '(a, a)') '# blas: ', trim(line(index(line, '/'):))
      exit
    end if
  end do
  close(u)
end subroutine which_blas

program xerbla_cases
  implicit none
  real :: salpha, sa(64), sb(64), sc(64)
  double precision :: dalpha, da(64), db(64), dc(64)
  complex :: calpha, ca(64), cb(64), cc(64)
  complex(kind=kind(0d0)) :: zalpha, za(64), zb(64), zc(64)
  logical, external :: lsame
  character(len=1) :: srname(40)
  character(len=40) :: long_name = 'ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789abcd'
  integer :: i, n, inc
  real, external :: snrm2
  double precision, external :: dnrm2, ddot
  integer, external :: idamax, izamax
  character(len=2), parameter :: pairs(10) = ['aA', 'Aa', 'zZ', 'Zz', 'AA', 'ab', 'bA', '11', '[{', '`@']

  salpha = 1; dalpha = 1; calpha = 1; zalpha = 1
  sa = 0; sb = 0; sc = 0; da = 0; db = 0; dc = 0; ca = 0; cb = 0; cc = 0; za = 0; zb = 0; zc = 0
  call which_blas()

  ! LSAME: one letter, regardless of case.
  do i = 1, size(pairs)
    write(*, '(a, a, a, a, a, l1)') 'LSAME ', pairs(i)(1:1), ' ', pairs(i)(2:2), ' -> ', &
        lsame(pairs(i)(1:1), pairs(i)(2:2))
  end do

  ! XERBLA_ARRAY: at most 32 characters of the array, blank padded to 32.
  do i = 1, 40
    srname(i) = long_name(i:i)
  end do
  call xerbla_array(srname, 6, 3)
  call report('XERBLA_ARRAY len=6')
  call xerbla_array(srname, 40, 7)
  call report('XERBLA_ARRAY len=40')
  call xerbla_array(srname, 0, 1)
  call report('XERBLA_ARRAY len=0')
  call xerbla_array(srname, 32, -2)
  call report('XERBLA_ARRAY len=32')

  ! Level 1 has no argument errors: bad sizes and increments are quick returns.
  n = -1
  inc = 0
  write(*, '(a, f0.1)') 'DNRM2 n=-1 -> ', dnrm2(n, db, 1)
  call report('DNRM2 n=-1')
  write(*, '(a, f0.1)') 'SNRM2 incx=0 -> ', snrm2(2, sb, inc)
  call report('SNRM2 incx=0')
  write(*, '(a, f0.1)') 'DDOT n=-1 -> ', ddot(n, db, 1, dc, 1)
  call report('DDOT n=-1')
  write(*, '(a, i0)') 'IDAMAX incx=0 -> ', idamax(2, db, inc)
  call report('IDAMAX incx=0')
  write(*, '(a, i0)') 'IZAMAX n=-1 -> ', izamax(n, zb, 1)
  call report('IZAMAX n=-1')
  call daxpy(n, dalpha, db, 1, dc, 1)
  call report('DAXPY n=-1')
  call zscal(n, zalpha, zb, 1)
  call report('ZSCAL n=-1')

  ! Level 2 and Level 3: every argument the reference checks.
"""

TAIL = """\
end program xerbla_cases
"""


def main():
    out = sys.argv[1]
    text = HEAD + "\n".join(cases()) + "\n" + TAIL
    with open(out, "w") as f:
        f.write(text)


if __name__ == "__main__":
    main()
