// Verbose mode: one line per public call, through the message path.
#include <omp.h>

#include <complex>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include <unistd.h>

#include "common/testing.h"
#include "qor/blas.h"
#include "qor/blas_level3_ext.h"
#include "qor/cblas.h"
#include "qor/cblas_level3_ext.h"
#include "qor/dft.h"
#include "qor/dft_primitive.h"
#include "qor/sparse.h"
#include "qor/trans.h"

namespace {

using qor::test::MessageCapture;

// Read before any test runs, so that it is the mode the program started in.
const int g_mode_at_start = qor_get_verbose();

struct Line {
  std::string name, args, path;
  int threads = -1;
  double ms = -1;
  std::string status;
};

// Parses one verbose line; false when it is not one whole line of the
// documented form.
bool parse(const std::string& text, Line* out) {
  static const std::regex form(
      R"(QOR_VERBOSE (\w+)\(([^()]*)\) path=(\w+) threads=(\d+) time=(\d+\.\d+)ms status=(ok|bad-argument|-?\d+))");
  std::smatch m;
  if (!std::regex_match(text, m, form)) return false;
  *out = {m[1], m[2], m[3], std::stoi(m[4]), std::stod(m[5]), m[6]};
  return true;
}

// Turns verbose mode on for a scope, with the lines captured.
class Verbose {
 public:
  Verbose() { qor_set_verbose(1); }
  ~Verbose() { qor_set_verbose(0); }
  std::vector<Line> lines() const {
    std::vector<Line> out;
    for (const auto& e : capture_.entries()) {
      if (e.kind != QOR_MSG_VERBOSE) continue;
      Line l;
      EXPECT_TRUE(parse(e.text, &l)) << "not a verbose line: " << e.text;
      EXPECT_EQ(e.routine, l.name) << "the handler is told the routine called";
      out.push_back(l);
    }
    return out;
  }
  const MessageCapture& capture() const { return capture_; }

 private:
  MessageCapture capture_;
};

// Runs `call` with verbose mode on and expects exactly one line, for
// `name`, with these arguments.
template <class F>
void expect_one_line(const char* name, const char* args, F&& call) {
  SCOPED_TRACE(name);
  Verbose v;
  call();
  const auto lines = v.lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].name, name);
  EXPECT_EQ(lines[0].args, args);
  EXPECT_EQ(lines[0].path, qor_cpu_path_name(qor_get_cpu_path()));
  EXPECT_EQ(lines[0].threads, qor_get_max_threads());
  EXPECT_GE(lines[0].ms, 0.0);
  EXPECT_EQ(lines[0].status, "ok");
}

TEST(Verbose, OffByDefaultAndSilentWhenOff) {
  if (std::getenv("QOR_VERBOSE") == nullptr) {
    EXPECT_EQ(g_mode_at_start, 0);
  }
  qor_set_verbose(0);
  MessageCapture capture;
  std::vector<double> x(16, 1.0), y(16, 2.0), c(16, 0.0);
  const int n = 8, one = 1, four = 4;
  const double a = 0.5, b = 0.0;
  daxpy_(&n, &a, x.data(), &one, y.data(), &one);
  cblas_ddot(n, x.data(), 1, y.data(), 1);
  dgemm_("N", "N", &four, &four, &four, &a, x.data(), &four, y.data(), &four, &b, c.data(), &four, 1, 1);
  EXPECT_EQ(capture.count(QOR_MSG_VERBOSE), 0);
  EXPECT_EQ(capture.entries().size(), 0u);
}

