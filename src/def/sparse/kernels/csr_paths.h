// The row engines behind the CSR and CSC descriptor switches, and the
// switch's plan.
//
// Every path works on CSR arrays B and computes op(B) x for op one of B,
// B^T, conj(B), B^H: `trans` says whether the path scatters (B^T: each row
// adds into the output by column) or gathers (one dot product per row),
// `conj` whether the stored values are conjugated. CSR arrays are B = A;
// CSC arrays are the CSR arrays of A^T, so their operations map to other
// flags and the other triangle. Gather paths apply alpha and the beta
// rule to y; scatter paths add into a zeroed private buffer and leave both
// to the merge.
//
// Column indices keep the user's base: `cs`, `vs`, `xs` and `ys` are the
// column, value, x and buffer pointers shifted back by it, so cs[k] indexes
// xs and ys directly; `x` and `y` are zero-based, indexed by row.
#pragma once
#include <type_traits>

#include "sparse/kernels/elem.h"

namespace qor::sparse::kern {

enum class kind { general, symmetric, hermitian, triangular, diagonal };
enum class fill { lower, upper, full };

template <class T, class I, class X, class Y> struct csr_args {
  idx first, last, base;
  const I* rs;  // row starts, indexed by the zero-based row
  const I* re;  // row ends
  const I* cs;  // column indices, shifted back by the base
  const T* vs;  // values, shifted back by the base
  X x;          // x, zero-based
  X xs;         // x shifted back by the base
  Y y;          // output, zero-based
  Y ys;         // output shifted back by the base
  T alpha, beta;
};

template <class T, class I, class X, class Y>
csr_args<T, I, X, Y> make_args(idx first, idx last, idx base, const I* rs, const I* re, const I* ci, const T* v,
                               X x, Y y, T alpha, T beta) {
  return {first, last, base, rs, re, shift(ci, base), v ? shift(v, base) : nullptr, x, shift(x, base), y,
          shift(y, base), alpha, beta};
}

// --- Gather ----------------------------------------------------------------
// One row's sum in the fixed order: steps of four, each adding two paired
// products to the running sum, then the last one to three elements, the
// highest index first. `in` filters elements without a branch: a filtered
// term adds an exact zero and never reads what its product might be.
template <bool Conj, class T, class I, class X, class In>
inline T row_sum(idx start, idx end, const I* cs, const T* vs, const X& xs, In in) {
  auto term = [&](idx k) {
    const idx c = cs[k];
    const T p = mul(take<Conj>(vs[k]), T(xs[c]));
    return in(c) ? p : T(0);
  };
  T s = T(0);
  idx k = start;
  for (; k + 4 <= end; k += 4) {
    const T p = term(k) + term(k + 1);
    const T q = term(k + 2) + term(k + 3);
    s = s + (p + q);
  }
  switch (end - k) {
    case 3:
      s = s + term(k + 2);
      [[fallthrough]];
    case 2:
      s = s + term(k + 1);
      [[fallthrough]];
    case 1:
      s = s + term(k);
      break;
    default:
      break;
  }
  return s;
}
// The same for a matrix without values: every stored element counts as 1.
template <class T, class I, class X> inline T pattern_sum(idx start, idx end, const I* cs, const X& xs) {
  T s = T(0);
  idx k = start;
  for (; k + 4 <= end; k += 4) {
    const T p = T(xs[cs[k]]) + T(xs[cs[k + 1]]);
    const T q = T(xs[cs[k + 2]]) + T(xs[cs[k + 3]]);
    s = s + (p + q);
  }
  switch (end - k) {
    case 3:
      s = s + T(xs[cs[k + 2]]);
      [[fallthrough]];
    case 2:
      s = s + T(xs[cs[k + 1]]);
      [[fallthrough]];
    case 1:
      s = s + T(xs[cs[k]]);
      break;
    default:
      break;
  }
  return s;
}

// Which stored elements a gather or scatter takes, by the element's column
// c (user base) against the diagonal column d of its row.
template <kind K, fill M, bool Unit> inline bool takes(idx c, idx d) {
  if constexpr (K == kind::triangular && M != fill::full) {
    const bool strict = M == fill::lower ? c < d : c > d;
    return Unit ? strict : (strict || c == d);
  } else {
    return Unit ? c != d : true;
  }
}

// Gather over rows [first, last): the general rows (every element, or all
// but the diagonal for unit) and the triangular rows.
template <kind K, fill M, bool Conj, bool Unit, bool BetaZero, class T, class I, class X, class Y>
void gather_rows(const csr_args<T, I, X, Y>& a) {
  for (idx i = a.first; i < a.last; ++i) {
    const idx d = i + a.base;
    T s;
    if constexpr (!Unit && (K != kind::triangular || M == fill::full))
      s = row_sum<Conj>(a.rs[i], a.re[i], a.cs, a.vs, a.xs, [](idx) { return true; });
    else
      s = row_sum<Conj>(a.rs[i], a.re[i], a.cs, a.vs, a.xs, [d](idx c) { return takes<K, M, Unit>(c, d); });
    if constexpr (Unit) s = s + T(a.x[i]);
    Y y = a.y;
    store<BetaZero>(y, i, mul(s, a.alpha), a.beta);
  }
}

// Diagonal matrices: unit gives alpha x[i]; otherwise the first stored
// element on the diagonal, found two elements a step, or 0 when absent.
template <bool Conj, bool Unit, bool BetaZero, class T, class I, class X, class Y>
void diagonal_rows(const csr_args<T, I, X, Y>& a) {
  for (idx i = a.first; i < a.last; ++i) {
    T s = T(0);
    if constexpr (Unit) {
      s = T(a.x[i]);
    } else {
      const idx d = i + a.base, end = a.re[i];
      idx k = a.rs[i], hit = -1;
      for (; k + 2 <= end; k += 2) {
        if (a.cs[k] == d) {
          hit = k;
          break;
        }
        if (a.cs[k + 1] == d) {
          hit = k + 1;
          break;
        }
      }
      if (hit < 0 && k < end && a.cs[k] == d) hit = k;
      if (hit >= 0) s = mul(take<Conj>(a.vs[hit]), T(a.x[i]));
    }
    Y y = a.y;
    store<BetaZero>(y, i, mul(s, a.alpha), a.beta);
  }
}

// --- Scatter ---------------------------------------------------------------
// op(B) = B^T: each row i adds a * x[i] at its columns, in steps of four
// then the remainder. Unit paths skip stored diagonal elements and add
// x[i] at i, the matrix being square. Triangular paths take only their
// triangle (and the diagonal unless unit).
template <kind K, fill M, bool Conj, bool Unit, class T, class I, class X, class Y>
void scatter_rows(const csr_args<T, I, X, Y>& a) {
  Y ys = a.ys;
  for (idx i = a.first; i < a.last; ++i) {
    const idx d = i + a.base, end = a.re[i];
    const T t = T(a.x[i]);
    idx k = a.rs[i];
    if constexpr (!Unit && (K != kind::triangular || M == fill::full)) {
      for (; k + 4 <= end; k += 4) {
        ys[a.cs[k]] += mul(take<Conj>(a.vs[k]), t);
        ys[a.cs[k + 1]] += mul(take<Conj>(a.vs[k + 1]), t);
        ys[a.cs[k + 2]] += mul(take<Conj>(a.vs[k + 2]), t);
        ys[a.cs[k + 3]] += mul(take<Conj>(a.vs[k + 3]), t);
      }
      for (; k < end; ++k) ys[a.cs[k]] += mul(take<Conj>(a.vs[k]), t);
    } else {
      for (; k < end; ++k) {
        const idx c = a.cs[k];
        if (takes<K, M, Unit>(c, d)) ys[c] += mul(take<Conj>(a.vs[k]), t);
      }
    }
    if constexpr (Unit) {
      Y y = a.y;
      y[i] += t;
    }
  }
}

// Symmetric and Hermitian, one triangle stored or read: each row gathers
// its own triangle and diagonal into acc and scatters the mirrored terms
// (conjugated for Hermitian) at their columns; elements of the other
// triangle are ignored. `Conj` is the effective conjugation of the
// off-diagonal terms; the diagonal is read as stored, conjugated only for
// operation 12 (`DiagConj`), so a Hermitian diagonal's imaginary part
// means the same under every operation and storage.
template <bool Herm, bool Conj, bool DiagConj, bool Lower, bool Unit, class T, class I, class X, class Y>
void symmetric_rows(const csr_args<T, I, X, Y>& a) {
  Y ys = a.ys, y = a.y;
  for (idx i = a.first; i < a.last; ++i) {
    const idx d = i + a.base, end = a.re[i];
    const T t = T(a.x[i]);
    T acc = T(0);
    for (idx k = a.rs[i]; k < end; ++k) {
      const idx c = a.cs[k];
      if (c == d) {
        if constexpr (!Unit) acc = acc + mul(T(a.xs[c]), take<DiagConj>(a.vs[k]));
      } else if (Lower ? c < d : c > d) {
        const T v = take<Conj>(a.vs[k]);
        acc = acc + mul(T(a.xs[c]), v);
        ys[c] += mul(Herm ? conj(v) : v, t);
      }
    }
    if constexpr (Unit) acc = acc + t;
    y[i] += acc;
  }
}

// --- Plans -----------------------------------------------------------------
struct plan {
  bool valid;
  kind k;
  bool trans, conj;
  fill mode;
  bool unit;
};

// The plan of a descriptor and operation over CSR arrays (csc false) or
// CSC arrays (csc true). Invalid codes give a plan that does nothing.
inline plan make_plan(bool csc, bool complex, i32 operation, i32 type, i32 mode, i32 diag) {
  plan p{false, kind::general, false, false, fill::full, false};
  if (operation != op_n && operation != op_t && operation != op_c) return p;
  // op(A) over B: CSR B = A; CSC B = A^T, so A = B^T, A^T = B, A^H = conj(B).
  const bool transposed = operation != op_n;
  p.trans = csc ? !transposed : transposed;
  p.conj = complex && operation == op_c;
  const bool diag_ok = diag == diag_non_unit || diag == diag_unit;
  switch (type) {
    case mt_general:
      p.k = kind::general;
      break;
    case mt_symmetric:
    case mt_hermitian:
    case mt_triangular:
    case mt_block_triangular:
      if (!diag_ok || (mode != fill_lower && mode != fill_upper && mode != fill_full)) return p;
      p.k = type == mt_symmetric ? kind::symmetric : type == mt_hermitian ? kind::hermitian : kind::triangular;
      p.mode = mode == fill_full ? fill::full : (mode == fill_lower) != csc ? fill::lower : fill::upper;
      p.unit = diag == diag_unit;
      break;
    case mt_diagonal:
    case mt_block_diagonal:
      if (!diag_ok) return p;
      p.k = kind::diagonal;
      p.unit = diag == diag_unit;
      break;
    default:
      return p;
  }
  p.valid = true;
  return p;
}

// Effective conjugation of a symmetric or Hermitian product: S^T = S, while
// a Hermitian H has H^T = conj(H) and H^H = H.
constexpr bool effective_conj(kind k, bool trans, bool conj) { return k == kind::hermitian ? trans != conj : conj; }

template <bool B> using bool_c = std::integral_constant<bool, B>;
template <class F> inline void with_bool(bool b, F&& f) {
  if (b)
    f(bool_c<true>{});
  else
    f(bool_c<false>{});
}

// One fixed path, beta dispatched here.
template <kind K, bool Trans, bool Conj, fill M, bool Unit, class T, class I, class X, class Y>
void run_fixed(const csr_args<T, I, X, Y>& a) {
  if (a.first >= a.last) return;
  constexpr bool ec = effective_conj(K, Trans, Conj);
  auto gather = [&](auto bz) {
    if constexpr (K == kind::diagonal)
      diagonal_rows<Conj, Unit, decltype(bz)::value>(a);
    else if constexpr (K == kind::symmetric || K == kind::hermitian)
      gather_rows<kind::general, fill::full, ec, Unit, decltype(bz)::value>(a);
    else
      gather_rows<K, M, Conj, Unit, decltype(bz)::value>(a);
  };
  if constexpr (K == kind::diagonal) {
    with_bool(is_zero(a.beta), gather);
  } else if constexpr (K == kind::symmetric || K == kind::hermitian) {
    if constexpr (M == fill::full)
      with_bool(is_zero(a.beta), gather);
    else
      symmetric_rows<K == kind::hermitian, ec, Conj, M == fill::lower, Unit>(a);
  } else if constexpr (Trans) {
    scatter_rows<K, M, Conj, Unit>(a);
  } else {
    with_bool(is_zero(a.beta), gather);
  }
}

// A path fixed at compile time.
template <kind K, bool Trans, bool Conj, fill M, bool Unit> struct path {
  static constexpr kind k = K;
  static constexpr bool trans = Trans, conj = Conj, unit = Unit;
  static constexpr fill mode = M;
};

// Calls f(path<...>{}) for a plan chosen at run time. Triangular plans of
// mode 42 take the general path with the diagonal rule; conjugation is
// dropped in real types.
template <class T, class F> void dispatch(const plan& p, F&& f) {
  if (!p.valid) return;
  constexpr bool cx = is_complex_v<T>;
  with_bool(p.trans, [&](auto tr) {
    with_bool(cx && p.conj, [&](auto cj) {
      with_bool(p.unit, [&](auto un) {
        constexpr bool Tr = decltype(tr)::value, Cj = decltype(cj)::value && cx, U = decltype(un)::value;
        switch (p.k) {
          case kind::general:
            f(path<kind::general, Tr, Cj, fill::full, false>{});
            break;
          case kind::diagonal:
            f(path<kind::diagonal, Tr, Cj, fill::full, U>{});
            break;
          case kind::symmetric:
          case kind::hermitian:
          case kind::triangular:
            if (p.mode == fill::full) {
              if (p.k == kind::triangular)
                f(path<kind::general, Tr, Cj, fill::full, U>{});
              else if (p.k == kind::symmetric)
                f(path<kind::symmetric, Tr, Cj, fill::full, U>{});
              else
                f(path<kind::hermitian, Tr, Cj, fill::full, U>{});
            } else {
              with_bool(p.mode == fill::lower, [&](auto lo) {
                constexpr fill M = decltype(lo)::value ? fill::lower : fill::upper;
                if (p.k == kind::triangular)
                  f(path<kind::triangular, Tr, Cj, M, U>{});
                else if (p.k == kind::symmetric)
                  f(path<kind::symmetric, Tr, Cj, M, U>{});
                else
                  f(path<kind::hermitian, Tr, Cj, M, U>{});
              });
            }
            break;
        }
      });
    });
  });
}

template <class T, class I, class X, class Y> void run_plan(const plan& p, const csr_args<T, I, X, Y>& a) {
  dispatch<T>(p, [&](auto q) {
    using Q = decltype(q);
    run_fixed<Q::k, Q::trans, Q::conj, Q::mode, Q::unit>(a);
  });
}

// --- The per-code kernels ----------------------------------------------------
// The letter of an operation over the stored arrays, as it names a
// per-code kernel: n (B), t (B^T), c (B^H). conj(B) has no letter of its
// own: symmetric CSC products with operation 12 take the c member, which
// conjugates the same way, while general and Hermitian ones run their path
// directly (a Hermitian product conjugates its diagonal only under
// operation 12, its other terms by the effective conjugation).
inline int letter_of(const plan& p) {
  if (!p.trans && !p.conj) return 0;
  if (p.trans && !p.conj) return 1;
  if (p.trans && p.conj) return 2;
  if (p.k == kind::symmetric) return 2;
  return -1;
}

// Position of a plan in the code table QOR_SPARSE_GRID_CODES, or -1 when it
// has no per-code kernel. The table lists g (6 codes), then s and h (12
// each); within each, letters n, t, c, then triangle l, u, then diagonal
// n, u (general has no triangle).
inline constexpr int grid_codes = 30;
inline int grid_index(const plan& p) {
  const int letter = letter_of(p);
  if (!p.valid || letter < 0) return -1;
  if (p.k == kind::general) return letter * 2;
  if ((p.k == kind::symmetric || p.k == kind::hermitian) && p.mode != fill::full)
    return (p.k == kind::symmetric ? 6 : 18) + letter * 4 + (p.mode == fill::upper ? 2 : 0) + (p.unit ? 1 : 0);
  return -1;
}

}  // namespace qor::sparse::kern

