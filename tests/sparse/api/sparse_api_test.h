// Helpers of the public sparse interface tests: the public names of one
// element type and index width behind one template, random test matrices
// in every storage form, and the long double reference of a product.
#pragma once
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <type_traits>
#include <vector>

#include "common/testing.h"
#include "qor/sparse.h"

namespace qor::test::sparse {

// ---- The public names of one element type P and index type I ----

template <class P, class I>
struct api;
#define QOR_TEST_SPARSE_API(l, P, I, H, SFX)                                \
  template <>                                                               \
  struct api<P, I> {                                                        \
    using handle = H;                                                       \
    static constexpr char letter = #l[0];                                   \
    static constexpr auto create_csr = &qor_sparse_##l##_create_csr##SFX;   \
    static constexpr auto create_csc = &qor_sparse_##l##_create_csc##SFX;   \
    static constexpr auto create_coo = &qor_sparse_##l##_create_coo##SFX;   \
    static constexpr auto create_bsr = &qor_sparse_##l##_create_bsr##SFX;   \
    static constexpr auto export_csr = &qor_sparse_##l##_export_csr##SFX;   \
    static constexpr auto mv = &qor_sparse_##l##_mv##SFX;                   \
    static constexpr auto dotmv = &qor_sparse_##l##_dotmv##SFX;             \
    static constexpr auto mm = &qor_sparse_##l##_mm##SFX;                   \
    static constexpr auto destroy = &qor_sparse_destroy##SFX;               \
    static constexpr auto convert_csr = &qor_sparse_convert_csr##SFX;       \
    static constexpr auto set_mv_hint = &qor_sparse_set_mv_hint##SFX;       \
    static constexpr auto set_dotmv_hint = &qor_sparse_set_dotmv_hint##SFX; \
    static constexpr auto set_mm_hint = &qor_sparse_set_mm_hint##SFX;       \
    static constexpr auto optimize = &qor_sparse_optimize##SFX;             \
  };
#define QOR_TEST_SPARSE_API_W(I, H, SFX)          \
  QOR_TEST_SPARSE_API(s, float, I, H, SFX)        \
  QOR_TEST_SPARSE_API(d, double, I, H, SFX)       \
  QOR_TEST_SPARSE_API(c, qor_complex8, I, H, SFX) \
  QOR_TEST_SPARSE_API(z, qor_complex16, I, H, SFX)
QOR_TEST_SPARSE_API_W(std::int32_t, qor_sparse_handle, )
QOR_TEST_SPARSE_API_W(std::int64_t, qor_sparse_handle_64, _64)
#undef QOR_TEST_SPARSE_API_W
#undef QOR_TEST_SPARSE_API

// ---- Element types ----

using ref = std::complex<long double>;

template <class P>
constexpr bool is_cplx = std::is_same_v<P, qor_complex8> || std::is_same_v<P, qor_complex16>;
template <class P>
constexpr bool is_single = std::is_same_v<P, float> || std::is_same_v<P, qor_complex8>;

template <class P>
P make(long double re, long double im = 0) {
  if constexpr (std::is_same_v<P, qor_complex8>)
    return P{static_cast<float>(re), static_cast<float>(im)};
  else if constexpr (std::is_same_v<P, qor_complex16>)
    return P{static_cast<double>(re), static_cast<double>(im)};
  else
    return static_cast<P>(re);
}
template <class P>
ref wide(P v) {
  if constexpr (is_cplx<P>)
    return {static_cast<long double>(v.real), static_cast<long double>(v.imag)};
  else
    return {static_cast<long double>(v), 0.0L};
}
template <class P>
long double unit_roundoff() {
  return is_single<P> ? std::numeric_limits<float>::epsilon() : std::numeric_limits<double>::epsilon();
}
inline bool is_nan(ref v) { return std::isnan(v.real()) || std::isnan(v.imag()); }
inline bool finite(ref v) { return std::isfinite(v.real()) && std::isfinite(v.imag()); }
template <class P>
bool same_bits(const std::vector<P>& a, const std::vector<P>& b) {
  return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(P)) == 0;
}

// ---- Test matrices ----

struct element {
  std::int64_t row, col;
  ref value;
};

