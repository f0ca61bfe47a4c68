// The services the core gives the kernel library.
#include <atomic>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <thread>

#include "common/testing.h"
#include "frame/services.h"

namespace {

using qor::test::AllocWatch;
using qor::test::MessageCapture;

TEST(Memory, BothPairsHonourEveryPowerOfTwoAlignment) {
  AllocWatch watch;
  for (int align = 1; align <= (1 << 16); align <<= 1) {
    for (std::int64_t size : {0, 1, 7, 64, 1000, 65537}) {
      void* a = qor_serv_allocate(size, align);
      void* m = qor_serv_malloc(size, align);
      ASSERT_NE(a, nullptr);
      ASSERT_NE(m, nullptr);
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(a) % static_cast<unsigned>(align), 0u) << size << " " << align;
      EXPECT_EQ(reinterpret_cast<std::uintptr_t>(m) % static_cast<unsigned>(align), 0u) << size << " " << align;
      if (size > 0) {
        std::memset(a, 0xab, static_cast<std::size_t>(size));
        std::memset(m, 0xcd, static_cast<std::size_t>(size));
      }
      qor_serv_deallocate(a);
      qor_serv_free(m);
    }
  }
  // An alignment that is not a power of two is rounded up to one.
  void* p = qor_serv_allocate(10, 96);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 128, 0u);
  qor_serv_deallocate(p);
}

TEST(Memory, BadRequestsFailWithNull) {
  AllocWatch watch;
  EXPECT_EQ(qor_serv_allocate(-1, 64), nullptr);
  EXPECT_EQ(qor_serv_malloc(INT64_MAX, 64), nullptr);
  EXPECT_EQ(qor_serv_calloc(INT64_MAX / 2, 4, 64), nullptr);
  EXPECT_EQ(watch.failures(), 3);
  qor_serv_deallocate(nullptr);
  qor_serv_free(nullptr);
}

TEST(Memory, CallocZeroesAndPairsWithFree) {
  AllocWatch watch;
  auto* p = static_cast<unsigned char*>(qor_serv_calloc(333, 3, 4096));
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 4096, 0u);
  for (int i = 0; i < 999; ++i) ASSERT_EQ(p[i], 0) << i;
  qor_serv_free(p);
}

TEST(MemoryDeathTest, PairsDoNotMix) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  void* a = qor_serv_allocate(16, 64);
  EXPECT_DEATH(qor_serv_free(a), "returned through qor_serv_malloc/qor_serv_free");
  qor_serv_deallocate(a);
  void* m = qor_serv_malloc(16, 64);
  EXPECT_DEATH(qor_serv_deallocate(m), "returned through qor_serv_allocate/qor_serv_deallocate");
  qor_serv_free(m);
}

TEST(Memory, FaultInjectionFailsTheNextRequests) {
  AllocWatch watch;
  qor_fault_fail_next(QOR_POOL_ALLOCATE, 2);
  EXPECT_EQ(qor_serv_allocate(8, 64), nullptr);
  void* m = qor_serv_malloc(8, 64);  // the other pool is not affected
  EXPECT_NE(m, nullptr);
  EXPECT_EQ(qor_serv_allocate(8, 64), nullptr);
  void* a = qor_serv_allocate(8, 64);
  EXPECT_NE(a, nullptr);
  qor_serv_deallocate(a);
  qor_serv_free(m);
  EXPECT_EQ(watch.failures(), 2);
}

TEST(Memory, FaultInjectionFailsEverythingAfterK) {
  AllocWatch watch;
  qor_fault_fail_after(QOR_POOL_BOTH, 3);
  void* ok[3] = {qor_serv_malloc(8, 8), qor_serv_allocate(8, 8), qor_serv_calloc(2, 8, 8)};
  for (void* p : ok) EXPECT_NE(p, nullptr);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(qor_serv_malloc(8, 8), nullptr);
    EXPECT_EQ(qor_serv_allocate(8, 8), nullptr);
  }
  qor_fault_reset();
  void* again = qor_serv_malloc(8, 8);
  EXPECT_NE(again, nullptr);
  qor_serv_free(ok[0]);
  qor_serv_deallocate(ok[1]);
  qor_serv_free(ok[2]);
  qor_serv_free(again);
}

