// Plans of the transform engine: status values, kinds, and the memory
// layout of DFT and FFT specs. Shared by the plan builder, the entries and
// every instruction-set body of the engine.
#pragma once
#include <cstddef>
#include <cstdint>

namespace qor::dft {

using i64 = std::int64_t;

enum Status : int {
  kOk = 0,
  kBadSize = -6,
  kNullPtr = -8,
  kNoMemory = -9,
  kWrongSpec = -13,
  kBadOrder = -17,
  kBadFlag = -18,
};

// Spec ids. DFT: 16 interleaved double, 17 split double, 18 real double,
// 13, 14, 15 their single twins. FFT: 7 interleaved double and its kin.
enum SpecId : int {
  kFft32fc = 4,
  kFft32f = 5,
  kFftR32 = 6,
  kFft64fc = 7,
  kFft64f = 8,
  kFftR64 = 9,
  kDft32fc = 13,
  kDft32f = 14,
  kDftR32 = 15,
  kDft64fc = 16,
  kDft64f = 17,
  kDftR64 = 18,
};

// Length limits.
constexpr int kMaxFftOrder = 27;
constexpr int kMaxDftLength = 0x3ffffff;   // factor and direct paths
constexpr int kMaxConvLength = 0x1ffffff;  // Bluestein path (exclusive bound 0x2000000)
constexpr int kMaxDirect = 90;             // direct evaluation
constexpr int kMaxRecords = 20;

// Method of a DFT spec.
enum Method : int { kSmall = 1, kPow2 = 2, kPrimeFact = 3, kDirect = 4, kConv = 5 };

// Method of an FFT spec.
enum FftMethod : int { kFftSmall = 1, kFftRadix = 2, kFftLarge = 3 };

inline i64 round64(i64 n) { return (n + 63) & ~i64{63}; }
template <class T>
inline T* align64(T* p) {
  return reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(p) + 63) & ~std::uintptr_t{63});
}

// One factor record: 32 bytes.
struct Record {
  std::int32_t factor;  // radix of this step
  std::int32_t rest;    // length still to do after this factor
  i64 stride;           // product of the factors before
  void* twiddle;        // [(k-1)*rest + p] = exp(-2 pi i p k / (factor * rest)), or null when rest is 1
  void* direct;         // roots of unity of the factor, for factors without their own kernel
};
static_assert(sizeof(Record) == 32);

// The first `count` records of a long plan as a transform of length F on
// its own (n = F * M): they run on `width` of the M columns of the F x M
// view at a time, in cache, reading the input directly. Output row p then
// gets its twiddles w_n^(p k) = w_n^(p0 k) w_n^((p - p0) k), p0 the first
// column of the block: `lane` holds w_n^(l k) at [k * width + l], and
// w_n^(p0 k) is hi[e / M] * lo[e % M] with e = p0 k, which stays below n.
// No table grows with n beyond M entries, so a long transform reads little
// more than its data.
constexpr int kMaxHead = 12;
struct Head {
  Record rec[kMaxHead];
  int count;
  std::int32_t reserved;
  i64 F, M, width;
  const void* lane;  // F * width complex values
  const void* hi;    // F complex values: w_F^h
  const void* lo;    // M complex values: w_n^l
};

// The self-sorting step sequence shared by the mixed-radix engine and the
// power-of-two engine: records 0..count-1 run one after another; from
// record `group` on they run per block of `width` columns kept in cache.
// Records before `group` run as one pass over the whole array, or through
// `head` when the plan has one.
struct StepPlan {
  const Record* rec;
  int count;
  int group;
  i64 width;
  const Head* head;
};

