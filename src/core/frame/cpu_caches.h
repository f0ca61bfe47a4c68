// Decoding of the older CPUID cache leaves, kept apart from the CPUID calls
// so that tests can feed it the registers of processors they do not run on.
#pragma once
#include <cstdint>

namespace qor::core {

// The descriptor bytes of leaf 2 that name a data or unified cache: the
// level and the size in KiB, as Intel documents them. Descriptors of
// instruction caches, TLBs and prefetching are not listed.
struct Descriptor {
  unsigned char code, level;
  int kib;
};
inline constexpr Descriptor kDescriptors[] = {
    {0x0a, 1, 8},     {0x0c, 1, 16},    {0x0d, 1, 16},    {0x0e, 1, 24},    {0x2c, 1, 32},    {0x60, 1, 16},
    {0x66, 1, 8},     {0x67, 1, 16},    {0x68, 1, 32},    {0x1d, 2, 128},   {0x21, 2, 256},   {0x24, 2, 1024},
    {0x39, 2, 128},   {0x3a, 2, 192},   {0x3b, 2, 128},   {0x3c, 2, 256},   {0x3d, 2, 384},   {0x3e, 2, 512},
    {0x41, 2, 128},   {0x42, 2, 256},   {0x43, 2, 512},   {0x44, 2, 1024},  {0x45, 2, 2048},  {0x48, 2, 3072},
    {0x4e, 2, 6144},  {0x78, 2, 1024},  {0x79, 2, 128},   {0x7a, 2, 256},   {0x7b, 2, 512},   {0x7c, 2, 1024},
    {0x7d, 2, 2048},  {0x7f, 2, 512},   {0x80, 2, 512},   {0x82, 2, 256},   {0x83, 2, 512},   {0x84, 2, 1024},
    {0x85, 2, 2048},  {0x86, 2, 512},   {0x87, 2, 1024},  {0x22, 3, 512},   {0x23, 3, 1024},  {0x25, 3, 2048},
    {0x29, 3, 4096},  {0x46, 3, 4096},  {0x47, 3, 8192},  {0x4a, 3, 6144},  {0x4b, 3, 8192},
    {0x4c, 3, 12288}, {0x4d, 3, 16384}, {0xd0, 3, 512},   {0xd1, 3, 1024},  {0xd2, 3, 2048},  {0xd6, 3, 1024},
    {0xd7, 3, 2048},  {0xd8, 3, 4096},  {0xdc, 3, 1536},  {0xdd, 3, 3072},  {0xde, 3, 6144},  {0xe2, 3, 2048},
    {0xe3, 3, 4096},  {0xe4, 3, 8192},  {0xea, 3, 12288}, {0xeb, 3, 18432}, {0xec, 3, 24576},
};

// Sizes of levels 1 to 3 (index 0 to 2) from the descriptors of leaf 2. A
// register whose top bit is set holds no descriptors; the low byte of EAX
// is a count, not a descriptor.
inline void caches_from_descriptors(const unsigned r[4], std::int64_t out[3]) {
  for (int k = 0; k < 4; ++k) {
    if (r[k] >> 31) continue;
    for (int byte = k == 0 ? 1 : 0; byte < 4; ++byte) {
      unsigned code = (r[k] >> (8 * byte)) & 0xff;
      for (const Descriptor& d : kDescriptors)
        if (d.code == code && out[d.level - 1] == 0) out[d.level - 1] = std::int64_t{d.kib} << 10;
    }
  }
}

// Sizes from AMD's older leaves: the L1 data cache in KiB in ECX[31:24] of
// 0x80000005; the L2 in KiB in ECX[31:16] and the L3 in 512 KiB units in
// EDX[31:18] of 0x80000006. Zero fields report no cache.
inline void l1_from_amd_leaf5(unsigned ecx, std::int64_t out[3]) { out[0] = std::int64_t{ecx >> 24} << 10; }
inline void l2_l3_from_amd_leaf6(unsigned ecx, unsigned edx, std::int64_t out[3]) {
  out[1] = std::int64_t{ecx >> 16} << 10;
  out[2] = std::int64_t{edx >> 18} << 19;
}

}  // namespace qor::core