TEST(Verbose, VectorRoutinesNameTheFormCalled) {
  std::vector<double> x(20, 1.0), y(20, 2.0);
  std::vector<std::complex<double>> zx(10, {1.0, -1.0}), zy(10, {0.5, 2.0});
  const double a = 0.25;
  const int n = 5, inc2 = 2, one = 1;
  const std::int64_t n64 = 6, inc64 = 3, one64 = 1;
  expect_one_line("daxpy_", "n=5,incx=2,incy=1", [&] { daxpy_(&n, &a, x.data(), &inc2, y.data(), &one); });
  expect_one_line("daxpy_64_", "n=6,incx=3,incy=1", [&] { daxpy_64_(&n64, &a, x.data(), &inc64, y.data(), &one64); });
  expect_one_line("cblas_daxpy", "n=7,incx=1,incy=2", [&] { cblas_daxpy(7, a, x.data(), 1, y.data(), 2); });
  expect_one_line("cblas_ddot_64", "n=9,incx=2,incy=1", [&] { cblas_ddot_64(9, x.data(), 2, y.data(), 1); });
  expect_one_line("izamax_", "n=5,incx=2", [&] { izamax_(&n, zx.data(), &inc2); });
  expect_one_line("cblas_zdotc_sub", "n=4,incx=1,incy=2", [&] {
    std::complex<double> r;
    cblas_zdotc_sub(4, zx.data(), 1, zy.data(), 2, &r);
  });
}

TEST(Verbose, MatrixVectorRoutinesShowLettersAndLeadingDimensions) {
  std::vector<double> a(64, 0.5), x(16, 1.0), y(16, 0.0);
  std::vector<std::complex<double>> za(64, {0.5, 0.0}), zx(16, {1.0, 0.0}), zy(16);
  const double al = 1.0, be = 0.0;
  const std::complex<double> zal(1.0, 0.0), zbe(0.0, 0.0);
  const int m = 3, n = 4, lda = 5, one = 1;
  const std::int64_t n64 = 4, lda64 = 6, inc64 = 2;
  // Lower-case letters are shown as the routine reads them.
  expect_one_line("dgemv_", "T,m=3,n=4,lda=5,incx=1,incy=1",
                  [&] { dgemv_("t", &m, &n, &al, a.data(), &lda, x.data(), &one, &be, y.data(), &one, 1); });
  expect_one_line("dtrsv_64_", "U,N,U,n=4,lda=6,incx=2",
                  [&] { dtrsv_64_("U", "N", "U", &n64, a.data(), &lda64, x.data(), &inc64, 1, 1, 1); });
  expect_one_line("cblas_zhemv", "R,L,n=3,lda=4,incx=1,incy=1", [&] {
    cblas_zhemv(CblasRowMajor, CblasLower, 3, &zal, za.data(), 4, zx.data(), 1, &zbe, zy.data(), 1);
  });
  expect_one_line("cblas_dger_64", "C,m=3,n=2,incx=1,incy=1,lda=3",
                  [&] { cblas_dger_64(CblasColMajor, 3, 2, al, x.data(), 1, y.data(), 1, a.data(), 3); });
}

