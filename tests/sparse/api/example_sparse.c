/* A sparse product through the public interface alone, in C: the 1D
 * Laplacian (2 on the diagonal, -1 beside it) of order 6 in CSR with one
 * array of row pointers, applied to x = (1, 2, ..., 6), then its complex
 * twin with a complex alpha passed by value. A x is 0 inside and
 * (0, ..., 7) at the ends. Exits 0 when every result holds, 1 otherwise. */
#include <stdio.h>

#include "qor/sparse.h"

enum { N = 6 };

int main(void) {
  int32_t ptr[N + 1], col[3 * N];
  double val[3 * N], x[N], y[N];
  qor_complex16 zval[3 * N], zx[N], zy[N], alpha = {0, 2}, beta = {0, 0};
  qor_sparse_handle a = NULL, z = NULL;
  qor_sparse_descr g = {QOR_SPARSE_GENERAL, QOR_SPARSE_FULL, QOR_SPARSE_NON_UNIT};
  int i, k = 0, bad = 0;

  for (i = 0; i < N; ++i) {
    ptr[i] = k;
    if (i > 0) col[k] = i - 1, val[k++] = -1;
    col[k] = i, val[k++] = 2;
    if (i < N - 1) col[k] = i + 1, val[k++] = -1;
    x[i] = i + 1;
  }
  ptr[N] = k;
  for (i = 0; i < k; ++i) zval[i].real = val[i], zval[i].imag = 0;
  for (i = 0; i < N; ++i) zx[i].real = x[i], zx[i].imag = 0;

  if (qor_sparse_d_create_csr(&a, QOR_SPARSE_INDEX_ZERO, N, N, ptr, ptr + 1, col, val) != QOR_SPARSE_OK ||
      qor_sparse_z_create_csr(&z, QOR_SPARSE_INDEX_ZERO, N, N, ptr, ptr + 1, col, zval) != QOR_SPARSE_OK) {
    fprintf(stderr, "example_sparse: create failed\n");
    return 1;
  }
  if (qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, a, g, x, 0.0, y) != QOR_SPARSE_OK) bad = 1;
  if (qor_sparse_z_mv(QOR_SPARSE_OP_T, alpha, z, g, zx, beta, zy) != QOR_SPARSE_OK) bad = 1;
  for (i = 0; i < N; ++i) {
    const double want = i == 0 ? 0 : i == N - 1 ? N + 1 : 0;
    if (y[i] != want || zy[i].real != 0 || zy[i].imag != 2 * want) bad = 1;
  }
  /* A double routine on the complex handle is refused and writes nothing. */
  y[0] = 42;
  if (qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, z, g, x, 0.0, y) != QOR_SPARSE_NOT_SUPPORTED || y[0] != 42) bad = 1;
  qor_sparse_destroy(a);
  qor_sparse_destroy(z);
  if (bad) fprintf(stderr, "example_sparse: wrong results\n");
  return bad;
}