// Stored elements of a random matrix, no position twice. `fill` is the
// chance of an element; rows listed in `empty` get none; `diagonal` puts
// an element on every diagonal position of a square matrix, except those
// of empty rows.
struct matrix_recipe {
  std::int64_t rows = 0, cols = 0;
  double fill = 0.2;
  bool complex = false;
  bool diagonal = true;
  std::vector<std::int64_t> empty;
  std::uint64_t seed = 1;
};

inline std::vector<element> random_matrix(const matrix_recipe& s) {
  std::mt19937_64 gen(s.seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0), p(0.0, 1.0);
  std::vector<element> e;
  for (std::int64_t i = 0; i < s.rows; ++i) {
    if (std::find(s.empty.begin(), s.empty.end(), i) != s.empty.end()) continue;
    for (std::int64_t j = 0; j < s.cols; ++j) {
      const bool on_diagonal = i == j && s.diagonal;
      if (!on_diagonal && p(gen) >= s.fill) continue;
      // Values are exact in binary32, so every type stores the same matrix.
      const double re = std::ldexp(std::round(std::ldexp(u(gen), 12)), -12);
      const double im = s.complex ? std::ldexp(std::round(std::ldexp(u(gen), 12)), -12) : 0.0;
      e.push_back({i, j, ref(re + (i == j ? 2.0 : 0.0), im)});
    }
  }
  return e;
}

// A symmetric (or, with `hermitian`, Hermitian, with a real diagonal)
// matrix from the lower triangle and diagonal of `e`, both triangles stored.
inline std::vector<element> mirrored(const std::vector<element>& e, bool hermitian) {
  std::vector<element> m;
  for (const element& x : e) {
    if (x.col > x.row) continue;
    if (x.col == x.row) {
      m.push_back({x.row, x.col, hermitian ? ref(x.value.real()) : x.value});
      continue;
    }
    m.push_back(x);
    m.push_back({x.col, x.row, hermitian ? std::conj(x.value) : x.value});
  }
  return m;
}

// The storage forms of one matrix, in the index type I and element P.
enum class form { csr3, csr4, csc3, csc4, coo, bsr };

template <class P, class I>
struct stored {
  std::vector<I> start, end, index, other;  // compressed: pointers, index; COO: rows in other, cols in index
  std::vector<P> values;
};

// Compressed arrays over `outer` positions; `by_col` compresses columns.
// Elements of each row are shuffled (rows unsorted). In the four-array
// form every row is followed by one unused slot holding a NaN, which a
// product that reads outside its rows would carry into the result.
template <class P, class I>
stored<P, I> compress(const std::vector<element>& e, std::int64_t outer, bool by_col, bool four, int base,
                      std::uint64_t seed) {
  std::vector<std::vector<const element*>> lists(static_cast<std::size_t>(outer));
  for (const element& x : e) lists[static_cast<std::size_t>(by_col ? x.col : x.row)].push_back(&x);
  std::mt19937_64 gen(seed);
  stored<P, I> s;
  for (std::int64_t i = 0; i < outer; ++i) {
    auto& l = lists[static_cast<std::size_t>(i)];
    std::shuffle(l.begin(), l.end(), gen);
    s.start.push_back(static_cast<I>(s.index.size() + base));
    for (const element* x : l) {
      s.index.push_back(static_cast<I>((by_col ? x->row : x->col) + base));
      s.values.push_back(make<P>(x->value.real(), x->value.imag()));
    }
    s.end.push_back(static_cast<I>(s.index.size() + base));
    if (four) {
      s.index.push_back(static_cast<I>(base));
      s.values.push_back(make<P>(std::numeric_limits<double>::quiet_NaN(), 0));
    }
  }
  if (!four) s.start.push_back(static_cast<I>(s.index.size() + base));
  if (s.index.empty()) {
    // The arrays must exist even for a matrix with no element.
    s.index.push_back(static_cast<I>(base));
    s.values.push_back(make<P>(0));
  }
  return s;
}

template <class P, class I>
stored<P, I> coordinates(const std::vector<element>& e, int base, std::uint64_t seed) {
  std::vector<const element*> order;
  for (const element& x : e) order.push_back(&x);
  std::mt19937_64 gen(seed);
  std::shuffle(order.begin(), order.end(), gen);
  stored<P, I> s;
  for (const element* x : order) {
    s.other.push_back(static_cast<I>(x->row + base));
    s.index.push_back(static_cast<I>(x->col + base));
    s.values.push_back(make<P>(x->value.real(), x->value.imag()));
  }
  return s;
}

