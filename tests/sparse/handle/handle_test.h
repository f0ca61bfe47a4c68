// Helpers of the handle tests: the kernel library's handle routines bound
// by name for each type and width, small matrices in every storage form,
// and a dense picture of a handle read back from its payload.
#pragma once
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <functional>
#include <tuple>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "common/testing.h"
#include "frame/services.h"
#include "sparse/handle/api.h"
#include "sparse/imports.h"

namespace qor::test::sparse {

using namespace ::qor::sparse;

inline void* member() {
  static void* h = qor_member_load() == 0 ? dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL) : nullptr;
  return h;
}

template <class F> F* bound(const std::string& name) {
  void* p = member() != nullptr ? dlsym(member(), name.c_str()) : nullptr;
  EXPECT_NE(p, nullptr) << name;
  return reinterpret_cast<F*>(p);
}

template <class I> std::string width_suffix() { return sizeof(I) == 4 ? "_i4_def" : "_i8_def"; }

// Typed routines of one type and width, and the type-free ones of the width.
template <class T, class I> struct Api {
#define QOR_TEST_BIND_TYPED(name, ...) \
  name##_fn<T, I>* name = bound<name##_fn<T, I>>(std::string("qor_sparse_") + letter_of<T> + "_" #name + width_suffix<I>());
#define QOR_TEST_BIND_UNTYPED(name, ...) name##_fn<I>* name = bound<name##_fn<I>>("qor_sparse_" #name + width_suffix<I>());
  QOR_SPARSE_HANDLE_TYPED(QOR_TEST_BIND_TYPED)
  QOR_SPARSE_HANDLE_UNTYPED(QOR_TEST_BIND_UNTYPED)
#undef QOR_TEST_BIND_TYPED
#undef QOR_TEST_BIND_UNTYPED
};
template <class T, class I> const Api<T, I>& api() {
  static const Api<T, I> a;
  return a;
}

// The core's copy and transposition of the width.
template <class I> status core_copy(sparse_matrix<I>* h) {
  if constexpr (sizeof(I) == 4)
    return qor_sparse_copy_sparse_matrix_i4(h);
  else
    return qor_sparse_copy_sparse_matrix_i8(h);
}
template <class I> status core_transpose(sparse_matrix<I>* h, i32 op) {
  if constexpr (sizeof(I) == 4)
    return qor_sparse_transposeMatrix_i4(h, op);
  else
    return qor_sparse_transposeMatrix_i8(h, op);
}

inline std::int64_t live_blocks() {
  qor_alloc_counts c{};
  qor_alloc_stats(QOR_POOL_MALLOC, &c);
  return c.live;
}

template <class T> T value_of(double re, double im = 0) {
  if constexpr (is_complex_v<T>)
    return T(static_cast<real_t<T>>(re), static_cast<real_t<T>>(im));
  else
    return static_cast<T>(re);
}

// A dense picture: (row, col) -> value for every stored element.
template <class T> using Picture = std::map<std::pair<std::int64_t, std::int64_t>, T>;

// The test matrix, 4 x 5, with an empty row and a full-width row:
//   [1 . . 2 .]
//   [. 3 . . .]
//   [. . . . .]
//   [4 . 5 . 6]
// Complex members carry an imaginary part, so conjugation shows.
template <class T> Picture<T> sample() {
  Picture<T> p;
  const int cells[6][2] = {{0, 0}, {0, 3}, {1, 1}, {3, 0}, {3, 2}, {3, 4}};
  for (int k = 0; k < 6; ++k) p[{cells[k][0], cells[k][1]}] = value_of<T>(k + 1, -0.5 * (k + 1));
  return p;
}
inline constexpr int sample_rows = 4, sample_cols = 5;