// DFT spec: the fixed part is 832 bytes, the records included; the tables
// follow in the same block. The records come right after `last_index`, the
// engine's own fields after the records.
struct DftSpec {
  std::int32_t id;                // 0
  std::int32_t length;            // 4
  std::int32_t scale_forward_on;  // 8
  std::int32_t scale_inverse_on;  // 12
  double scale;                   // 16
  std::int32_t hint;              // 24
  std::int32_t buffer_size;       // 28
  std::int32_t is_pow2;           // 32
  std::int32_t conv_length;       // 36
  void* chirp;                    // 40: Bluestein chirp, conv_length entries
  void* filter;                   // 48: Bluestein filter, conv_length entries
  void* fft_spec;                 // 56: the FFT spec of a power of two, or the nested DFT of Bluestein
  void* direct_table;             // 64: roots of unity for direct evaluation
  std::int32_t prime_fact_on;     // 72
  std::int32_t last_index;        // 76
  Record rec[kMaxRecords];        // 80
  std::int32_t method;            // 720
  std::int32_t allocated;         // 724: made by InitAlloc
  void* self;                     // 728: the block to free
  std::int32_t group;             // 736: first record run per column block
  std::int32_t flag;              // 740
  i64 width;                      // 744: columns per block
  const Head* head;               // 752: the records before `group`, in column blocks
  std::int32_t split;             // 760: split-complex kind
  std::int32_t reserved[17];      // 764
};
static_assert(sizeof(DftSpec) == 832);
static_assert(offsetof(DftSpec, rec) == 80);

// Stages of the power-of-two engine over data in bit-reversed order: the
// first stage (radix[0], no twiddles) works on groups of radix[0]
// neighbours; stage i combines radix[i] transforms of length m[i] into one.
// Twiddles of stage i, w_L^(j r) with L = radix[i] * m[i], j < m[i],
// 0 < r < radix[i], are kept per group of four j: for each r, the four
// cosines, then the four sines; in single precision each value twice
// (c0 c0 c1 c1 ..., then s0 s0 ...), which loads straight into the
// interleaved vectors. The row plans of double precision keep the four in
// the lane order of split blocks, j + 0, 2, 1, 3 (split_lane): unpacking
// two interleaved vectors gives that order, and two unpacks turn it back
// into interleaved order.
constexpr int split_lane(int l) { return ((l & 1) << 1) | (l >> 1); }
template <class R> constexpr int tw_group() { return sizeof(R) == 8 ? 8 : 16; }
template <class R> constexpr int tw_cos(int l) { return sizeof(R) == 8 ? l : 2 * l; }
template <class R> constexpr int tw_sin(int l) { return sizeof(R) == 8 ? 4 + l : 8 + 2 * l; }
constexpr int kMaxStages = 10;

// Shape of the stage plan of order e (from 4 up): a first stage of radix
// 4, 8 or 16, then radix-4 stages, then radix-8 stages: one when what is
// left after the first stage is of odd order, otherwise none, except
// where a shape says so. Three kinds of plan:
// - kColsShape, the transforms across columns of the large engine: the
//   first stage of radix 4 or 8 by order;
// - kRowsShape, along the rows in interleaved vectors (single precision):
//   orders 7, 8 and 12 take a first stage that leaves whole pairs of
//   radix-4 stages for the kernels that run two at a time (8 for order 7,
//   16 for 8 and 12), and order 9 runs as three radix-8 stages, which
//   takes as many passes as 8, 4 x 4, 4 and a quarter fewer twiddle
//   products;
// - kSplitShape, along the rows in split blocks (double precision): a
//   radix-8 first stage only for odd orders, so that no radix-8 stage with
//   twiddles follows; eight split values fill the sixteen vector
//   registers, and such a stage spills to the stack and runs slower than
//   the extra radix-4 pass.
enum StageShape : int { kColsShape, kRowsShape, kSplitShape };
constexpr int first_order(int e, StageShape sh) {
  if (sh == kSplitShape) return (e & 1) != 0 ? 3 : 2;
  if (sh == kRowsShape && (e == 8 || e == 12)) return 4;
  if (sh == kRowsShape && e == 7) return 3;
  return (e == 4 || e == 5 || e == 7 || e == 8 || e == 10) ? 2 : 3;
}
constexpr int stage_eights(int e, StageShape sh) {
  if (sh == kRowsShape && e == 9) return 2;
  return (e - first_order(e, sh)) & 1;
}
constexpr int stage_fours(int e, StageShape sh) {
  const int rest = e - first_order(e, sh);
  return (rest - stage_eights(e, sh) * 3) / 2;
}
constexpr int stage_count(int e, StageShape sh) { return 1 + stage_fours(e, sh) + stage_eights(e, sh); }
constexpr int stage_radix(int e, int i, StageShape sh) {
  return i == 0 ? 1 << first_order(e, sh) : i <= stage_fours(e, sh) ? 4 : 8;
}
// Length of each transform that stage i combines (the product of the
// radices before it).
constexpr i64 stage_m(int e, int i, StageShape sh) {
  return i == 0 ? 1 : stage_m(e, i - 1, sh) * stage_radix(e, i - 1, sh);
}
// The row plans of a precision.
template <class R> constexpr StageShape row_shape() { return sizeof(R) == 8 ? kSplitShape : kRowsShape; }
// Elements per block of the in-cache row stages (32 KiB of data).
template <class R> constexpr i64 stage_block_elems() { return 32768 / (2 * i64{sizeof(R)}); }
struct Pow2Stages {
  std::int32_t order;
  std::int32_t count;
  std::int32_t radix[kMaxStages];
  std::int32_t block;  // stages [0, block) run per block of `block_len` elements
  std::int32_t reserved;
  i64 block_len;
  i64 m[kMaxStages];
  const void* tw[kMaxStages];
  const std::int32_t* first;  // bit-reversed offsets of the first stage's groups, or null
};

