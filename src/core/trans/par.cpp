// The threaded drivers of transposition and addition. The kernel library
// decides when to come here; each driver splits the output into disjoint
// shares, one per thread, and runs the kernel library's sequential routine
// on each. Inside a parallel region (a batch already spread over the
// threads) a driver runs on the calling thread alone.
#include <omp.h>

#include <atomic>
#include <cstdint>

#include "trans/kernels.h"
#include "trans/letters.h"
#include "trans/par.h"
#include "qor/trans.h"

namespace qor::core::trans {
namespace {

using ::qor::trans::Op;
using ::qor::trans::u64;

std::atomic<std::int64_t> g_parallel_calls{0};

int team_size() { return omp_in_parallel() ? 1 : omp_get_max_threads(); }

// Share `me` of `parts` of [0, total), in whole multiples of `align` where
// that leaves every thread some work.
void share(u64 total, int parts, int me, u64& lo, u64& hi) {
  const u64 p = static_cast<u64>(parts);
  u64 chunk = (total + p - 1) / p;
  if (total >= 8 * p) chunk = (chunk + 7) / 8 * 8;
  lo = chunk * static_cast<u64>(me);
  if (lo > total) lo = total;
  hi = total - lo < chunk ? total : lo + chunk;
}

template <class T>
void omatcopy2_par(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda, u64 sa, T* b, u64 ldb,
                   u64 sb) {
  g_parallel_calls.fetch_add(1, std::memory_order_relaxed);
  auto seq = Kernels<T>::omatcopy2_seq();
  Op op;
  bool row_major;
  const int nt = team_size();
  if (nt <= 1 || !::qor::trans::read_op(trans, op) || !::qor::trans::read_ordering(ordering, row_major)) {
    seq(ordering, trans, rows, cols, alpha, a, lda, sa, b, ldb, sb);
    return;
  }
  if (!row_major) {
    const u64 t = rows;
    rows = cols;
    cols = t;
  }
  // A transposition is split along the source columns, so that each thread
  // writes whole rows of b; a copy along the rows.
  const bool by_cols = ::qor::trans::transposing(op) ? cols >= 16 * static_cast<u64>(nt) || cols >= rows
                                                     : rows < 16 * static_cast<u64>(nt) && cols > rows;
#pragma omp parallel num_threads(nt)
  {
    u64 lo, hi;
    share(by_cols ? cols : rows, omp_get_num_threads(), omp_get_thread_num(), lo, hi);
    if (lo < hi) {
      const bool tr = ::qor::trans::transposing(op);
      if (by_cols) {
        seq('R', trans, rows, hi - lo, alpha, a + lo * sa, lda, sa, b + lo * (tr ? ldb : sb), ldb, sb);
      } else {
        seq('R', trans, hi - lo, cols, alpha, a + lo * lda, lda, sa, b + lo * (tr ? sb : ldb), ldb, sb);
      }
    }
  }
}

template <class T>
void omatadd_par(int ordering, int transa, int transb, u64 rows, u64 cols, T alpha, const T* a, u64 lda, T beta,
                 const T* b, u64 ldb, T* c, u64 ldc) {
  g_parallel_calls.fetch_add(1, std::memory_order_relaxed);
  auto seq = Kernels<T>::omatadd_seq();
  Op oa, ob;
  bool row_major;
  const int nt = team_size();
  if (nt <= 1 || !::qor::trans::read_ordering(ordering, row_major) || !::qor::trans::read_op(transa, oa) ||
      !::qor::trans::read_op(transb, ob)) {
    seq(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);
    return;
  }
  if (!row_major) {
    const u64 t = rows;
    rows = cols;
    cols = t;
  }
  // Each thread writes a band of rows of c; row i of op(x) starts at x + i
  // when x is transposed.
  const u64 step_a = ::qor::trans::transposing(oa) ? 1 : lda;
  const u64 step_b = ::qor::trans::transposing(ob) ? 1 : ldb;
#pragma omp parallel num_threads(nt)
  {
    u64 lo, hi;
    share(rows, omp_get_num_threads(), omp_get_thread_num(), lo, hi);
    if (lo < hi)
      seq('R', transa, transb, hi - lo, cols, alpha, a + lo * step_a, lda, beta, b + lo * step_b, ldb, c + lo * ldc,
          ldc);
  }
}

// Bytes of a square transposition per thread below which another thread
// costs more than it brings: measured with doubles on two cores, a second
// thread lost up to a third at n = 260-360 (0.5-1 MiB) and gained from n =
// 420 (1.35 MiB) on, twice the rate from n = 700.
constexpr u64 kSquareBytesPerThread = u64{640} << 10;

// Runs the square transposition on as many threads as have that much each,
// or returns 0 (the caller goes on alone) when that is fewer than two.
template <class T>
int imatcopy_square_t_par(u64 n, T* ab, u64 lda, qor_trans_team_fn<T> team) {
  const auto bytes = static_cast<unsigned __int128>(n) * n * sizeof(T);
  const auto fit = bytes / kSquareBytesPerThread;
  int nt = team_size();
  if (fit < static_cast<unsigned>(nt)) nt = static_cast<int>(fit);
  if (nt <= 1) return 0;
  g_parallel_calls.fetch_add(1, std::memory_order_relaxed);
  if (team == nullptr) team = Kernels<T>::square_t_team();
#pragma omp parallel num_threads(nt)
  team(n, ab, lda, omp_get_thread_num(), omp_get_num_threads());
  return 1;
}

// Runs one(k) for the matrices k = 0 .. total-1 of a batch: spread over the
// threads when there are at least as many matrices as threads, otherwise one
// after another, each free to use the threads itself.
template <class F>
void over_batch(u64 total, F&& one) {
  const int nt = team_size();
  if (nt <= 1 || total < static_cast<u64>(nt)) {
    for (u64 k = 0; k < total; ++k) one(k);
    return;
  }
  g_parallel_calls.fetch_add(1, std::memory_order_relaxed);
#pragma omp parallel num_threads(nt)
  {
    const u64 parts = static_cast<u64>(omp_get_num_threads()), me = static_cast<u64>(omp_get_thread_num());
    for (u64 k = me; k < total; k += parts) one(k);
  }
}

// The group of matrix k of a grouped batch, with k made relative to it.
inline u64 group_of(const u64* group_size, u64 group_count, u64& k) {
  u64 g = 0;
  while (g + 1 < group_count && k >= group_size[g]) k -= group_size[g++];
  return g;
}

template <class T>
void omatcopy_batch_par(int ordering, const char* trans, const u64* rows, const u64* cols, const T* alpha,
                        const T* const* a, const u64* lda, T* const* b, const u64* ldb, u64 group_count,
                        const u64* group_size) {
  if (!trans || !rows || !cols || !alpha || !a || !lda || !b || !ldb || !group_size) return;
  u64 total = 0;
  for (u64 g = 0; g < group_count; ++g) total += group_size[g];
  auto copy = Kernels<T>::omatcopy();
  over_batch(total, [&](u64 k) {
    u64 in_group = k;
    const u64 g = group_of(group_size, group_count, in_group);
    copy(ordering, static_cast<unsigned char>(trans[g]), rows[g], cols[g], alpha[g], a[k], lda[g], b[k], ldb[g]);
  });
}

template <class T>
void imatcopy_batch_par(int ordering, const char* trans, const u64* rows, const u64* cols, const T* alpha,
                        T* const* ab, const u64* lda, const u64* ldb, u64 group_count, const u64* group_size) {
  if (!trans || !rows || !cols || !alpha || !ab || !lda || !ldb || !group_size) return;
  u64 total = 0;
  for (u64 g = 0; g < group_count; ++g) total += group_size[g];
  auto inplace = Kernels<T>::imatcopy();
  over_batch(total, [&](u64 k) {
    u64 in_group = k;
    const u64 g = group_of(group_size, group_count, in_group);
    inplace(ordering, static_cast<unsigned char>(trans[g]), rows[g], cols[g], alpha[g], ab[k], lda[g], ldb[g]);
  });
}

template <class T>
void omatcopy_batch_strided_par(int ordering, int trans, u64 rows, u64 cols, T alpha, const T* a, u64 lda,
                                u64 stridea, T* b, u64 ldb, u64 strideb, u64 batch_size) {
  auto copy = Kernels<T>::omatcopy();
  over_batch(batch_size, [&](u64 k) {
    copy(ordering, trans, rows, cols, alpha, a + k * stridea, lda, b + k * strideb, ldb);
  });
}

template <class T>
void imatcopy_batch_strided_par(int ordering, int trans, u64 rows, u64 cols, T alpha, T* ab, u64 lda, u64 ldb,
                                u64 stride, u64 batch_size) {
  auto inplace = Kernels<T>::imatcopy();
  over_batch(batch_size, [&](u64 k) { inplace(ordering, trans, rows, cols, alpha, ab + k * stride, lda, ldb); });
}

template <class T>
void omatadd_batch_strided_par(int ordering, int transa, int transb, u64 rows, u64 cols, T alpha, const T* a, u64 lda,
                               u64 stridea, T beta, const T* b, u64 ldb, u64 strideb, T* c, u64 ldc, u64 stridec,
                               u64 batch_size) {
  auto add = Kernels<T>::omatadd();
  over_batch(batch_size, [&](u64 k) {
    add(ordering, transa, transb, rows, cols, alpha, a + k * stridea, lda, beta, b + k * strideb, ldb, c + k * stridec,
        ldc);
  });
}

}  // namespace
}  // namespace qor::core::trans

