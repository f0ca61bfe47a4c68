// Analysis routines of the sparse handle, imported by the kernel library's
// optimize loop. Those not built yet store nothing: the request stays
// without effect and the products take their plain roads.
#include "sparse/imports.h"

namespace qor::sparse {
namespace {
template <class I> status nothing(sparse_matrix<I>*, optimization_request<I>* request, optimize_scratch*) {
  request->took_effect = 0;
  return ok;
}
}  // namespace
}  // namespace qor::sparse

#define QOR_SPARSE_DEFINE_ANALYSIS(name)                                                                        \
  QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_optimize_##name##_i4(                                    \
      qor::sparse::sparse_matrix<std::int32_t>* h, qor::sparse::optimization_request<std::int32_t>* r,         \
      qor::sparse::optimize_scratch* s) {                                                                        \
    return qor::sparse::nothing(h, r, s);                                                                       \
  }                                                                                                              \
  QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_optimize_##name##_i8(                                    \
      qor::sparse::sparse_matrix<std::int64_t>* h, qor::sparse::optimization_request<std::int64_t>* r,         \
      qor::sparse::optimize_scratch* s) {                                                                        \
    return qor::sparse::nothing(h, r, s);                                                                       \
  }
QOR_SPARSE_FOR_EACH_ANALYSIS(QOR_SPARSE_DEFINE_ANALYSIS)
#undef QOR_SPARSE_DEFINE_ANALYSIS
