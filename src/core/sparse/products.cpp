// The sparse products: mv (y = alpha op(A) x + beta y), dotmv (mv and the
// dot of x and y) and mm (the same with dense matrices).
//
// A product is prepared, then run. Preparing checks nothing further: it
// chooses the road, cuts the work into ranges (team.h) and takes every
// block of scratch the road needs, so that a product that cannot have its
// memory fails before it writes anything. Roads:
//   csr_ng       general, operation 10, one array of row pointers: the row
//                kernels on pointers shifted by the base (fused with the
//                dot for dotmv)
//   csr_gather   the CSR switch where it gathers (rows independent)
//   csr_scatter  the CSR switch where it scatters: each part of the rows
//                into a zeroed buffer of its own, then a merge of the
//                buffers in part order that applies alpha and beta
//   csr_t_direct general 11 and 12 when the buffers cannot be had: the
//                one-thread transposed kernel straight into y
//   csr_pattern  no values: every stored element counts as 1
//   csc_*        the same over column arrays
//   coo_full     COO on one thread, no memory
//   coo_parts    COO in parts of the element list, then coo_mv_merge;
//                falls back to coo_full when its buffers cannot be had
//   esb, panels  the slices or diagonal panels an analysis left, for
//                operation 10 or over the transposed payload of 11 and 12
//   transposed   a gather as operation 10 over the transposed payload
#include <omp.h>

#include <algorithm>
#include <cstring>

#include "frame/member.h"
#include "frame/trace.h"
#include "sparse/analysis.h"
#include "sparse/front.h"
#include "sparse/kernels/api.h"
#include "sparse/team.h"

namespace qor::core::sparse {
namespace {

// ---- The kernels of one element type and index width ----

template <class T, class I>
struct kernel_set {
#define QOR_SPARSE_KERNEL_MEMBER(name, T_, I_) name##_fn<T_, I_>* name;
  QOR_SPARSE_KERNELS(QOR_SPARSE_KERNEL_MEMBER, T, I)
#undef QOR_SPARSE_KERNEL_MEMBER
};

template <class T, class I>
const kernel_set<T, I>& kernels_for();

#define QOR_SPARSE_KERNEL_BIND(name, l, T, w, I) k.name = QOR_KERNEL(qor_sparse_##l##_##name##_##w##_def);
#define QOR_SPARSE_KERNEL_SET_W(w, I, l, T)                  \
  template <>                                                \
  const kernel_set<T, I>& kernels_for<T, I>() {              \
    static const kernel_set<T, I> set = [] {                 \
      kernel_set<T, I> k;                                    \
      QOR_SPARSE_KERNELS(QOR_SPARSE_KERNEL_BIND, l, T, w, I) \
      return k;                                              \
    }();                                                     \
    return set;                                              \
  }
#define QOR_SPARSE_KERNEL_SET_T(l, T) QOR_SPARSE_KERNEL_WIDTHS(QOR_SPARSE_KERNEL_SET_W, l, T)
QOR_FOR_EACH_TYPE(QOR_SPARSE_KERNEL_SET_T)
#undef QOR_SPARSE_KERNEL_SET_T
#undef QOR_SPARSE_KERNEL_SET_W
#undef QOR_SPARSE_KERNEL_BIND

// ---- Checks ----

enum class product_kind { mv, dotmv, mm };

// Checks in this order: null pointers 1; operation, descriptor (and for mm
// layout, column count, leading dimensions) 3; another element type 6;
// a type other than general on a rectangular matrix (any dotmv on one) 3;
// no payload 5; formats without a product 6.
template <class T, class I>
int check(const sparse_matrix<I>* h, i32 op, matrix_descriptor d, product_kind kind) {
  if (!operation_valid(op) || !descriptor_valid(d)) return invalid_value;
  if (h->data_type != type_code<T>) return not_supported;
  const bool square = h->rows == h->cols;
  if (!square && (d.type != mt_general || kind == product_kind::dotmv)) return invalid_value;
  if (h->primary == nullptr) return internal_error;
  if (h->format > fmt_bsr) return internal_error;
  if (h->format == fmt_bsr) return not_supported;
  return ok;
}

template <class I>
bool leading_dimension_ok(i32 layout, I rows, I columns, I ld) {
  return layout == column_major ? ld >= std::max<I>(1, rows) : ld >= std::max<I>(1, columns);
}

// ---- Finding the analysis of a request ----

// A request of this operation and type that took effect, on the list of
// mv or dotmv requests (their analyses leave the same data).
template <class I>
bool analysed(const sparse_matrix<I>* h, i32 op, matrix_descriptor d) {
  for (const optimization_request<I>* list : {h->mv_applied, h->dotmv_applied})
    for (const optimization_request<I>* r = list; r != nullptr; r = r->next_applied)
      if (static_cast<i32>(r->operation) == op && static_cast<i32>(r->type) == d.type) return true;
  return false;
}

// ---- Preparing and running one product ----

enum class road {
  nothing,
  csr_ng,
  csr_gather,
  csr_scatter,
  csr_t_direct,
  csr_pattern,
  csc_gather,
  csc_scatter,
  csc_t_direct,
  coo_full,
  coo_parts,
  esb,
  panels,
  transposed,
};

// True when the descriptor's unit diagonal is added by the merge of a
// COO product (the general type has no unit form).
inline bool unit_kind(matrix_descriptor d) { return d.type != mt_general && d.diag == diag_unit; }

template <class T, class I>
class mv_product {
 public:
  mv_product(const sparse_matrix<I>* h, i32 op, matrix_descriptor d, T alpha, T beta)
      : k_(kernels_for<T, I>()), h_(h), op_(op), d_(d), alpha_(alpha), beta_(beta) {}

