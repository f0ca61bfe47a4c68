// Out-of-place copy and transposition against the plain reference.
#include "trans/trans_test.h"

namespace qor::test::trans {
namespace {

template <class T>
class OmatcopyTest : public ::testing::Test {};
TYPED_TEST_SUITE(OmatcopyTest, Types);

// Runs one omatcopy2 (or omatcopy when both strides are 1) and compares the
// whole destination store, padding and tail included, with the reference.
template <class T>
void check_copy(char ordering, char trans, std::size_t rows, std::size_t cols, T alpha, std::size_t pad_a,
                std::size_t pad_b, std::size_t sa = 1, std::size_t sb = 1) {
  SCOPED_TRACE(std::string("ordering ") + ordering + " trans " + trans + " " + std::to_string(rows) + "x" +
               std::to_string(cols) + " pads " + std::to_string(pad_a) + "," + std::to_string(pad_b) + " strides " + std::to_string(sa) + "," +
               std::to_string(sb));
  const bool row = ordering == 'R' || ordering == 'r' || ordering == 'X';
  const Letter l = read_trans(trans);
  // Row-major view: source rows x cols; destination swapped when transposing.
  const std::size_t sr = row ? rows : cols, sc = row ? cols : rows;
  const std::size_t dr = l.transpose ? sc : sr, dc = l.transpose ? sr : sc;
  const std::size_t lda = (sc - 1) * sa + 1 + pad_a, ldb = (dc - 1) * sb + 1 + pad_b;
  const std::vector<T> a = random_buffer<T>(span(sr, sc, lda, sa), rows * 31 + cols);
  std::vector<T> b = random_buffer<T>(span(dr, dc, ldb, sb), 99);
  std::vector<T> want = b;
  reference_omatcopy2(ordering, trans, rows, cols, alpha, a.data(), lda, sa, want.data(), ldb, sb);
  if (sa == 1 && sb == 1) {
    Api<T>::omatcopy(ordering, trans, rows, cols, alpha, a.data(), lda, b.data(), ldb);
  } else {
    Api<T>::omatcopy2(ordering, trans, rows, cols, alpha, a.data(), lda, sa, b.data(), ldb, sb);
  }
  EXPECT_TRUE(same_buffer(b, want));
}

TYPED_TEST(OmatcopyTest, EveryLetterOrderingAndShape) {
  using T = TypeParam;
  const std::size_t shapes[][2] = {{1, 1}, {1, 9}, {9, 1}, {3, 7}, {4, 4}, {5, 5}, {16, 17}, {17, 16}, {33, 6}};
  for (char o : kOrderings)
    for (char t : kTrans)
      for (const auto& s : shapes)
        for (T alpha : {T(1), odd_scalar<T>()})
          for (std::size_t pad : {0, 3}) check_copy<T>(o, t, s[0], s[1], alpha, pad, pad == 0 ? 0 : 1);
}

TYPED_TEST(OmatcopyTest, ElementStrides) {
  using T = TypeParam;
  for (char o : std::string("RC"))
    for (char t : std::string("NTCR"))
      for (std::size_t sa : {1, 2, 3})
        for (std::size_t sb : {1, 2}) {
          check_copy<T>(o, t, 7, 5, T(1), 0, 0, sa, sb);
          check_copy<T>(o, t, 21, 19, odd_scalar<T>(), 1, 2, sa, sb);
        }
}

// Sizes on both sides of the threaded-copy threshold, and long thin shapes.
TYPED_TEST(OmatcopyTest, ThreadedSizesAndThinShapes) {
  using T = TypeParam;
  const std::size_t shapes[][2] = {{64, 64}, {65, 64}, {17, 300}, {300, 17}, {257, 131}, {1000, 7}, {7, 1000}};
  for (char o : std::string("RC"))
    for (char t : std::string("NTCR"))
      for (const auto& s : shapes) check_copy<T>(o, t, s[0], s[1], odd_scalar<T>(), 2, 1);
  check_copy<T>('R', 'N', 200, 150, T(1), 0, 0);  // one contiguous block
  check_copy<T>('C', 'N', 3, 5, T(1), 0, 0);
  check_copy<T>('R', 'T', 400, 300, T(1), 0, 0);
  check_copy<T>('C', 'T', 129, 513, T(1), 5, 0, 3, 2);
}

// Thin blocks, alone and as the edges of the tiled path: every count of
// rows (or columns) from 1 to past a tile against a long side, which the
// register transposes take in groups with the rest one by one.
TYPED_TEST(OmatcopyTest, ThinBlocksEveryShortSide) {
  using T = TypeParam;
  for (std::size_t k = 1; k <= 18; ++k)
    for (char t : std::string("TC"))
      for (T alpha : {T(1), odd_scalar<T>()}) {
        check_copy<T>('R', t, k, 45, alpha, 1, 2);
        check_copy<T>('R', t, 45, k, alpha, 0, 3);
        check_copy<T>('C', t, 40 + k, 35, alpha, 0, 0);
      }
}

// Large transpositions whose destination rows can be written in whole
// aligned lines, starting at several offsets from a line, with the edges
// that do not fill a tile.
TYPED_TEST(OmatcopyTest, LargeLineAlignedDestinations) {
  using T = TypeParam;
  const std::size_t rows = 1030, cols = 610, lda = 613, ldb = 1040;
  const std::vector<T> a = random_buffer<T>(rows * lda, 3);
  for (std::size_t offset : {0, 3}) {
    for (char t : std::string("TC")) {
      const T alpha = t == 'T' ? T(1) : odd_scalar<T>();
      std::vector<T> b = random_buffer<T>(cols * ldb + offset + 8, 4), want = b;
      reference_omatcopy2('R', t, rows, cols, alpha, a.data(), lda, 1, want.data() + offset, ldb, 1);
      Api<T>::omatcopy('R', t, rows, cols, alpha, a.data(), lda, b.data() + offset, ldb);
      EXPECT_TRUE(same_buffer(b, want)) << "offset " << offset << " trans " << t;
    }
  }
}

TYPED_TEST(OmatcopyTest, ZeroSizesTouchNothing) {
  using T = TypeParam;
  std::vector<T> a(16, T(1)), b(16, T(7));
  Api<T>::omatcopy('R', 'N', 0, 4, T(1), a.data(), 4, b.data(), 4);
  Api<T>::omatcopy2('C', 'T', 4, 0, T(1), a.data(), 4, 1, b.data(), 4, 1);
  Api<T>::omatcopy('R', 'T', 0, 0, T(1), nullptr, 1, nullptr, 1);
  EXPECT_EQ(b, std::vector<T>(16, T(7)));
}

// The threshold is exact: both sides at least 17 and more than 32768 bytes.
TEST(OmatcopyThreshold, ExactSizesGoParallel) {
  auto went_parallel = [](auto run) {
    const std::int64_t before = qor_trans_parallel_calls();
    run();
    return qor_trans_parallel_calls() > before;
  };
  std::vector<double> a(16 * 10000, 1.0), b(16 * 10000);
  std::vector<c64> za(64 * 64, c64(1, 2)), zb(64 * 64);
  EXPECT_FALSE(went_parallel([&] { Api<double>::omatcopy('R', 'T', 16, 10000, 1.0, a.data(), 10000, b.data(), 16); }));
  EXPECT_FALSE(went_parallel([&] { Api<double>::omatcopy('R', 'N', 64, 64, 1.0, a.data(), 64, b.data(), 64); }));
  EXPECT_TRUE(went_parallel([&] { Api<double>::omatcopy('R', 'N', 65, 64, 1.0, a.data(), 64, b.data(), 64); }));
  EXPECT_TRUE(went_parallel([&] { Api<c64>::omatcopy('C', 'C', 64, 64, c64(1), za.data(), 64, zb.data(), 64); }));
  EXPECT_FALSE(went_parallel([&] { Api<float>::omatcopy('R', 'N', 90, 91, 1.0f, reinterpret_cast<float*>(a.data()), 91, reinterpret_cast<float*>(b.data()), 91); }));
  EXPECT_TRUE(went_parallel([&] { Api<double>::omatcopy2('R', 'N', 17, 241, 1.0, a.data(), 241, 1, b.data(), 241, 1); }));
  EXPECT_FALSE(went_parallel([&] { Api<double>::omatcopy2('R', 'N', 17, 240, 1.0, a.data(), 240, 1, b.data(), 240, 1); }));
}

TYPED_TEST(OmatcopyTest, StridedBatch) {
  using T = TypeParam;
  const std::size_t r = 19, c = 23, lda = 25, ldb = 24, sa = c * lda + 3, sb = r * ldb + 2;  // column-major
  for (std::size_t count : {0, 1, 2, 5}) {
    const std::vector<T> a = random_buffer<T>(sa * 5, count);
    std::vector<T> b = random_buffer<T>(sb * 5, 7), want = b;
    for (std::size_t k = 0; k < count; ++k)
      reference_omatcopy2('C', 'T', r, c, odd_scalar<T>(), a.data() + k * sa, lda, 1, want.data() + k * sb, ldb, 1);
    Api<T>::omatcopy_batch_strided('C', 'T', r, c, odd_scalar<T>(), a.data(), lda, sa, b.data(), ldb, sb, count);
    EXPECT_TRUE(same_buffer(b, want)) << count << " matrices";
  }
}

TYPED_TEST(OmatcopyTest, GroupedBatch) {
  using T = TypeParam;
  // Two groups: 2 copies of 40 x 30 and 3 transpositions of 5 x 90.
  const char trans[] = {'N', 'T'};
  const std::size_t rows[] = {40, 5}, cols[] = {30, 90}, lda[] = {30, 91}, ldb[] = {32, 5}, sizes[] = {2, 3};
  const T alpha[] = {T(1), odd_scalar<T>()};
  std::vector<std::vector<T>> as, bs, want;
  std::vector<const T*> ap;
  std::vector<T*> bp;
  for (std::size_t g = 0, k = 0; g < 2; ++g)
    for (std::size_t m = 0; m < sizes[g]; ++m, ++k) {
      const std::size_t brows = g == 0 ? rows[g] : cols[g];
      as.push_back(random_buffer<T>(rows[g] * lda[g], k));
      bs.push_back(random_buffer<T>(brows * ldb[g], 50 + k));
      want.push_back(bs.back());
      reference_omatcopy2('R', trans[g], rows[g], cols[g], alpha[g], as.back().data(), lda[g], 1, want.back().data(),
                          ldb[g], 1);
    }
  for (auto& x : as) ap.push_back(x.data());
  for (auto& x : bs) bp.push_back(x.data());
  Api<T>::omatcopy_batch('R', trans, rows, cols, alpha, ap.data(), lda, bp.data(), ldb, 2, sizes);
  for (std::size_t k = 0; k < bs.size(); ++k) EXPECT_TRUE(same_buffer(bs[k], want[k])) << "matrix " << k;
}

}  // namespace
}  // namespace qor::test::trans
