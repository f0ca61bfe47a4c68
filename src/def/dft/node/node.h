// The transform descriptor: the node, its io-tensors, the arena that lets a
// node live in caller memory, and the values the node stores.
//
// Both libraries include this header: the kernel library builds and commits
// nodes, the core's front end creates them through the kernel library's
// entries and reaches them through the methods table. The layout is part of
// that contract, so every field keeps its place, width and order; the
// static_asserts at the end pin the places the front end relies on.
#pragma once
#include <cstddef>
#include <cstdint>

// ---- Status codes ---------------------------------------------------------
// Every node operation returns one of these as a 32-bit unsigned value.
namespace qor::dfxi {

using status = std::uint32_t;

inline constexpr status kOk = 0;
inline constexpr status kNoMemory = 1;
inline constexpr status kInconsistent = 3;    // configuration not valid or not consistent
inline constexpr status kBadFormat = 6;       // packed format not supported
inline constexpr status kInternal = 7;        // internal or unsupported path
inline constexpr status kLengthLimit = 9;     // one-dimensional length beyond the primitive layer

// ---- Configuration values -------------------------------------------------
// Stored as 32-bit integers; the front end uses the same values.
inline constexpr std::int32_t kCommitted = 30;
inline constexpr std::int32_t kUncommitted = 31;
inline constexpr std::int32_t kDomainComplex = 32;
inline constexpr std::int32_t kDomainReal = 33;
inline constexpr std::int32_t kSingle = 35;
inline constexpr std::int32_t kDouble = 36;
inline constexpr std::int32_t kStorageComplexComplex = 39;  // interleaved
inline constexpr std::int32_t kStorageComplexReal = 40;     // packed real result
inline constexpr std::int32_t kStorageRealReal = 42;        // split arrays, or plain real
inline constexpr std::int32_t kInPlace = 43;                // any other value: out of place
inline constexpr std::int32_t kOrdered = 48;
inline constexpr std::int32_t kWorkspaceAllow = 51;
inline constexpr std::int32_t kWorkspaceAvoid = 52;
inline constexpr std::int32_t kWorkspaceNone = 53;          // also the default of `transpose`
inline constexpr std::int32_t kFormatCcs = 54;
inline constexpr std::int32_t kFormatPack = 55;
inline constexpr std::int32_t kFormatPerm = 56;
inline constexpr std::int32_t kFormatConjugateEven = 57;    // default: unpacked

// Method selectors of getScale and setScale.
inline constexpr std::int32_t kScaleForward = 4;
inline constexpr std::int32_t kScaleBackward = 5;

// Bits of dfxi_node::flags.
inline constexpr std::int32_t kFlagCodelet = 1;         // direct call of the forward kernel slot
inline constexpr std::int32_t kFlagTwoDim = 2;          // two-dimensional form with a chained node
inline constexpr std::int32_t kFlag1dVia2d = 4;         // 1d-via-2d plan, one transform
inline constexpr std::int32_t kFlagNested = 8;          // row or column node of another plan
inline constexpr std::int32_t kFlagFwdStrides = 128;
inline constexpr std::int32_t kFlagBwdStrides = 256;
inline constexpr std::int32_t kFlagFwdDistance = 2048;
inline constexpr std::int32_t kFlagBwdDistance = 4096;

// Bit of dfxi_node::options: the input may be destroyed.
inline constexpr std::int32_t kOptionDestroyInput = 16;

// Arena mode: the node lives in caller memory, or only sizes are wanted.
inline constexpr std::int32_t kArenaCaller = 1;

// Alignments: node and io-tensor arrays, and the lasting arena pieces.
inline constexpr int kNodeAlign = 64;
inline constexpr int kArenaAlign = 4096;

}  // namespace qor::dfxi

// ---- Io-tensors -------------------------------------------------------------
// One dimension (or one batch level): extent and the four strides, in
// elements. The forward and backward strides are 0 while not set.
struct IotensorEntry {
  std::int64_t n;
  std::int64_t is;
  std::int64_t os;
  std::int64_t fs;
  std::int64_t bs;
};

// A count and a 64-byte aligned array of that many entries.
struct Iotensor {
  std::int32_t count;
  IotensorEntry* dims;
};

// ---- Arena ----------------------------------------------------------------
// A cell hands out caller memory by bumping its cursor; the active word says
// whether the memory behind the cursor exists (0: sizes are only counted).
struct dfxi_cell {
  std::uintptr_t cursor;
  std::uintptr_t active;
};

struct dfxi_arena {
  dfxi_cell* cells[3];
  std::int32_t mode;
};

