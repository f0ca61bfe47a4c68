// Exported sparse handle routines of the kernel library: creation, export,
// copy, destruction, values, printing, hints and the optimize loop.
//
// Signatures come from signatures.h; names are listed in
// exports/sparse_handle.txt. Every routine checks its arguments and
// returns a status; nothing the caller owns is written on an error path.
#pragma once
#include "frame/export.h"
#include "sparse/handle/signatures.h"

// qor_sparse_<t>_<name>_<i>_def for every type and width.
#define QOR_SPARSE_HANDLE_DECLARE_TYPED(name, l, T, w, I) \
  QOR_DEF_API ::qor::sparse::name##_fn<T, I> qor_sparse_##l##_##name##_##w##_def;
#define QOR_SPARSE_HANDLE_DECLARE_TYPED_W(w, I, l, T) \
  QOR_SPARSE_HANDLE_TYPED(QOR_SPARSE_HANDLE_DECLARE_TYPED, l, T, w, I)
#define QOR_SPARSE_HANDLE_DECLARE_TYPED_T(l, T) QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_HANDLE_DECLARE_TYPED_W, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_HANDLE_DECLARE_TYPED_T)

// qor_sparse_<name>_<i>_def for every width.
#define QOR_SPARSE_HANDLE_DECLARE_UNTYPED(name, w, I) \
  QOR_DEF_API ::qor::sparse::name##_fn<I> qor_sparse_##name##_##w##_def;
#define QOR_SPARSE_HANDLE_DECLARE_UNTYPED_W(w, I, unused) \
  QOR_SPARSE_HANDLE_UNTYPED(QOR_SPARSE_HANDLE_DECLARE_UNTYPED, w, I)
QOR_SPARSE_HANDLE_WIDTHS(QOR_SPARSE_HANDLE_DECLARE_UNTYPED_W, 0)

#undef QOR_SPARSE_HANDLE_DECLARE_TYPED
#undef QOR_SPARSE_HANDLE_DECLARE_TYPED_W
#undef QOR_SPARSE_HANDLE_DECLARE_TYPED_T
#undef QOR_SPARSE_HANDLE_DECLARE_UNTYPED
#undef QOR_SPARSE_HANDLE_DECLARE_UNTYPED_W