// The code table, in grid_index order: G(code, kind, trans, conj, fill,
// unit, ...) with the extra arguments passed through.
#define QOR_SPARSE_GRID_TRIANGLES(G, t, K, TR, CJ, ...)                                              \
  G(t##ln, K, TR, CJ, lower, false, __VA_ARGS__) G(t##lu, K, TR, CJ, lower, true, __VA_ARGS__)        \
  G(t##un, K, TR, CJ, upper, false, __VA_ARGS__) G(t##uu, K, TR, CJ, upper, true, __VA_ARGS__)
#define QOR_SPARSE_GRID_CODES(G, ...)                                                                             \
  G(gnxn, general, false, false, full, false, __VA_ARGS__) G(gnxu, general, false, false, full, true, __VA_ARGS__) \
  G(gtxn, general, true, false, full, false, __VA_ARGS__) G(gtxu, general, true, false, full, true, __VA_ARGS__)   \
  G(gcxn, general, true, true, full, false, __VA_ARGS__) G(gcxu, general, true, true, full, true, __VA_ARGS__)     \
  QOR_SPARSE_GRID_TRIANGLES(G, sn, symmetric, false, false, __VA_ARGS__)                                        \
  QOR_SPARSE_GRID_TRIANGLES(G, st, symmetric, true, false, __VA_ARGS__)                                         \
  QOR_SPARSE_GRID_TRIANGLES(G, sc, symmetric, true, true, __VA_ARGS__)                                          \
  QOR_SPARSE_GRID_TRIANGLES(G, hn, hermitian, false, false, __VA_ARGS__)                                        \
  QOR_SPARSE_GRID_TRIANGLES(G, ht, hermitian, true, false, __VA_ARGS__)                                         \
  QOR_SPARSE_GRID_TRIANGLES(G, hc, hermitian, true, true, __VA_ARGS__)
