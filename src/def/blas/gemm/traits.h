// Per-type facts of the s, c, z GEMM members: fixed blocks, the shape under
// which the unpacked kernel is used, work-area sizes and warning names.
// The drivers are templates over the element type and read everything that
// sets the three letters apart from here. Like all code of these members it
// sits in the namespace of the instruction-set class it is compiled for.
#pragma once
#include <cstdint>

#include "blas/gemm/common.h"
#include "frame/isa.h"
#include "frame/types.h"

QOR_ISA_BEGIN
namespace gemm_scz {

// The pieces the d member has already: sizes, the depth rules, the work
// area frame and the entry.
using gemm::align_up;
using gemm::clamp;
using gemm::i64;
using gemm::round_up;

template <class T> struct traits;

template <> struct traits<float> {
  static constexpr i64 kb = 112, mb = 640, nb_max = 2000;
  static constexpr i64 main_rows = 8;      // baseline row tile
  static constexpr i64 strip_rows = 8;     // rows of one baseline A strip
  static constexpr const char* name = "SGEMM";
  static constexpr i64 work_bytes(i64 nb) { return 448 * nb + 311552; }
  static constexpr bool small(i64 m, i64 n, i64 k) { return m < 8 || n < 8 || k < 8; }
};

template <> struct traits<c32> {
  static constexpr i64 kb = 64, mb = 320, nb_max = 2000;
  static constexpr i64 main_rows = 4;
  static constexpr i64 strip_rows = 4;
  static constexpr const char* name = "CGEMM";
  static constexpr i64 work_bytes(i64 nb) { return 512 * nb + 189696; }
  static constexpr bool small(i64 m, i64 n, i64 k) { return m < 4 || n < 8 || k < 8; }
};

template <> struct traits<c64> {
  static constexpr i64 kb = 64, mb = 320, nb_max = 2000;
  static constexpr i64 main_rows = 4;
  static constexpr i64 strip_rows = 2;
  static constexpr const char* name = "ZGEMM";
  static constexpr i64 work_bytes(i64 nb) { return 1024 * nb + 353536; }
  static constexpr bool small(i64 m, i64 n, i64 k) { return m < 4 || n < 8 || k < 8; }
};

// Reals per element: 1 for s, 2 for c and z.
template <class T> inline constexpr int reals = is_complex_v<T> ? 2 : 1;

// Products written out, so that complex arithmetic stays plain multiply and
// add (no library call for the infinite-operand fix-ups of operator*).
template <class T> inline T mul(const T& x, const T& y) {
  if constexpr (is_complex_v<T>) {
    return T(x.real() * y.real() - x.imag() * y.imag(), x.real() * y.imag() + x.imag() * y.real());
  } else {
    return x * y;
  }
}

template <class T> inline bool is_zero(const T& x) { return x == T(0); }
template <class T> inline bool is_one(const T& x) { return x == T(1); }

// How an operand enters the product: as it is, transposed, or conjugated
// and transposed. Real members know only the first two.
enum class Op { N, T, C };

template <class T> inline Op op_of(const char* letter) {
  char l = fold(letter);
  if (l == 'N') return Op::N;
  if constexpr (is_complex_v<T>) return l == 'T' ? Op::T : Op::C;
  return Op::T;
}

template <class T> inline T conj_if(const T& x, bool c) {
  if constexpr (is_complex_v<T>) return c ? std::conj(x) : x;
  return x;
}

// Element (i, l) of op(A), with i the row of op(A).
template <class T> inline T op_at(const T* a, i64 lda, Op op, i64 i, i64 l) {
  return op == Op::N ? a[i + l * lda] : conj_if(a[l + i * lda], op == Op::C);
}

}  // namespace gemm_scz
QOR_ISA_END