TEST(Memory, CountersSeeEveryBlock) {
  qor_alloc_counts before, mid, after;
  qor_alloc_stats(QOR_POOL_MALLOC, &before);
  void* p = qor_serv_malloc(100, 64);
  qor_alloc_stats(QOR_POOL_MALLOC, &mid);
  qor_serv_free(p);
  qor_alloc_stats(QOR_POOL_MALLOC, &after);
  EXPECT_EQ(mid.allocations, before.allocations + 1);
  EXPECT_EQ(mid.live, before.live + 1);
  EXPECT_EQ(after.frees, before.frees + 1);
  EXPECT_EQ(after.live, before.live);
}

TEST(Checks, LsameMatchesEveryLetterWithoutRegardToCase) {
  for (int c = 0; c < 256; ++c) {
    for (int d = 0; d < 256; ++d) {
      char a = static_cast<char>(c), b = static_cast<char>(d);
      bool same = c == d || (std::isalpha(c) && std::isalpha(d) && (c | 0x20) == (d | 0x20) && c < 128 && d < 128);
      ASSERT_EQ(qor_serv_lsame(&a, &b, 1, 1) != 0, same) << c << " " << d;
    }
  }
}

TEST(Checks, CheckPtrAndWarnNamesTheRoutineOnce) {
  MessageCapture capture;
  int x = 0;
  EXPECT_EQ(qor_serv_check_ptr(&x, "DGEMM"), 0);
  EXPECT_NE(qor_serv_check_ptr(nullptr, "DGEMM"), 0);
  EXPECT_TRUE(capture.entries().empty());
  EXPECT_EQ(qor_serv_check_ptr_and_warn(&x, "DGEMM"), 0);
  EXPECT_NE(qor_serv_check_ptr_and_warn(nullptr, "DGEMM"), 0);
  ASSERT_EQ(capture.count(QOR_MSG_WARNING), 1);
  EXPECT_EQ(capture.entries()[0].routine, "DGEMM");
  EXPECT_NE(capture.entries()[0].text.find("DGEMM"), std::string::npos);
}

// Threads of a team warn together; the handler sees one message at a time,
// so a handler that is not safe for concurrent calls (as this plain
// counter is not) still counts every message.
TEST(Checks, HandlerGetsOneMessageAtATime) {
  struct Sink {
    std::atomic<int> inside{0};
    bool overlapped = false;
    long count = 0;
  } sink;
  qor_set_message_handler(
      [](int, const char*, const char*, void* user) {
        auto* k = static_cast<Sink*>(user);
        if (k->inside.fetch_add(1) != 0) k->overlapped = true;
        ++k->count;
        std::this_thread::yield();
        k->inside.fetch_sub(1);
      },
      &sink);
  constexpr int kEach = 2000;
  auto warn = [] {
    for (int i = 0; i < kEach; ++i) qor_serv_check_ptr_and_warn(nullptr, "DGEMM");
  };
  std::thread t1(warn), t2(warn);
  t1.join();
  t2.join();
  qor_set_message_handler(nullptr, nullptr);
  EXPECT_FALSE(sink.overlapped);
  EXPECT_EQ(sink.count, 2 * kEach);
}

TEST(Checks, XerblaReportsInTheLapackFormAndReturns) {
  MessageCapture capture;
  std::int64_t arg = 3;
  qor_serv_xerbla("DGETRS_SMALLXYZ", &arg, 6);  // the name is not terminated within its length
  ASSERT_EQ(capture.entries().size(), 1u);
  EXPECT_EQ(capture.entries()[0].text, " ** On entry to DGETRS parameter number  3 had an illegal value");
  EXPECT_EQ(capture.entries()[0].kind, QOR_MSG_ARGUMENT_ERROR);
}

TEST(Checks, XerblaWithoutHandlerWritesOneLineToStandardError) {
  std::int64_t arg = 12;
  testing::internal::CaptureStderr();
  qor_serv_xerbla("SLASD3", &arg, 6);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, " ** On entry to SLASD3 parameter number 12 had an illegal value\n");
}