TEST(Verbose, MatrixProductsAndExtensions) {
  std::vector<double> a(400, 0.25), b(400, 0.5), c(400, 0.0);
  std::vector<std::complex<double>> za(400, {0.25, 0.0}), zb(400, {0.5, 0.0}), zc(400);
  const double al = 1.0, be = 0.0;
  const std::complex<double> zal(1.0, 0.0), zbe(0.0, 0.0);
  const int m = 3, n = 4, k = 5, ldm = 3, ldk = 5, ldn = 4;
  const std::int64_t m64 = 3, n64 = 4, k64 = 5, ldm64 = 3, ldk64 = 5;
  expect_one_line("dgemm_", "N,T,m=3,n=4,k=5,lda=3,ldb=4,ldc=3", [&] {
    dgemm_("N", "T", &m, &n, &k, &al, a.data(), &ldm, b.data(), &ldn, &be, c.data(), &ldm, 1, 1);
  });
  expect_one_line("dgemm_64_", "T,N,m=3,n=4,k=5,lda=5,ldb=5,ldc=3", [&] {
    dgemm_64_("T", "N", &m64, &n64, &k64, &al, a.data(), &ldk64, b.data(), &ldk64, &be, c.data(), &ldm64, 1, 1);
  });
  expect_one_line("cblas_dgemm", "R,N,N,m=3,n=4,k=5,lda=5,ldb=4,ldc=4", [&] {
    cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 3, 4, 5, al, a.data(), 5, b.data(), 4, be, c.data(), 4);
  });
  expect_one_line("cblas_zgemm_64", "C,C,N,m=3,n=4,k=5,lda=5,ldb=5,ldc=3", [&] {
    cblas_zgemm_64(CblasColMajor, CblasConjTrans, CblasNoTrans, 3, 4, 5, &zal, za.data(), 5, zb.data(), 5, &zbe,
                   zc.data(), 3);
  });
  expect_one_line("dtrsm_", "L,U,N,N,m=3,n=4,lda=3,ldb=3", [&] {
    dtrsm_("L", "U", "N", "N", &m, &n, &al, a.data(), &ldm, c.data(), &ldm, 1, 1, 1, 1);
  });
  expect_one_line("cblas_zherk", "C,U,N,n=4,k=5,lda=4,ldc=4", [&] {
    cblas_zherk(CblasColMajor, CblasUpper, CblasNoTrans, 4, 5, 1.0, za.data(), 4, 0.0, zc.data(), 4);
  });
  expect_one_line("dgemmt_", "L,N,T,n=4,k=5,lda=4,ldb=4,ldc=4", [&] {
    dgemmt_("L", "N", "T", &n, &k, &al, a.data(), &ldn, b.data(), &ldn, &be, c.data(), &ldn, 1, 1, 1);
  });
  expect_one_line("zgemm3m_", "N,N,m=3,n=4,k=5,lda=3,ldb=5,ldc=3", [&] {
    zgemm3m_("N", "N", &m, &n, &k, &zal, za.data(), &ldm, zb.data(), &ldk, &zbe, zc.data(), &ldm, 1, 1);
  });
  // A grouped batch shows its first group and the number of groups.
  expect_one_line("dgemm_batch_", "N,T,m=3,n=4,k=5,lda=3,ldb=4,ldc=3,group_count=1", [&] {
    const char ta = 'N', tb = 'T';
    const int one = 1;
    const double* ap = a.data();
    const double* bp = b.data();
    double* cp = c.data();
    dgemm_batch_(&ta, &tb, &m, &n, &k, &al, &ap, &ldm, &bp, &ldn, &be, &cp, &ldm, &one, &one, 1, 1);
  });
  expect_one_line("cblas_dgemm_batch_strided_64",
                  "C,N,N,m=3,n=4,k=5,lda=3,stridea=15,ldb=5,strideb=20,ldc=3,stridec=12,batch_size=2", [&] {
                    cblas_dgemm_batch_strided_64(CblasColMajor, CblasNoTrans, CblasNoTrans, 3, 4, 5, al, a.data(),
                                                 3, 15, b.data(), 5, 20, be, c.data(), 3, 12, 2);
                  });
}

TEST(Verbose, TranspositionAndTransformEntries) {
  std::vector<double> a(64, 1.0), b(64, 0.0);
  expect_one_line("qor_domatcopy", "C,T,rows=3,cols=5,lda=4,ldb=6",
                  [&] { qor_domatcopy('C', 'T', 3, 5, 2.0, a.data(), 4, b.data(), 6); });
  double* p = nullptr;
  expect_one_line("qor_dft_zupsMalloc_64f", "len=33", [&] { p = qor_dft_zupsMalloc_64f(33); });
  expect_one_line("qor_dft_zupsFree", "", [&] { qor_dft_zupsFree(p); });
}

TEST(Verbose, ForcedPathIsTheOneShown) {
  qor::test::PathGuard guard(QOR_CPU_PATH_BASELINE);
  std::vector<double> x(4, 1.0);
  Verbose v;
  cblas_dscal(4, 2.0, x.data(), 1);
  const auto lines = v.lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].path, "baseline");
}