// ---- Memory methods -------------------------------------------------------
// The five process-wide allocation slots. The cell is the arena cell to take
// from; the heap family ignores it.
using dfxi_malloc_fn = void* (*)(std::int64_t size, int align, dfxi_cell* cell);
using dfxi_calloc_fn = void* (*)(std::int64_t count, std::int64_t size, int align, dfxi_cell* cell);
using dfxi_allocate_fn = void* (*)(std::int64_t size, int align, dfxi_cell* cell);
using dfxi_free_fn = void (*)(void* p, dfxi_cell* cell);
using dfxi_deallocate_fn = void (*)(void* p, dfxi_cell* cell);

// ---- The node -------------------------------------------------------------
struct dfxi_node;
struct dfxi_methods;
struct dfxi_backend;
struct dfxi_threading;

using dfxi_compute_fn = std::uint32_t (*)(dfxi_node* node, void* in, void* out, void* in2, void* out2);
using dfxi_node_fn = std::uint32_t (*)(dfxi_node* node);
// Kernel slots: (in, out, record, buffer).
using dfxi_kernel_fn = std::uint32_t (*)(const void* in, void* out, dfxi_node* record, void* buffer);
// Two-dimensional drivers and the threaded one-dimensional entries take
// forms of their own; the slots only hold them.
using dfxi_any_fn = void (*)(void);
using dfxi_free_data_fn = void (*)(dfxi_node* node, int unused);

struct dfxi_node {
  dfxi_compute_fn compute_forward;
  dfxi_compute_fn compute_backward;
  const dfxi_backend* bkd;
  void* bkd_data;
  dfxi_arena* mem;
  const dfxi_backend* const* bkdown_list;
  std::int32_t nbuffers;
  std::int32_t flags;
  char tag[4];  // "DFT" and a zero byte
  std::int32_t commit_status;
  Iotensor tensor;
  Iotensor batch;
  std::int32_t rank;
  std::int32_t rank_committed;
  Iotensor tensor_committed;
  Iotensor batch_committed;
  dfxi_node_fn uncommit;
  dfxi_node_fn destroy;
  const dfxi_methods* methods;
  dfxi_threading* qorapi;
  char name[10];
  std::int32_t forward_domain;
  std::int32_t precision;
  std::int64_t ntransforms;
  std::int32_t complex_storage;
  std::int32_t real_storage;
  std::int32_t conjugate_even_storage;
  std::int32_t placement;
  std::int32_t packed_format;
  std::int64_t stride_in;
  std::int64_t stride_out;
  std::int32_t workspace;
  std::int32_t ordering;
  std::int32_t transpose;
  std::int64_t dim_index;
  std::int64_t length;
  void* twiddle_data;
  void* work_data;
  double scale_committed[2];
  float scale_committed_f[2];
  double scale_forward;
  double scale_backward;
  std::int64_t length_log2;
  std::int64_t offset_in;
  std::int64_t offset_out;
  std::int64_t distance_in;
  std::int64_t distance_out;
  std::int32_t use_default_codelet;
  dfxi_node* next_dim;
  // Kernel slots, per precision and direction; the two-dimensional driver
  // of each precision; the two threaded one-dimensional entries.
  dfxi_kernel_fn kernel_fwd_d;
  dfxi_kernel_fn kernel_bwd_d;
  dfxi_kernel_fn kernel_fwd_s;
  dfxi_kernel_fn kernel_bwd_s;
  dfxi_any_fn kernel_2d_d;
  dfxi_any_fn kernel_2d_s;
  dfxi_any_fn kernel_thr_1d_fwd;
  dfxi_any_fn kernel_thr_1d_bwd;
  std::int32_t prim_flags;
  void* spec_c32;
  void* spec_c64;
  void* spec_r32_ccs;
  void* spec_r64_ccs;
  void* spec_r32;
  void* spec_r64;
  std::int64_t buffer_size;
  std::int64_t buffer_size_max;
  std::int32_t planned_threads;
  std::int32_t threads;
  std::int32_t thread_limit;
  std::int32_t options;
  std::int32_t packed_real_1d;
  // Words of the front end, copied with the node and otherwise left to it;
  // creation stores 2 in the first.
  std::int32_t front_end[7];
  void* data_1d_via_2d;
  dfxi_free_data_fn free_data_1d_via_2d;
  std::int64_t cpu_mode;
  std::int64_t fwd_offset;
  std::int64_t bwd_offset;
};

