// Products (mv, dotmv, mm) against the long double reference, over a
// generated table: element type x storage form x operation x every valid
// descriptor kind x index base x plain or optimised, with the index width
// and the thread count taking turns along the table. Each case runs the
// scalar pairs that have their own rules (beta 0 over a NaN y, NaN beta,
// alpha 0, infinite alpha) on a matrix with empty and unsorted rows, a
// stored diagonal (so that unit descriptors must ignore it) and, for
// symmetric kinds, both triangles stored.
#include "sparse/api/sparse_api_test.h"

namespace qor::test::sparse {
namespace {

struct product_case {
  char type;  // s, d, c, z
  form storage;
  int op;
  qor_sparse_descr d;
  int base;
  bool optimised;
  bool wide_index;
  int threads;
};

std::vector<qor_sparse_descr> valid_descriptors() {
  std::vector<qor_sparse_descr> v{descr(QOR_SPARSE_GENERAL, QOR_SPARSE_FULL, QOR_SPARSE_NON_UNIT),
                                  descr(QOR_SPARSE_GENERAL, QOR_SPARSE_LOWER, QOR_SPARSE_UNIT)};
  for (int t : {QOR_SPARSE_SYMMETRIC, QOR_SPARSE_HERMITIAN, QOR_SPARSE_TRIANGULAR, QOR_SPARSE_BLOCK_TRIANGULAR})
    for (int m : {QOR_SPARSE_LOWER, QOR_SPARSE_UPPER, QOR_SPARSE_FULL})
      for (int g : {QOR_SPARSE_NON_UNIT, QOR_SPARSE_UNIT}) v.push_back(descr(t, m, g));
  for (int t : {QOR_SPARSE_DIAGONAL, QOR_SPARSE_BLOCK_DIAGONAL})
    for (int g : {QOR_SPARSE_NON_UNIT, QOR_SPARSE_UNIT}) v.push_back(descr(t, 0, g));
  return v;
}

std::vector<product_case> table() {
  std::vector<product_case> cases;
  int turn = 0;
  for (char t : {'s', 'd', 'c', 'z'})
    for (form f : {form::csr3, form::csr4, form::csc3, form::csc4, form::coo})
      for (int op : {QOR_SPARSE_OP_N, QOR_SPARSE_OP_T, QOR_SPARSE_OP_C})
        for (qor_sparse_descr d : valid_descriptors())
          for (int base : {0, 1})
            for (bool opt : {false, true}) {
              cases.push_back({t, f, op, d, base, opt, turn % 2 == 1, 1 + turn % 3});
              ++turn;
            }
  return cases;
}

std::string name_of(const ::testing::TestParamInfo<product_case>& info) {
  static const char* forms[] = {"csr3", "csr4", "csc3", "csc4", "coo", "bsr"};
  const product_case& c = info.param;
  return std::string(1, c.type) + "_" + forms[static_cast<int>(c.storage)] + "_op" + std::to_string(c.op) + "_t" +
         std::to_string(c.d.type) + "m" + std::to_string(c.d.mode) + "d" + std::to_string(c.d.diag) + "_b" +
         std::to_string(c.base) + (c.optimised ? "_opt" : "_plain") + (c.wide_index ? "_i8" : "_i4") + "_n" +
         std::to_string(c.threads) + "_" + std::to_string(info.index);
}

// The matrix of a case: rectangular for the general kind (so a wrong
// extent shows), square otherwise; two empty rows.
std::vector<element> case_matrix(const product_case& c, std::int64_t rows, std::int64_t cols, std::uint64_t seed) {
  matrix_recipe s;
  s.rows = rows;
  s.cols = cols;
  s.fill = 0.25;
  s.complex = c.type == 'c' || c.type == 'z';
  s.empty = {1, rows - 2};
  s.seed = seed;
  // Symmetric and Hermitian kinds get matrices that are so, stored in
  // full: lower and upper modes must ignore the other triangle, and full
  // mode may read either.
  if (c.d.type == QOR_SPARSE_SYMMETRIC || c.d.type == QOR_SPARSE_HERMITIAN)
    return mirrored(random_matrix(s), c.d.type == QOR_SPARSE_HERMITIAN);
  return random_matrix(s);
}

template <class P, class I>
void run_case(const product_case& c, std::uint64_t seed) {
  thread_guard restore;
  qor_set_num_threads(c.threads);
  const bool general = c.d.type == QOR_SPARSE_GENERAL;
  const std::int64_t rows = general ? 23 : 19, cols = general ? 17 : 19;
  const std::vector<element> e = case_matrix(c, rows, cols, seed);
  handle<P, I> h(e, rows, cols, c.storage, c.base, seed + 1);
  ASSERT_NE(h.get(), nullptr);
  using A = api<P, I>;
  if (c.optimised) {
    ASSERT_EQ(A::set_mv_hint(h.get(), c.op, c.d, 50), QOR_SPARSE_OK);
    ASSERT_EQ(A::set_dotmv_hint(h.get(), c.op, c.d, 50), QOR_SPARSE_OK);
    ASSERT_EQ(A::set_mm_hint(h.get(), c.op, c.d, QOR_SPARSE_COLUMN_MAJOR, 3, 50), QOR_SPARSE_OK);
    ASSERT_EQ(A::optimize(h.get()), QOR_SPARSE_OK);
  }
  const dense m = effective(e, rows, cols, c.d);
  const std::int64_t out = c.op == QOR_SPARSE_OP_N ? rows : cols, in = c.op == QOR_SPARSE_OP_N ? cols : rows;
  const std::vector<P> x = random_vector<P>(in, seed + 2);
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  struct scalars {
    P alpha, beta;
    bool nan_y;
    const char* what;
  };
  const scalars pairs[] = {
      {make<P>(1.5, -0.5), make<P>(0), true, "beta 0 over NaN"},
      {make<P>(-0.75, 0.25), make<P>(0.5, 1), false, "general beta"},
      {make<P>(0), make<P>(2), false, "alpha 0"},
      {make<P>(1), make<P>(nan, 0), false, "NaN beta"},
      {make<P>(inf), make<P>(0), false, "infinite alpha"},
  };
  for (const scalars& s : pairs) {
    SCOPED_TRACE(s.what);
    std::vector<P> y = random_vector<P>(out, seed + 3);
    if (s.nan_y)
      for (P& v : y) v = make<P>(nan, nan);
    const reference r = reference_mv(m, c.op, s.alpha, x.data(), s.beta, y.data());
    ASSERT_EQ(A::mv(c.op, s.alpha, h.get(), c.d, x.data(), s.beta, y.data()), QOR_SPARSE_OK);
    if (std::isinf(std::abs(wide(s.alpha)))) {
      // An infinite alpha gives infinities, and NaN where the product's
      // sum is 0 (a row with nothing in it), except in the one-thread
      // coordinate road, which applies alpha per element and so leaves
      // such rows 0. Complex infinities have no sign worth comparing.
      for (std::int64_t i = 0; i < out; ++i) {
        const ref want = r.y[static_cast<std::size_t>(i)], got = wide(y[static_cast<std::size_t>(i)]);
        if (is_nan(want)) {
          if (c.storage != form::coo) {
            EXPECT_TRUE(is_nan(got)) << "y[" << i << "]";
          }
        } else {
          EXPECT_FALSE(finite(got)) << "y[" << i << "]";
          if (!is_cplx<P> && c.storage != form::coo) {
            EXPECT_EQ(std::signbit(got.real()), std::signbit(want.real())) << "y[" << i << "]";
          }
        }
      }
      continue;
    }
    EXPECT_TRUE(near(r, y.data(), out));
  }

  // dotmv on square matrices: the product as mv, and the unconjugated dot.
  if (rows == cols) {
    std::vector<P> y = random_vector<P>(out, seed + 4);
    const P alpha = make<P>(0.5, 0.25), beta = make<P>(-1, 0.5);
    const reference r = reference_mv(m, c.op, alpha, x.data(), beta, y.data());
    P d = make<P>(nan);
    ASSERT_EQ(A::dotmv(c.op, alpha, h.get(), c.d, x.data(), beta, y.data(), &d), QOR_SPARSE_OK);
    EXPECT_TRUE(near(r, y.data(), out));
    ref want = 0;
    long double mag = 0;
    for (std::int64_t i = 0; i < out; ++i) {
      want += wide(x[static_cast<std::size_t>(i)]) * wide(y[static_cast<std::size_t>(i)]);
      mag += std::abs(wide(x[static_cast<std::size_t>(i)])) * std::abs(wide(y[static_cast<std::size_t>(i)]));
    }
    EXPECT_LE(std::abs(wide(d) - want), unit_roundoff<P>() * 4 * (out + 2) * mag + 1e-300L);
  }

  // mm with three columns, in the layout of the turn, padded leading
  // dimensions whose padding must stay as it was.
  const int layout = (seed % 2 == 0) ? QOR_SPARSE_COLUMN_MAJOR : QOR_SPARSE_ROW_MAJOR;
  const std::int64_t k = 3;
  const std::int64_t ldb = layout == QOR_SPARSE_COLUMN_MAJOR ? in + 2 : k + 1;
  const std::int64_t ldc = layout == QOR_SPARSE_COLUMN_MAJOR ? out + 3 : k + 2;
  const std::int64_t bsize = layout == QOR_SPARSE_COLUMN_MAJOR ? ldb * k : ldb * in;
  const std::int64_t csize = layout == QOR_SPARSE_COLUMN_MAJOR ? ldc * k : ldc * out;
  std::vector<P> b = random_vector<P>(bsize, seed + 5), cm = random_vector<P>(csize, seed + 6);
  const std::vector<P> c0 = cm;
  const P alpha = make<P>(2, -1), beta = make<P>(0.5);
  ASSERT_EQ(A::mm(c.op, alpha, h.get(), c.d, layout, b.data(), static_cast<I>(k), static_cast<I>(ldb), beta, cm.data(),
                  static_cast<I>(ldc)),
            QOR_SPARSE_OK);
  auto pos = [&](std::int64_t i, std::int64_t j, std::int64_t ld) {
    return static_cast<std::size_t>(layout == QOR_SPARSE_COLUMN_MAJOR ? j * ld + i : i * ld + j);
  };
  for (std::int64_t j = 0; j < k; ++j) {
    std::vector<P> xj(static_cast<std::size_t>(in)), yj(static_cast<std::size_t>(out)),
        got(static_cast<std::size_t>(out));
    for (std::int64_t i = 0; i < in; ++i) xj[static_cast<std::size_t>(i)] = b[pos(i, j, ldb)];
    for (std::int64_t i = 0; i < out; ++i) {
      yj[static_cast<std::size_t>(i)] = c0[pos(i, j, ldc)];
      got[static_cast<std::size_t>(i)] = cm[pos(i, j, ldc)];
    }
    const reference r = reference_mv(m, c.op, alpha, xj.data(), beta, yj.data());
    EXPECT_TRUE(near(r, got.data(), out)) << "column " << j;
  }
  // The padding of C is untouched.
  std::vector<bool> inside(static_cast<std::size_t>(csize), false);
  for (std::int64_t j = 0; j < k; ++j)
    for (std::int64_t i = 0; i < out; ++i) inside[pos(i, j, ldc)] = true;
  for (std::int64_t q = 0; q < csize; ++q)
    if (!inside[static_cast<std::size_t>(q)]) {
      EXPECT_EQ(std::memcmp(&cm[static_cast<std::size_t>(q)], &c0[static_cast<std::size_t>(q)], sizeof(P)), 0)
          << "padding at " << q;
    }
}

template <class P>
void run_width(const product_case& c, std::uint64_t seed) {
  if (c.wide_index)
    run_case<P, std::int64_t>(c, seed);
  else
    run_case<P, std::int32_t>(c, seed);
}

class Products : public ::testing::TestWithParam<product_case> {};

TEST_P(Products, MatchReference) {
  const product_case& c = GetParam();
  const std::uint64_t seed = 1000 + static_cast<std::uint64_t>(c.op * 7 + c.d.type * 3 + c.d.mode + c.d.diag + c.base);
  switch (c.type) {
    case 's':
      run_width<float>(c, seed);
      break;
    case 'd':
      run_width<double>(c, seed);
      break;
    case 'c':
      run_width<qor_complex8>(c, seed);
      break;
    default:
      run_width<qor_complex16>(c, seed);
      break;
  }
}

INSTANTIATE_TEST_SUITE_P(Table, Products, ::testing::ValuesIn(table()), name_of);

// A BSR handle of block size 2 has no product yet; its block size 1 twin
// is a CSR handle and has.
TEST(Products, BlockedHandles) {
  const std::vector<element> e = random_matrix({8, 8, 0.3, false, true, {}, 3});
  handle<double, std::int32_t> h(e, 8, 8, form::bsr, 0);
  std::vector<double> x(16, 1.0), y(16, 5.0);
  const std::vector<double> y0 = y;
  EXPECT_EQ(qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, h.get(), descr(QOR_SPARSE_GENERAL), x.data(), 0.0, y.data()),
            QOR_SPARSE_NOT_SUPPORTED);
  EXPECT_EQ(qor_sparse_d_mm(QOR_SPARSE_OP_N, 1.0, h.get(), descr(QOR_SPARSE_GENERAL), QOR_SPARSE_COLUMN_MAJOR, x.data(),
                            1, 16, 0.0, y.data(), 16),
            QOR_SPARSE_NOT_SUPPORTED);
  EXPECT_TRUE(same_bits(y, y0));

