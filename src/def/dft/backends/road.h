// Pieces shared by the default road and the small backend: the primitive
// layer by precision, the node's plan and kernel slots by precision, the
// work-buffer rule, and the copies between strided data and the buffer.
// Nothing here is exported.
#pragma once
#include <complex>
#include <cstdint>

#include "dft/backends/api.h"
#include "dft/backends/threaded.h"
#include "dft/node/api.h"
#include "dft/primitive/api.h"

namespace qor::dfxi {

using i64 = std::int64_t;

// Work buffers below this size live in a stack area of the caller.
inline constexpr i64 kStackBuffer = 16384;
inline constexpr int kBufferAlign = 4096;

inline i64 round64(i64 bytes) { return (bytes + 63) & ~i64{63}; }
inline bool split_storage(const dfxi_node* node) { return node->complex_storage == kStorageRealReal; }
inline bool arena_node(const dfxi_node* node) { return node->mem != nullptr && node->mem->mode == kArenaCaller; }
inline bool strided(const dfxi_node* node) { return node->stride_in != 1 || node->stride_out != 1; }

// The primitive layer of one precision: interleaved and split plans.
template <class R> struct Prim;

#define QOR_DFXI_PRIM(R, E, C, S)                                                                               \
  template <> struct Prim<R> {                                                                                  \
    using elem = E;                                                                                             \
    static int init_alloc(qor_zups_dft_spec** s, int n, int flag) {                                             \
      return qor_dft_def_zupsDFXInitAlloc_C_##C(s, n, flag, 0);                                                 \
    }                                                                                                           \
    static int free(qor_zups_dft_spec* s) { return qor_dft_def_zupsDFTFree_C_##C(s); }                           \
    static int buf_size(const qor_zups_dft_spec* s, int* n) { return qor_dft_def_zupsDFTGetBufSize_C_##C(s, n); } \
    static int get_size(bool split, int n, int flag, int* a, int* b, int* c) {                                  \
      return split ? qor_dft_def_zupsDFTGetSize_C_##S(n, flag, 0, a, b, c)                                       \
                   : qor_dft_def_zupsDFTGetSize_C_##C(n, flag, 0, a, b, c);                                      \
    }                                                                                                           \
    static int split_init(int n, int flag, zups_u8* spec, zups_u8* init) {                                      \
      return qor_dft_def_zupsDFXInit_C_##S(n, flag, 0, spec, init);                                             \
    }                                                                                                           \
    static int split_buf_size(const qor_zups_dft_spec* s, int* n) {                                             \
      return qor_dft_def_zupsDFTGetBufSize_C_##S(s, n);                                                         \
    }                                                                                                           \
    static int run(bool inv, const void* in, void* out, const qor_zups_dft_spec* s, void* buf) {                \
      auto* b = static_cast<zups_u8*>(buf);                                                                     \
      return inv ? qor_dft_def_zupsDFXInv_CToC_##C(static_cast<const E*>(in), static_cast<E*>(out), s, b)       \
                 : qor_dft_def_zupsDFTFwd_CToC_##C(static_cast<const E*>(in), static_cast<E*>(out), s, b);      \
    }                                                                                                           \
    static int run_split(bool inv, const dfxi_split_pair* in, const dfxi_split_pair* out,                       \
                         const qor_zups_dft_spec* s, void* buf) {                                               \
      auto* b = static_cast<zups_u8*>(buf);                                                                     \
      const auto* ir = static_cast<const R*>(in->re);                                                           \
      const auto* ii = static_cast<const R*>(in->im);                                                           \
      auto* orr = static_cast<R*>(out->re);                                                                     \
      auto* oi = static_cast<R*>(out->im);                                                                      \
      return inv ? qor_dft_def_zupsDFXInv_CToC_##S(ir, ii, orr, oi, s, b)                                        \
                 : qor_dft_def_zupsDFTFwd_CToC_##S(ir, ii, orr, oi, s, b);                                       \
    }                                                                                                           \
  };
QOR_DFXI_PRIM(double, qor_zups_64fc, 64fc, 64f)
QOR_DFXI_PRIM(float, qor_zups_32fc, 32fc, 32f)
#undef QOR_DFXI_PRIM

// The node's interleaved plan and kernel slots of one precision.
template <class R> void*& spec_slot(dfxi_node* n) {
  if constexpr (sizeof(R) == 8) return n->spec_c64;
  else return n->spec_c32;
}
template <class R> dfxi_kernel_fn& kernel_slot(dfxi_node* n, bool inverse) {
  if constexpr (sizeof(R) == 8) return inverse ? n->kernel_bwd_d : n->kernel_fwd_d;
  else return inverse ? n->kernel_bwd_s : n->kernel_fwd_s;
}
// The committed scale of a direction, in the precision of the data.
template <class R> R committed_scale(const dfxi_node* n, bool inverse) {
  if constexpr (sizeof(R) == 8) return n->scale_committed[inverse ? 1 : 0];
  else return n->scale_committed_f[inverse ? 1 : 0];
}

// Whether a transform strided on both sides runs from one gathered copy
// into a second: the engine runs lengths other than powers of two faster
// out of place (its power-of-two stages go through its work buffer either
// way). Split storage goes through the engine's own interleaved copy.
inline bool second_area(const dfxi_node* node) {
  return node->stride_in != 1 && node->stride_out != 1 && !split_storage(node) && !is_pow2(node->length);
}

// Room at the head of a work buffer for one transform gathered from
// strided data: the whole vector, or each of the two split arrays; twice
// that with a second area.
template <class R> i64 gather_bytes(const dfxi_node* node) {
  const i64 one = 2 * round64(node->length * i64{sizeof(R)});
  return strided(node) ? (second_area(node) ? 2 * one : one) : 0;
}

// A work buffer: none for size 0, the caller's stack area below
// kStackBuffer, else memory from the node's allocator.
class WorkBuffer {
 public:
  WorkBuffer(i64 size, void* stack_area) {
    if (size <= 0) return;
    if (size < kStackBuffer) {
      p_ = stack_area;
    } else {
      p_ = dfxi_allocate(size, kBufferAlign, nullptr);
      owned_ = p_ != nullptr;
      failed_ = p_ == nullptr;
    }
  }
  ~WorkBuffer() {
    if (owned_) dfxi_deallocate(p_, nullptr);
  }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;
  bool failed() const { return failed_; }
  void* get() const { return p_; }

 private:
  void* p_ = nullptr;
  bool owned_ = false;
  bool failed_ = false;
};

// The stack area of a WorkBuffer.
struct alignas(kBufferAlign) StackArea {
  unsigned char bytes[kStackBuffer];
};

template <class T>
void gather(i64 n, i64 count, const T* src, i64 stride, i64 distance, T* dst, i64 ld) {
  for (i64 j = 0; j < count; ++j) {
    const T* s = src + j * distance;
    T* d = dst + j * ld;
    for (i64 i = 0; i < n; ++i) d[i] = s[i * stride];
  }
}

template <class T>
void scatter(i64 n, i64 count, const T* src, i64 ld, T* dst, i64 stride, i64 distance) {
  for (i64 j = 0; j < count; ++j) {
    const T* s = src + j * ld;
    T* d = dst + j * distance;
    for (i64 i = 0; i < n; ++i) d[i * stride] = s[i];
  }
}

// Kernel slots of the default road and the drivers over the batch.
template <class R, bool Split, bool Inverse>
std::uint32_t xzups(const void* in, void* out, dfxi_node* record, void* buffer);
template <class R, bool Inverse>
status drive(dfxi_node* node, const void* in, void* out, i64 count, void* buffer);

// Batches of transforms side by side (columns.cpp). plan_columns makes the
// chain of steps when the node's layout and length allow, keeps it in the
// node's work_data and gives the bytes its blocks need from the work
// buffer (0 without a chain); run_columns runs `count` transforms with it.
template <class R> status plan_columns(dfxi_node* record, i64* area);
template <class R, bool Inverse>
status run_columns(const dfxi_node* node, const void* in, void* out, i64 count, void* buffer);

}  // namespace qor::dfxi
