// Loading the kernel member and steering its processor path.
#include <dlfcn.h>

#include <cstdlib>
#include <string>

#include "common/testing.h"
#include "frame/services.h"

namespace {

TEST(Member, IdentifiesItselfAsTheGenericMemberWithNothingInitialised) {
  // Straight from the file, before the core has bound anything of it.
  const char* path = std::getenv("QOR_DEF_LIBRARY");
  ASSERT_NE(path, nullptr);
  void* h = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(h, nullptr) << dlerror();
  auto version = reinterpret_cast<int (*)()>(dlsym(h, "dll_cpu_version"));
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(version(), 0);
  dlclose(h);
  EXPECT_EQ(qor_member_cpu_version(), 0);
}

TEST(Member, ReportsThePathItLoaded) {
  ASSERT_EQ(qor_member_load(), 0) << qor_member_error();
  EXPECT_EQ(std::string(qor_member_path()), std::getenv("QOR_DEF_LIBRARY"));
  EXPECT_STREQ(qor_member_error(), "");
  EXPECT_NE(std::string(qor_version_string()).find("3.0.0"), std::string::npos);
}

TEST(MemberDeathTest, NamesAMissingLibrary) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        setenv("QOR_DEF_LIBRARY", "/nonexistent/libqor_def.so.3", 1);
        std::_Exit(qor_member_load() == -1 &&
                           std::string(qor_member_error()).find("/nonexistent/libqor_def.so.3") != std::string::npos
                       ? 0
                       : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(Cpu, FactsAreConsistent) {
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  EXPECT_GT(std::string(f.vendor).size(), 0u);
  if (f.avx2) {
    EXPECT_TRUE(f.avx);
  }
  if (f.fma) {
    EXPECT_TRUE(f.avx);
  }
  EXPECT_EQ(f.barcelona + f.bulldozer + f.zen <= 1, true);
  EXPECT_GT(qor_serv_get_cache_size(1), 0);
  EXPECT_GT(qor_serv_get_cache_size(2), 0);
  EXPECT_GT(qor_serv_get_cache_size(0), 0);
  EXPECT_EQ(qor_serv_cpuisclx(), f.clx);
  EXPECT_EQ(qor_serv_cpuisicx(), f.icx);
}

TEST(Cpu, ForcedPathDecidesTheAnswersAndCountsHits) {
  for (int p : qor::test::runnable_paths()) {
    qor::test::PathGuard guard(p);
    EXPECT_EQ(qor_get_cpu_path(), p);
    std::int64_t before = qor_cpu_path_hits(p);
    EXPECT_EQ(qor_serv_cpuisitbarcelona() != 0, p == QOR_CPU_PATH_BARCELONA);
    EXPECT_EQ(qor_serv_cpuisbulldozer() != 0, p == QOR_CPU_PATH_BULLDOZER);
    EXPECT_EQ(qor_serv_cpuiszen() != 0, p == QOR_CPU_PATH_ZEN);
    if (p != QOR_CPU_PATH_BASELINE) {
      EXPECT_EQ(qor_cpu_path_hits(p), before + 1);
    }
  }
  EXPECT_EQ(qor_set_cpu_path(7), -2);
  EXPECT_EQ(qor_set_cpu_path(QOR_CPU_PATH_AUTO), 0);
  EXPECT_NE(qor_get_cpu_path(), QOR_CPU_PATH_AUTO);
}

TEST(Cpu, TierIsZeroUnlessATestSetsIt) {
  EXPECT_EQ(qor_serv_cpu_detect(), 0);
  qor_set_cpu_tier(4);
  EXPECT_EQ(qor_serv_cpu_detect(), 4);
  qor_set_cpu_tier(-1);
  EXPECT_EQ(qor_serv_cpu_detect(), 0);
}

}  // namespace
