// The older CPUID cache leaves, decoded from registers as processors without
// the deterministic leaf (or virtual machines that leave it empty) report
// them: the descriptor bytes of leaf 2, and AMD's 0x80000005/0x80000006.
#include <gtest/gtest.h>

#include <cstdint>

#include "frame/cpu_caches.h"

namespace {

using qor::core::caches_from_descriptors;

constexpr std::int64_t KiB = 1024, MiB = 1024 * KiB;

// Four registers as leaf 2 gives them; the low byte of EAX is the count 1.
TEST(LegacyCacheLeaves, DescriptorBytesGiveEachLevel) {
  // L1 data 32 KiB (0x2c), L2 2 MiB (0x7d), L3 8 MiB (0x47), among TLB and
  // instruction-cache descriptors (0x30, 0xb0, 0x5a) that name no data cache.
  const unsigned regs[4] = {0x2c5a3001u, 0x0000b000u, 0x00007d00u, 0x47000000u};
  std::int64_t got[3] = {0, 0, 0};
  caches_from_descriptors(regs, got);
  EXPECT_EQ(got[0], 32 * KiB);
  EXPECT_EQ(got[1], 2 * MiB);
  EXPECT_EQ(got[2], 8 * MiB);
}

TEST(LegacyCacheLeaves, CountByteAndInvalidRegistersAreNotRead) {
  std::int64_t got[3] = {0, 0, 0};
  // 0x2c in the count byte of EAX is a count, not the 32 KiB L1.
  const unsigned count_only[4] = {0x0000002cu, 0, 0, 0};
  caches_from_descriptors(count_only, got);
  EXPECT_EQ(got[0], 0);
  // A register with its top bit set holds no descriptors.
  const unsigned invalid[4] = {0x00000001u, 0x80007d2cu, 0, 0x8047007du};
  caches_from_descriptors(invalid, got);
  EXPECT_EQ(got[0], 0);
  EXPECT_EQ(got[1], 0);
  EXPECT_EQ(got[2], 0);
}

TEST(LegacyCacheLeaves, FirstDescriptorOfALevelWinsAndKnownSizesStay) {
  // Two L2 descriptors: the first in register order stays.
  const unsigned regs[4] = {0x00000001u, 0x00000045u /* 2 MiB */, 0x00000043u /* 512 KiB */, 0};
  std::int64_t got[3] = {0, 0, 0};
  caches_from_descriptors(regs, got);
  EXPECT_EQ(got[1], 2 * MiB);
  // A size found earlier (from the deterministic leaf) is not replaced.
  std::int64_t known[3] = {48 * KiB, 0, 0};
  const unsigned l1[4] = {0x00002c01u, 0, 0, 0};
  caches_from_descriptors(l1, known);
  EXPECT_EQ(known[0], 48 * KiB);
}

TEST(LegacyCacheLeaves, AmdFieldsGiveKibAndHalfMibUnits) {
  std::int64_t got[3] = {0, 0, 0};
  // 32 KiB L1 data, 8-way, 64-byte lines: ECX = 0x20080140.
  qor::core::l1_from_amd_leaf5(0x20080140u, got);
  EXPECT_EQ(got[0], 32 * KiB);
  // 512 KiB L2 (ECX[31:16] = 0x200); 16 MiB L3 (EDX[31:18] = 32 units).
  qor::core::l2_l3_from_amd_leaf6(0x02006140u, (32u << 18) | 0x9140u, got);
  EXPECT_EQ(got[1], 512 * KiB);
  EXPECT_EQ(got[2], 16 * MiB);
  // No L3: the field is zero.
  qor::core::l2_l3_from_amd_leaf6(0x02006140u, 0x00000000u, got);
  EXPECT_EQ(got[2], 0);
}

}  // namespace
