// Index of the largest or smallest magnitude, and its pieces: the value
// kernels (the extreme magnitude), the strided search kernels (value and
// place in one pass) and the index kernels (first element of a given
// magnitude). The magnitude of a complex element is |re| + |im|.
//
// The index routines separate the value from the place. Unit stride: the
// value kernels take chunks of 256 elements, the first chunk with the
// strictly best value wins (ties go to the lower index), and the index
// kernel finds the first element of that value in it. The packed maximum and
// minimum raise the invalid flag on any NaN, so a NaN anywhere makes the
// routine rescan for the first NaN and return it. The strided search uses
// the quiet compare instead: a quiet NaN in a strided vector is passed over.
#include <cmath>

#include "blas/level1/api.h"
#include "blas/level1/common.h"
#include "blas/level1/wide.h"

QOR_ISA_BEGIN
namespace l1 {
namespace {

// Magnitudes of elements of type T, L of them to a register.
template <class T>
struct mag {
  using R = real_t<T>;
  using S = simd<R>;
  using reg = typename S::reg;
  static constexpr i64 W = is_complex_v<T> ? 2 : 1;  // reals per element
  static constexpr i64 L = S::lanes;                 // elements per register
  static constexpr i64 B = 4 * L;                    // elements per block
  static constexpr std::uintptr_t block_bytes = B * W * sizeof(R);

