// The public transposition interface: letters as chars, sizes as size_t,
// complex scalars as qor_complex8 / qor_complex16. Each name goes straight to
// the kernel library's front routine, which chooses threads or not.
#include <complex>
#include <cstdint>
#include <type_traits>

#include "frame/trace.h"
#include "qor/trans.h"
#include "trans/kernels.h"

namespace {

static_assert(std::is_same_v<size_t, std::uint64_t>, "sizes are passed on as unsigned 64-bit values");
static_assert(sizeof(qor_complex8) == sizeof(qor::c32) && sizeof(qor_complex16) == sizeof(qor::c64));

inline int letter(char c) { return static_cast<unsigned char>(c); }

template <class T>
inline T scalar(T x) {
  return x;
}
inline qor::c32 scalar(qor_complex8 x) { return {x.real, x.imag}; }
inline qor::c64 scalar(qor_complex16 x) { return {x.real, x.imag}; }

// The kernel library's element type for a public one.
template <class P>
struct elem {
  using type = P;
};
template <>
struct elem<qor_complex8> {
  using type = qor::c32;
};
template <>
struct elem<qor_complex16> {
  using type = qor::c64;
};

template <class P>
inline auto* in(const P* p) {
  return reinterpret_cast<const typename elem<P>::type*>(p);
}
template <class P>
inline auto* out(P* p) {
  return reinterpret_cast<typename elem<P>::type*>(p);
}
template <class P>
inline auto* in_list(const P* const* p) {
  return reinterpret_cast<const typename elem<P>::type* const*>(p);
}
template <class P>
inline auto* out_list(P* const* p) {
  return reinterpret_cast<typename elem<P>::type* const*>(p);
}

}  // namespace

using qor::core::trans::Kernels;