// A handle over the stored arrays (which must outlive it), destroyed at
// the end of the scope.
template <class P, class I>
class handle {
 public:
  using H = typename api<P, I>::handle;
  handle(const std::vector<element>& e, std::int64_t rows, std::int64_t cols, form f, int base,
         std::uint64_t seed = 7) {
    const I m = static_cast<I>(rows), n = static_cast<I>(cols);
    int st = -1;
    switch (f) {
      case form::csr3:
      case form::csr4:
        s_ = compress<P, I>(e, rows, false, f == form::csr4, base, seed);
        st = api<P, I>::create_csr(&h_, base, m, n, s_.start.data(),
                                   f == form::csr4 ? s_.end.data() : s_.start.data() + 1, s_.index.data(),
                                   s_.values.data());
        break;
      case form::csc3:
      case form::csc4:
        s_ = compress<P, I>(e, cols, true, f == form::csc4, base, seed);
        st = api<P, I>::create_csc(&h_, base, m, n, s_.start.data(),
                                   f == form::csc4 ? s_.end.data() : s_.start.data() + 1, s_.index.data(),
                                   s_.values.data());
        break;
      case form::coo:
        s_ = coordinates<P, I>(e, base, seed);
        st = api<P, I>::create_coo(&h_, base, m, n, static_cast<I>(s_.index.size()), s_.other.data(), s_.index.data(),
                                   s_.values.data());
        break;
      case form::bsr:
        s_ = compress<P, I>(e, rows, false, false, base, seed);
        st = api<P, I>::create_bsr(&h_, base, QOR_SPARSE_ROW_MAJOR, m, n, 2, s_.start.data(), s_.start.data() + 1,
                                   s_.index.data(), s_.values.data());
        break;
    }
    EXPECT_EQ(st, QOR_SPARSE_OK);
  }
  ~handle() {
    if (h_ != nullptr) {
      const int st = api<P, I>::destroy(h_);
      EXPECT_EQ(st, QOR_SPARSE_OK);
    }
  }
  handle(const handle&) = delete;
  handle& operator=(const handle&) = delete;
  H get() const { return h_; }

 private:
  stored<P, I> s_;
  H h_ = nullptr;
};

// ---- The reference ----

// The matrix a product reads under a descriptor, as a dense long double
// matrix: the triangle, diagonal and mirror rules of qor/sparse.h.
struct dense {
  std::int64_t rows, cols;
  std::vector<ref> a;
  ref& at(std::int64_t i, std::int64_t j) { return a[static_cast<std::size_t>(i * cols + j)]; }
  ref at(std::int64_t i, std::int64_t j) const { return a[static_cast<std::size_t>(i * cols + j)]; }
};

inline dense effective(const std::vector<element>& e, std::int64_t rows, std::int64_t cols, qor_sparse_descr d) {
  dense m{rows, cols, std::vector<ref>(static_cast<std::size_t>(rows * cols))};
  const bool unit = d.diag == QOR_SPARSE_UNIT;
  const int type = d.type == QOR_SPARSE_BLOCK_TRIANGULAR ? QOR_SPARSE_TRIANGULAR
                   : d.type == QOR_SPARSE_BLOCK_DIAGONAL ? QOR_SPARSE_DIAGONAL
                                                         : d.type;
  // Whether an off-diagonal element lies in the triangle the mode names.
  auto inside = [&](const element& x) {
    return d.mode == QOR_SPARSE_FULL || (d.mode == QOR_SPARSE_LOWER ? x.col < x.row : x.col > x.row);
  };
  for (const element& x : e) {
    const bool diag = x.row == x.col;
    switch (type) {
      case QOR_SPARSE_GENERAL:
        m.at(x.row, x.col) += x.value;
        break;
      case QOR_SPARSE_SYMMETRIC:
      case QOR_SPARSE_HERMITIAN:
        if (diag) {
          if (!unit) m.at(x.row, x.col) += x.value;
        } else if (d.mode == QOR_SPARSE_FULL) {
          m.at(x.row, x.col) += x.value;
        } else if (inside(x)) {
          m.at(x.row, x.col) += x.value;
          m.at(x.col, x.row) += type == QOR_SPARSE_HERMITIAN ? std::conj(x.value) : x.value;
        }
        break;
      case QOR_SPARSE_TRIANGULAR:
        if (diag) {
          if (!unit) m.at(x.row, x.col) += x.value;
        } else if (inside(x)) {
          m.at(x.row, x.col) += x.value;
        }
        break;
      default:  // diagonal
        if (diag && !unit) m.at(x.row, x.col) += x.value;
        break;
    }
  }
  if (unit && type != QOR_SPARSE_GENERAL)
    for (std::int64_t i = 0; i < std::min(rows, cols); ++i) m.at(i, i) = 1.0L;
  return m;
}

