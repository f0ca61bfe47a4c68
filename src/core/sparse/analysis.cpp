// Analysis routines of the sparse handle, imported by the kernel library's
// optimize loop.
//
// The product analyses (csr_mv, csr_dotmv, csr_mm) look at the payload a
// request's product reads (analysis.h) and store, in its hub, the layout
// that reads the fewest bytes per product: diagonal panels when the
// matrix's non-zeros sit on few diagonals, ESB slices when the rows of a
// slice have nearly equal lengths, else nothing (the plain row kernels are
// then the best road). The other analyses store nothing yet: their
// requests stay without effect and their products take the plain roads.
#include "sparse/analysis.h"

#include <cstring>

#include "frame/services.h"
#include "sparse/imports.h"

namespace qor::sparse {
namespace {

// The thresholds of the choice, in one place.
struct choice {
  // Panels when they read at most this share of the bytes plain rows read
  // (values, column indices, row pointers); below it their unit-stride x
  // and per-diagonal start column pay for any zeros they carry.
  static constexpr double panel_bytes_share = 0.9;
  // A panel with more distinct diagonals than this is not banded: give up.
  static constexpr int panel_max_diagonals = 64;
  // Slices when their padding adds at most this share of stored values.
  static constexpr double esb_padding = 0.15;
};

template <class T> T* alloc(i64 count) {
  return static_cast<T*>(qor_serv_malloc(count * i64(sizeof(T)) + (count == 0 ? 1 : 0), alignment));
}

// The stored rows of a CSR payload, read through zero-based indices.
template <class T, class I> struct rows_view {
  i64 rows, cols, base;
  const I* rs;
  const I* re;
  const I* ci;
  const T* v;
  i64 start(i64 r) const { return i64(rs[r]) - base; }
  i64 end(i64 r) const { return i64(re[r]) - base; }
  i64 col(i64 k) const { return i64(ci[k]) - base; }
};

// --- Diagonal panels --------------------------------------------------------
// The distinct start columns of one panel, ascending; -1 when there are
// more than the limit. A start column is the column lane 0 of the panel
// would touch on the element's diagonal: col - (row - 8 p).
template <class T, class I> int panel_offsets(const rows_view<T, I>& m, i64 p, i32* out) {
  // The k-th element of a row usually lies on the diagonal of the k-th
  // element of the row before (a band): such an element is known at once.
  constexpr int hinted = 32;
  i32 before[hinted];
  i64 known = 0;
  int n = 0;
  const i64 r0 = p * panel_rows, r1 = r0 + panel_rows < m.rows ? r0 + panel_rows : m.rows;
  for (i64 r = r0; r < r1; ++r) {
    const i64 start = m.start(r), e = m.end(r);
    for (i64 k = start; k < e; ++k) {
      const i32 o = i32(m.col(k) - (r - r0));
      const i64 pos = k - start;
      const bool seen = pos < known && before[pos] == o;
      if (pos < hinted) before[pos] = o;
      if (seen) continue;
      int at = 0;
      while (at < n && out[at] < o) ++at;
      if (at < n && out[at] == o) continue;
      if (n == choice::panel_max_diagonals) return -1;
      std::memmove(out + at + 1, out + at, sizeof(i32) * (n - at));
      out[at] = o;
      ++n;
    }
    known = e - start < hinted ? e - start : hinted;
  }
  return n;
}

// Lane j of each of panel p's `count` diagonals (start columns `po`)
// gets the element of row 8 p + j on it, zero where there is none,
// duplicates added. The panel's rows were just read by panel_offsets, so
// this second look at them comes from the cache.
template <class T, class I> void fill_panel(const rows_view<T, I>& m, i64 p, const i32* po, int count, T* pv) {
  for (i64 j = 0; j < i64(count) * panel_rows; ++j) pv[j] = T(0);
  const i64 r0 = p * panel_rows, r1 = r0 + panel_rows < m.rows ? r0 + panel_rows : m.rows;
  // The diagonal of the k-th element of the row before is tried first.
  constexpr int hinted = 32;
  int before[hinted] = {};
  for (i64 r = r0; r < r1; ++r) {
    const i64 start = m.start(r);
    for (i64 k = start, e = m.end(r); k < e; ++k) {
      const i32 o = i32(m.col(k) - (r - r0));
      const i64 pos = k - start;
      int d = pos < hinted && before[pos] < count ? before[pos] : 0;
      if (po[d] != o) {
        d = 0;
        while (po[d] != o) ++d;
      }
      if (pos < hinted) before[pos] = d;
      pv[d * panel_rows + (r - r0)] += m.v[k];
    }
  }
}

// Panels when they read few enough bytes; `*built` tells whether they
// were stored. One pass over the rows: each panel's start columns are
// found and its values laid out at once, into arrays sized for the most
// diagonals the byte limit allows (the unused tail is never written). A
// panel with too many diagonals, or a total past the limit, abandons the
// layout. A refused allocation ends the analysis with status 2.
template <class T, class I> status try_panels(const rows_view<T, I>& m, i64 nnz, optimal_data* hub, bool* built) {
  *built = false;
  const i64 panels = (m.rows + panel_rows - 1) / panel_rows;
  // The most diagonals whose bytes stay within the share of plain rows.
  const double plain = double(nnz) * double(sizeof(T) + sizeof(I)) + double(m.rows) * sizeof(I);
  const double room = choice::panel_bytes_share * plain - 4.0 * double(panels + 1);
  const i64 limit = room > 0 ? i64(room / double(panel_rows * sizeof(T) + sizeof(i32))) : 0;
  if (limit < 1) return ok;
  // Room for the limit and one more panel (never more than one diagonal
  // per element).
  const i64 cap = limit + choice::panel_max_diagonals < nnz ? limit + choice::panel_max_diagonals : nnz;
  i32* ptr = alloc<i32>(panels + 1);
  i32* offsets = alloc<i32>(cap);
  T* values = alloc<T>(cap * panel_rows);
  if (ptr == nullptr || offsets == nullptr || values == nullptr) {
    qor_serv_free(ptr), qor_serv_free(offsets), qor_serv_free(values);
    return alloc_failed;
  }
  i64 total = 0;
  for (i64 p = 0; p < panels && total >= 0; ++p) {
    ptr[p] = i32(total);
    const int n = panel_offsets(m, p, offsets + total);
    if (n < 0 || total + n > limit || total + n > 0x7fffffff / panel_rows) {
      total = -1;
      break;
    }
    fill_panel(m, p, offsets + total, n, values + total * panel_rows);
    total += n;
  }
  auto* rec = total > 0 ? alloc<dia_mv_analysis_data>(1) : nullptr;
  if (rec == nullptr) {
    qor_serv_free(ptr), qor_serv_free(offsets), qor_serv_free(values);
    return total > 0 ? alloc_failed : ok;
  }
  ptr[panels] = i32(total);
  *rec = dia_mv_analysis_data{panels, {ptr, offsets, values, nullptr, nullptr}};
  hub->dia_mv = rec;
  *built = true;
  return ok;
}

// --- ESB slices -------------------------------------------------------------
template <class T, class I> i64 padded_size(const rows_view<T, I>& m, i64 w) {
  i64 total = 0;
  for (i64 r0 = 0; r0 < m.rows; r0 += w) {
    i64 longest = 0;
    for (i64 r = r0; r < r0 + w && r < m.rows; ++r) longest = m.end(r) - m.start(r) > longest ? m.end(r) - m.start(r) : longest;
    total += longest * w;
  }
  return total;
}

// Each row's elements in order, padded with zeros to the longest row of
// its slice. A padding lane repeats the row's last column (column 0 for an
// empty row), so it reads an x element the row reads anyway.
template <class T, class I> status build_esb(const rows_view<T, I>& m, i64 w, i64 size, esb_mv_analysis_data** out) {
  const i64 slices = (m.rows + w - 1) / w;
  auto* rec = alloc<esb_mv_analysis_data>(1);
  T* values = alloc<T>(size);
  I* cols = alloc<I>(size);
  I* start = alloc<I>(slices);
  I* end = alloc<I>(slices);
  if (rec == nullptr || values == nullptr || cols == nullptr || start == nullptr || end == nullptr) {
    qor_serv_free(rec), qor_serv_free(values), qor_serv_free(cols), qor_serv_free(start), qor_serv_free(end);
    return alloc_failed;
  }
  i64 at = 0;
  for (i64 s = 0; s < slices; ++s) {
    const i64 r0 = s * w;
    i64 longest = 0;
    for (i64 r = r0; r < r0 + w && r < m.rows; ++r) longest = m.end(r) - m.start(r) > longest ? m.end(r) - m.start(r) : longest;
    start[s] = I(at);
    for (i64 step = 0; step < longest; ++step) {
      for (i64 j = 0; j < w; ++j, ++at) {
        const i64 r = r0 + j;
        const i64 len = r < m.rows ? m.end(r) - m.start(r) : 0;
        if (step < len) {
          values[at] = m.v[m.start(r) + step];
          cols[at] = I(m.col(m.start(r) + step));
        } else {
          values[at] = T(0);
          cols[at] = I(len > 0 ? m.col(m.end(r) - 1) : 0);
        }
      }
    }
    end[s] = I(at);
  }
  *rec = esb_mv_analysis_data{w, {values, cols, start, end, nullptr}};
  *out = rec;
  return ok;
}

// The widths tried, widest first: single precision, whose lanes are half
// as wide, also tries 16, which the run-time-width kernel takes.
template <class T> struct esb_widths {
  static constexpr i64 list[] = {16, 8, 4};
  static constexpr int first = sizeof(real_t<T>) == 4 ? 0 : 1;
};

enum class want { product, dot };

// Stores panels or slices in the payload's hub; true when something a
// product can use is there afterwards.
template <class T, class I> status analyse_payload(bsr_x_matrix<I>* p, want what, bool* usable) {
  *usable = false;
  optimal_data* hub = p->optimal;
  if (hub == nullptr || p->values == nullptr || p->rows < 1 || p->cols < 1) return ok;
  if (what == want::product && (hub->dia_mv != nullptr || hub->esb_mv != nullptr)) return *usable = true, ok;
  if (what == want::dot && hub->esb_mv != nullptr) return *usable = true, ok;
  const rows_view<T, I> m{p->rows, p->cols, p->index_base, p->rows_start, p->rows_end, p->col_indx,
                          static_cast<const T*>(p->values)};
  i64 nnz = 0;
  for (i64 r = 0; r < m.rows; ++r) nnz += m.end(r) - m.start(r);
  if (nnz < 1) return ok;
  if (what == want::product) {
    bool built = false;
    const status s = try_panels(m, nnz, hub, &built);
    if (s != ok || built) {
      *usable = built;
      return s;
    }
  }
  for (int at = esb_widths<T>::first; at < 3; ++at) {
    const i64 w = esb_widths<T>::list[at];
    const i64 size = padded_size(m, w);
    if (double(size) <= (1.0 + choice::esb_padding) * double(nnz)) {
      const status s = build_esb(m, w, size, &hub->esb_mv);
      *usable = s == ok;
      return s;
    }
  }
  return ok;
}

template <class I> status analyse(sparse_matrix<I>* h, optimization_request<I>* r, want what) {
  if (r == nullptr) return not_initialized;
  r->took_effect = 0;
  if (h == nullptr) return not_initialized;
  if (h->format != fmt_csr || h->memory_hint != aggressive_memory || r->type != mt_general) return ok;
  bsr_x_matrix<I>* p = analysed_payload(h, i32(r->operation));
  if (p == nullptr) return ok;
  bool usable = false;
  status s = ok;
  switch (h->data_type) {
    case type_d:
      s = analyse_payload<double>(p, what, &usable);
      break;
    case type_s:
      s = analyse_payload<float>(p, what, &usable);
      break;
    case type_z:
      s = analyse_payload<c64>(p, what, &usable);
      break;
    case type_c:
      s = analyse_payload<c32>(p, what, &usable);
      break;
    default:
      return internal_error;
  }
  // A transposed payload turns operations 11 and 12 into a gather by
  // itself, with or without a layout of its own.
  r->took_effect = usable || (s == ok && r->operation != op_n);
  return s;
}

// Products with a dense matrix read the plain rows; for operations 11 and
// 12 the transposed payload turns the scatter into a gather.
template <class I> status analyse_mm(sparse_matrix<I>* h, optimization_request<I>* r) {
  if (r == nullptr) return not_initialized;
  r->took_effect = 0;
  if (h == nullptr) return not_initialized;
  if (h->format != fmt_csr || h->memory_hint != aggressive_memory || r->type != mt_general) return ok;
  r->took_effect = r->operation != op_n && h->transposed != nullptr;
  return ok;
}

template <class I> status nothing(sparse_matrix<I>*, optimization_request<I>* request, optimize_scratch*) {
  if (request != nullptr) request->took_effect = 0;
  return ok;
}

}  // namespace
}  // namespace qor::sparse

