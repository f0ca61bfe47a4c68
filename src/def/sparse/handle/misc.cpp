// Small type-free routines: the verbose switch (not offered), the error
// query and the preparation of an integer parameter array.
#include <cstring>

#include "sparse/handle/common.h"

namespace qor::sparse::handle {

// The parameter array: 128 integers of the family's width, zero except
// for three defaults.
inline constexpr int ee_length = 128;

template <class I> status ee_init(I* pm) {
  if (pm == nullptr) return invalid_value;
  std::memset(pm, 0, ee_length * sizeof(I));
  pm[1] = 6;
  pm[5] = 512;
  pm[6] = 1;
  return ok;
}

}  // namespace qor::sparse::handle

using qor::sparse::i32;
using qor::sparse::sparse_matrix;
using qor::sparse::status;

#define QOR_SPARSE_STAMP(w, I, unused)                                                                     \
  /* The sparse routines have no verbose reports: the switch is refused. */                               \
  QOR_DEF_API status qor_sparse_set_verbose_mode_##w##_def(i32) { return qor::sparse::not_supported; }    \
  QOR_DEF_API status qor_sparse_get_error_info_##w##_def(const sparse_matrix<I>* handle, I* info) {       \
    return handle == nullptr || info == nullptr ? qor::sparse::not_initialized : qor::sparse::ok;         \
  }                                                                                                        \
  QOR_DEF_API status qor_sparse_ee_init_##w##_def(I* pm) { return qor::sparse::handle::ee_init<I>(pm); }
QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_STAMP, 0)
