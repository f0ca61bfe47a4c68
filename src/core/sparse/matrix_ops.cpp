// The copy and the transposition of a handle's payload, called by the
// kernel library's optimize loop. Not built yet: both decline.
#include "sparse/imports.h"

namespace qor::sparse {
namespace {
template <class I> status copy_nothing(sparse_matrix<I>*) { return not_supported; }
template <class I> status transpose_nothing(sparse_matrix<I>*, i32) { return not_supported; }
}  // namespace
}  // namespace qor::sparse

QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_copy_sparse_matrix_i4(qor::sparse::sparse_matrix<std::int32_t>* h) {
  return qor::sparse::copy_nothing(h);
}
QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_copy_sparse_matrix_i8(qor::sparse::sparse_matrix<std::int64_t>* h) {
  return qor::sparse::copy_nothing(h);
}
QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_transposeMatrix_i4(qor::sparse::sparse_matrix<std::int32_t>* h,
                                                                     qor::sparse::i32 op) {
  return qor::sparse::transpose_nothing(h, op);
}
QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_transposeMatrix_i8(qor::sparse::sparse_matrix<std::int64_t>* h,
                                                                     qor::sparse::i32 op) {
  return qor::sparse::transpose_nothing(h, op);
}
