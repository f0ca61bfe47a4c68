// The threaded drivers of the core, by element type, so that templates can
// reach the driver of their own type.
#pragma once
#include "trans/par.h"

namespace qor::trans {

template <class T>
struct Imports;

#define QOR_TRANS_IMPORTS(t, T)                                                       \
  template <>                                                                         \
  struct Imports<T> {                                                                 \
    static constexpr auto omatcopy2_par = &qor_trans_qor_##t##omatcopy2_par;           \
    static constexpr auto omatadd_par = &qor_trans_qor_##t##omatadd_par;               \
    static constexpr auto imatcopy_square_t_par = &qor_trans_qor_##t##imatcopy_square_t_par; \
    static constexpr auto omatcopy_batch_par = &qor_trans_qor_##t##omatcopy_batch_par; \
    static constexpr auto imatcopy_batch_par = &qor_trans_qor_##t##imatcopy_batch_par; \
    static constexpr auto omatcopy_batch_strided_par = &qor_trans_qor_##t##omatcopy_batch_strided_par; \
    static constexpr auto imatcopy_batch_strided_par = &qor_trans_qor_##t##imatcopy_batch_strided_par; \
    static constexpr auto omatadd_batch_strided_par = &qor_trans_qor_##t##omatadd_batch_strided_par; \
    /* The worker handed to the threaded square transposition. */                     \
    static constexpr auto imatcopy_square_t_team = &qor_trans_def_qor_##t##imatcopy_square_t_team; \
  };
QOR_FOR_EACH_TYPE(QOR_TRANS_IMPORTS)
#undef QOR_TRANS_IMPORTS

}  // namespace qor::trans
