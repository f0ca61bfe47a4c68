// The processor path taken from QOR_CPU_PATH. The path is read once per
// process, so these cases run in their own processes, each started by CTest
// with one value of the variable (see CMakeLists.txt); run without it they
// skip.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "qor/qor.h"

namespace {

struct Seen {
  std::vector<std::string> warnings;
};

void collect(int kind, const char*, const char* text, void* user) {
  if (kind == QOR_MSG_WARNING) static_cast<Seen*>(user)->warnings.emplace_back(text);
}

// The automatic path, as qor_set_cpu_path(AUTO) chooses it.
int automatic_path() {
  int before = qor_get_cpu_path();
  qor_set_cpu_path(QOR_CPU_PATH_AUTO);
  int p = qor_get_cpu_path();
  qor_set_cpu_path(before);
  return p;
}

}  // namespace

TEST(CpuPathEnvironment, AnUnusableValueWarnsOnceAndTakesTheAutomaticPath) {
  const char* env = std::getenv("QOR_CPU_PATH");
  if (env == nullptr || std::string(env) != "no-such-path") GTEST_SKIP() << "run by CTest with QOR_CPU_PATH set";
  Seen seen;
  qor_set_message_handler(collect, &seen);
  int first = qor_get_cpu_path();  // the first question reads the variable
  int again = qor_get_cpu_path();
  qor_set_message_handler(nullptr, nullptr);
  ASSERT_EQ(seen.warnings.size(), 1u);
  EXPECT_NE(seen.warnings[0].find("QOR_CPU_PATH=no-such-path"), std::string::npos) << seen.warnings[0];
  EXPECT_NE(seen.warnings[0].find(qor_cpu_path_name(first)), std::string::npos) << seen.warnings[0];
  EXPECT_EQ(first, again);
  EXPECT_EQ(first, automatic_path());
}

TEST(CpuPathEnvironment, AValidValueIsTakenWithoutAWord) {
  const char* env = std::getenv("QOR_CPU_PATH");
  if (env == nullptr || std::string(env) != "BaseLine") GTEST_SKIP() << "run by CTest with QOR_CPU_PATH set";
  Seen seen;
  qor_set_message_handler(collect, &seen);
  int p = qor_get_cpu_path();
  qor_set_message_handler(nullptr, nullptr);
  EXPECT_TRUE(seen.warnings.empty());
  EXPECT_EQ(p, QOR_CPU_PATH_BASELINE);  // names are taken without regard to case
}

TEST(CpuPathEnvironment, TheWidestPathIsNamedAvx512) {
  const char* env = std::getenv("QOR_CPU_PATH");
  if (env == nullptr || std::string(env) != "avx512") GTEST_SKIP() << "run by CTest with QOR_CPU_PATH set";
  Seen seen;
  qor_set_message_handler(collect, &seen);
  int p = qor_get_cpu_path();
  qor_set_message_handler(nullptr, nullptr);
  if (qor_cpu_path_supported(QOR_CPU_PATH_AVX512)) {
    EXPECT_TRUE(seen.warnings.empty());
    EXPECT_EQ(p, QOR_CPU_PATH_AVX512);
  } else {
    // A machine without it is warned and keeps the automatic path.
    ASSERT_EQ(seen.warnings.size(), 1u);
    EXPECT_NE(seen.warnings[0].find("cannot execute"), std::string::npos) << seen.warnings[0];
    EXPECT_EQ(p, automatic_path());
  }
}

TEST(CacheSizes, KernelsAlwaysGetAUsableSize) {
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  // Reported sizes pass through unchanged; missing ones get a size no
  // smaller than a first-level cache of today's processors.
  for (int level = 1; level <= 2; ++level) {
    int64_t reported = level == 1 ? f.l1d_bytes : f.l2_bytes;
    if (reported > 0) EXPECT_EQ(qor_cache_bytes(level), reported);
    else EXPECT_GE(qor_cache_bytes(level), 16 << 10);
  }
  EXPECT_EQ(qor_cache_bytes(3), f.l3_bytes);
  // The last level is the third where there is one, else the second.
  EXPECT_EQ(qor_cache_bytes(0), f.l3_bytes > 0 ? f.l3_bytes : qor_cache_bytes(2));
}