TEST(Verbose, FailedArgumentChecksStillGiveOneLine) {
  std::vector<double> a(16), c(16);
  const int bad_m = -1, n = 2, ld = 2;
  const double al = 1.0, be = 0.0;
  const std::int64_t zero = 0, two = 2;
  Verbose v;
  dgemm_("N", "N", &bad_m, &n, &n, &al, a.data(), &ld, a.data(), &ld, &be, c.data(), &ld, 1, 1);
  daxpy_64_(&two, &al, a.data(), &zero, c.data(), &two);  // incx 0 is allowed: not an error
  cblas_dgemv(static_cast<CBLAS_LAYOUT>(7), CblasNoTrans, 2, 2, al, a.data(), 2, c.data(), 1, be, c.data(), 1);
  const auto& entries = v.capture().entries();
  ASSERT_EQ(entries.size(), 5u);
  // The argument error comes while the call runs, its line when it returns.
  EXPECT_EQ(entries[0].kind, QOR_MSG_ARGUMENT_ERROR);
  EXPECT_EQ(entries[3].kind, QOR_MSG_ARGUMENT_ERROR);
  const auto lines = v.lines();
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0].name, "dgemm_");
  EXPECT_EQ(lines[0].args, "N,N,m=-1,n=2,k=2,lda=2,ldb=2,ldc=2");
  EXPECT_EQ(lines[0].status, "bad-argument");
  EXPECT_EQ(lines[1].name, "daxpy_64_");
  EXPECT_EQ(lines[1].status, "ok");
  EXPECT_EQ(lines[2].name, "cblas_dgemv");
  EXPECT_EQ(lines[2].args, "?,N,m=2,n=2,lda=2,incx=1,incy=1");
  EXPECT_EQ(lines[2].status, "bad-argument");
}

// An interface that answers with a status shows a failed call's number;
// a successful one, and an integer result that is no status, show ok.
TEST(Verbose, FailedStatusesAreShownByNumber) {
  Verbose v;
  EXPECT_EQ(qor_dft_commit(nullptr), QOR_DFT_INVALID_DESCRIPTOR);
  EXPECT_EQ(qor_dft_copy(nullptr, nullptr), QOR_DFT_INVALID_DESCRIPTOR);
  qor_dft_handle h = nullptr;
  EXPECT_EQ(qor_dft_create_1d(&h, QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, 8), QOR_DFT_OK);
  EXPECT_EQ(qor_dft_free(&h), QOR_DFT_OK);
  EXPECT_EQ(qor_sparse_d_create_csr(nullptr, QOR_SPARSE_INDEX_ZERO, 2, 2, nullptr, nullptr, nullptr, nullptr),
            QOR_SPARSE_NULL_ARGUMENT);
  double x[3] = {1.0, -4.0, 2.0};
  EXPECT_EQ(cblas_idamax(3, x, 1), 1u);
  const auto lines = v.lines();
  ASSERT_EQ(lines.size(), 6u);
  const std::string expected[] = {std::to_string(QOR_DFT_INVALID_DESCRIPTOR), std::to_string(QOR_DFT_INVALID_DESCRIPTOR),
                                  "ok", "ok", std::to_string(QOR_SPARSE_NULL_ARGUMENT), "ok"};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(lines[i].status, expected[i]) << lines[i].name;
}

// A handler that makes a public call of its own on each verbose line: the
// nested call is covered by the line being delivered and adds none.
void calling_handler(int kind, const char* routine, const char* text, void* user) {
  auto* seen = static_cast<std::vector<std::string>*>(user);
  if (kind != QOR_MSG_VERBOSE) return;
  seen->push_back(std::string(routine) + "|" + text);
  double x[2] = {1.0, 2.0};
  cblas_dnrm2(2, x, 1);
}

