// Threads: products large enough to run on a team give the same bits on
// one to four threads, plain and optimised, on every road (gather, the
// scatter into private buffers, coordinates in parts, the dot); four user
// threads may run products on one optimised handle at once.
#include <thread>

#include "sparse/api/sparse_api_test.h"

namespace qor::test::sparse {
namespace {

struct road_case {
  const char* what;
  form storage;
  int op;
  qor_sparse_descr d;
  bool optimised;
};

const road_case roads[] = {
    {"csr general n", form::csr3, QOR_SPARSE_OP_N, descr(QOR_SPARSE_GENERAL), false},
    {"csr general n, optimised", form::csr3, QOR_SPARSE_OP_N, descr(QOR_SPARSE_GENERAL), true},
    {"csr four arrays n", form::csr4, QOR_SPARSE_OP_N, descr(QOR_SPARSE_GENERAL), false},
    {"csr general t", form::csr3, QOR_SPARSE_OP_T, descr(QOR_SPARSE_GENERAL), false},
    {"csr general t, optimised", form::csr3, QOR_SPARSE_OP_T, descr(QOR_SPARSE_GENERAL), true},
    {"csr symmetric lower", form::csr3, QOR_SPARSE_OP_N, descr(QOR_SPARSE_SYMMETRIC, QOR_SPARSE_LOWER), false},
    {"csr hermitian upper unit", form::csr4, QOR_SPARSE_OP_C,
     descr(QOR_SPARSE_HERMITIAN, QOR_SPARSE_UPPER, QOR_SPARSE_UNIT), false},
    {"csr triangular t", form::csr3, QOR_SPARSE_OP_T, descr(QOR_SPARSE_TRIANGULAR, QOR_SPARSE_LOWER), false},
    {"csc general n", form::csc3, QOR_SPARSE_OP_N, descr(QOR_SPARSE_GENERAL), false},
    {"csc general t", form::csc4, QOR_SPARSE_OP_T, descr(QOR_SPARSE_GENERAL), false},
    {"coo general n", form::coo, QOR_SPARSE_OP_N, descr(QOR_SPARSE_GENERAL), false},
    {"coo symmetric upper", form::coo, QOR_SPARSE_OP_T, descr(QOR_SPARSE_SYMMETRIC, QOR_SPARSE_UPPER), false},
};

// A banded matrix with random extra elements: large enough for a team.
std::vector<element> big_matrix(std::int64_t n, bool complex, std::uint64_t seed) {
  matrix_recipe s;
  s.rows = s.cols = n;
  s.fill = 24.0 / static_cast<double>(n);
  s.complex = complex;
  s.empty = {3, n / 2};
  s.seed = seed;
  return random_matrix(s);
}

template <class P, class I>
void same_bits_on_teams(const road_case& rc) {
  SCOPED_TRACE(rc.what);
  thread_guard restore;
  const std::int64_t n = 3000;
  const std::vector<element> e = big_matrix(n, is_cplx<P>, 21);
  handle<P, I> h(e, n, n, rc.storage, 1);
  using A = api<P, I>;
  if (rc.optimised) {
    ASSERT_EQ(A::set_mv_hint(h.get(), rc.op, rc.d, 1000), QOR_SPARSE_OK);
    ASSERT_EQ(A::set_dotmv_hint(h.get(), rc.op, rc.d, 1000), QOR_SPARSE_OK);
    ASSERT_EQ(A::optimize(h.get()), QOR_SPARSE_OK);
  }
  const std::vector<P> x = random_vector<P>(n, 5), y0 = random_vector<P>(n, 6);
  const P alpha = make<P>(1.25, -0.5), beta = make<P>(-0.5, 0.75);
  const std::int64_t k = 4;
  const std::vector<P> b = random_vector<P>(n * k, 7), c0 = random_vector<P>(n * k, 8);
  std::vector<P> first_y, first_c;
  P first_d{};
  for (int t = 1; t <= 4; ++t) {
    SCOPED_TRACE(::testing::Message() << t << " threads");
    qor_set_num_threads(t);
    std::vector<P> y = y0, c = c0;
    P d{};
    ASSERT_EQ(A::dotmv(rc.op, alpha, h.get(), rc.d, x.data(), beta, y.data(), &d), QOR_SPARSE_OK);
    // Column-major into c, then row-major (B read as k columns of n rows
    // with ldb = k) into the upper half of c.
    ASSERT_EQ(A::mm(rc.op, alpha, h.get(), rc.d, QOR_SPARSE_COLUMN_MAJOR, b.data(), static_cast<I>(k),
                    static_cast<I>(n), beta, c.data(), static_cast<I>(n)),
              QOR_SPARSE_OK);
    ASSERT_EQ(A::mm(rc.op, alpha, h.get(), rc.d, QOR_SPARSE_ROW_MAJOR, b.data(), static_cast<I>(k / 2),
                    static_cast<I>(k), beta, c.data(), static_cast<I>(k)),
              QOR_SPARSE_OK);
    if (t == 1) {
      const reference r = reference_mv(effective(e, n, n, rc.d), rc.op, alpha, x.data(), beta, y0.data());
      EXPECT_TRUE(near(r, y.data(), n));
      first_y = y;
      first_c = c;
      first_d = d;
      continue;
    }
    EXPECT_TRUE(same_bits(y, first_y));
    EXPECT_TRUE(same_bits(c, first_c));
    EXPECT_EQ(std::memcmp(&d, &first_d, sizeof(P)), 0);
  }
}

TEST(Threads, SameBitsOnEveryTeam) {
  for (const road_case& rc : roads) {
    same_bits_on_teams<double, std::int32_t>(rc);
    same_bits_on_teams<qor_complex8, std::int64_t>(rc);
  }
}

// Four callers on one optimised handle, each with its own vectors, all
// getting what one caller alone gets.
TEST(Threads, FourCallersOnOneHandle) {
  thread_guard restore;
  qor_set_num_threads(2);
  const std::int64_t n = 2000;
  const std::vector<element> e = big_matrix(n, false, 31);
  handle<double, std::int32_t> h(e, n, n, form::csr3, 0);
  const qor_sparse_descr g = descr(QOR_SPARSE_GENERAL);
  for (int op : {QOR_SPARSE_OP_N, QOR_SPARSE_OP_T})
    ASSERT_EQ(qor_sparse_set_mv_hint(h.get(), op, g, 100), QOR_SPARSE_OK);
  ASSERT_EQ(qor_sparse_optimize(h.get()), QOR_SPARSE_OK);
  std::vector<std::vector<double>> x, want;
  for (int t = 0; t < 4; ++t) {
    x.push_back(random_vector<double>(n, 40 + t));
    want.emplace_back(n);
    ASSERT_EQ(
        qor_sparse_d_mv(t % 2 ? QOR_SPARSE_OP_T : QOR_SPARSE_OP_N, 1.0, h.get(), g, x[t].data(), 0.0, want[t].data()),
        QOR_SPARSE_OK);
  }
  std::vector<int> failures(4, 0);
  std::vector<std::thread> callers;
  for (int t = 0; t < 4; ++t)
    callers.emplace_back([&, t] {
      std::vector<double> y(n);
      for (int r = 0; r < 30; ++r) {
        std::fill(y.begin(), y.end(), std::numeric_limits<double>::quiet_NaN());
        const int st =
            qor_sparse_d_mv(t % 2 ? QOR_SPARSE_OP_T : QOR_SPARSE_OP_N, 1.0, h.get(), g, x[t].data(), 0.0, y.data());
        if (st != QOR_SPARSE_OK || !same_bits(y, want[t])) ++failures[t];
      }
    });
  for (auto& c : callers) c.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
}  // namespace qor::test::sparse
