// Sixteen-byte vectors over the four element types, for the row loops of
// scaling and addition: 4 floats, 2 doubles, 2 complex floats or 1 complex
// double per vector. A complex product is alpha_re * x + (-alpha_im,
// alpha_im) * swap(x), which rounds exactly as the scalar form does.
#pragma once
#include <emmintrin.h>

#include <cstdint>

#include "trans/elem.h"

QOR_ISA_BEGIN
namespace trans {

template <bool Single>
struct VecOf {
  using type = __m128d;
};
template <>
struct VecOf<true> {
  using type = __m128;
};

template <class T>
struct Vec {
  using R = real_t<T>;
  static constexpr bool single = sizeof(R) == 4;
  using V = typename VecOf<single>::type;
  static constexpr u64 per = 16 / sizeof(T);  // elements per vector

  static V load(const T* p) {
    if constexpr (single) {
      return _mm_loadu_ps(reinterpret_cast<const float*>(p));
    } else {
      return _mm_loadu_pd(reinterpret_cast<const double*>(p));
    }
  }
  static void store(T* p, V v) {
    if constexpr (single) {
      _mm_storeu_ps(reinterpret_cast<float*>(p), v);
    } else {
      _mm_storeu_pd(reinterpret_cast<double*>(p), v);
    }
  }
  // p must be 16-byte aligned.
  static void stream(T* p, V v) {
    if constexpr (single) {
      _mm_stream_ps(reinterpret_cast<float*>(p), v);
    } else {
      _mm_stream_pd(reinterpret_cast<double*>(p), v);
    }
  }
  static V add(V x, V y) {
    if constexpr (single) {
      return _mm_add_ps(x, y);
    } else {
      return _mm_add_pd(x, y);
    }
  }
  static V mul(V x, V y) {
    if constexpr (single) {
      return _mm_mul_ps(x, y);
    } else {
      return _mm_mul_pd(x, y);
    }
  }
  static V set(R even, R odd) {
    if constexpr (single) {
      return _mm_setr_ps(even, odd, even, odd);
    } else {
      return _mm_setr_pd(even, odd);
    }
  }
  // Exchanges the two parts of each complex element.
  static V swap(V x) {
    if constexpr (single) {
      return _mm_shuffle_ps(x, x, _MM_SHUFFLE(2, 3, 0, 1));
    } else {
      return _mm_shuffle_pd(x, x, 1);
    }
  }
  static V conj(V x) {
    if constexpr (is_complex_v<T>) {
      if constexpr (single) {
        return _mm_xor_ps(x, set(0.0f, -0.0f));
      } else {
        return _mm_xor_pd(x, set(0.0, -0.0));
      }
    } else {
      return x;
    }
  }

  // A scalar spread over a vector.
  struct Scalar {
    V re, im;
  };
  static Scalar spread(T s) {
    if constexpr (is_complex_v<T>) {
      return {set(s.real(), s.real()), set(-s.imag(), s.imag())};
    } else {
      return {set(s, s), set(0, 0)};
    }
  }
  static V scale(const Scalar& s, V x) {
    if constexpr (is_complex_v<T>) {
      return add(mul(s.re, x), mul(s.im, swap(x)));
    } else {
      return mul(s.re, x);
    }
  }
};

// c[j] := alpha * opa(a[j]) + beta * opb(b[j]) for j < n, where op
// conjugates when its flag is set. Streaming stores once c is aligned.
// Without Tail, n is a multiple of the vector length.
template <bool CA, bool CB, bool Stream, class T, bool Tail = true>
inline void add_row(u64 n, T alpha, const T* a, T beta, const T* b, T* c) {
  using W = Vec<T>;
  u64 j = 0;
  if constexpr (Stream) {
    for (; j < n && reinterpret_cast<std::uintptr_t>(c + j) % 16 != 0; ++j)
      c[j] = apply<CA, true>(alpha, a[j]) + apply<CB, true>(beta, b[j]);
  }
  const auto al = W::spread(alpha), be = W::spread(beta);
  for (; j + W::per <= n; j += W::per) {
    auto x = W::load(a + j), y = W::load(b + j);
    if constexpr (CA) x = W::conj(x);
    if constexpr (CB) y = W::conj(y);
    const auto r = W::add(W::scale(al, x), W::scale(be, y));
    if constexpr (Stream) {
      W::stream(c + j, r);
    } else {
      W::store(c + j, r);
    }
  }
  if constexpr (Tail) {
    for (; j < n; ++j) c[j] = apply<CA, true>(alpha, a[j]) + apply<CB, true>(beta, b[j]);
  }
}

// b[j] := alpha * op(a[j]) for j < n.
template <bool Conj, class T>
inline void scale_row(u64 n, T alpha, const T* a, T* b) {
  using W = Vec<T>;
  const auto al = W::spread(alpha);
  u64 j = 0;
  for (; j + W::per <= n; j += W::per) {
    auto x = W::load(a + j);
    if constexpr (Conj) x = W::conj(x);
    W::store(b + j, W::scale(al, x));
  }
  for (; j < n; ++j) b[j] = apply<Conj, true>(alpha, a[j]);
}

}  // namespace trans
QOR_ISA_END