namespace ct = qor::core::trans;
using qor::trans::u64;

#define QOR_TRANS_DEFINE_PAR(t, T)                                                                                    \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatcopy2_par(int ordering, int trans, u64 rows, u64 cols, T alpha,      \
                                                          const T* a, u64 lda, u64 stridea, T* b, u64 ldb,            \
                                                          u64 strideb) {                                              \
    ct::omatcopy2_par(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb);                          \
  }                                                                                                                   \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatadd_par(int ordering, int transa, int transb, u64 rows, u64 cols,    \
                                                        T alpha, const T* a, u64 lda, T beta, const T* b, u64 ldb,    \
                                                        T* c, u64 ldc) {                                              \
    ct::omatadd_par(ordering, transa, transb, rows, cols, alpha, a, lda, beta, b, ldb, c, ldc);                       \
  }                                                                                                                   \
  QOR_TRANS_PAR_API int qor_trans_qor_##t##imatcopy_square_t_par(u64 n, T* ab, u64 lda, qor_trans_team_fn<T> team) { \
    return ct::imatcopy_square_t_par(n, ab, lda, team);                                                               \
  }                                                                                                                   \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatcopy_batch_par(                                                       \
      int ordering, const char* trans_array, const u64* rows_array, const u64* cols_array, const T* alpha_array,      \
      const T* const* a_array, const u64* lda_array, T* const* b_array, const u64* ldb_array, u64 group_count,        \
      const u64* group_size) {                                                                                        \
    ct::omatcopy_batch_par(ordering, trans_array, rows_array, cols_array, alpha_array, a_array, lda_array, b_array,   \
                           ldb_array, group_count, group_size);                                                       \
  }                                                                                                                   \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##imatcopy_batch_par(                                                       \
      int ordering, const char* trans_array, const u64* rows_array, const u64* cols_array, const T* alpha_array,      \
      T* const* ab_array, const u64* lda_array, const u64* ldb_array, u64 group_count, const u64* group_size) {        \
    ct::imatcopy_batch_par(ordering, trans_array, rows_array, cols_array, alpha_array, ab_array, lda_array,          \
                           ldb_array, group_count, group_size);                                                       \
  }                                                                                                                   \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatcopy_batch_strided_par(int ordering, int trans, u64 rows, u64 cols,  \
                                                                       T alpha, const T* a, u64 lda, u64 stridea,    \
                                                                       T* b, u64 ldb, u64 strideb, u64 batch_size) { \
    ct::omatcopy_batch_strided_par(ordering, trans, rows, cols, alpha, a, lda, stridea, b, ldb, strideb, batch_size); \
  }                                                                                                                   \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##imatcopy_batch_strided_par(int ordering, int trans, u64 rows, u64 cols,  \
                                                                       T alpha, T* ab, u64 lda, u64 ldb, u64 stride, \
                                                                       u64 batch_size) {                              \
    ct::imatcopy_batch_strided_par(ordering, trans, rows, cols, alpha, ab, lda, ldb, stride, batch_size);             \
  }                                                                                                                   \
  QOR_TRANS_PAR_API void qor_trans_qor_##t##omatadd_batch_strided_par(                                                \
      int ordering, int transa, int transb, u64 rows, u64 cols, T alpha, const T* a, u64 lda, u64 stridea, T beta,    \
      const T* b, u64 ldb, u64 strideb, T* c, u64 ldc, u64 stridec, u64 batch_size) {                                 \
    ct::omatadd_batch_strided_par(ordering, transa, transb, rows, cols, alpha, a, lda, stridea, beta, b, ldb,         \
                                  strideb, c, ldc, stridec, batch_size);                                              \
  }

QOR_FOR_EACH_TYPE(QOR_TRANS_DEFINE_PAR)

QOR_API int64_t qor_trans_parallel_calls(void) { return ct::g_parallel_calls.load(std::memory_order_relaxed); }
