// Pieces shared by the sparse front ends: the public handle and element
// types against the kernel library's records, the checks every product
// makes, the core's scratch memory, and the entry stamping over the element
// letters and index widths.
#pragma once
#include <cstdint>
#include <type_traits>

#include "frame/services.h"
#include "qor/sparse.h"
#include "sparse/records.h"

namespace qor::core::sparse {

using namespace ::qor::sparse;

// The kernel library's element type of a public one: qor_complex8 and
// qor_complex16 are laid out as std::complex<float> and std::complex<double>.
template <class P>
struct element {
  using type = P;
};
template <>
struct element<qor_complex8> {
  using type = c32;
};
template <>
struct element<qor_complex16> {
  using type = c64;
};
template <class P>
using element_t = typename element<P>::type;
static_assert(sizeof(qor_complex8) == sizeof(c32) && sizeof(qor_complex16) == sizeof(c64));

template <class P>
element_t<P> value_of(P v) {
  if constexpr (std::is_same_v<P, qor_complex8> || std::is_same_v<P, qor_complex16>)
    return element_t<P>(v.real, v.imag);
  else
    return v;
}
template <class P>
P public_of(element_t<P> v) {
  if constexpr (std::is_same_v<P, qor_complex8> || std::is_same_v<P, qor_complex16>)
    return P{v.real(), v.imag()};
  else
    return v;
}
template <class P>
element_t<P>* array_of(P* p) {
  return reinterpret_cast<element_t<P>*>(p);
}
template <class P>
const element_t<P>* array_of(const P* p) {
  return reinterpret_cast<const element_t<P>*>(p);
}

// The public handle of an index width, and the record behind it.
template <class I>
struct public_handle;
template <>
struct public_handle<std::int32_t> {
  using type = qor_sparse_handle;
};
template <>
struct public_handle<std::int64_t> {
  using type = qor_sparse_handle_64;
};
template <class I>
using public_handle_t = typename public_handle<I>::type;

template <class H>
auto* record_of(H h) {
  if constexpr (std::is_same_v<H, qor_sparse_handle>)
    return reinterpret_cast<sparse_matrix<std::int32_t>*>(h);
  else
    return reinterpret_cast<sparse_matrix<std::int64_t>*>(h);
}
template <class I>
public_handle_t<I> handle_of(sparse_matrix<I>* m) {
  return reinterpret_cast<public_handle_t<I>>(m);
}

inline matrix_descriptor descriptor_of(qor_sparse_descr d) { return {d.type, d.mode, d.diag}; }

inline bool operation_valid(i32 op) { return op == op_n || op == op_t || op == op_c; }

// Scratch memory of a product: the member's malloc pool, so that its
// accounting and fault injection see every block. Freed on scope exit.
class scratch {
 public:
  scratch() = default;
  scratch(const scratch&) = delete;
  scratch& operator=(const scratch&) = delete;
  ~scratch() { qor_serv_free(p_); }
  // False when the block could not be had (or the size overflows).
  bool get(std::int64_t count, std::int64_t element) {
    std::int64_t bytes;
    if (count < 1) count = 1;
    if (__builtin_mul_overflow(count, element, &bytes)) return false;
    p_ = qor_serv_malloc(bytes, alignment);
    return p_ != nullptr;
  }
  template <class T>
  T* as() const {
    return static_cast<T*>(p_);
  }
  // Hands the block over to its new owner: it is no longer freed here.
  void release() { p_ = nullptr; }

 private:
  void* p_ = nullptr;
};

}  // namespace qor::core::sparse

// Stamps M(letter, public element type, suffix of the kernel library's
// names, index type, public name suffix) for every element letter and
// index width of the public interface.
#define QOR_SPARSE_FOR_EACH_PUBLIC(M)       \
  M(s, float, i4, std::int32_t, )           \
  M(d, double, i4, std::int32_t, )          \
  M(c, qor_complex8, i4, std::int32_t, )    \
  M(z, qor_complex16, i4, std::int32_t, )   \
  M(s, float, i8, std::int64_t, _64)        \
  M(d, double, i8, std::int64_t, _64)       \
  M(c, qor_complex8, i8, std::int64_t, _64) \
  M(z, qor_complex16, i8, std::int64_t, _64)
// The same over the index widths alone: M(suffix, index type, public suffix).
#define QOR_SPARSE_FOR_EACH_PUBLIC_WIDTH(M) M(i4, std::int32_t, ) M(i8, std::int64_t, _64)
