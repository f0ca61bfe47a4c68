// Allocation failure in the products: for k = 0, 1, ... the k-th request
// and every later one is refused, until a run meets no refusal. A refused
// product either reports no memory with the caller's output untouched, or
// takes its stated fallback and is right; the handles' blocks all come back
// when they are destroyed.
#include "sparse/api/sparse_api_test.h"

namespace qor::test::sparse {
namespace {

struct fault_case {
  const char* what;
  form storage;
  int op;
  qor_sparse_descr d;
  bool mm;
  int layout;
  bool fallback;  // a refused product still succeeds by another road
};

const fault_case cases[] = {
    {"csr general t", form::csr3, QOR_SPARSE_OP_T, descr(QOR_SPARSE_GENERAL), false, 0, true},
    {"csr general c, four arrays", form::csr4, QOR_SPARSE_OP_C, descr(QOR_SPARSE_GENERAL), false, 0, true},
    {"csr symmetric lower", form::csr3, QOR_SPARSE_OP_N, descr(QOR_SPARSE_SYMMETRIC, QOR_SPARSE_LOWER), false, 0,
     false},
    {"csr triangular t", form::csr3, QOR_SPARSE_OP_T, descr(QOR_SPARSE_TRIANGULAR, QOR_SPARSE_UPPER), false, 0, false},
    {"csc general n", form::csc3, QOR_SPARSE_OP_N, descr(QOR_SPARSE_GENERAL), false, 0, true},
    {"coo general n", form::coo, QOR_SPARSE_OP_N, descr(QOR_SPARSE_GENERAL), false, 0, true},
    {"mm csr general t column-major", form::csr3, QOR_SPARSE_OP_T, descr(QOR_SPARSE_GENERAL), true,
     QOR_SPARSE_COLUMN_MAJOR, true},
    {"mm csr hermitian row-major", form::csr3, QOR_SPARSE_OP_N, descr(QOR_SPARSE_HERMITIAN, QOR_SPARSE_UPPER), true,
     QOR_SPARSE_ROW_MAJOR, false},
    {"mm csc general t row-major", form::csc4, QOR_SPARSE_OP_T, descr(QOR_SPARSE_GENERAL), true, QOR_SPARSE_ROW_MAJOR,
     false},
    {"mm coo symmetric column-major", form::coo, QOR_SPARSE_OP_N, descr(QOR_SPARSE_SYMMETRIC, QOR_SPARSE_LOWER), true,
     QOR_SPARSE_COLUMN_MAJOR, true},
};

template <class P, class I>
void refuse_each(const fault_case& fc) {
  SCOPED_TRACE(fc.what);
  const std::int64_t n = 1500, k = 3;
  matrix_recipe recipe;
  recipe.rows = recipe.cols = n;
  recipe.fill = 30.0 / n;
  recipe.complex = is_cplx<P>;
  recipe.seed = 9;
  const std::vector<element> e = random_matrix(recipe);
  const dense m = effective(e, n, n, fc.d);
  const P alpha = make<P>(0.5, 1), beta = make<P>(2, -1);
  const std::vector<P> x = random_vector<P>(n * k, 3), y0 = random_vector<P>(n * k, 4);
  qor_alloc_counts before{};
  qor_alloc_stats(QOR_POOL_MALLOC, &before);
  {
    handle<P, I> h(e, n, n, fc.storage, 1);
    bool refused = true;
    std::int64_t kth = 0;
    for (; refused && kth < 100; ++kth) {
      std::vector<P> y = y0;
      qor_alloc_counts start{};
      qor_alloc_stats(QOR_POOL_BOTH, &start);
      qor_fault_fail_after(QOR_POOL_BOTH, kth);
      int st;
      if (fc.mm) {
        const I ld = static_cast<I>(fc.layout == QOR_SPARSE_COLUMN_MAJOR ? n : k);
        st = api<P, I>::mm(fc.op, alpha, h.get(), fc.d, fc.layout, x.data(), static_cast<I>(k), ld, beta, y.data(), ld);
      } else {
        st = api<P, I>::mv(fc.op, alpha, h.get(), fc.d, x.data(), beta, y.data());
      }
      qor_alloc_counts end{};
      qor_alloc_stats(QOR_POOL_BOTH, &end);
      qor_fault_reset();
      refused = end.failures > start.failures;
      EXPECT_EQ(end.live, start.live) << "refusal " << kth;
      if (st == QOR_SPARSE_NO_MEMORY) {
        EXPECT_TRUE(refused);
        EXPECT_FALSE(fc.fallback) << "refusal " << kth;
        EXPECT_TRUE(same_bits(y, y0)) << "refusal " << kth;
        continue;
      }
      ASSERT_EQ(st, QOR_SPARSE_OK) << "refusal " << kth;
      const std::int64_t columns = fc.mm ? k : 1;
      for (std::int64_t j = 0; j < columns; ++j) {
        std::vector<P> xj(n), yj(n), got(n);
        for (std::int64_t i = 0; i < n; ++i) {
          const std::size_t at = static_cast<std::size_t>(fc.layout == QOR_SPARSE_ROW_MAJOR ? i * k + j : j * n + i);
          xj[i] = x[at];
          yj[i] = y0[at];
          got[i] = y[at];
        }
        EXPECT_TRUE(near(reference_mv(m, fc.op, alpha, xj.data(), beta, yj.data()), got.data(), n))
            << "refusal " << kth << " column " << j;
      }
    }
    EXPECT_FALSE(refused) << "still refused after " << kth << " runs";
    EXPECT_GT(kth, 1) << "the product took no memory at all";
  }
  qor_alloc_counts after{};
  qor_alloc_stats(QOR_POOL_MALLOC, &after);
  EXPECT_EQ(after.live, before.live);
}

TEST(Faults, ProductsUnderRefusal) {
  for (const fault_case& fc : cases) {
    refuse_each<double, std::int32_t>(fc);
    refuse_each<qor_complex16, std::int64_t>(fc);
  }
}

}  // namespace
}  // namespace qor::test::sparse
