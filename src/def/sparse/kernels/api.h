// Exported sparse product kernels of the kernel library: the descriptor
// switches (CSR, CSC, COO, and our dense-matrix CSR product), the plain
// and pattern-only row kernels, the reductions of private buffers, and the
// kernels of the optimised layouts (ESB slices, diagonal panels).
//
// Signatures, with what each argument means, come from signatures.h; the
// names, qor_sparse_<t>_<name>_<i>_def for t in s, d, c, z and i in i4, i8,
// are listed in exports/sparse_kernels.txt. The kernels check no argument
// beyond the switch values they document.
#pragma once
#include "frame/export.h"
#include "sparse/kernels/signatures.h"

#define QOR_SPARSE_KERNEL_DECLARE(name, l, T, w, I) \
  QOR_DEF_API ::qor::sparse::name##_fn<T, I> qor_sparse_##l##_##name##_##w##_def;
#define QOR_SPARSE_KERNEL_DECLARE_W(w, I, l, T) QOR_SPARSE_KERNELS(QOR_SPARSE_KERNEL_DECLARE, l, T, w, I)
#define QOR_SPARSE_KERNEL_DECLARE_T(l, T) QOR_SPARSE_KERNEL_WIDTHS(QOR_SPARSE_KERNEL_DECLARE_W, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_KERNEL_DECLARE_T)
#undef QOR_SPARSE_KERNEL_DECLARE
#undef QOR_SPARSE_KERNEL_DECLARE_W
#undef QOR_SPARSE_KERNEL_DECLARE_T