TEST(Text, SprintfFamilyStaysInsideItsDestination) {
  char buf[8];
  std::memset(buf, 'x', sizeof buf);
  EXPECT_EQ(qor_serv_sprintf_s(buf, 8, "%s", "abcdefg"), 7);  // exactly fills
  EXPECT_STREQ(buf, "abcdefg");
  EXPECT_EQ(qor_serv_sprintf_s(buf, 8, "%d", 123456789), -1);  // truncated, terminated
  EXPECT_STREQ(buf, "1234567");
  EXPECT_EQ(qor_serv_sprintf_s(nullptr, 8, "x"), -1);

  char big[32];
  EXPECT_EQ(qor_serv_snprintf_s(big, 32, 4, "%s", "abcdef"), -1);  // count bounds it
  EXPECT_STREQ(big, "abcd");
  EXPECT_EQ(qor_serv_snprintf_s(big, 3, 10, "%s", "abcdef"), -1);  // size bounds it
  EXPECT_STREQ(big, "ab");
  EXPECT_EQ(qor_serv_snprintf_s(big, 32, 31, "%lld,%s", 42LL, "abcd"), 7);

  char chain[10];
  char* end = chain + sizeof chain;
  char* p = qor_serv_sprintf_char_s(chain, end, "%s", "abc");
  EXPECT_EQ(p, chain + 3);
  p = qor_serv_sprintf_char_s(p, end, "%d", 4567);
  EXPECT_EQ(p, chain + 7);
  p = qor_serv_sprintf_char_s(p, end, "%s", "xyz123");
  EXPECT_EQ(p, end - 1);
  EXPECT_STREQ(chain, "abc4567xy");
  EXPECT_EQ(qor_serv_sprintf_char_s(p, end, "more"), end - 1);
}

TEST(Text, CopyAndConcatenateAtTheirBounds) {
  char d[6];
  EXPECT_EQ(qor_serv_strncpy_s(d, 6, "hello", 5), 0);
  EXPECT_STREQ(d, "hello");
  EXPECT_EQ(qor_serv_strncpy_s(d, 6, "hello world", 3), 0);
  EXPECT_STREQ(d, "hel");
  EXPECT_NE(qor_serv_strncpy_s(d, 5, "hello", 5), 0);
  EXPECT_STREQ(d, "");
  EXPECT_EQ(qor_serv_strncpy_s(d, 6, "ab", 2), 0);
  EXPECT_EQ(qor_serv_strncat_s(d, 6, "cde", 3), 0);
  EXPECT_STREQ(d, "abcde");
  EXPECT_NE(qor_serv_strncat_s(d, 6, "f", 1), 0);
  EXPECT_EQ(qor_serv_strncpy_s(d, 6, "ab", 2), 0);
  EXPECT_EQ(qor_serv_strncat_s(d, 6, "cdefgh", 2), 0);
  EXPECT_STREQ(d, "abcd");

  char m[4] = {1, 2, 3, 4};
  const char src[5] = {9, 9, 9, 9, 9};
  EXPECT_NE(qor_serv_memcpy_unbounded_s(m, 4, src, 5), 0);
  EXPECT_EQ(m[0], 1);  // nothing copied on failure
  EXPECT_EQ(qor_serv_memcpy_unbounded_s(m, 4, src, 4), 0);
  EXPECT_EQ(m[3], 9);
  char over[6] = {1, 2, 3, 4, 5, 6};
  EXPECT_EQ(qor_serv_memmove_s(over + 1, 5, over, 5), 0);
  EXPECT_EQ(over[1], 1);
  EXPECT_EQ(over[5], 5);
  EXPECT_NE(qor_serv_memmove_s(over, 2, over + 1, 3), 0);
}

TEST(Text, FileOperations) {
  std::string path = testing::TempDir() + "qor_serv_file.txt";
  std::FILE* f = qor_serv_fopen(path.c_str(), "w");
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(qor_serv_fprintf_s(f, "%s-%d", "x", 5), 3);
  EXPECT_EQ(qor_serv_fclose(f), 0);
  EXPECT_EQ(qor_serv_fopen("/nonexistent/dir/file", "r"), nullptr);
  EXPECT_EQ(qor_serv_fprintf_s(nullptr, "x"), -1);
}

TEST(Messages, CatalogueCoversTheTransformDiagnostics) {
  for (int n = 396; n <= 409; ++n) EXPECT_EQ(std::string(qor_serv_get_msg(n, 0)).find("unknown"), std::string::npos) << n;
  for (int n = 527; n <= 565; ++n) EXPECT_EQ(std::string(qor_serv_get_msg(n, 0)).find("unknown"), std::string::npos) << n;
  EXPECT_NE(std::string(qor_serv_get_msg(1, 0)).find("unknown"), std::string::npos);
  std::string t = qor_serv_get_msg(545, 2, "-1.5", "1e-9");
  EXPECT_NE(t.find("-1.5"), std::string::npos);
  EXPECT_NE(t.find("1e-9"), std::string::npos);
  std::string missing = qor_serv_get_msg(545, 1, "7");  // fewer arguments than places
  EXPECT_NE(missing.find("7"), std::string::npos);
  char version[198];
  qor_serv_get_version_string_c(version, sizeof version);
  EXPECT_NE(std::string(version).find("3.0.0"), std::string::npos);
  char tiny[4];
  qor_serv_get_version_string_c(tiny, 4);
  EXPECT_EQ(std::strlen(tiny), 3u);
}

