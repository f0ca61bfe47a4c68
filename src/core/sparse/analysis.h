// What the product analyses (csr_mv, csr_dotmv, csr_mm) leave in a handle,
// and how a product finds it.
//
// A request on `mv_applied`, `dotmv_applied` or `mm_applied` took effect
// when its analysis stored something a product can use. Its data lives in
// the `optimal` hub of the payload the product reads (analysed_payload):
//  - operation 10: the `primary` payload; its hub may hold diagonal
//    panels (`dia_mv`), slices (`esb_mv`) or both (an mv request stores
//    one, a dotmv request adds slices when there are none). Either gives
//    y = alpha A x + beta y over every stored element, so it serves
//    requests of type 20 only. mv takes the panels when they are there,
//    else the slices; dotmv takes the slices (ESB_SpDOTMV*).
//  - operations 11 and 12: the `transposed` payload that the optimize loop
//    built for the operation; a product gathers over it as operation 10
//    (csr_mv_def_ker with operation 10 and type 20, or its own slices or
//    panels when its hub has them).
// Nothing of the matrix's size is stored when the handle's memory hint is
// 80; such a request never takes effect.
#pragma once
#include "sparse/records.h"

namespace qor::sparse {

// The payload whose hub holds a request's data for `operation`, or null.
template <class I> bsr_x_matrix<I>* analysed_payload(sparse_matrix<I>* h, i32 operation) {
  if (h == nullptr || h->format != fmt_csr) return nullptr;
  return operation == op_n ? static_cast<bsr_x_matrix<I>*>(h->primary) : h->transposed;
}

// Slices of an esb_mv record on a payload of `rows` rows: width w =
// esb->width; slice s covers rows s*w .. s*w+w-1; array[0] values,
// array[1] zero-based column indices (I), array[2] and array[3] the
// element positions where each slice starts and ends (I, one per slice).
struct esb_shape {
  i64 width;
  i64 slices;  // all slices, the partial one included
  i64 tail;    // rows in the last, partial slice; 0 when there is none
};
inline esb_shape esb_shape_of(const esb_mv_analysis_data* esb, i64 rows) {
  const i64 w = esb->width;
  return {w, (rows + w - 1) / w, rows % w};
}

// Panels of a dia_mv record: 8 rows each; array[0] panel_ptr (i32,
// panels + 1 entries, diagonal positions), array[1] start columns (i32),
// array[2] values (8 per diagonal). `panels` counts every panel, the
// partial one included; `whole` the panels of 8 rows.
inline constexpr i64 panel_rows = 8;
struct panel_shape {
  i64 panels;
  i64 whole;
  i64 tail;
};
inline panel_shape panel_shape_of(const dia_mv_analysis_data* dia, i64 rows) {
  return {dia->panels, rows / panel_rows, rows % panel_rows};
}

}  // namespace qor::sparse