  // Chooses the road and takes its memory. `columns` scales the buffers
  // of the scatter roads for mm; `optimised` allows the analysed roads;
  // `y_as_buffer` lets a scatter of one part under beta 0 gather into the
  // output itself, which it overwrites anyway, instead of a buffer.
  status prepare(bool optimised, I columns = 1, bool y_as_buffer = false);
  // The product into y (and the dot into *dot when dot is not null).
  void run(const T* x, T* y, T* dot) const;

  road way() const { return road_; }
  I out_len() const { return out_len_; }
  I in_len() const { return in_len_; }
  const bsr_x_matrix<I>* payload() const { return p_; }
  const kernel_set<T, I>& kernels() const { return k_; }
  int threads() const { return threads_; }
  // Buffers of a scatter road: `parts` of `part_size` elements each.
  T* buffers() const { return work_.as<T>(); }
  I parts() const { return parts_.count; }
  std::int64_t part_size() const { return part_size_; }
  const ranges<I>& part_ranges() const { return parts_; }
  const ranges<I>& range_set() const { return ranges_; }

 private:
  status prepare_csr(bool optimised, I columns);
  status prepare_csc(I columns);
  status prepare_coo();
  bool prepare_analysed(const bsr_x_matrix<I>* p);
  template <class C>
  bool take_buffers(I columns, I n, C cost);
  template <class C>
  void cut_rows(I n, C cost);

  void run_scatter(const T* x, T* y, bool columns_form) const;
  void run_esb(const T* x, T* y, T* partial) const;
  void run_panels(const T* x, T* y) const;
  T dot_of(const T* x, const T* y) const;