// Arrays of a picture in one compressed form. Lines are rows (by_rows) or
// columns; `gaps` leaves one unused slot after each line and gives the
// four-array form, otherwise the ends are starts + 1.
template <class T, class I> struct Compressed {
  std::vector<I> starts, ends, indices;
  std::vector<T> values;
  I* start() { return starts.data(); }
  I* end() { return ends.empty() ? starts.data() + 1 : ends.data(); }
};
template <class T, class I>
Compressed<T, I> compress(const Picture<T>& p, std::int64_t lines, bool by_rows, int base, bool gaps) {
  Compressed<T, I> c;
  std::vector<std::vector<std::pair<std::int64_t, T>>> line(lines);
  for (const auto& [rc, v] : p) line[by_rows ? rc.first : rc.second].push_back({by_rows ? rc.second : rc.first, v});
  for (auto& l : line) std::sort(l.begin(), l.end(), [](auto& a, auto& b) { return a.first < b.first; });
  for (const auto& l : line) {
    c.starts.push_back(static_cast<I>(c.indices.size() + base));
    for (const auto& [i, v] : l) {
      c.indices.push_back(static_cast<I>(i + base));
      c.values.push_back(v);
    }
    if (gaps) {
      c.ends.push_back(static_cast<I>(c.indices.size() + base));
      c.indices.push_back(static_cast<I>(base));  // never read
      c.values.push_back(value_of<T>(-99));
    }
  }
  if (!gaps) c.starts.push_back(static_cast<I>(c.indices.size() + base));
  return c;
}

// The elements of a handle's primary payload (or `transposed`), read from
// the arrays as the record layout describes them.
template <class T, class I> Picture<T> picture(const sparse_matrix<I>* h, bool transposed = false) {
  Picture<T> p;
  if (h->format == fmt_coo) {
    auto* m = static_cast<const coo_matrix<I>*>(h->primary);
    for (I k = 0; k < m->nnz; ++k)
      p[{m->row_indx[k] - m->index_base, m->col_indx[k] - m->index_base}] = static_cast<const T*>(m->values)[k];
    return p;
  }
  auto* m = transposed ? h->transposed : static_cast<const bsr_x_matrix<I>*>(h->primary);
  const bool by_cols = h->format == fmt_csc && !transposed;
  const I lines = by_cols ? m->cols : m->rows, b = m->block_size, base = m->index_base;
  for (I i = 0; i < lines; ++i)
    for (I k = m->rows_start[i] - base; k < m->rows_end[i] - base; ++k)
      for (I r = 0; r < b; ++r)
        for (I s = 0; s < b; ++s) {
          const I at = k * b * b + (m->block_col_major ? s * b + r : r * b + s);
          const std::int64_t row = i * b + r, col = (m->col_indx[k] - base) * b + s;
          p[by_cols ? std::pair{col, row} : std::pair{row, col}] = static_cast<const T*>(m->values)[at];
        }
  return p;
}

// A handle destroyed at the end of the scope.
template <class T, class I> struct Handle {
  sparse_matrix<I>* h = nullptr;
  ~Handle() {
    if (h != nullptr) api<T, I>().destroy(h);
  }
  sparse_matrix<I>* operator->() const { return h; }
  bsr_x_matrix<I>* payload() const { return static_cast<bsr_x_matrix<I>*>(h->primary); }
  std::int64_t requests() const {
    std::int64_t n = 0;
    for (auto* r = h->requests; r != nullptr; r = r->next_request) ++n;
    return n;
  }
  std::int64_t applied(optimization_request<I>* head) const {
    std::int64_t n = 0;
    for (auto* r = head; r != nullptr; r = r->next_applied) ++n;
    return n;
  }
};

// A CSR handle of the sample over arrays kept by the caller.
template <class T, class I> struct SampleCsr {
  Compressed<T, I> a;
  Handle<T, I> h;
  explicit SampleCsr(bool gaps = false, int base = 0)
      : a(compress<T, I>(sample<T>(), sample_rows, true, base, gaps)) {
    const Api<T, I>& A = api<T, I>();
    EXPECT_EQ(A.create_csr(&h.h, base, sample_rows, sample_cols, a.start(), a.end(), a.indices.data(), a.values.data()),
              ok);
  }
};

}  // namespace qor::test::sparse
