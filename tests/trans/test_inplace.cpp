// In-place scaling and transposition against the plain reference.
#include "trans/trans_test.h"

namespace qor::test::trans {
namespace {

template <class T>
class ImatcopyTest : public ::testing::Test {};
TYPED_TEST_SUITE(ImatcopyTest, Types);

// Runs imatcopy on a store that holds both the source (lda) and the result
// (ldb), and compares the whole store with the reference: every position
// outside the result keeps what it had.
template <class T>
void check_inplace(char ordering, char trans, std::size_t rows, std::size_t cols, T alpha, std::size_t pad_a,
                   std::size_t pad_b) {
  SCOPED_TRACE(std::string("ordering ") + ordering + " trans " + trans + " " + std::to_string(rows) + "x" +
               std::to_string(cols) + " pads " + std::to_string(pad_a) + "," + std::to_string(pad_b));
  const bool row = ordering == 'R' || ordering == 'r' || ordering == 'X';
  const Letter l = read_trans(trans);
  const std::size_t sr = row ? rows : cols, sc = row ? cols : rows;
  const std::size_t dr = l.transpose ? sc : sr, dc = l.transpose ? sr : sc;
  const std::size_t lda = sc + pad_a, ldb = dc + pad_b;
  std::vector<T> ab = random_buffer<T>(std::max(span(sr, sc, lda), span(dr, dc, ldb)), rows * 7 + cols);
  std::vector<T> want = ab;
  reference_imatcopy(ordering, trans, rows, cols, alpha, want, lda, ldb);
  Api<T>::imatcopy(ordering, trans, rows, cols, alpha, ab.data(), lda, ldb);
  EXPECT_TRUE(same_buffer(ab, want));
}

TYPED_TEST(ImatcopyTest, EveryLetterOrderingAndShape) {
  using T = TypeParam;
  const std::size_t shapes[][2] = {{1, 1}, {1, 6}, {6, 1}, {3, 7}, {7, 3}, {5, 5}, {13, 13}, {16, 16}, {17, 17}};
  const std::size_t pads[][2] = {{0, 0}, {2, 2}, {3, 0}, {0, 4}};
  for (char o : kOrderings)
    for (char t : kTrans)
      for (const auto& s : shapes)
        for (T alpha : {T(1), odd_scalar<T>()})
          for (const auto& pd : pads) check_inplace<T>(o, t, s[0], s[1], alpha, pd[0], pd[1]);
}

// The square path: block transposition for every residue of n modulo the
// block, leading dimensions that are and are not multiples of 8, the two
// sweeps above 256 KiB, and the scaled swap.
TYPED_TEST(ImatcopyTest, SquareBlocksAndRemainders) {
  using T = TypeParam;
  for (std::size_t n : {2, 7, 8, 9, 12, 13, 15, 21, 24, 31, 64, 70}) {
    for (std::size_t pad : {0, 2, 3}) {
      check_inplace<T>('R', 'T', n, n, T(1), pad, pad);
      check_inplace<T>('C', 'C', n, n, T(1), pad, pad);
    }
  }
  check_inplace<T>('R', 'T', 13, 13, T(1), 3, 3);  // n 13, lda 16: whole blocks by the leading dimension
  check_inplace<T>('C', 'T', 200, 200, T(1), 5, 5);
  check_inplace<T>('R', 'T', 190, 190, odd_scalar<T>(), 1, 1);
  check_inplace<T>('R', 'C', 91, 91, odd_scalar<T>(), 0, 0);
  check_inplace<T>('C', 'R', 40, 40, odd_scalar<T>(), 0, 0);  // square scaling
  check_inplace<T>('R', 'N', 40, 40, odd_scalar<T>(), 1, 1);
}

// A scale other than 1 never goes to the threads, nor does a square too
// small to repay a second thread; a large one does. Results are checked on
// both sides.
TYPED_TEST(ImatcopyTest, ThreadedSquareThreshold) {
  using T = TypeParam;
  auto went_parallel = [](auto run) {
    const std::int64_t before = qor_trans_parallel_calls();
    run();
    return qor_trans_parallel_calls() > before;
  };
  EXPECT_FALSE(went_parallel([] { check_inplace<T>('R', 'T', 256, 256, T(1), 0, 0); }));
  EXPECT_FALSE(went_parallel([] { check_inplace<T>('R', 'T', 257, 257, T(1), 0, 0); }));
  EXPECT_FALSE(went_parallel([] { check_inplace<T>('R', 'T', 900, 900, T(2), 0, 0); }));
  EXPECT_TRUE(went_parallel([] { check_inplace<T>('C', 'C', 900, 900, T(1), 7, 7); }));
  EXPECT_TRUE(went_parallel([] { check_inplace<T>('R', 'T', 1030, 1030, T(1), 3, 3); }));
}

// The threaded square on every team size from one to more workers than
// tiles, each worker run in turn on the same store: every tile is done once
// (a tile done twice or never shows as an untransposed pair).
TYPED_TEST(ImatcopyTest, SquareTeamSharesCoverEveryTileOnce) {
  using T = TypeParam;
  for (std::size_t n : {1, 63, 64, 65, 200, 300}) {
    const std::size_t lda = n + 3;
    for (int threads : {1, 2, 3, 5, 40}) {
      SCOPED_TRACE("n " + std::to_string(n) + ", " + std::to_string(threads) + " workers");
      std::vector<T> ab = random_buffer<T>(n * lda + 4, n), want = ab;
      reference_imatcopy('R', 'T', n, n, T(1), want, lda, lda);
      for (int t = 0; t < threads; ++t) Team<T>::run(n, ab.data(), lda, t, threads);
      EXPECT_EQ(ab, want);
    }
  }
}

// Cycle following on rectangular stores, and a change of leading dimension
// without transposition in both directions.
TYPED_TEST(ImatcopyTest, RectangularAndLeadingDimensionChanges) {
  using T = TypeParam;
  const std::size_t shapes[][2] = {{1000, 7}, {7, 1000}, {64, 65}, {120, 37}};
  const std::size_t pads[][2] = {{0, 0}, {5, 0}, {0, 9}, {4, 4}};
  for (const auto& s : shapes)
    for (const auto& pd : pads) {
      check_inplace<T>('R', 'T', s[0], s[1], T(1), pd[0], pd[1]);
      check_inplace<T>('C', 'C', s[0], s[1], odd_scalar<T>(), pd[0], pd[1]);
      check_inplace<T>('R', 'N', s[0], s[1], odd_scalar<T>(), pd[0], pd[1]);
      check_inplace<T>('C', 'R', s[0], s[1], T(1), pd[0], pd[1]);
    }
  check_inplace<T>('R', 'T', 60, 60, T(1), 3, 0);  // square shape, unequal leading dimensions
  check_inplace<T>('C', 'T', 60, 60, T(1), 0, 2);
}

TYPED_TEST(ImatcopyTest, NothingHappensWithoutAStore) {
  using T = TypeParam;
  Api<T>::imatcopy('R', 'T', 5, 5, T(1), nullptr, 5, 5);
  std::vector<T> ab(9, T(3));
  Api<T>::imatcopy('R', 'T', 0, 3, T(2), ab.data(), 3, 3);
  Api<T>::imatcopy('R', 'T', 3, 2, T(2), ab.data(), 0, 0);  // no leading dimension to divide by
  EXPECT_EQ(ab, std::vector<T>(9, T(3)));
}

TYPED_TEST(ImatcopyTest, StridedBatch) {
  using T = TypeParam;
  const std::size_t r = 30, c = 12, lda = 12, ldb = 31, stride = 400;
  for (std::size_t count : {0, 1, 3}) {
    std::vector<T> ab = random_buffer<T>(stride * 3, count), want = ab;
    for (std::size_t k = 0; k < count; ++k) {
      std::vector<T> one(want.begin() + k * stride, want.begin() + (k + 1) * stride);
      reference_imatcopy('R', 'T', r, c, odd_scalar<T>(), one, lda, ldb);
      std::copy(one.begin(), one.end(), want.begin() + k * stride);
    }
    Api<T>::imatcopy_batch_strided('R', 'T', r, c, odd_scalar<T>(), ab.data(), lda, ldb, stride, count);
    EXPECT_TRUE(same_buffer(ab, want)) << count << " matrices";
  }
}

TYPED_TEST(ImatcopyTest, GroupedBatch) {
  using T = TypeParam;
  const char trans[] = {'T', 'N', 'x'};
  const std::size_t rows[] = {33, 8, 4}, cols[] = {33, 20, 4}, lda[] = {33, 20, 4}, ldb[] = {33, 22, 4};
  const std::size_t sizes[] = {1, 2, 1};
  const T alpha[] = {T(1), odd_scalar<T>(), T(5)};
  std::vector<std::vector<T>> ab, want;
  std::vector<T*> abp;
  for (std::size_t g = 0, k = 0; g < 3; ++g)
    for (std::size_t m = 0; m < sizes[g]; ++m, ++k) {
      ab.push_back(random_buffer<T>(rows[g] * ldb[g] + cols[g] * lda[g], k));
      want.push_back(ab.back());
      reference_imatcopy('C', trans[g], rows[g], cols[g], alpha[g], want.back(), lda[g], ldb[g]);
    }
  for (auto& x : ab) abp.push_back(x.data());
  Api<T>::imatcopy_batch('C', trans, rows, cols, alpha, abp.data(), lda, ldb, 3, sizes);
  for (std::size_t k = 0; k < ab.size(); ++k) EXPECT_TRUE(same_buffer(ab[k], want[k])) << "matrix " << k;
}

}  // namespace
}  // namespace qor::test::trans
