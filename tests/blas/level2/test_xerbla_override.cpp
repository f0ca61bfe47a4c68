// An application that defines its own xerbla_ and cblas_xerbla, as the
// reference BLAS test programs do, receives the argument errors instead of
// the library's reporting.
#include <cstdarg>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "qor/blas.h"
#include "qor/cblas.h"
#include "qor/qor.h"

namespace {
std::string last_routine;
long long last_arg = 0;
int calls = 0;
}  // namespace

extern "C" void xerbla_(const char* routine, const int* arg, size_t len) {
  last_routine.assign(routine, len);
  last_arg = *arg;
  ++calls;
}

extern "C" void xerbla_64_(const char* routine, const int64_t* arg, size_t len) {
  last_routine.assign(routine, len);
  last_arg = *arg;
  ++calls;
}

extern "C" void cblas_xerbla(int arg, const char* routine, const char*, ...) {
  last_routine = routine;
  last_arg = arg;
  ++calls;
}

TEST(XerblaOverride, ApplicationHandlersReceiveTheErrors) {
  const int64_t before = qor_message_count(QOR_MSG_ARGUMENT_ERROR);
  double a[16] = {}, x[4] = {}, y[4] = {};
  int n = 4, bad = -1, one = 1;
  double al = 1, be = 0;
  dgemv_("N", &n, &n, &al, a, &bad, x, &one, &be, y, &one, 1);
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(last_routine, "DGEMV");
  EXPECT_EQ(last_arg, 6);
  int64_t n64 = 4, zero64 = 0;
  dtrsv_64_("U", "N", "N", &n64, a, &n64, x, &zero64, 1, 1, 1);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(last_routine, "DTRSV");
  EXPECT_EQ(last_arg, 8);
  cblas_dsyr(CblasRowMajor, CblasUpper, 4, 1.0, x, 1, a, 2);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(last_routine, "cblas_dsyr");
  EXPECT_EQ(last_arg, 8);
  // The library's own reporting saw none of them.
  EXPECT_EQ(qor_message_count(QOR_MSG_ARGUMENT_ERROR), before);
}