TEST(Diagnostics, VerboseWordAndCbwr) {
  int* v = qor_serv_verbose_mode();
  ASSERT_NE(v, nullptr);
  qor_set_verbose(1);
  EXPECT_EQ(*v, 1);
  qor_set_verbose(0);
  EXPECT_EQ(*v, 0);
  EXPECT_EQ(qor_serv_cbwr_get(1), 1);
  double t0 = qor_serv_dsecnd();
  double t1 = qor_serv_dsecnd();
  EXPECT_GE(t1, t0);
}

TEST(SmallMath, SincospiIsExactAtHalvesAndAccurateFarOut) {
  for (double k = -40; k <= 40; k += 1) {
    double s, c;
    qor_serv_libm_sincospi(k / 2, &s, &c);
    int q = ((static_cast<int>(k) % 4) + 4) % 4;
    const double ws[4] = {0, 1, 0, -1}, wc[4] = {1, 0, -1, 0};
    EXPECT_EQ(s, ws[q]) << k / 2;
    EXPECT_EQ(c, wc[q]) << k / 2;
    float sf, cf;
    qor_serv_libm_sincospif(static_cast<float>(k / 2), &sf, &cf);
    EXPECT_EQ(sf, static_cast<float>(ws[q]));
    EXPECT_EQ(cf, static_cast<float>(wc[q]));
  }
  // 1e15 + 1/4: the reduction must keep the fraction that a product with pi
  // would lose entirely.
  double x = 1e15 + 0.25;
  double s, c;
  qor_serv_libm_sincospi(x, &s, &c);
  EXPECT_NEAR(s, std::sqrt(0.5), 1e-15);
  EXPECT_NEAR(c, std::sqrt(0.5), 1e-15);
  qor_serv_libm_sincospi(1.0 / 6.0, &s, &c);
  EXPECT_NEAR(s, 0.5, 1e-16);
  qor_serv_libm_sincospi(2.0 / 3.0, &s, &c);
  EXPECT_NEAR(c, -0.5, 2e-16);
  qor_serv_libm_sincospi(INFINITY, &s, &c);
  EXPECT_TRUE(std::isnan(s) && std::isnan(c));
  EXPECT_DOUBLE_EQ(qor_serv_libm_sin(0.5), std::sin(0.5));
  EXPECT_DOUBLE_EQ(qor_serv_libm_cos(0.5), std::cos(0.5));
}

TEST(SmallMath, AbsSignAndCeilingConversions) {
  float c[2] = {3, -4};
  double z[2] = {-5, 12};
  EXPECT_EQ(qor_serv_c_abs(c), 5.0f);
  EXPECT_EQ(qor_serv_z_abs(z), 13.0);
  double a = 2, b = -0.0;
  EXPECT_EQ(qor_serv_d_sign(&a, &b), -2.0);
  float fa = -3, fb = 1;
  EXPECT_EQ(qor_serv_s_sign(&fa, &fb), 3.0f);
  for (std::int64_t n : {std::int64_t{0}, std::int64_t{1}, std::int64_t{16777217}, (std::int64_t{1} << 53) + 1,
                         INT64_MAX, std::int64_t{123456789012345}}) {
    double d = qor_serv_int2d_ceil(&n);
    float f = qor_serv_int2f_ceil(&n);
    EXPECT_GE(static_cast<long double>(d), static_cast<long double>(n)) << n;
    EXPECT_GE(static_cast<long double>(f), static_cast<long double>(n)) << n;
    EXPECT_LE(static_cast<long double>(std::nextafter(d, 0.0)), static_cast<long double>(n)) << n;
  }
  std::int64_t neg = -16777217;
  EXPECT_EQ(qor_serv_int2f_ceil(&neg), -16777216.0f);
}

TEST(Locks, ExcludeEachOtherAcrossTwoThreads) {
  int word = 0;
  long counter = 0;
  auto work = [&] {
    for (int i = 0; i < 200000; ++i) {
      qor_serv_lock(&word);
      long v = counter;
      counter = v + 1;
      qor_serv_unlock(&word);
    }
  };
  std::thread t1(work), t2(work);
  t1.join();
  t2.join();
  EXPECT_EQ(counter, 400000);
  EXPECT_EQ(word, 0);
}

}  // namespace