TEST(Verbose, CallsInsideATracedCallAreNotTracedAgain) {
  std::vector<std::string> seen;
  qor_set_message_handler(&calling_handler, &seen);
  qor_set_verbose(1);
  double x[3] = {1.0, 2.0, 3.0};
  const std::int64_t n = 3, one = 1;
  cblas_dasum(3, x, 1);
  dasum_64_(&n, x, &one);
  qor_set_verbose(0);
  qor_set_message_handler(nullptr, nullptr);
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].rfind("cblas_dasum|QOR_VERBOSE cblas_dasum(n=3,incx=1)", 0), 0u) << seen[0];
  EXPECT_EQ(seen[1].rfind("dasum_64_|QOR_VERBOSE dasum_64_(n=3,incx=1)", 0), 0u) << seen[1];
}

TEST(Verbose, TwoOpenMpThreadsGiveWholeLines) {
  constexpr int kCalls = 200;
  std::vector<double> x(64, 1.0), y(64, 1.0);
  Verbose v;
#pragma omp parallel num_threads(2)
  {
    // Each thread has its own length, so every line tells whose it is.
    const int n = 10 + 7 * omp_get_thread_num(), one = 1;
    for (int i = 0; i < kCalls; ++i) {
      if (i % 2 == 0)
        cblas_ddot(n, x.data(), 1, y.data(), 1);
      else
        ddot_(&n, x.data(), &one, y.data(), &one);
    }
  }
  const auto lines = v.lines();
  ASSERT_EQ(lines.size(), 2u * kCalls);
  std::map<std::string, int> per_args;
  for (const Line& l : lines) {
    ++per_args[l.args];
    EXPECT_EQ(l.threads, 1) << "a call inside a parallel region runs on one thread";
  }
  const int threads = static_cast<int>(per_args.size());
  ASSERT_GE(threads, 1);
  for (const auto& [args, count] : per_args) {
    EXPECT_TRUE(args == "n=10,incx=1,incy=1" || args == "n=17,incx=1,incy=1") << args;
    EXPECT_EQ(count, 2 * kCalls / threads) << args;
  }
}

// Started with QOR_VERBOSE=1 and no handler: the line goes to standard
// error. Runs only as the child of the test below.
TEST(Verbose, ChildWithEnvironmentSwitch) {
  if (std::getenv("QOR_TEST_VERBOSE_CHILD") == nullptr) GTEST_SKIP() << "runs as a child only";
  const int n = 3, one = 1;
  double x[3] = {1, 2, 3};
  dnrm2_(&n, x, &one);
}

TEST(Verbose, EnvironmentSwitchSendsLinesToStandardError) {
  if (std::getenv("QOR_TEST_VERBOSE_CHILD") != nullptr) return;
  char self[4096];
  const ssize_t len = readlink("/proc/self/exe", self, sizeof self - 1);
  ASSERT_GT(len, 0);
  self[len] = '\0';
  const std::string cmd = std::string("QOR_VERBOSE=1 QOR_TEST_VERBOSE_CHILD=1 '") + self +
                          "' --gtest_filter=Verbose.ChildWithEnvironmentSwitch 2>&1 >/dev/null";
  std::FILE* pipe = popen(cmd.c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string err;
  char buf[512];
  while (std::fgets(buf, sizeof buf, pipe) != nullptr) err += buf;
  EXPECT_EQ(pclose(pipe), 0) << err;
  Line l;
  ASSERT_FALSE(err.empty());
  ASSERT_EQ(err.back(), '\n');
  err.pop_back();
  ASSERT_EQ(err.find('\n'), std::string::npos) << "one line expected:\n" << err;
  ASSERT_TRUE(parse(err, &l)) << err;
  EXPECT_EQ(l.name, "dnrm2_");
  EXPECT_EQ(l.args, "n=3,incx=1");
}

}  // namespace