  const kernel_set<T, I>& k_;
  const sparse_matrix<I>* h_;
  i32 op_;
  matrix_descriptor d_;
  T alpha_, beta_;
  road road_ = road::nothing;
  const bsr_x_matrix<I>* p_ = nullptr;
  const coo_matrix<I>* coo_ = nullptr;
  const esb_mv_analysis_data* esb_ = nullptr;
  const dia_mv_analysis_data* dia_ = nullptr;
  I out_len_ = 0, in_len_ = 0;
  std::int64_t work_amount_ = 0;
  ranges<I> ranges_{};
  ranges<I> parts_{};
  int threads_ = 1;
  scratch work_;
  std::int64_t part_size_ = 0;
  bool y_as_buffer_ = false, into_y_ = false;
};

// Cost of the positions before i of a compressed payload: its elements
// and a little per row.
template <class I>
auto pointer_cost(const bsr_x_matrix<I>* p, I n) {
  return [p, n](I i) -> std::int64_t {
    const I at = i < n ? p->rows_start[i] : (n > 0 ? p->rows_end[n - 1] : p->rows_start[0]);
    return static_cast<std::int64_t>(at - p->rows_start[0]) + split_rules::row_cost * i;
  };
}

template <class T, class I>
template <class C>
void mv_product<T, I>::cut_rows(I n, C cost) {
  work_amount_ = std::max<std::int64_t>(cost(n), 0);
  ranges_ = cut(n, range_count(work_amount_), cost);
  threads_ = team_size(work_amount_, ranges_.count);
}

// Buffers for the parts of a scatter over positions [0, n) of the given
// cost: at most max_parts, each with at least twice as much work as its
// buffer has entries (every buffer is cleared and merged in full).
template <class T, class I>
template <class C>
bool mv_product<T, I>::take_buffers(I columns, I n, C cost) {
  const std::int64_t len = static_cast<std::int64_t>(out_len_) * columns;
  const std::int64_t per_part = std::max<std::int64_t>(split_rules::part_work * len, split_rules::range_work);
  const int count = static_cast<int>(std::clamp<std::int64_t>(work_amount_ / per_part, 1, split_rules::max_parts));
  parts_ = cut(n, count, cost);
  part_size_ = len;
  if (y_as_buffer_ && parts_.count == 1 && beta_ == T(0)) {
    into_y_ = true;
    return true;
  }
  return work_.get(len * parts_.count, sizeof(T));
}

template <class T, class I>
status mv_product<T, I>::prepare(bool optimised, I columns, bool y_as_buffer) {
  y_as_buffer_ = y_as_buffer;
  out_len_ = op_ == op_n ? h_->rows : h_->cols;
  in_len_ = op_ == op_n ? h_->cols : h_->rows;
  if (h_->rows == 0 || h_->cols == 0) {
    road_ = road::nothing;
    return ok;
  }
  switch (h_->format) {
    case fmt_csr:
      return prepare_csr(optimised, columns);
    case fmt_csc:
      return prepare_csc(columns);
    default:
      return prepare_coo();
  }
}

template <class T, class I>
bool mv_product<T, I>::prepare_analysed(const bsr_x_matrix<I>* p) {
  if (p == nullptr || p->optimal == nullptr) return false;
  const I rows = out_len_;
  if (p->optimal->esb_mv != nullptr && p->optimal->esb_mv->width >= 1) {
    esb_ = p->optimal->esb_mv;
    const esb_shape s = esb_shape_of(esb_, rows);
    const I* start = static_cast<const I*>(esb_->array[2]);
    const I* end = static_cast<const I*>(esb_->array[3]);
    const I slices = static_cast<I>(s.slices);
    cut_rows(slices, [=](I i) -> std::int64_t {
      const I at = i < slices ? start[i] : end[slices - 1];
      return static_cast<std::int64_t>(at - start[0]) + split_rules::row_cost * s.width * i;
    });
    p_ = p;
    road_ = road::esb;
    return true;
  }
  if (p->optimal->dia_mv != nullptr) {
    dia_ = p->optimal->dia_mv;
    const panel_shape s = panel_shape_of(dia_, rows);
    const i32* ptr = static_cast<const i32*>(dia_->array[0]);
    const I panels = static_cast<I>(s.panels);
    cut_rows(panels, [=](I i) -> std::int64_t {
      return static_cast<std::int64_t>(ptr[i] - ptr[0]) * panel_rows + split_rules::row_cost * panel_rows * i;
    });
    p_ = p;
    road_ = road::panels;
    return true;
  }
  if (op_ != op_n && p->values != nullptr) {
    // The transposed payload: op(A) as a plain CSR matrix.
    p_ = p;
    cut_rows(out_len_, pointer_cost(p, out_len_));
    road_ = road::transposed;
    return true;
  }
  return false;
}

template <class T, class I>
status mv_product<T, I>::prepare_csr(bool optimised, I columns) {
  const auto* p = static_cast<const bsr_x_matrix<I>*>(h_->primary);
  p_ = p;
  if (p->values == nullptr) {
    // A pattern: only the plain non-transposed general product reads it.
    if (op_ != op_n || d_.type != mt_general || columns != 1) return not_supported;
    cut_rows(h_->rows, pointer_cost(p, h_->rows));
    road_ = road::csr_pattern;
    return ok;
  }
  if (optimised && d_.type == mt_general && analysed(h_, op_, d_)) {
    // The transposed payload records the operation it was built for; in
    // real types 11 and 12 build the same matrix.
    const bsr_x_matrix<I>* a = analysed_payload(const_cast<sparse_matrix<I>*>(h_), op_);
    const bool fits =
        op_ == op_n || (a != nullptr && (a->state_word == op_ || (!is_complex_v<T> && a->state_word != op_n)));
    if (fits && prepare_analysed(a)) return ok;
  }
  p_ = p;
  cut_rows(h_->rows, pointer_cost(p, h_->rows));
  if (!csr_mv_scatters(op_, d_.type, d_.mode)) {
    road_ = (d_.type == mt_general && op_ == op_n && p->three_array) ? road::csr_ng : road::csr_gather;
    return ok;
  }
  if (take_buffers(columns, h_->rows, pointer_cost(p, h_->rows))) {
    road_ = road::csr_scatter;
    return ok;
  }
  if (d_.type == mt_general) {
    road_ = road::csr_t_direct;
    threads_ = 1;
    return ok;
  }
  return alloc_failed;
}

template <class T, class I>
status mv_product<T, I>::prepare_csc(I columns) {
  const auto* p = static_cast<const bsr_x_matrix<I>*>(h_->primary);
  p_ = p;
  if (p->values == nullptr) return not_supported;
  cut_rows(h_->cols, pointer_cost(p, h_->cols));
  if (!csc_mv_scatters(op_, d_.type, d_.mode)) {
    road_ = road::csc_gather;
    return ok;
  }
  if (take_buffers(columns, h_->cols, pointer_cost(p, h_->cols))) {
    road_ = road::csc_scatter;
    return ok;
  }
  if (d_.type == mt_general) {
    road_ = road::csc_t_direct;
    threads_ = 1;
    return ok;
  }
  return alloc_failed;
}

template <class T, class I>
status mv_product<T, I>::prepare_coo() {
  coo_ = static_cast<const coo_matrix<I>*>(h_->primary);
  if (coo_->values == nullptr) return not_supported;
  const I nnz = coo_->nnz;
  work_amount_ = static_cast<std::int64_t>(nnz) + split_rules::row_cost * out_len_;
  road_ = road::coo_full;
  threads_ = 1;
  // Parts pay only when a team can share them: the choice depends on the
  // matrix alone, so that every thread count takes the same road.
  if (work_amount_ < split_rules::parallel_work) return ok;
  if (!take_buffers(1, nnz, [](I i) -> std::int64_t { return i; }) || parts_.count < 2) return ok;
  threads_ = team_size(work_amount_, parts_.count);
  road_ = road::coo_parts;
  return ok;
}

// Each part into its own zeroed buffer, then the merge in part order.
template <class T, class I>
void mv_product<T, I>::run_scatter(const T* x, T* y, bool columns_form) const {
  T* work = into_y_ ? y : work_.as<T>();
  const I ld = static_cast<I>(part_size_);
  const i32 base = p_->index_base;
  auto* body = columns_form ? k_.csc_mv_def_ker : k_.csr_mv_def_ker;
  const int team = std::min(threads_, parts_.count);
  run_pieces(parts_.count, team, [&](int part) {
    T* buf = work + static_cast<std::int64_t>(part) * ld;
    k_.coo_mv_zeroize_array(0, ld, buf);
    body(parts_.first(part), parts_.last(part), base, p_->rows_start, p_->rows_end, p_->col_indx,
         static_cast<const T*>(p_->values), x, buf, op_, d_.type, d_.mode, d_.diag, alpha_, beta_);
  });
  const I n = out_len_;
  const I parts = parts_.count;
  run_pieces(threads_, threads_, [&](int t) {
    const I first = static_cast<I>(static_cast<std::int64_t>(n) * t / threads_);
    const I last = static_cast<I>(static_cast<std::int64_t>(n) * (t + 1) / threads_);
    k_.csr_mv_merge(first, last, ld, parts, work, y, alpha_, beta_);
  });
}

template <class T, class I>
void mv_product<T, I>::run_esb(const T* x, T* y, T* partial) const {
  const esb_shape s = esb_shape_of(esb_, out_len_);
  const I* start = static_cast<const I*>(esb_->array[2]);
  const I* end = static_cast<const I*>(esb_->array[3]);
  const I* cols = static_cast<const I*>(esb_->array[1]);
  const T* values = static_cast<const T*>(esb_->array[0]);
  const I w = static_cast<I>(s.width);
  const I slices = static_cast<I>(s.slices);
  run_pieces(ranges_.count, threads_, [&](int r) {
    const I first = ranges_.first(r), last = ranges_.last(r);
    const I tail = last == slices ? static_cast<I>(s.tail) : 0;
    if (partial == nullptr) {
      if (w == 4)
        k_.xESB_SpMV_4(first, last, tail, start, end, cols, values, x, y, alpha_, beta_);
      else if (w == 8)
        k_.xESB_SpMV_8(first, last, tail, start, end, cols, values, x, y, alpha_, beta_);
      else
        k_.xESB_SpMV(w, first, last, tail, start, end, cols, values, x, y, alpha_, beta_);
    } else {
      if (w == 4)
        k_.ESB_SpDOTMV_4(first, last, tail, start, end, cols, values, x, y, alpha_, beta_, &partial[r]);
      else if (w == 8)
        k_.ESB_SpDOTMV_8(first, last, tail, start, end, cols, values, x, y, alpha_, beta_, &partial[r]);
      else
        k_.ESB_SpDOTMV(w, first, last, tail, start, end, cols, values, x, y, alpha_, beta_, &partial[r]);
    }
  });
}

template <class T, class I>
void mv_product<T, I>::run_panels(const T* x, T* y) const {
  const panel_shape s = panel_shape_of(dia_, out_len_);
  const i32* ptr = static_cast<const i32*>(dia_->array[0]);
  const i32* offsets = static_cast<const i32*>(dia_->array[1]);
  const T* values = static_cast<const T*>(dia_->array[2]);
  const I panels = static_cast<I>(s.panels);
  const I ncols = in_len_;
  run_pieces(ranges_.count, threads_, [&](int r) {
    const I first = ranges_.first(r), last = ranges_.last(r);
    const bool ends = last == panels && s.tail != 0;
    const I whole = last - first - (ends ? 1 : 0);
    const I tail = ends ? static_cast<I>(s.tail) : 0;
    k_.dia_mv_ker(whole, tail, ncols, ptr + first, offsets, values, x,
                  y + static_cast<std::int64_t>(first) * panel_rows, alpha_, beta_);
  });
}

// The dot of x and y over ranges that depend on the length alone, added in
// range order.
template <class T, class I>
T mv_product<T, I>::dot_of(const T* x, const T* y) const {
  const I n = out_len_;
  const ranges<I> r = cut(n, range_count(n), [](I i) -> std::int64_t { return i; });
  T partial[split_rules::max_ranges];
  run_pieces(r.count, team_size(n, r.count), [&](int q) {
    T s = T(0);
    for (I i = r.first(q); i < r.last(q); ++i) s += y[i] * x[i];
    partial[q] = s;
  });
  T sum = T(0);
  for (int q = 0; q < r.count; ++q) sum += partial[q];
  return sum;
}

template <class T, class I>
void mv_product<T, I>::run(const T* x, T* y, T* dot) const {
  const i32 base = p_ != nullptr ? p_->index_base : 0;
  const T* values = p_ != nullptr ? static_cast<const T*>(p_->values) : nullptr;
  T partial[split_rules::max_ranges];
  bool fused = false;
  switch (road_) {
    case road::nothing:
      break;
    case road::csr_ng:
    case road::transposed: {
      if (road_ == road::transposed && !p_->three_array) {
        run_pieces(ranges_.count, threads_, [&](int r) {
          k_.csr_mv_def_ker(ranges_.first(r), ranges_.last(r), base, p_->rows_start, p_->rows_end, p_->col_indx, values,
                            x, y, op_n, mt_general, fill_full, diag_non_unit, alpha_, beta_);
        });
        break;
      }
      // Row kernels on pointers shifted back by the base.
      const I n = in_len_;
      const T* xs = x - base;
      const T* vs = values - base;
      const I* cs = p_->col_indx - base;
      const bool zero_beta = beta_ == T(0);
      fused = dot != nullptr;
      run_pieces(ranges_.count, threads_, [&](int r) {
        const I first = ranges_.first(r), last = ranges_.last(r);
        const I* rows = p_->rows_start + first;
        T* yr = y + first;
        if (dot != nullptr) {
          if (zero_beta)
            k_.csr_ng_n_dotmv_ker(first, last, n, yr, xs, vs, rows, cs, alpha_, base, &partial[r]);
          else
            k_.csr_ng_n_dotmv_ker_beta(first, last, n, yr, xs, vs, rows, cs, alpha_, beta_, base, &partial[r]);
        } else if (zero_beta) {
          k_.csr_ng_n_mv_ker(first, last, n, yr, xs, vs, rows, cs, alpha_);
        } else {
          k_.csr_ng_n_mv_ker_beta(first, last, n, yr, xs, vs, rows, cs, alpha_, beta_);
        }
      });
      break;
    }
    case road::csr_gather:
    case road::csc_gather: {
      auto* body = road_ == road::csr_gather ? k_.csr_mv_def_ker : k_.csc_mv_def_ker;
      run_pieces(ranges_.count, threads_, [&](int r) {
        body(ranges_.first(r), ranges_.last(r), base, p_->rows_start, p_->rows_end, p_->col_indx, values, x, y, op_,
             d_.type, d_.mode, d_.diag, alpha_, beta_);
      });
      break;
    }
    case road::csr_scatter:
    case road::csc_scatter:
      run_scatter(x, y, road_ == road::csc_scatter);
      break;
    case road::csr_t_direct:
      k_.csr_ng_t_mv_ker(h_->rows, h_->cols, base, y, x, values, p_->rows_start, p_->rows_end, p_->col_indx, beta_,
                         alpha_, op_);
      break;
    case road::csc_t_direct:
      // The column arrays are the row arrays of the transpose, and the
      // transposed product of the transpose is the product.
      k_.csr_ng_t_mv_ker(h_->cols, h_->rows, base, y, x, values, p_->rows_start, p_->rows_end, p_->col_indx, beta_,
                         alpha_, op_t);
      break;
    case road::csr_pattern:
      run_pieces(ranges_.count, threads_, [&](int r) {
        k_.csr_ng_n_mv_ker_b(ranges_.first(r), ranges_.last(r), base, y, x, p_->rows_start, p_->rows_end, p_->col_indx,
                             beta_, alpha_);
      });
      break;
    case road::coo_full:
      k_.coo_mv_def_ker_full(h_->rows, h_->cols, coo_->nnz, coo_->index_base, coo_->row_indx, coo_->col_indx,
                             static_cast<const T*>(coo_->values), x, y, op_, d_.type, d_.mode, d_.diag, alpha_, beta_);
      break;
    case road::coo_parts: {
      T* work = work_.as<T>();
      const I ld = static_cast<I>(part_size_);
      run_pieces(parts_.count, std::min(threads_, parts_.count), [&](int part) {
        T* buf = work + static_cast<std::int64_t>(part) * ld;
        k_.coo_mv_zeroize_array(0, ld, buf);
        k_.coo_mv_def_ker_workspace(parts_.first(part), parts_.last(part), coo_->index_base, coo_->row_indx,
                                    coo_->col_indx, static_cast<const T*>(coo_->values), x, buf, op_, d_.type, d_.mode,
                                    d_.diag);
      });
      const I n = out_len_;
      const i32 unit = unit_kind(d_) ? 1 : 0;
      const I parts = parts_.count;
      run_pieces(threads_, threads_, [&](int t) {
        const I first = static_cast<I>(static_cast<std::int64_t>(n) * t / threads_);
        const I last = static_cast<I>(static_cast<std::int64_t>(n) * (t + 1) / threads_);
        k_.coo_mv_merge(first, last, ld, parts, work, y, x, alpha_, beta_, unit, std::min(h_->rows, h_->cols));
      });
      break;
    }
    case road::esb:
      fused = dot != nullptr;
      run_esb(x, y, fused ? partial : nullptr);
      break;
    case road::panels:
      run_panels(x, y);
      break;
  }
  if (dot == nullptr) return;
  if (!fused) {
    *dot = road_ == road::nothing ? T(0) : dot_of(x, y);
    return;
  }
  T sum = T(0);
  for (int r = 0; r < ranges_.count; ++r) sum += partial[r];
  *dot = sum;
}

// ---- mv and dotmv ----

template <class P, class I>
int mv(i32 op, P alpha, public_handle_t<I> A, qor_sparse_descr descr, const P* x, P beta, P* y, P* d,
       product_kind kind) {
  using T = element_t<P>;
  const auto* h = record_of(A);
  if (h == nullptr || x == nullptr || y == nullptr || (kind == product_kind::dotmv && d == nullptr))
    return not_initialized;
  const matrix_descriptor md = descriptor_of(descr);
  if (const int st = check<T>(h, op, md, kind); st != ok) return st;
  mv_product<T, I> product(h, op, md, value_of(alpha), value_of(beta));
  if (const status st = product.prepare(true, 1, true); st != ok) return st;
  T dot{};
  product.run(array_of(x), array_of(y), kind == product_kind::dotmv ? &dot : nullptr);
  if (kind == product_kind::dotmv) *d = public_of<P>(dot);
  return ok;
}

// ---- mm ----

// Element (i, j) of a dense matrix in a layout.
template <class T, class I>
T& at(T* m, i32 layout, I ld, I i, I j) {
  return layout == column_major ? m[static_cast<std::int64_t>(j) * ld + i] : m[static_cast<std::int64_t>(i) * ld + j];
}

// The CSR dense-matrix kernel over row ranges, or its scatter into
// private buffers and the merge.
template <class T, class I>
void mm_csr(const mv_product<T, I>& pr, i32 op, matrix_descriptor d, T alpha, i32 layout, const T* b, I columns, I ldb,
            T beta, T* c, I ldc) {
  const auto& k = pr.kernels();
  const auto* p = pr.payload();
  const T* values = static_cast<const T*>(p->values);
  const ranges<I>& rg = pr.range_set();
  if (pr.way() != road::csr_scatter) {
    run_pieces(rg.count, pr.threads(), [&](int r) {
      k.csr_mm_def_ker(rg.first(r), rg.last(r), p->index_base, p->rows_start, p->rows_end, p->col_indx, values, op,
                       d.type, d.mode, d.diag, alpha, layout, b, columns, ldb, beta, c, ldc);
    });
    return;
  }
  T* work = pr.buffers();
  const std::int64_t size = pr.part_size();
  const I n = pr.out_len();
  const I ldw = layout == column_major ? n : columns;
  const ranges<I>& parts = pr.part_ranges();
  run_pieces(parts.count, std::min(pr.threads(), parts.count), [&](int part) {
    T* buf = work + part * size;
    std::memset(static_cast<void*>(buf), 0, static_cast<std::size_t>(size) * sizeof(T));
    k.csr_mm_def_ker(parts.first(part), parts.last(part), p->index_base, p->rows_start, p->rows_end, p->col_indx,
                     values, op, d.type, d.mode, d.diag, alpha, layout, b, columns, ldb, beta, buf, ldw);
  });
  const int team = pr.threads();
  const I nparts = parts.count;
  run_pieces(team, team, [&](int t) {
    const I first = static_cast<I>(static_cast<std::int64_t>(n) * t / team);
    const I last = static_cast<I>(static_cast<std::int64_t>(n) * (t + 1) / team);
    if (layout == column_major) {
      for (I j = 0; j < columns; ++j)
        k.csr_mv_merge(first, last, static_cast<I>(size), nparts, work + static_cast<std::int64_t>(j) * n,
                       c + static_cast<std::int64_t>(j) * ldc, alpha, beta);
    } else {
      for (I i = first; i < last; ++i)
        k.csr_mv_merge(0, columns, static_cast<I>(size), nparts, work + static_cast<std::int64_t>(i) * columns,
                       c + static_cast<std::int64_t>(i) * ldc, alpha, beta);
    }
  });
}

template <class P, class I>
int mm(i32 op, P alpha, public_handle_t<I> A, qor_sparse_descr descr, i32 layout, const P* B, I columns, I ldb, P beta,
       P* C, I ldc) {
  using T = element_t<P>;
  const auto* h = record_of(A);
  if (h == nullptr || B == nullptr || C == nullptr) return not_initialized;
  const matrix_descriptor md = descriptor_of(descr);
  if (!operation_valid(op) || !descriptor_valid(md)) return invalid_value;
  if (layout != row_major && layout != column_major) return invalid_value;
  if (columns < 1) return invalid_value;
  const I out_rows = op == op_n ? h->rows : h->cols;
  const I in_rows = op == op_n ? h->cols : h->rows;
  if (!leading_dimension_ok(layout, in_rows, columns, ldb) || !leading_dimension_ok(layout, out_rows, columns, ldc))
    return invalid_value;
  if (const int st = check<T>(h, op, md, product_kind::mm); st != ok) return st;

  const T a = value_of(alpha), be = value_of(beta);
  const T* b = array_of(B);
  T* c = array_of(C);
  mv_product<T, I> product(h, op, md, a, be);
  const bool csr = h->format == fmt_csr;
  // The dense kernel reads CSR values; the other forms go column by column.
  if (csr && static_cast<const bsr_x_matrix<I>*>(h->primary)->values == nullptr) return not_supported;
  if (const status st = product.prepare(false, csr ? columns : 1); st != ok) return st;
  if (product.way() == road::nothing) return ok;
  if (csr && product.way() != road::csr_t_direct) {
    mm_csr(product, op, md, a, layout, b, columns, ldb, be, c, ldc);
    return ok;
  }
  if (layout == column_major) {
    for (I j = 0; j < columns; ++j)
      product.run(b + static_cast<std::int64_t>(j) * ldb, c + static_cast<std::int64_t>(j) * ldc, nullptr);
    return ok;
  }
  // Row-major columns are strided: each goes through contiguous copies.
  scratch xs, ys;
  if (!xs.get(in_rows, sizeof(T)) || !ys.get(out_rows, sizeof(T))) return alloc_failed;
  T* xt = xs.as<T>();
  T* yt = ys.as<T>();
  for (I j = 0; j < columns; ++j) {
    for (I i = 0; i < in_rows; ++i) xt[i] = at(b, layout, ldb, i, j);
    for (I i = 0; i < out_rows; ++i) yt[i] = at(c, layout, ldc, i, j);
    product.run(xt, yt, nullptr);
    for (I i = 0; i < out_rows; ++i) at(c, layout, ldc, i, j) = yt[i];
  }
  return ok;
}

}  // namespace
}  // namespace qor::core::sparse