#define QOR_TRANS_DEFINE_PUBLIC(t, P)                                                                                \
  QOR_API void qor_##t##omatcopy(char ordering, char trans, size_t rows, size_t cols, P alpha, const P* a,          \
                                 size_t lda, P* b, size_t ldb) {                                                     \
    QOR_TRACED((ordering, trans, rows, cols, lda, ldb), [=] {                                                        \
      Kernels<elem<P>::type>::omatcopy()(letter(ordering), letter(trans), rows, cols, scalar(alpha), in(a), lda,     \
                                         out(b), ldb);                                                               \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##omatcopy2(char ordering, char trans, size_t rows, size_t cols, P alpha, const P* a,         \
                                  size_t lda, size_t stridea, P* b, size_t ldb, size_t strideb) {                    \
    QOR_TRACED((ordering, trans, rows, cols, lda, stridea, ldb, strideb), [=] {                                      \
      Kernels<elem<P>::type>::omatcopy2()(letter(ordering), letter(trans), rows, cols, scalar(alpha), in(a), lda,    \
                                          stridea, out(b), ldb, strideb);                                            \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##imatcopy(char ordering, char trans, size_t rows, size_t cols, P alpha, P* ab, size_t lda,   \
                                 size_t ldb) {                                                                       \
    QOR_TRACED((ordering, trans, rows, cols, lda, ldb), [=] {                                                        \
      Kernels<elem<P>::type>::imatcopy()(letter(ordering), letter(trans), rows, cols, scalar(alpha), out(ab), lda,   \
                                         ldb);                                                                       \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##omatadd(char ordering, char transa, char transb, size_t rows, size_t cols, P alpha,         \
                                const P* a, size_t lda, P beta, const P* b, size_t ldb, P* c, size_t ldc) {          \
    QOR_TRACED((ordering, transa, transb, rows, cols, lda, ldb, ldc), [=] {                                          \
      Kernels<elem<P>::type>::omatadd()(letter(ordering), letter(transa), letter(transb), rows, cols, scalar(alpha), \
                                        in(a), lda, scalar(beta), in(b), ldb, out(c), ldc);                          \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##omatcopy_batch(char ordering, const char* trans_array, const size_t* rows_array,            \
                                       const size_t* cols_array, const P* alpha_array, const P* const* a_array,     \
                                       const size_t* lda_array, P* const* b_array, const size_t* ldb_array,         \
                                       size_t group_count, const size_t* group_size) {                              \
    using qor::core::trace::first;                                                                                   \
    QOR_TRACED_NAMED((ordering, first(trans_array), first(rows_array), first(cols_array), first(lda_array),          \
                      first(ldb_array), group_count), "ordering,trans,rows,cols,lda,ldb,group_count", [=] {          \
      Kernels<elem<P>::type>::omatcopy_batch()(letter(ordering), trans_array, rows_array, cols_array, in(alpha_array), \
                                               in_list(a_array), lda_array, out_list(b_array), ldb_array, group_count, \
                                               group_size);                                                          \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##imatcopy_batch(char ordering, const char* trans_array, const size_t* rows_array,            \
                                       const size_t* cols_array, const P* alpha_array, P* const* ab_array,          \
                                       const size_t* lda_array, const size_t* ldb_array, size_t group_count,        \
                                       const size_t* group_size) {                                                  \
    using qor::core::trace::first;                                                                                   \
    QOR_TRACED_NAMED((ordering, first(trans_array), first(rows_array), first(cols_array), first(lda_array),          \
                      first(ldb_array), group_count), "ordering,trans,rows,cols,lda,ldb,group_count", [=] {          \
      Kernels<elem<P>::type>::imatcopy_batch()(letter(ordering), trans_array, rows_array, cols_array, in(alpha_array), \
                                               out_list(ab_array), lda_array, ldb_array, group_count, group_size);   \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##omatcopy_batch_strided(char ordering, char trans, size_t rows, size_t cols, P alpha,        \
                                               const P* a, size_t lda, size_t stridea, P* b, size_t ldb,            \
                                               size_t strideb, size_t batch_size) {                                 \
    QOR_TRACED((ordering, trans, rows, cols, lda, stridea, ldb, strideb, batch_size), [=] {                          \
      Kernels<elem<P>::type>::omatcopy_batch_strided()(letter(ordering), letter(trans), rows, cols, scalar(alpha),   \
                                                       in(a), lda, stridea, out(b), ldb, strideb, batch_size);       \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##imatcopy_batch_strided(char ordering, char trans, size_t rows, size_t cols, P alpha,        \
                                               P* ab, size_t lda, size_t ldb, size_t stride, size_t batch_size) {   \
    QOR_TRACED((ordering, trans, rows, cols, lda, ldb, stride, batch_size), [=] {                                    \
      Kernels<elem<P>::type>::imatcopy_batch_strided()(letter(ordering), letter(trans), rows, cols, scalar(alpha),   \
                                                       out(ab), lda, ldb, stride, batch_size);                       \
    });                                                                                                              \
  }                                                                                                                  \
  QOR_API void qor_##t##omatadd_batch_strided(char ordering, char transa, char transb, size_t rows, size_t cols,    \
                                              P alpha, const P* a, size_t lda, size_t stridea, P beta, const P* b,  \
                                              size_t ldb, size_t strideb, P* c, size_t ldc, size_t stridec,         \
                                              size_t batch_size) {                                                  \
    QOR_TRACED((ordering, transa, transb, rows, cols, lda, stridea, ldb, strideb, ldc, stridec, batch_size), [=] {   \
      Kernels<elem<P>::type>::omatadd_batch_strided()(letter(ordering), letter(transa), letter(transb), rows, cols,  \
                                                      scalar(alpha), in(a), lda, stridea, scalar(beta), in(b), ldb,  \
                                                      strideb, out(c), ldc, stridec, batch_size);                    \
    });                                                                                                              \
  }

QOR_TRANS_DEFINE_PUBLIC(s, float)
QOR_TRANS_DEFINE_PUBLIC(d, double)
QOR_TRANS_DEFINE_PUBLIC(c, qor_complex8)
QOR_TRANS_DEFINE_PUBLIC(z, qor_complex16)