  stored<double, std::int32_t> s = compress<double, std::int32_t>(e, 8, false, false, 0, 5);
  qor_sparse_handle one = nullptr;
  ASSERT_EQ(qor_sparse_d_create_bsr(&one, 0, QOR_SPARSE_COLUMN_MAJOR, 8, 8, 1, s.start.data(), s.start.data() + 1,
                                    s.index.data(), s.values.data()),
            QOR_SPARSE_OK);
  const reference r =
      reference_mv(effective(e, 8, 8, descr(QOR_SPARSE_GENERAL)), QOR_SPARSE_OP_N, 1.0, x.data(), 0.0, y.data());
  EXPECT_EQ(qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, one, descr(QOR_SPARSE_GENERAL), x.data(), 0.0, y.data()),
            QOR_SPARSE_OK);
  EXPECT_TRUE(near(r, y.data(), 8));
  EXPECT_EQ(qor_sparse_destroy(one), QOR_SPARSE_OK);
}

// A pattern-only matrix: every stored element counts as 1 in the plain
// product; the other products refuse it.
TEST(Products, PatternOnly) {
  std::vector<std::int32_t> ptr{1, 3, 3, 5}, col{3, 1, 2, 3};
  qor_sparse_handle h = nullptr;
  ASSERT_EQ(qor_sparse_d_create_csr(&h, 1, 3, 3, ptr.data(), ptr.data() + 1, col.data(), nullptr), QOR_SPARSE_OK);
  const std::vector<double> x{1, 10, 100};
  std::vector<double> y{7, 7, 7};
  EXPECT_EQ(qor_sparse_d_mv(QOR_SPARSE_OP_N, 2.0, h, descr(QOR_SPARSE_GENERAL), x.data(), 1.0, y.data()),
            QOR_SPARSE_OK);
  EXPECT_EQ(y, (std::vector<double>{7 + 2 * 101, 7, 7 + 2 * 110}));
  EXPECT_EQ(qor_sparse_d_mv(QOR_SPARSE_OP_T, 2.0, h, descr(QOR_SPARSE_GENERAL), x.data(), 1.0, y.data()),
            QOR_SPARSE_NOT_SUPPORTED);
  EXPECT_EQ(qor_sparse_destroy(h), QOR_SPARSE_OK);
}