  template <bool Aligned>
  static reg load(cep<R> p) {
    if constexpr (Aligned)
      return S::load(p);
    else
      return S::loadu(p);
  }
  // Magnitudes of elements 0 .. L-1 from p.
  template <bool Aligned>
  static reg vals(cep<R> p) {
    if constexpr (W == 1) {
      return S::abs(load<Aligned>(p));
    } else if constexpr (L == 2) {
      reg a = S::abs(load<Aligned>(p)), b = S::abs(load<Aligned>(p + 2));
      return _mm_add_pd(_mm_unpacklo_pd(a, b), _mm_unpackhi_pd(a, b));
    } else {
      reg a = S::abs(load<Aligned>(p)), b = S::abs(load<Aligned>(p + 4));
      return _mm_add_ps(_mm_shuffle_ps(a, b, _MM_SHUFFLE(2, 0, 2, 0)), _mm_shuffle_ps(a, b, _MM_SHUFFLE(3, 1, 3, 1)));
    }
  }
  static R val(cep<R> p) {
    if constexpr (W == 1)
      return std::fabs(p[0]);
    else
      return std::fabs(p[0]) + std::fabs(p[1]);
  }
  static reg val_reg(cep<R> p) { return _mm_set_sd_or_ss(val(p)); }
  static reg _mm_set_sd_or_ss(R v) {
    if constexpr (L == 2)
      return _mm_set_sd(v);
    else
      return _mm_set_ss(v);
  }
  static bool is_nan(cep<R> p) {
    R v = val(p);
    return v != v;
  }
  static bool elem_aligned(cep<R> x) { return addr(x) % (W * sizeof(R)) == 0; }
  // Elements skipped to reach the next block boundary after x, having seen
  // the first block; a vector that is not element-aligned is not moved to a
  // boundary and goes on after the first block.
  static i64 advance(cep<R> x) {
    if (!elem_aligned(x)) return B;
    return static_cast<i64>((block_bytes - addr(x) % block_bytes) / (W * sizeof(R)));
  }
};

template <class T, bool Max>
struct extreme_op {
  using S = typename mag<T>::S;
  using reg = typename S::reg;
  static reg op(reg a, reg b) {
    if constexpr (Max)
      return S::max(a, b);
    else
      return S::min(a, b);
  }
  static reg op1(reg a, reg b) {
    if constexpr (Max)
      return S::max1(a, b);
    else
      return S::min1(a, b);
  }
  // Quiet strict compare: v better than best.
  static bool better(real_t<T> v, real_t<T> best) {
    if constexpr (sizeof(real_t<T>) == 8)
      return Max ? _mm_ucomigt_sd(_mm_set_sd(v), _mm_set_sd(best)) : _mm_ucomigt_sd(_mm_set_sd(best), _mm_set_sd(v));
    else
      return Max ? _mm_ucomigt_ss(_mm_set_ss(v), _mm_set_ss(best)) : _mm_ucomigt_ss(_mm_set_ss(best), _mm_set_ss(v));
  }
};

// The extreme magnitude. Unit stride with more than one block: four
// registers from the first block, then from the next block boundary blocks
// of four registers, combined as op(op(m0, m2), op(m1, m3)), then one group
// of two registers and one register folded in, then the lanes, then the last
// elements. Otherwise two scalar extremes, unrolled by 4, walking up from the
// base with the absolute stride.
template <class T, bool Max>
__attribute__((noinline)) real_t<T> extreme_value(i64 n, cep<real_t<T>> x, i64 incx) {
  using M = mag<T>;
  using O = extreme_op<T, Max>;
  using S = typename M::S;
  using reg = typename M::reg;
  constexpr i64 L = M::L, B = M::B, W = M::W;
  if (n < 1) return 0;
  if (incx == 1 && n > B) {
    reg m0 = M::template vals<false>(x), m1 = M::template vals<false>(x + W * L);
    reg m2 = M::template vals<false>(x + 2 * W * L), m3 = M::template vals<false>(x + 3 * W * L);
    i64 i = M::advance(x);
    auto run = [&](auto aligned) {
      constexpr bool A = decltype(aligned)::value;
      for (; i + B <= n; i += B) {
        for (i64 line = 0; line < W * B * i64(sizeof(real_t<T>)); line += 64)
          prefetch_read(reinterpret_cast<const char*>(x + W * i) + line);
        m0 = O::op(m0, M::template vals<A>(x + W * i));
        m1 = O::op(m1, M::template vals<A>(x + W * (i + L)));
        m2 = O::op(m2, M::template vals<A>(x + W * (i + 2 * L)));
        m3 = O::op(m3, M::template vals<A>(x + W * (i + 3 * L)));
      }
      reg c = O::op(O::op(m0, m2), O::op(m1, m3));
      if (i + 2 * L <= n) {
        c = O::op(c, M::template vals<A>(x + W * i));
        c = O::op(c, M::template vals<A>(x + W * (i + L)));
        i += 2 * L;
      }
      if (i + L <= n) {
        c = O::op(c, M::template vals<A>(x + W * i));
        i += L;
      }
      return c;
    };
    reg c = M::elem_aligned(x) ? run(std::true_type{}) : run(std::false_type{});
    c = S::hfold(c, [](reg a, reg b) { return O::op(a, b); });
    for (; i < n; ++i) c = O::op1(c, M::val_reg(x + W * i));
    return S::lane0(c);
  }
  const i64 inc = W * abs_i(incx);
  reg m0 = M::val_reg(x), m1 = m0;
  i64 i = 1;
  for (; i + 4 <= n; i += 4) {
    m0 = O::op1(m0, M::val_reg(x + i * inc));
    m1 = O::op1(m1, M::val_reg(x + (i + 1) * inc));
    m0 = O::op1(m0, M::val_reg(x + (i + 2) * inc));
    m1 = O::op1(m1, M::val_reg(x + (i + 3) * inc));
  }
  for (; i < n; ++i) m0 = O::op1(m0, M::val_reg(x + i * inc));
  return S::lane0(O::op1(m0, m1));
}

// Value and place in one pass, with the quiet strict compare: the best
// starts at element 0 and moves only to a strictly better element. 0-based;
// -1 for an empty vector. A negative stride walks from (1 - n) * incx.
template <class T, bool Max>
__attribute__((noinline)) i64 extreme_search(i64 n, cep<real_t<T>> x, i64 incx) {
  using M = mag<T>;
  using O = extreme_op<T, Max>;
  using R = real_t<T>;
  if (n < 1) return -1;
  const i64 inc = M::W * incx;
  x += M::W * start_of(n, incx);
  R best = M::val(x);
  i64 at = 0;
  auto visit = [&](i64 i) {
    R v = M::val(x + i * inc);
    if (O::better(v, best)) {
      best = v;
      at = i;
    }
  };
  i64 i = 1;
  for (; i + 4 <= n; i += 4) {
    visit(i);
    visit(i + 1);
    visit(i + 2);
    visit(i + 3);
  }
  if (i + 2 <= n) {
    visit(i);
    visit(i + 1);
    i += 2;
  }
  if (i < n) visit(i);
  return at;
}

// First element whose magnitude equals `value`, 0-based, or -1. Unit stride
// with more than one block: the first block in registers, then from the next
// block boundary whole blocks, two registers, one register, the last
// elements; a block that hits is searched register by register in order.
// Otherwise a scalar loop unrolled by 4.
template <class T>
__attribute__((noinline)) i64 extreme_index(i64 n, cep<real_t<T>> x, i64 incx, real_t<T> value) {
  using M = mag<T>;
  using S = typename M::S;
  using reg = typename M::reg;
  constexpr i64 L = M::L, B = M::B, W = M::W;
  if (n < 1) return -1;
  if (incx == 1 && n > B) {
    const reg t = S::set1(value);
    auto first_hit = [&](i64 from, i64 regs, auto aligned) -> i64 {
      constexpr bool A = decltype(aligned)::value;
      reg any = S::zero();
      reg c[4];
      for (i64 k = 0; k < regs; ++k) {
        c[k] = S::cmpeq(M::template vals<A>(x + W * (from + k * L)), t);
        any = S::bit_or(any, c[k]);
      }
      if (S::mask(any) == 0) return -1;
      for (i64 k = 0; k < regs; ++k)
        if (int m = S::mask(c[k])) return from + k * L + __builtin_ctz(static_cast<unsigned>(m));
      return -1;
    };
    if (i64 h = first_hit(0, 4, std::false_type{}); h >= 0) return h;
    i64 i = M::advance(x);
    auto run = [&](auto aligned) -> i64 {
      for (; i + B <= n; i += B)
        if (i64 h = first_hit(i, 4, aligned); h >= 0) return h;
      if (i + 2 * L <= n) {
        if (i64 h = first_hit(i, 2, aligned); h >= 0) return h;
        i += 2 * L;
      }
      for (; i + L <= n; i += L)
        if (i64 h = first_hit(i, 1, aligned); h >= 0) return h;
      return -1;
    };
    if (i64 h = M::elem_aligned(x) ? run(std::true_type{}) : run(std::false_type{}); h >= 0) return h;
    for (; i < n; ++i)
      if (M::val(x + W * i) == value) return i;
    return -1;
  }
  const i64 inc = W * incx;
  x += W * start_of(n, incx);
  i64 i = 0;
  for (; i + 4 <= n; i += 4)
    for (i64 k = 0; k < 4; ++k)
      if (M::val(x + (i + k) * inc) == value) return i + k;
  for (; i < n; ++i)
    if (M::val(x + i * inc) == value) return i;
  return -1;
}

// The index routine: 1-based, 0 for n < 1 or incx < 1, 1 for n = 1. The
// floating-point flags raised before the call survive it; those raised
// inside are kept as well.
template <class T, bool Max>
i64 extreme_place(i64 n, cep<real_t<T>> x, i64 incx) {
  using M = mag<T>;
  using O = extreme_op<T, Max>;
  using R = real_t<T>;
  constexpr unsigned flags = 0x3F, invalid = 0x01;
  if (n < 1 || incx < 1) return 0;
  if (n == 1) return 1;
  const unsigned saved = _mm_getcsr();
  _mm_setcsr(saved & ~flags);
  i64 place;
  if (incx == 1) {
    constexpr i64 chunk = 256;
    i64 start = 0;
    R best = extreme_value<T, Max>(n < chunk ? n : chunk, x, 1);
    for (i64 s = chunk; s < n; s += chunk) {
      R v = extreme_value<T, Max>(n - s < chunk ? n - s : chunk, x + M::W * s, 1);
      if (O::better(v, best)) {
        best = v;
        start = s;
      }
    }
    const i64 len = n - start < chunk ? n - start : chunk;
    place = start + extreme_index<T>(len, x + M::W * start, 1, best);
  } else {
    place = extreme_search<T, Max>(n, x, incx);
  }
  const unsigned raised = _mm_getcsr() & flags;
  _mm_setcsr(saved | raised);
  if (raised & invalid) {
    for (i64 i = 0; i < n; ++i)
      if (M::is_nan(x + M::W * i * incx)) return i + 1;
  }
  return place + 1;
}

}  // namespace
}  // namespace l1
QOR_ISA_END