using namespace qor::core::sparse;

extern "C" {

#define QOR_SPARSE_PRODUCT_ENTRIES(l, P, w, I, SFX)                                                                  \
  QOR_API int qor_sparse_##l##_mv##SFX(int op, P alpha, public_handle_t<I> A, qor_sparse_descr descr, const P* x,    \
                                       P beta, P* y) {                                                               \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag), "op,type,mode,diag",                           \
                     [=] { return mv<P, I>(op, alpha, A, descr, x, beta, y, nullptr, product_kind::mv); });          \
  }                                                                                                                  \
  QOR_API int qor_sparse_##l##_dotmv##SFX(int op, P alpha, public_handle_t<I> A, qor_sparse_descr descr, const P* x, \
                                          P beta, P* y, P* d) {                                                      \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag), "op,type,mode,diag",                           \
                     [=] { return mv<P, I>(op, alpha, A, descr, x, beta, y, d, product_kind::dotmv); });             \
  }                                                                                                                  \
  QOR_API int qor_sparse_##l##_mm##SFX(int op, P alpha, public_handle_t<I> A, qor_sparse_descr descr, int layout,    \
                                       const P* B, I columns, I ldb, P beta, P* C, I ldc) {                          \
    QOR_TRACED_STATUS_NAMED((op, descr.type, descr.mode, descr.diag, layout, columns, ldb, ldc),                     \
                     "op,type,mode,diag,layout,columns,ldb,ldc",                                                     \
                     [=] { return mm<P, I>(op, alpha, A, descr, layout, B, columns, ldb, beta, C, ldc); });          \
  }
QOR_SPARSE_FOR_EACH_PUBLIC(QOR_SPARSE_PRODUCT_ENTRIES)
#undef QOR_SPARSE_PRODUCT_ENTRIES

}  // extern "C"