// ---- Methods table ----------------------------------------------------------
// The only way the front end changes a node. Stride arrays hold the offset
// in entry 0 and the stride of dimension i in entry i+1; every method
// returns a status.
struct dfxi_methods {
  std::uint32_t (*commit)(dfxi_node* node);
  std::uint32_t (*commit_prepared)(dfxi_node* node);
  std::uint32_t (*getInputStrides)(const dfxi_node* node, std::int64_t* strides);
  std::uint32_t (*getOutputStrides)(const dfxi_node* node, std::int64_t* strides);
  std::uint32_t (*setInputStrides)(dfxi_node* node, const std::int64_t* strides);
  std::uint32_t (*setOutputStrides)(dfxi_node* node, const std::int64_t* strides);
  std::uint32_t (*getLengths)(const dfxi_node* node, std::int64_t* lengths);
  std::uint32_t (*getDescriptorName)(const dfxi_node* node, char* name, std::int64_t size);
  std::uint32_t (*setDescriptorName)(dfxi_node* node, const char* name, std::int64_t size, int fill);
  std::uint32_t (*getScale)(const dfxi_node* node, std::int32_t which, double* value);
  std::uint32_t (*setScale)(dfxi_node* node, std::int32_t which, double value);
  std::uint32_t (*copy_node)(const dfxi_node* node, dfxi_node** out);
  std::uint32_t (*getInputDistance)(const dfxi_node* node, std::int64_t* value);
  std::uint32_t (*getOutputDistance)(const dfxi_node* node, std::int64_t* value);
  std::uint32_t (*getNumberOfTransforms)(const dfxi_node* node, std::int64_t* value);
  std::uint32_t (*setInputDistance)(dfxi_node* node, std::int64_t value);
  std::uint32_t (*setOutputDistance)(dfxi_node* node, std::int64_t value);
  std::uint32_t (*setNumberOfTransforms)(dfxi_node* node, std::int64_t value);
  std::uint32_t (*getThreadLimit)(const dfxi_node* node, std::int32_t* value);
  std::uint32_t (*setThreadLimit)(dfxi_node* node, std::int32_t value);
  std::uint32_t (*getRank)(const dfxi_node* node, std::int64_t* value);
  std::uint32_t (*setFwdDistance)(dfxi_node* node, std::int64_t value);
  std::uint32_t (*setBwdDistance)(dfxi_node* node, std::int64_t value);
  std::uint32_t (*destroy)(dfxi_node* node);
  std::uint32_t (*setWorkspace)(dfxi_node* node, std::int32_t value);
  std::uint32_t (*getFwdDistance)(const dfxi_node* node, std::int64_t* value);
  std::uint32_t (*getBwdDistance)(const dfxi_node* node, std::int64_t* value);
  std::uint32_t (*getFwdStrides)(const dfxi_node* node, std::int64_t* strides);
  std::uint32_t (*getBwdStrides)(const dfxi_node* node, std::int64_t* strides);
  std::uint32_t (*setFwdStrides)(dfxi_node* node, const std::int64_t* strides);
  std::uint32_t (*setBwdStrides)(dfxi_node* node, const std::int64_t* strides);
};

// ---- Threading table --------------------------------------------------------
// Fourteen process-wide slots, filled by the core's threading layer when it
// blesses a node; the kernel library fills only the cache query. Team runs
// take (thread_limit, threads, task, context); a task gets (thread index,
// thread count, context).
using dfxi_task_fn = void (*)(int index, int count, void* context);
using dfxi_team_fn = std::uint32_t (*)(int thread_limit, int threads, dfxi_task_fn task, void* context);

struct dfxi_threading {
  std::int64_t (*mode)(void);             // 0: mode word read at plan time
  void (*barrier)(void);                  // 1
  int (*max_threads)(void);               // 2
  int (*team_threads)(void);              // 3: threads of the running team
  dfxi_any_fn slot4;                      // 4
  std::int64_t (*cache_size)(int level);  // 5
  dfxi_team_fn run_team;                  // 6
  dfxi_team_fn run_team_real_a;           // 7
  dfxi_team_fn run_team_real_b;           // 8
  dfxi_team_fn run_team_md;               // 9
  dfxi_any_fn slot10;                     // 10
  dfxi_any_fn slot11;                     // 11
  int (*in_parallel)(void);               // 12
  dfxi_any_fn slot13;                     // 13
};

static_assert(sizeof(IotensorEntry) == 40);
static_assert(sizeof(Iotensor) == 16);
static_assert(sizeof(dfxi_cell) == 16);
static_assert(sizeof(dfxi_arena) <= 32);
static_assert(sizeof(dfxi_methods) == 31 * sizeof(void*));
static_assert(sizeof(dfxi_threading) == 14 * sizeof(void*));
static_assert(offsetof(dfxi_node, nbuffers) == 48);
static_assert(offsetof(dfxi_node, tag) == 56);
static_assert(offsetof(dfxi_node, tensor) == 64);
