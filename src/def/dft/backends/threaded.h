// The core's threading layer as the transform code sees it: the entries it
// exports for the kernel library, and the two rules both sides must apply
// alike (how a batch is shared among a team, and where a transform of the
// batch starts).
#pragma once
#include <cstdint>

#include "dft/backends/signatures.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_DFT_THR_API extern "C" __attribute__((visibility("default")))
#else
#define QOR_DFT_THR_API extern "C"
#endif

QOR_DFT_THR_API qor::dfxi::bless_fn qor_dft_bless_node_thr;
QOR_DFT_THR_API qor::dfxi::commit_omp_fn qor_dft_commit_node_d_c2c_1d_omp;
QOR_DFT_THR_API qor::dfxi::commit_omp_fn qor_dft_commit_node_s_c2c_1d_omp;
QOR_DFT_THR_API qor::dfxi::threaded_mode_fn qor_dft_threaded_mode_definition_d_c2c_1d;
QOR_DFT_THR_API qor::dfxi::threaded_mode_fn qor_dft_threaded_mode_definition_s_c2c_1d;
QOR_DFT_THR_API qor::dfxi::par_fn qor_dft_compute_forward_z_par;
QOR_DFT_THR_API qor::dfxi::par_fn qor_dft_compute_backward_z_par;
QOR_DFT_THR_API qor::dfxi::par_fn qor_dft_compute_forward_c_par;
QOR_DFT_THR_API qor::dfxi::par_fn qor_dft_compute_backward_c_par;
QOR_DFT_THR_API qor::dfxi::par_out_fn qor_dft_compute_forward_z_out_par;
QOR_DFT_THR_API qor::dfxi::par_out_fn qor_dft_compute_backward_z_out_par;
QOR_DFT_THR_API qor::dfxi::par_out_fn qor_dft_compute_forward_c_out_par;
QOR_DFT_THR_API qor::dfxi::par_out_fn qor_dft_compute_backward_c_out_par;

namespace qor::dfxi {

// The longest one-dimensional transform the primitive layer is asked to
// plan, by precision; powers of two go further. Beyond it the default road
// gives the length up (to Bluestein, or with status 9).
inline constexpr std::int64_t kLimitDouble = std::int64_t{1} << 24;
inline constexpr std::int64_t kLimitSingle = std::int64_t{1} << 25;
inline constexpr std::int64_t kLimitDoublePow2 = std::int64_t{1} << 26;
inline constexpr std::int64_t kLimitSinglePow2 = std::int64_t{1} << 27;

inline bool is_pow2(std::int64_t n) { return n > 0 && (n & (n - 1)) == 0; }

inline std::int64_t primitive_limit(bool dbl, std::int64_t length) {
  if (is_pow2(length)) return dbl ? kLimitDoublePow2 : kLimitSinglePow2;
  return dbl ? kLimitDouble : kLimitSingle;
}

// Member i of a team of t takes p / t transforms, and one more while i is
// below p % t, starting after the shares of the members before it.
inline void batch_share(std::int64_t p, std::int64_t t, std::int64_t i, std::int64_t* first, std::int64_t* count) {
  const std::int64_t q = p / t, r = p % t;
  *first = i * q + (i < r ? i : r);
  *count = q + (i < r ? 1 : 0);
}

// The data of transform k of the batch, `distance` elements apart. Split
// storage gets a new pair in `local`, which the result then points to.
inline void* batch_member(const dfxi_node* node, const void* data, std::int64_t k, std::int64_t distance,
                          dfxi_split_pair* local) {
  const std::int64_t real_bytes = node->precision == kDouble ? 8 : 4;
  if (node->complex_storage == kStorageRealReal) {
    const auto* pair = static_cast<const dfxi_split_pair*>(data);
    local->re = static_cast<char*>(pair->re) + k * distance * real_bytes;
    local->im = static_cast<char*>(pair->im) + k * distance * real_bytes;
    return local;
  }
  return const_cast<char*>(static_cast<const char*>(data)) + k * distance * 2 * real_bytes;
}

}  // namespace qor::dfxi
