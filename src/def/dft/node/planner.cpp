// The planner: checks the committed geometry, settles the thread plan and
// offers the node to its backends in list order.
#include <cmath>
#include <utility>

#include "dft/node/api.h"
#include "dft/node/internal.h"
#include "qor/dft_primitive.h"

namespace qor::dfxi {
namespace {

// Longest one-dimensional transform the primitive layer plans, by
// precision; powers of two go further.
constexpr std::int64_t kLimitDouble = std::int64_t{1} << 24;
constexpr std::int64_t kLimitSingle = std::int64_t{1} << 25;
constexpr std::int64_t kLimitDoublePow2 = std::int64_t{1} << 26;
constexpr std::int64_t kLimitSinglePow2 = std::int64_t{1} << 27;

// Forward and backward strides come as a pair, or the input and output
// strides stand alone; `full` also asks for the output stride. Levels of
// extent 1 are never walked, so their strides do not matter.
bool strides_paired(const Iotensor& t, bool full) {
  for (std::int32_t i = 0; i < t.count; ++i) {
    const IotensorEntry& e = t.dims[i];
    if (e.n == 1) continue;
    if (e.fs == 0) {
      if (e.bs != 0 || e.is == 0 || (full && e.os == 0)) return false;
    } else if (e.bs == 0) {
      return false;
    }
  }
  return true;
}

bool twice(std::int64_t a, std::int64_t b) {
  std::int64_t b2;
  return !__builtin_mul_overflow(b, 2, &b2) && a == b2;
}

// Whether, for dimensions from the second on and for every batch level,
// word `a` is twice word `b`.
template <class Get> bool halved_from_second(const dfxi_node* node, Get get) {
  const Iotensor& t = node->tensor_committed;
  for (std::int32_t i = 1; i < t.count; ++i)
    if (!twice(get(t.dims[i]).first, get(t.dims[i]).second)) return false;
  const Iotensor& b = node->batch_committed;
  for (std::int32_t i = 0; i < b.count; ++i)
    if (!twice(get(b.dims[i]).first, get(b.dims[i]).second)) return false;
  return true;
}

// A real in-place transform with unit first strides: the complex side has
// half the spacing of the real side, in the forward/backward words or the
// input/output words, either way round.
bool real_inplace_consistent(const dfxi_node* node) {
  if (node->placement != kInPlace || node->forward_domain != kDomainReal ||
      node->conjugate_even_storage != kStorageComplexComplex || node->tensor_committed.count < 1)
    return true;
  const IotensorEntry& d0 = node->tensor_committed.dims[0];
  if (!((d0.is == 1 && d0.os == 1) || (d0.fs == 1 && d0.bs == 1))) return true;
  using Pair = std::pair<std::int64_t, std::int64_t>;
  if (twice(node->fwd_offset, node->bwd_offset) &&
      halved_from_second(node, [](const IotensorEntry& e) { return Pair{e.fs, e.bs}; }))
    return true;
  if (twice(node->offset_in, node->offset_out) &&
      halved_from_second(node, [](const IotensorEntry& e) { return Pair{e.is, e.os}; }))
    return true;
  return twice(node->offset_out, node->offset_in) &&
         halved_from_second(node, [](const IotensorEntry& e) { return Pair{e.os, e.is}; });
}

// Every backend declined: a strided one-dimensional transform too long for
// the primitive layer says so; anything else is an inconsistent setting.
status all_declined(const dfxi_node* node) {
  if (node->rank != 1 || node->tensor.count < 1) return kInconsistent;
  const IotensorEntry& d0 = node->tensor.dims[0];
  if (d0.is == 1 || d0.os == 1) return kInconsistent;
  if (node->forward_domain != kDomainComplex && node->forward_domain != kDomainReal) return kInconsistent;
  const std::int64_t L = d0.n;
  const bool pow2 = L > 0 && (L & (L - 1)) == 0;
  const bool dbl = node->precision == kDouble;
  const std::int64_t limit = pow2 ? (dbl ? kLimitDoublePow2 : kLimitSinglePow2) : (dbl ? kLimitDouble : kLimitSingle);
  return L <= limit ? kInconsistent : kLengthLimit;
}

}  // namespace

status static_planner(dfxi_node* node) {
  const bool full = node->placement != kInPlace ||
                    (node->forward_domain == kDomainReal && node->conjugate_even_storage == kStorageComplexComplex);
  if (!strides_paired(node->tensor_committed, full) || !strides_paired(node->batch_committed, full))
    return kInconsistent;
  if (!real_inplace_consistent(node)) return kInconsistent;

  node->threads = node->thread_limit != 0 ? node->thread_limit : max_threads(node);
  node->cpu_mode = plan_mode(node);

  if (node->bkdown_list == nullptr || node->bkdown_list[0] == nullptr) return kOk;
  for (dfxi_backend_list b = node->bkdown_list; *b != nullptr; ++b) {
    const status st = (*b)->commit(*b, node);
    if (st != kDeclined) return st;
  }
  return all_declined(node);
}

}  // namespace qor::dfxi

// Which scale mode of the primitive layer applies the node's scales; the
// comparisons are exact.
QOR_DEF_API int qor_dft_def_zup_can_scale(const dfxi_node* node, int* flag) {
  if (node == nullptr || flag == nullptr || node->tensor.dims == nullptr || node->tensor.count < 1) return 0;
  const double f = node->scale_forward;
  const double b = node->scale_backward;
  const double L = static_cast<double>(node->tensor.dims[0].n);
  const double inv = 1.0 / L;
  const double inv_sqrt = 1.0 / std::sqrt(L);
  int mode;
  if (f == 1.0 && b == 1.0)
    mode = QOR_ZUPS_NODIV_BY_ANY;
  else if (f == inv && b == 1.0)
    mode = QOR_ZUPS_DIV_FWD_BY_N;
  else if (f == 1.0 && b == inv)
    mode = QOR_ZUPS_DIV_INV_BY_N;
  else if (f == inv_sqrt && b == inv_sqrt)
    mode = QOR_ZUPS_DIV_BY_SQRTN;
  else
    return 0;
  *flag = mode;
  return 1;
}
