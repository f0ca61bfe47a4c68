// The kernel library's transposition routines, bound by exported name, by
// element type.
#pragma once
#include "frame/member.h"
#include "trans/api.h"

namespace qor::core::trans {

template <class T>
struct Kernels;

#define QOR_TRANS_KERNELS(t, T)                                                                             \
  template <>                                                                                               \
  struct Kernels<T> {                                                                                       \
    static auto omatcopy() { return QOR_KERNEL(qor_trans_def_qor_##t##omatcopy); }                         \
    static auto omatcopy2() { return QOR_KERNEL(qor_trans_def_qor_##t##omatcopy2); }                        \
    static auto omatcopy2_seq() { return QOR_KERNEL(qor_trans_def_qor_##t##omatcopy2_seq); }                \
    static auto imatcopy() { return QOR_KERNEL(qor_trans_def_qor_##t##imatcopy); }                          \
    static auto omatadd() { return QOR_KERNEL(qor_trans_def_qor_##t##omatadd); }                            \
    static auto omatadd_seq() { return QOR_KERNEL(qor_trans_def_qor_##t##omatadd_seq); }                    \
    static auto square_t_team() { return QOR_KERNEL(qor_trans_def_qor_##t##imatcopy_square_t_team); }       \
    static auto omatcopy_batch() { return QOR_KERNEL(qor_trans_def_qor_##t##omatcopy_batch); }              \
    static auto imatcopy_batch() { return QOR_KERNEL(qor_trans_def_qor_##t##imatcopy_batch); }              \
    static auto omatcopy_batch_strided() { return QOR_KERNEL(qor_trans_def_qor_##t##omatcopy_batch_strided); } \
    static auto imatcopy_batch_strided() { return QOR_KERNEL(qor_trans_def_qor_##t##imatcopy_batch_strided); } \
    static auto omatadd_batch_strided() { return QOR_KERNEL(qor_trans_def_qor_##t##omatadd_batch_strided); } \
  };
QOR_FOR_EACH_TYPE(QOR_TRANS_KERNELS)
#undef QOR_TRANS_KERNELS

}  // namespace qor::core::trans
