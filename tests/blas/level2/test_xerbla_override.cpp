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
  // As the reference passes it: blank padded to six characters, length 6.
  EXPECT_EQ(last_routine, "DGEMV ");
  EXPECT_EQ(last_arg, 6);
  int64_t n64 = 4, zero64 = 0;
  dtrsv_64_("U", "N", "N", &n64, a, &n64, x, &zero64, 1, 1, 1);
  EXPECT_EQ(calls, 2);
  EXPECT_EQ(last_routine, "DTRSV ");
  EXPECT_EQ(last_arg, 8);
  cblas_dsyr(CblasRowMajor, CblasUpper, 4, 1.0, x, 1, a, 2);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(last_routine, "cblas_dsyr");
  EXPECT_EQ(last_arg, 8);
  // The library's own reporting saw none of them.
  EXPECT_EQ(qor_message_count(QOR_MSG_ARGUMENT_ERROR), before);
}

// XERBLA_ARRAY builds the name as the reference does: at most 32 characters,
// blank padded to 32, length 32; each width calls its own xerbla.
TEST(XerblaOverride, XerblaArrayPassesA32CharacterName) {
  const char chars[40] = {'Q', 'O', 'R', '_', 'R', 'O', 'U', 'T', 'I', 'N', 'E', 'X', 'Y', 'Z', 'W', 'V', 'U', 'T', 'S',
                          'R', 'Q', 'P', 'O', 'N', 'M', 'L', 'K', 'J', 'I', 'H', 'G', 'F', 'E', 'D', 'C', 'B', 'A'};
  const int before = calls;
  int len = 11, info = 4;
  xerbla_array_(chars, &len, &info, 1);
  EXPECT_EQ(calls, before + 1);
  EXPECT_EQ(last_routine, std::string("QOR_ROUTINE") + std::string(21, ' '));
  EXPECT_EQ(last_arg, 4);
  int64_t len64 = 40, info64 = 9;
  xerbla_array_64_(chars, &len64, &info64, 1);
  EXPECT_EQ(calls, before + 2);
  EXPECT_EQ(last_routine, std::string(chars, 32));
  EXPECT_EQ(last_arg, 9);
}

TEST(Lsame, ComparesOneLetterRegardlessOfCase) {
  EXPECT_EQ(lsame_("a", "A", 1, 1), 1);
  EXPECT_EQ(lsame_("N", "n", 1, 1), 1);
  EXPECT_EQ(lsame_("T", "T", 1, 1), 1);
  EXPECT_EQ(lsame_("a", "b", 1, 1), 0);
  EXPECT_EQ(lsame_("[", "{", 1, 1), 0);  // only letters change case
  EXPECT_EQ(lsame_64_("u", "U", 1, 1), 1);
  EXPECT_EQ(lsame_64_("L", "U", 1, 1), 0);
}