TEST(Products, ConvertedOperations) {
  // convert_csr of every source form and operation gives op(A) as CSR.
  const std::vector<element> e = random_matrix({9, 6, 0.4, true, false, {4}, 11});
  for (form f : {form::csr3, form::csr4, form::csc3, form::coo})
    for (int op : {QOR_SPARSE_OP_N, QOR_SPARSE_OP_T, QOR_SPARSE_OP_C})
      for (int base : {0, 1}) {
        SCOPED_TRACE(::testing::Message() << "form " << static_cast<int>(f) << " op " << op << " base " << base);
        handle<qor_complex16, std::int64_t> h(e, 9, 6, f, base);
        qor_sparse_handle_64 t = nullptr;
        ASSERT_EQ(qor_sparse_convert_csr_64(h.get(), op, &t), QOR_SPARSE_OK);
        int b = -1;
        std::int64_t rows = 0, cols = 0, *start = nullptr, *end = nullptr, *col = nullptr;
        qor_complex16* val = nullptr;
        ASSERT_EQ(qor_sparse_z_export_csr_64(t, &b, &rows, &cols, &start, &end, &col, &val), QOR_SPARSE_OK);
        EXPECT_EQ(b, base);
        EXPECT_EQ(rows, op == QOR_SPARSE_OP_N ? 9 : 6);
        EXPECT_EQ(cols, op == QOR_SPARSE_OP_N ? 6 : 9);
        const dense want = effective(e, 9, 6, descr(QOR_SPARSE_GENERAL));
        dense got{rows, cols, std::vector<ref>(static_cast<std::size_t>(rows * cols))};
        for (std::int64_t i = 0; i < rows; ++i)
          for (std::int64_t k = start[i] - b; k < end[i] - b; ++k) got.at(i, col[k] - b) += wide(val[k]);
        for (std::int64_t i = 0; i < rows; ++i)
          for (std::int64_t j = 0; j < cols; ++j) {
            ref w = op == QOR_SPARSE_OP_N ? want.at(i, j) : want.at(j, i);
            if (op == QOR_SPARSE_OP_C) w = std::conj(w);
            EXPECT_EQ(got.at(i, j), w) << i << "," << j;
          }
        EXPECT_EQ(qor_sparse_destroy_64(t), QOR_SPARSE_OK);
      }
}

}  // namespace
}  // namespace qor::test::sparse
