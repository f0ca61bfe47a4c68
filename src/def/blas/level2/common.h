// Shared pieces of the Level 2 entries and kernels: element arithmetic in
// the plain textbook form, the work-vector rule (a stack buffer of 128
// elements, else an aligned block from the core, else slices of 128) and
// the small vector loops every entry needs.
#pragma once
#include <cstdint>

#include "frame/body.h"
#include "frame/export.h"
#include "frame/isa.h"
#include "frame/services.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace l2c {

using i64 = std::int64_t;

// Vectors up to this length are made contiguous on the stack; a failed
// allocation makes the entries work in slices of this many rows.
inline constexpr i64 kSlice = 128;
inline constexpr int kAlign = 64;

template <class T>
using R = real_t<T>;

// The Zen-class body (AVX2 and FMA) serves where the frame's rule gives it
// (frame/body.h): Zen- and 512-bit-class processors at tier 0.
inline bool use_zen() { return choose_body<bodies_of<Body::zen>>() == Body::zen; }

// Complex product by the plain formula, as the reference BLAS computes it
// (no rescue of infinities through the library's slow path).
template <class T>
inline T mul(T a, T b) {
  if constexpr (is_complex_v<T>) {
    return T(a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real());
  } else {
    return a * b;
  }
}

template <class T>
inline T conj(T a) {
  if constexpr (is_complex_v<T>) {
    return T(a.real(), -a.imag());
  } else {
    return a;
  }
}

template <bool C, class T>
inline T conj_if(T a) {
  if constexpr (C) {
    return conj(a);
  } else {
    return a;
  }
}

// The real part only (the diagonal of a Hermitian matrix).
template <class T>
inline T real_only(T a) {
  if constexpr (is_complex_v<T>) {
    return T(a.real(), R<T>(0));
  } else {
    return a;
  }
}

template <class T>
inline R<T> re(T a) {
  if constexpr (is_complex_v<T>) {
    return a.real();
  } else {
    return a;
  }
}

template <class T>
inline bool is_zero(const T& a) {
  return a == T(0);
}
template <class T>
inline bool is_one(const T& a) {
  return a == T(1);
}

// Moves a base pointer to the first logical element of a vector with a
// negative stride.
template <class T>
inline T* first(T* p, i64 n, i64 inc) {
  return inc < 0 ? p + (1 - n) * inc : p;
}

// y = beta * y, storing zeros when beta is 0 so that NaN in y does not
// survive. y points to its first logical element.
template <class T>
inline void scale(i64 n, T beta, T* y, i64 inc) {
  if (is_zero(beta)) {
    if (inc == 1) {
      for (i64 i = 0; i < n; ++i) y[i] = T(0);
    } else {
      for (i64 i = 0; i < n; ++i) y[i * inc] = T(0);
    }
  } else if (inc == 1) {
    for (i64 i = 0; i < n; ++i) y[i] = mul(beta, y[i]);
  } else {
    for (i64 i = 0; i < n; ++i) y[i * inc] = mul(beta, y[i * inc]);
  }
}

template <class T>
inline void gather(i64 n, const T* x, i64 inc, T* to) {
  for (i64 i = 0; i < n; ++i) to[i] = x[i * inc];
}
template <class T>
inline void scatter(i64 n, const T* from, T* x, i64 inc) {
  for (i64 i = 0; i < n; ++i) x[i * inc] = from[i];
}

// A work vector: the caller's stack buffer for up to kSlice elements, else
// a block from qor_serv_allocate. ok() is false when that failed; the block
// goes back when the object dies.
template <class T>
class Work {
 public:
  Work(i64 n, T* stack) {
    if (n <= kSlice) {
      p_ = stack;
    } else {
      p_ = static_cast<T*>(qor_serv_allocate(n * static_cast<i64>(sizeof(T)), kAlign));
      heap_ = p_ != nullptr;
    }
  }
  ~Work() {
    if (heap_) qor_serv_deallocate(p_);
  }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  bool ok() const { return p_ != nullptr; }
  T* get() const { return p_; }

 private:
  T* p_ = nullptr;
  bool heap_ = false;
};

// A stack buffer of kSlice elements, aligned for vector loads; left
// uninitialised (complex elements would otherwise be zeroed on every call).
template <class T>
struct Stack {
  alignas(64) unsigned char raw[kSlice * sizeof(T)];
  T* get() { return reinterpret_cast<T*>(raw); }
};

}  // namespace l2c
QOR_ISA_END

// QOR_L2_DEF(name, (parameters), (arguments)) { body } defines an exported
// entry. Every source is compiled twice: the baseline build defines the
// exported name, which hands the call to the Zen-class build's copy
// (name_zen, hidden) when that class is served, and to its own body
// otherwise; the Zen-class build defines only name_zen.
#if defined(QOR_ISA_ZEN)
#define QOR_L2_DEF(name, params, args) void name##_zen params
#else
#define QOR_L2_DEF(name, params, args)                      \
  void name##_zen params;                                   \
  static void name##_base params;                           \
  QOR_DEF_API void name params {                            \
    if (::qor::QOR_ISA_NAME::l2c::use_zen()) {              \
      name##_zen args;                                      \
    } else {                                                \
      name##_base args;                                     \
    }                                                       \
  }                                                         \
  static void name##_base params
#endif
