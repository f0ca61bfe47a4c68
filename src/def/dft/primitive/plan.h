// Building DFT and FFT specs: one walk computes the three memory sizes and,
// given memory, fills the spec.
#pragma once
#include <cstdint>

#include "dft/primitive/layout.h"

namespace qor::dft {

// Sums of parts, each rounded up to 64 bytes. With a null base a part is
// only counted; otherwise it is carved from the base.
struct Region {
  std::uint8_t* base = nullptr;
  i64 used = 0;
  void* take(i64 bytes) {
    void* p = base != nullptr ? base + used : nullptr;
    used += round64(bytes);
    return p;
  }
};

struct Sizes {
  i64 spec = 0, init = 0, work = 0;
};

// Scale flag checks: 0 when valid.
int check_flag(int flag);

// The factor test: fills factors (the last one is the rest) and returns
// their count, or 0 when the length does not factor well.
int test_prime_fact(int length, bool real, int* factors);

// Bluestein padding length for a length L.
i64 conv_length(i64 length);

// Size walk (spec, init and work null) or build (spec and init given,
// 64-aligned). `split` marks the split-complex kind, which needs an extra
// interleaved copy in the work buffer.
template <class R>
int build_dft(int length, int flag, int hint, bool split, std::uint8_t* spec, std::uint8_t* init, Sizes* sizes);
template <class R>
int build_fft(int order, int flag, int hint, bool split, std::uint8_t* spec, std::uint8_t* init, Sizes* sizes);

// Spec ids of each kind.
template <class R> constexpr int dft_id(bool split) {
  return sizeof(R) == 8 ? (split ? kDft64f : kDft64fc) : (split ? kDft32f : kDft32fc);
}
template <class R> constexpr int fft_id(bool split) {
  return sizeof(R) == 8 ? (split ? kFft64f : kFft64fc) : (split ? kFft32f : kFft32fc);
}

}  // namespace qor::dft