// y = alpha op(M) x + beta y0 in long double, with the bound of each entry:
// a multiple of the unit roundoff times the terms' magnitudes and count.
struct reference {
  std::vector<ref> y;
  std::vector<long double> bound;
};

template <class P>
reference reference_mv(const dense& m, int op, P alpha, const P* x, P beta, const P* y0) {
  const std::int64_t out = op == QOR_SPARSE_OP_N ? m.rows : m.cols;
  const std::int64_t in = op == QOR_SPARSE_OP_N ? m.cols : m.rows;
  const ref a = wide(alpha), b = wide(beta);
  const bool beta_zero = b == ref(0);
  reference r{std::vector<ref>(static_cast<std::size_t>(out)), std::vector<long double>(static_cast<std::size_t>(out))};
  const long double u = unit_roundoff<P>() * (is_cplx<P> ? 4 : 2);
  for (std::int64_t i = 0; i < out; ++i) {
    ref s = 0;
    long double mag = 0;
    std::int64_t terms = 0;
    for (std::int64_t j = 0; j < in; ++j) {
      ref v = op == QOR_SPARSE_OP_N ? m.at(i, j) : m.at(j, i);
      if (op == QOR_SPARSE_OP_C) v = std::conj(v);
      if (v == ref(0)) continue;
      s += v * wide(x[j]);
      mag += std::abs(v) * std::abs(wide(x[j]));
      ++terms;
    }
    // Real types in real arithmetic: a complex infinity times a real sum
    // would give a NaN imaginary part.
    auto mul = [](ref p, ref q) { return is_cplx<P> ? p * q : ref(p.real() * q.real()); };
    ref yi = mul(a, s);
    mag *= std::abs(a);
    if (!beta_zero) {
      yi += mul(b, wide(y0[i]));
      mag += std::abs(b) * std::abs(wide(y0[i]));
    }
    r.y[static_cast<std::size_t>(i)] = yi;
    r.bound[static_cast<std::size_t>(i)] = u * static_cast<long double>(terms + 3) * mag;
  }
  return r;
}

// Checks y against the reference, entry by entry; NaN is expected where
// the reference has one.
template <class P>
::testing::AssertionResult near(const reference& r, const P* y, std::int64_t n) {
  for (std::int64_t i = 0; i < n; ++i) {
    const ref want = r.y[static_cast<std::size_t>(i)], got = wide(y[i]);
    if (!finite(want)) {
      if (finite(got))
        return ::testing::AssertionFailure()
               << "y[" << i << "] = (" << got.real() << "," << got.imag() << "), expected a non-finite value";
      continue;
    }
    if (!(std::abs(got - want) <= r.bound[static_cast<std::size_t>(i)] + 1e-300L))
      return ::testing::AssertionFailure()
             << "y[" << i << "] = (" << got.real() << "," << got.imag() << "), expected (" << want.real() << ","
             << want.imag() << ") within " << r.bound[static_cast<std::size_t>(i)];
  }
  return ::testing::AssertionSuccess();
}

// Random vectors of exact binary32 values.
template <class P>
std::vector<P> random_vector(std::int64_t n, std::uint64_t seed) {
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<P> v(static_cast<std::size_t>(n));
  for (P& x : v) {
    const double re = std::ldexp(std::round(std::ldexp(u(gen), 10)), -10);
    const double im = std::ldexp(std::round(std::ldexp(u(gen), 10)), -10);
    x = make<P>(re, is_cplx<P> ? im : 0);
  }
  return v;
}

inline qor_sparse_descr descr(int type, int mode = QOR_SPARSE_FULL, int diag = QOR_SPARSE_NON_UNIT) {
  return {type, mode, diag};
}

// Restores the thread setting at the end of a scope.
struct thread_guard {
  ~thread_guard() { qor_set_num_threads(0); }
};

}  // namespace qor::test::sparse