#define QOR_SPARSE_DEFINE_ANALYSIS(name, body)                                                                      \
  QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_optimize_##name##_i4(                                        \
      qor::sparse::sparse_matrix<std::int32_t>* h, qor::sparse::optimization_request<std::int32_t>* r,             \
      qor::sparse::optimize_scratch* s) {                                                                            \
    (void)s;                                                                                                         \
    return body;                                                                                                     \
  }                                                                                                                  \
  QOR_SPARSE_CORE_API qor::sparse::status qor_sparse_optimize_##name##_i8(                                        \
      qor::sparse::sparse_matrix<std::int64_t>* h, qor::sparse::optimization_request<std::int64_t>* r,             \
      qor::sparse::optimize_scratch* s) {                                                                            \
    (void)s;                                                                                                         \
    return body;                                                                                                     \
  }
QOR_SPARSE_DEFINE_ANALYSIS(csr_mv, qor::sparse::analyse(h, r, qor::sparse::want::product))
QOR_SPARSE_DEFINE_ANALYSIS(csr_dotmv, qor::sparse::analyse(h, r, qor::sparse::want::dot))
QOR_SPARSE_DEFINE_ANALYSIS(csr_mm, qor::sparse::analyse_mm(h, r))
#define QOR_SPARSE_DEFINE_NOTHING(name) QOR_SPARSE_DEFINE_ANALYSIS(name, qor::sparse::nothing(h, r, s))
QOR_SPARSE_DEFINE_NOTHING(bsr_mv)
QOR_SPARSE_DEFINE_NOTHING(bsr_mm)
QOR_SPARSE_DEFINE_NOTHING(csr_trsv)
QOR_SPARSE_DEFINE_NOTHING(bsr_trsv)
QOR_SPARSE_DEFINE_NOTHING(bsr_trsm)
QOR_SPARSE_DEFINE_NOTHING(csr_symgs)
QOR_SPARSE_DEFINE_NOTHING(csr_lu_smoother)
QOR_SPARSE_DEFINE_NOTHING(bsr_lu_smoother)
QOR_SPARSE_DEFINE_NOTHING(csr_sorv)
#undef QOR_SPARSE_DEFINE_NOTHING
#undef QOR_SPARSE_DEFINE_ANALYSIS
