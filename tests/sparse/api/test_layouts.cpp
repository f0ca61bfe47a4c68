// Dense layouts: a product with a dense matrix gives, column for column,
// the same bits in row-major as in column-major storage, whatever the
// column count (across the widths the row-major kernels block by) and on
// the gather and scatter roads, real and complex.
#include "sparse/api/sparse_api_test.h"

namespace qor::test::sparse {
namespace {

template <class P> void expect_layouts_agree(int op, qor_sparse_descr d, std::int64_t columns, int base) {
  const std::int64_t rows = 37, cols = rows;
  matrix_recipe r;
  r.rows = rows;
  r.cols = cols;
  r.complex = sizeof(P) > 8;
  r.seed = static_cast<std::uint64_t>(columns * 3 + op);
  std::vector<element> e = random_matrix(r);
  if (d.type != QOR_SPARSE_GENERAL) e = mirrored(e, d.type == QOR_SPARSE_HERMITIAN);
  handle<P, std::int32_t> a(e, rows, cols, form::csr3, base);
  const std::vector<P> b = random_vector<P>(cols * columns, 5);
  const std::vector<P> c0 = random_vector<P>(rows * columns, 6);
  // The same matrices in the two layouts: element (i, j) at i + j * ld
  // column-major, at i * ld + j row-major, with one padding slot each.
  const std::int64_t ldb_c = cols + 1, ldc_c = rows + 1, ld_r = columns + 1;
  std::vector<P> bc(ldb_c * columns), br(cols * ld_r), cc(ldc_c * columns), cr(rows * ld_r);
  for (std::int64_t i = 0; i < cols; ++i)
    for (std::int64_t j = 0; j < columns; ++j) bc[i + j * ldb_c] = br[i * ld_r + j] = b[i * columns + j];
  for (std::int64_t i = 0; i < rows; ++i)
    for (std::int64_t j = 0; j < columns; ++j) cc[i + j * ldc_c] = cr[i * ld_r + j] = c0[i * columns + j];
  const P alpha = make<P>(1.25, -0.5), beta = make<P>(0.5, 0.25);
  using A = api<P, std::int32_t>;
  ASSERT_EQ(A::mm(op, alpha, a.get(), d, QOR_SPARSE_COLUMN_MAJOR, bc.data(), static_cast<std::int32_t>(columns),
                  static_cast<std::int32_t>(ldb_c), beta, cc.data(), static_cast<std::int32_t>(ldc_c)),
            QOR_SPARSE_OK);
  ASSERT_EQ(A::mm(op, alpha, a.get(), d, QOR_SPARSE_ROW_MAJOR, br.data(), static_cast<std::int32_t>(columns),
                  static_cast<std::int32_t>(ld_r), beta, cr.data(), static_cast<std::int32_t>(ld_r)),
            QOR_SPARSE_OK);
  std::int64_t differ = 0;
  for (std::int64_t i = 0; i < rows; ++i)
    for (std::int64_t j = 0; j < columns; ++j)
      differ += std::memcmp(&cc[i + j * ldc_c], &cr[i * ld_r + j], sizeof(P)) != 0;
  EXPECT_EQ(differ, 0) << "op " << op << ", type " << d.type << ", " << columns << " columns";
}

TEST(SparseLayouts, RowMajorGivesTheColumnMajorBits) {
  const qor_sparse_descr descrs[] = {descr(QOR_SPARSE_GENERAL), descr(QOR_SPARSE_SYMMETRIC),
                                     descr(QOR_SPARSE_HERMITIAN)};
  for (std::int64_t columns : {1, 3, 8, 16, 32, 63, 64, 65, 130})
    for (int op : {QOR_SPARSE_OP_N, QOR_SPARSE_OP_T, QOR_SPARSE_OP_C})
      for (const qor_sparse_descr& d : descrs)
        for (int base : {0, 1}) {
          expect_layouts_agree<double>(op, d, columns, base);
          expect_layouts_agree<qor_complex16>(op, d, columns, base);
        }
}

}  // namespace
}  // namespace qor::test::sparse
