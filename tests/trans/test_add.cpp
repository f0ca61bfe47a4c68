// Matrix addition, out of place and with c aliasing an operand, against the
// plain reference; allocation failure of the in-place temporary.
#include "trans/trans_test.h"

namespace qor::test::trans {
namespace {

template <class T>
class OmataddTest : public ::testing::Test {};
TYPED_TEST_SUITE(OmataddTest, Types);

// Row-major view of a stored operand of op(x) = rows x cols.
struct Stored {
  std::size_t rows, cols, ld;
};
inline Stored stored(char trans, std::size_t r, std::size_t c, std::size_t pad) {
  const bool t = read_trans(trans).transpose;
  return {t ? c : r, t ? r : c, (t ? r : c) + pad};
}

template <class T>
void check_add(char ordering, char ta, char tb, std::size_t rows, std::size_t cols, T alpha, T beta, std::size_t pad) {
  SCOPED_TRACE(std::string("ordering ") + ordering + " trans " + ta + tb + " " + std::to_string(rows) + "x" +
               std::to_string(cols) + " pad " + std::to_string(pad));
  const bool row = ordering != 'C' && ordering != 'c';
  const std::size_t sr = row ? rows : cols, sc = row ? cols : rows;
  const Stored sa = stored(ta, sr, sc, pad + 1), sb = stored(tb, sr, sc, pad + 2);
  const std::size_t ldc = sc + pad;
  const std::vector<T> a = random_buffer<T>(span(sa.rows, sa.cols, sa.ld), 1);
  const std::vector<T> b = random_buffer<T>(span(sb.rows, sb.cols, sb.ld), 2);
  std::vector<T> c = random_buffer<T>(span(sr, sc, ldc), 3), want = c;
  reference_omatadd(ordering, ta, tb, rows, cols, alpha, a.data(), sa.ld, beta, b.data(), sb.ld, want.data(), ldc);
  Api<T>::omatadd(ordering, ta, tb, rows, cols, alpha, a.data(), sa.ld, beta, b.data(), sb.ld, c.data(), ldc);
  EXPECT_TRUE(same_buffer(c, want));
}

TYPED_TEST(OmataddTest, EveryPairOfLettersAndOrdering) {
  using T = TypeParam;
  const std::size_t shapes[][2] = {{1, 1}, {3, 7}, {7, 3}, {16, 17}, {17, 16}, {40, 45}};
  for (char o : std::string("RrCcX"))
    for (char ta : std::string("NTCRnX"))
      for (char tb : std::string("NTCRtX"))
        for (const auto& s : shapes)
          for (std::size_t pad : {0, 2}) {
            check_add<T>(o, ta, tb, s[0], s[1], T(1), T(1), pad);
            check_add<T>(o, ta, tb, s[0], s[1], odd_scalar<T>(), T(0.5), pad);
          }
}

TYPED_TEST(OmataddTest, ThreadedSizes) {
  using T = TypeParam;
  for (char ta : std::string("NTC"))
    for (char tb : std::string("NTR")) {
      check_add<T>('R', ta, tb, 129, 140, odd_scalar<T>(), T(2), 1);
      check_add<T>('C', ta, tb, 300, 17, T(1), odd_scalar<T>(), 0);
    }
}

TEST(OmataddThreshold, ExactSizesGoParallel) {
  auto went_parallel = [](auto run) {
    const std::int64_t before = qor_trans_parallel_calls();
    run();
    return qor_trans_parallel_calls() > before;
  };
  std::vector<double> a(16 * 10000, 1.0), b(a), c(a);
  auto add = [&](std::size_t r, std::size_t k) {
    return [&, r, k] { Api<double>::omatadd('R', 'N', 'T', r, k, 2.0, a.data(), k, 3.0, b.data(), r, c.data(), k); };
  };
  EXPECT_FALSE(went_parallel(add(128, 128)));  // 131072 bytes: not above
  EXPECT_TRUE(went_parallel(add(129, 128)));
  EXPECT_FALSE(went_parallel(add(16, 10000)));
  EXPECT_FALSE(went_parallel(add(10000, 16)));
}

// A zero scalar leaves its operand unread, NaN and all.
TYPED_TEST(OmataddTest, ZeroScalarLeavesOperandUnread) {
  using T = TypeParam;
  using R = real_t<T>;
  const std::size_t n = 24;
  const T nan = T(std::numeric_limits<R>::quiet_NaN());
  std::vector<T> poisoned(n * n, nan), x = random_buffer<T>(n * n, 5), c(n * n), want(n * n);
  for (char t : std::string("NTC")) {
    reference_omatcopy2('R', t, n, n, odd_scalar<T>(), x.data(), n, 1, want.data(), n, 1);
    Api<T>::omatadd('R', 'N', t, n, n, T(0), poisoned.data(), n, odd_scalar<T>(), x.data(), n, c.data(), n);
    EXPECT_TRUE(same_buffer(c, want)) << "alpha 0, trans " << t;
    Api<T>::omatadd('C', t, 'T', n, n, odd_scalar<T>(), x.data(), n, T(0), poisoned.data(), n, c.data(), n);
    EXPECT_TRUE(same_buffer(c, want)) << "beta 0, trans " << t;
  }
}

// c is one operand, or both; transposed operands need a square. Each case
// runs with the temporary, without it (allocation refused), and with the
// inner temporary refused when both operands are c.
TYPED_TEST(OmataddTest, AliasedOperandsWithAndWithoutTemporary) {
  using T = TypeParam;
  enum Fault { kNone, kFirst, kSecond };
  auto run = [](char o, char ta, char tb, std::size_t rows, std::size_t cols, int alias, Fault fault) {
    SCOPED_TRACE(std::string("ordering ") + o + " trans " + ta + tb + " alias " + std::to_string(alias) + " fault " +
                 std::to_string(fault) + " " + std::to_string(rows) + "x" + std::to_string(cols));
    const bool row = o == 'R';
    const std::size_t sr = row ? rows : cols, sc = row ? cols : rows, ld = sc + 3;
    std::vector<T> c = random_buffer<T>(span(sr, sc, ld), 11), other = random_buffer<T>(span(sr + sc, sc, ld), 12);
    const std::vector<T> c0 = c;
    std::vector<T> want = c;
    const T alpha = odd_scalar<T>(), beta = T(0.5);
    const T* a = alias & 1 ? c0.data() : other.data();
    const T* b = alias & 2 ? c0.data() : other.data();
    reference_omatadd(o, ta, tb, rows, cols, alpha, a, ld, beta, b, ld, want.data(), ld);
    AllocWatch watch;
    if (fault == kFirst) qor_fault_fail_next(QOR_POOL_MALLOC, 1);
    if (fault == kSecond) qor_fault_fail_after(QOR_POOL_MALLOC, 1);
    Api<T>::omatadd(o, ta, tb, rows, cols, alpha, alias & 1 ? c.data() : other.data(), ld, beta,
                    alias & 2 ? c.data() : other.data(), ld, c.data(), ld);
    EXPECT_GE(watch.allocations() + watch.failures(), 1) << "the in-place form takes a temporary";
    if (fault == kFirst || (fault == kSecond && alias == 3)) {
      EXPECT_GE(watch.failures(), 1);
    }
    EXPECT_TRUE(same_buffer(c, want));
  };
  for (int alias : {1, 2, 3})
    for (Fault fault : {kNone, kFirst, kSecond})
      for (char o : std::string("RC")) {
        for (char ta : std::string("NTCR"))
          for (char tb : std::string("NTCR")) run(o, ta, tb, 21, 21, alias, fault);
        // Off the square only an operand that is not transposed can be c.
        run(o, 'N', 'R', 9, 30, alias, fault);
        if (alias == 1) {
          run(o, 'R', 'T', 30, 9, alias, fault);
          run(o, 'N', 'C', 160, 170, alias, fault);
        }
      }
}

TYPED_TEST(OmataddTest, StridedBatch) {
  using T = TypeParam;
  const std::size_t r = 20, c = 18, lda = 21, ldb = 22, ldc = 19, sa = 600, sb = 700, sc = 500;
  for (std::size_t count : {0, 1, 4}) {
    const std::vector<T> a = random_buffer<T>(sa * 4, 1), b = random_buffer<T>(sb * 4, 2);
    std::vector<T> cc = random_buffer<T>(sc * 4, 3), want = cc;
    for (std::size_t k = 0; k < count; ++k)
      reference_omatadd('R', 'T', 'N', r, c, odd_scalar<T>(), a.data() + k * sa, lda, T(-1), b.data() + k * sb, ldb,
                        want.data() + k * sc, ldc);
    Api<T>::omatadd_batch_strided('R', 'T', 'N', r, c, odd_scalar<T>(), a.data(), lda, sa, T(-1), b.data(), ldb, sb,
                                  cc.data(), ldc, sc, count);
    EXPECT_TRUE(same_buffer(cc, want)) << count << " matrices";
  }
}

}  // namespace
}  // namespace qor::test::trans
