// Loading the kernel member and steering its processor path.
#include <dlfcn.h>

#include <atomic>
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
  // The 512-bit class needs all of its parts, and the OS must save its state
  // for any of them to be reported.
  EXPECT_EQ(f.avx512 != 0, f.avx512f && f.avx512bw && f.avx512dq && f.avx512vl && f.fma);
  if (f.avx512bw || f.avx512dq || f.avx512vl) {
    EXPECT_TRUE(f.avx);
  }
  EXPECT_EQ(qor_cpu_path_supported(QOR_CPU_PATH_AVX512) != 0, f.avx512 && f.avx2);
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
    // The 512-bit class runs the Zen bodies of families without its own.
    EXPECT_EQ(qor_serv_cpuiszen() != 0, p == QOR_CPU_PATH_ZEN || p == QOR_CPU_PATH_AVX512);
    EXPECT_EQ(qor_serv_cpuisavx512() != 0, p == QOR_CPU_PATH_AVX512);
    if (p != QOR_CPU_PATH_BASELINE) {
      EXPECT_EQ(qor_cpu_path_hits(p), before + (p == QOR_CPU_PATH_AVX512 ? 2 : 1));
    }
  }
  EXPECT_STREQ(qor_cpu_path_name(QOR_CPU_PATH_AVX512), "avx512");
  EXPECT_EQ(qor_set_cpu_path(QOR_CPU_PATH_AVX512 + 1), -2);
  EXPECT_EQ(qor_set_cpu_path(7), -2);
  EXPECT_EQ(qor_set_cpu_path(QOR_CPU_PATH_AUTO), 0);
  EXPECT_NE(qor_get_cpu_path(), QOR_CPU_PATH_AUTO);
}

TEST(Cpu, TheAutomaticPathIsTheWidestClassTheMachineRuns) {
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  qor::test::PathGuard guard(QOR_CPU_PATH_AUTO);
  const int p = qor_get_cpu_path();
  if (f.barcelona) {
    EXPECT_EQ(p, QOR_CPU_PATH_BARCELONA);
  } else if (f.bulldozer && f.fma) {
    EXPECT_EQ(p, QOR_CPU_PATH_BULLDOZER);
  } else if (f.avx512) {
    EXPECT_EQ(p, QOR_CPU_PATH_AVX512);
  } else if (f.avx2 && f.fma) {
    EXPECT_EQ(p, QOR_CPU_PATH_ZEN);
  } else {
    EXPECT_EQ(p, QOR_CPU_PATH_BASELINE);
  }
}

// Kernels keep their answers until the generation moves: every change that
// may change an answer must move it, and nothing else may.
TEST(Cpu, GenerationMovesWithEveryChangeOfTheAnswers) {
  const std::atomic<std::uint32_t>* g = qor_serv_cpu_generation();
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(qor_serv_cpu_generation(), g);
  std::uint32_t at = g->load();
  EXPECT_NE(at, 0u);
  (void)qor_serv_cpuiszen();
  (void)qor_serv_cpu_detect();
  EXPECT_EQ(g->load(), at) << "asking must not move it";
  auto moved = [&] {
    std::uint32_t now = g->load();
    bool m = now != at;
    at = now;
    return m;
  };
  qor_set_cpu_path(QOR_CPU_PATH_BASELINE);
  EXPECT_TRUE(moved());
  qor_set_cpu_path(QOR_CPU_PATH_BASELINE);  // even to the same path
  EXPECT_TRUE(moved());
  qor_set_cpu_tier(2);
  EXPECT_TRUE(moved());
  qor_set_cpu_tier(-1);
  EXPECT_TRUE(moved());
  qor_set_cbwr(2);
  EXPECT_TRUE(moved());
  qor_set_cbwr(1);
  EXPECT_TRUE(moved());
  EXPECT_EQ(qor_set_cpu_path(99), -2);
  EXPECT_FALSE(moved()) << "a refused path changes nothing";
  qor_set_cpu_path(QOR_CPU_PATH_AUTO);
}

// Each cache size names the leaf it came from: the deterministic leaf, else
// the vendor's older leaf; a size nobody reported has no leaf.
TEST(Cpu, CacheSizesNameTheirSource) {
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  const bool amd = std::string(f.vendor) == "AuthenticAMD";
  const std::int64_t sizes[3] = {f.l1d_bytes, f.l2_bytes, f.l3_bytes};
  const unsigned leaves[3] = {f.l1d_leaf, f.l2_leaf, f.l3_leaf};
  for (int level = 0; level < 3; ++level) {
    SCOPED_TRACE("level " + std::to_string(level + 1));
    EXPECT_GE(sizes[level], 0);
    EXPECT_EQ(sizes[level] > 0, leaves[level] != 0);
    if (leaves[level] == 0) continue;
    if (amd) {
      const unsigned legacy = level == 0 ? 0x80000005u : 0x80000006u;
      EXPECT_TRUE(leaves[level] == 0x8000001du || leaves[level] == legacy) << std::hex << leaves[level];
    } else {
      EXPECT_TRUE(leaves[level] == 4u || leaves[level] == 2u) << leaves[level];
    }
    EXPECT_EQ(sizes[level] % 1024, 0) << "sizes are whole KiB";
  }
  if (f.l1d_bytes > 0 && f.l2_bytes > 0) {
    EXPECT_LT(f.l1d_bytes, f.l2_bytes);
  }
}

TEST(Cpu, TierIsZeroUnlessATestSetsIt) {
  EXPECT_EQ(qor_serv_cpu_detect(), 0);
  qor_set_cpu_tier(4);
  EXPECT_EQ(qor_serv_cpu_detect(), 4);
  qor_set_cpu_tier(-1);
  EXPECT_EQ(qor_serv_cpu_detect(), 0);
}

}  // namespace