using namespace qor::QOR_ISA_NAME::l1;
using qor::i64;

// The real index-of-largest routines take the 512-bit body for unit
// strides (it follows the same value, place, NaN and flag rules).
template <class T>
i64 largest_place(i64 n, const T* x, i64 incx) {
  if constexpr (!qor::is_complex_v<T>) {
    if (n > 1 && incx == 1 && wide_body()) return qor::avx512::l1w::iamax<T>(n, x);
  }
  return extreme_place<T, true>(n, re_ptr(x), incx);
}

#define QOR_L1_EXTREME(l, T)                                                                                   \
  QOR_DEF_API i64 qor_blas_def_xi##l##amax(const i64* n, const T* x, const i64* incx) {                        \
    return largest_place<T>(*n, x, *incx);                                                                      \
  }                                                                                                            \
  QOR_DEF_API i64 qor_blas_def_xi##l##amin(const i64* n, const T* x, const i64* incx) {                        \
    return extreme_place<T, false>(*n, re_ptr(x), *incx);                                                       \
  }                                                                                                            \
  QOR_DEF_API qor::real_t<T> qor_blas_def_x##l##amax_kernel(const i64* n, const T* x, const i64* incx) {       \
    return extreme_value<T, true>(*n, re_ptr(x), *incx);                                                        \
  }                                                                                                            \
  QOR_DEF_API qor::real_t<T> qor_blas_def_x##l##amin_kernel(const i64* n, const T* x, const i64* incx) {       \
    return extreme_value<T, false>(*n, re_ptr(x), *incx);                                                       \
  }                                                                                                            \
  QOR_DEF_API i64 qor_blas_def_xi##l##amax_kernel(const i64* n, const T* x, const i64* incx) {                 \
    return extreme_search<T, true>(*n, re_ptr(x), *incx);                                                       \
  }                                                                                                            \
  QOR_DEF_API i64 qor_blas_def_xi##l##amin_kernel(const i64* n, const T* x, const i64* incx) {                 \
    return extreme_search<T, false>(*n, re_ptr(x), *incx);                                                      \
  }                                                                                                            \
  QOR_DEF_API i64 qor_blas_def_x##l##index_kernel(const i64* n, const T* x, const i64* incx,                   \
                                                  const qor::real_t<T>* value) {                               \
    return extreme_index<T>(*n, re_ptr(x), *incx, *value);                                                      \
  }
QOR_FOR_EACH_TYPE(QOR_L1_EXTREME)

QOR_DEF_API float qor_blas_def_scabs1(const qor::c32* z) { return std::fabs(z->real()) + std::fabs(z->imag()); }
QOR_DEF_API double qor_blas_def_dcabs1(const qor::c64* z) { return std::fabs(z->real()) + std::fabs(z->imag()); }