// One level of the large engine: the data of order `order` is 2^blk
// transforms of order order-blk, contiguous, then combined across in
// chunks of `cols` columns held in a buffer of 2^buf elements.
struct Pow2Level {
  std::int32_t order;
  std::int32_t blk;
  std::int32_t buf;
  std::int32_t reserved;
  i64 cols;
  const void* lane;  // w^(s q) for row t (s its bit reversal), q < cols
  Pow2Stages comb;   // the 2^blk-point transform across columns
};
constexpr int kMaxLevels = 4;
struct Pow2Large {
  std::int32_t levels;
  std::int32_t fine_order;  // the fine table holds w_N^i, i < 2^fine_order
  const double* coarse;     // w_(2^16)^i, i < 2^16
  const double* fine;
  const std::int32_t* mid_rev;  // bit reversal of the middle bits, for the 32 x 32 tiles
  Pow2Level level[kMaxLevels];
  Pow2Stages leaf;
};

// FftSpec: 144 bytes of fixed part; the stage plan and tables follow.
struct FftSpec {
  std::int32_t id;                // 0
  std::int32_t order;             // 4
  std::int32_t scale_forward_on;  // 8
  std::int32_t scale_inverse_on;  // 12
  double scale;                   // 16
  std::int32_t hint;              // 24
  std::int32_t buffer_size;       // 28
  std::int32_t method;            // 32
  std::int32_t allocated;         // 36
  void* self;                     // 40
  const Pow2Stages* stages;       // 48: orders 6 to 16
  const Pow2Large* large;         // 56: from order 17
  std::int32_t flag;              // 64
  std::int32_t split;             // 68
  std::int32_t reserved[18];      // 72
};
static_assert(sizeof(FftSpec) == 144);

inline StepPlan plan_of(const DftSpec* s) { return {s->rec, s->last_index + 1, s->group, s->width, s->head}; }

// Work buffer (in elements) that a step plan needs: the ping-pong copy of
// the whole array while records before `group` run, and two column blocks.
inline i64 plan_top_elems(const Record* rec, int count, int group) {
  (void)count;
  if (group <= 0) return 0;
  return i64{rec[0].factor} * rec[0].rest;
}
inline i64 plan_block_elems(const Record* rec, int count, int group, i64 width) {
  if (group >= count || count - group < 2) return 0;
  return width * rec[group].factor * rec[group].rest;
}

}  // namespace qor::dft
