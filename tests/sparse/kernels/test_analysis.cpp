// The product analyses on handles built here field by field: what they
// store must give the right product through the kernels that read it, the
// memory hint 80 stores nothing, a refused allocation leaves nothing
// behind, and transposed products take effect only with their payload.
#include "sparse/analysis.h"

#include <cstring>

#include "frame/services.h"
#include "sparse/imports.h"
#include "sparse/kernels/kernels_test.h"

namespace qor::test::sparse_kernels {
namespace {

const descr general{20, 40, 50};

// A CSR handle over caller arrays, as the creation routines lay it out.
template <class T, class I> struct handle {
  compressed<T, I> a;
  optimal_data hub{};
  optimal_data hub_t{};
  bsr_x_matrix<I> payload{};
  bsr_x_matrix<I> transposed{};
  sparse_matrix<I> h{};
  handle(const matrix<T>& m, int base, Rng& rng) {
    a = compress<T, I>(m, false, base, false, rng);
    payload.rows = I(m.rows);
    payload.cols = I(m.cols);
    payload.nnz = I(m.v.size());
    payload.index_base = base;
    payload.block_size = 1;
    payload.three_array = 1;
    payload.rows_start = a.start.data();
    payload.rows_end = a.start.data() + 1;
    payload.col_indx = a.idx.data();
    payload.values = a.val.data();
    payload.optimal = &hub;
    h.data_type = type_code<T>;
    h.format = fmt_csr;
    h.memory_hint = aggressive_memory;
    h.rows = I(m.rows);
    h.cols = I(m.cols);
    h.primary = &payload;
  }
  ~handle() {
    for (optimal_data* o : {&hub, &hub_t}) {
      if (o->esb_mv) {
        for (void* p : o->esb_mv->array) qor_serv_free(p);
        qor_serv_free(o->esb_mv);
      }
      if (o->dia_mv) {
        for (void* p : o->dia_mv->array) qor_serv_free(p);
        qor_serv_free(o->dia_mv);
      }
    }
  }
};

template <class I> status optimize_mv(sparse_matrix<I>* h, optimization_request<I>* r) {
  if constexpr (sizeof(I) == 4)
    return qor_sparse_optimize_csr_mv_i4(h, r, nullptr);
  else
    return qor_sparse_optimize_csr_mv_i8(h, r, nullptr);
}
template <class I> status optimize_dotmv(sparse_matrix<I>* h, optimization_request<I>* r) {
  if constexpr (sizeof(I) == 4)
    return qor_sparse_optimize_csr_dotmv_i4(h, r, nullptr);
  else
    return qor_sparse_optimize_csr_dotmv_i8(h, r, nullptr);
}
template <class I> status optimize_mm(sparse_matrix<I>* h, optimization_request<I>* r) {
  if constexpr (sizeof(I) == 4)
    return qor_sparse_optimize_csr_mm_i4(h, r, nullptr);
  else
    return qor_sparse_optimize_csr_mm_i8(h, r, nullptr);
}

template <class I> optimization_request<I> request(i32 op, i32 type = 20) {
  optimization_request<I> r{};
  r.operation = u32(op);
  r.type = u32(type);
  r.mode = 40;
  r.diag = 50;
  r.expected_calls = 100;
  return r;
}

// The 2D Poisson matrix of an n x n grid, and a matrix of equal-length rows
// with scattered columns.
template <class T> matrix<T> poisson(long n) {
  matrix<T> m;
  m.rows = m.cols = n * n;
  for (long i = 0; i < n; ++i)
    for (long j = 0; j < n; ++j) {
      const long r = i * n + j;
      auto add = [&](long c, double v) { m.r.push_back(r), m.c.push_back(c), m.v.push_back(make<T>(v, 0)); };
      if (i > 0) add(r - n, -1);
      if (j > 0) add(r - 1, -1);
      add(r, 4);
      if (j < n - 1) add(r + 1, -1);
      if (i < n - 1) add(r + n, -1);
    }
  return m;
}
template <class T> matrix<T> scattered(long rows, long per_row, Rng& rng) {
  matrix<T> m;
  m.rows = m.cols = rows;
  for (long r = 0; r < rows; ++r)
    for (long k = 0; k < per_row; ++k) {
      m.r.push_back(r);
      m.c.push_back((r * 7919 + k * 104729) % rows);
      m.v.push_back(make<T>(rng.next(), rng.next()));
    }
  return m;
}

// y = alpha A x + beta y through whatever the hub holds: panels first,
// else slices; false when it holds neither.
template <class T, class I>
bool optimised_product(const optimal_data& hub, long rows, long cols, const T* x, T* y, T alpha, T beta) {
  const kernels<T, I>& k = bind<T, I>();
  if (hub.dia_mv) {
    const auto s = panel_shape_of(hub.dia_mv, rows);
    const auto* a = hub.dia_mv->array;
    k.dia_mv_ker(I(s.whole), I(s.tail), I(cols), static_cast<const i32*>(a[0]), static_cast<const i32*>(a[1]),
                 static_cast<const T*>(a[2]), x, y, alpha, beta);
    return true;
  }
  if (hub.esb_mv) {
    const auto s = esb_shape_of(hub.esb_mv, rows);
    const auto* a = hub.esb_mv->array;
    k.xESB_SpMV(I(s.width), 0, I(s.slices), I(s.tail), static_cast<const I*>(a[2]), static_cast<const I*>(a[3]),
                static_cast<const I*>(a[1]), static_cast<const T*>(a[0]), x, y, alpha, beta);
    return true;
  }
  return false;
}

template <class T, class I> void analysed_products() {
  Rng rng(11);
  struct named {
    std::string name;
    matrix<T> m;
    bool expect_layout;
  };
  std::vector<named> mats;
  mats.push_back({"poisson", poisson<T>(13), true});
  mats.push_back({"equal rows", scattered<T>(203, 6, rng), true});
  mats.push_back({"random", random_matrix<T>(61, 61, 0.2, general, rng), false});
  for (auto& [name, m, expect] : mats) {
    for (int base : {0, 1}) {
      SCOPED_TRACE(name + " base " + std::to_string(base));
      handle<T, I> hd(m, base, rng);
      auto r = request<I>(10);
      EXPECT_EQ(optimize_mv(&hd.h, &r), ok);
      if (expect) {
        EXPECT_EQ(r.took_effect, 1) << "a regular matrix gets a layout";
      }
      EXPECT_EQ(r.took_effect != 0, hd.hub.dia_mv != nullptr || hd.hub.esb_mv != nullptr);
      std::vector<T> x(m.cols), y0(m.rows);
      for (auto& v : x) v = make<T>(rng.next(), rng.next());
      for (auto& v : y0) v = make<T>(rng.next(), 0);
      const T alpha = make<T>(0.5, -1), beta = make<T>(-1, 0.5);
      const auto want = ref_product(dense(m, general, 10), x, y0, alpha, beta);
      std::vector<T> y = y0;
      if (optimised_product<T, I>(hd.hub, m.rows, m.cols, x.data(), y.data(), alpha, beta)) {
        EXPECT_TRUE(close(y, want.y, want.bound, 64 * eps<T>()));
      }
      // A dot request keeps what is there and adds slices when needed.
      auto rd = request<I>(10);
      EXPECT_EQ(optimize_dotmv(&hd.h, &rd), ok);
      if (rd.took_effect) {
        ASSERT_NE(hd.hub.esb_mv, nullptr);
        const auto s = esb_shape_of(hd.hub.esb_mv, m.rows);
        const auto* a = hd.hub.esb_mv->array;
        std::vector<T> yd(m.rows, nan_value<T>());
        T dot = nan_value<T>();
        bind<T, I>().ESB_SpDOTMV(I(s.width), 0, I(s.slices), I(s.tail), static_cast<const I*>(a[2]),
                                 static_cast<const I*>(a[3]), static_cast<const I*>(a[1]),
                                 static_cast<const T*>(a[0]), x.data(), yd.data(), alpha, T(0), &dot);
        const auto w0 = ref_product(dense(m, general, 10), x, y0, alpha, T(0));
        EXPECT_TRUE(close(yd, w0.y, w0.bound, 64 * eps<T>()));
      }
    }
  }
}

// Nothing of the matrix's size under hint 80 or for non-general types;
// transposed operations take effect once their payload exists.
template <class T, class I> void what_takes_effect() {
  Rng rng(12);
  const matrix<T> m = poisson<T>(6);
  handle<T, I> hd(m, 0, rng);
  hd.h.memory_hint = no_memory;
  auto r = request<I>(10);
  EXPECT_EQ(optimize_mv(&hd.h, &r), ok);
  EXPECT_EQ(r.took_effect, 0);
  EXPECT_EQ(hd.hub.dia_mv, nullptr);
  EXPECT_EQ(hd.hub.esb_mv, nullptr);
  hd.h.memory_hint = aggressive_memory;
  auto rs = request<I>(10, 21);
  EXPECT_EQ(optimize_mv(&hd.h, &rs), ok);
  EXPECT_EQ(rs.took_effect, 0);
  for (i32 op : {11, 12}) {
    auto rt = request<I>(op);
    EXPECT_EQ(optimize_mv(&hd.h, &rt), ok);
    EXPECT_EQ(rt.took_effect, 0) << "no transposed payload yet";
    auto rm = request<I>(op);
    EXPECT_EQ(optimize_mm(&hd.h, &rm), ok);
    EXPECT_EQ(rm.took_effect, 0);
  }
  // The Poisson matrix is its own transpose: a transposed payload over the
  // same arrays with a hub of its own.
  hd.transposed = hd.payload;
  hd.transposed.optimal = &hd.hub_t;
  hd.h.transposed = &hd.transposed;
  auto rt = request<I>(11);
  EXPECT_EQ(optimize_mv(&hd.h, &rt), ok);
  EXPECT_EQ(rt.took_effect, 1);
  auto rm = request<I>(12);
  EXPECT_EQ(optimize_mm(&hd.h, &rm), ok);
  EXPECT_EQ(rm.took_effect, 1);
  auto r10 = request<I>(10);
  EXPECT_EQ(optimize_mm(&hd.h, &r10), ok);
  EXPECT_EQ(r10.took_effect, 0) << "plain rows serve operation 10";
}

// Each allocation refused in turn: status 2, nothing stored, every block
// given back; then success.
template <class T, class I> void refused_allocations() {
  Rng rng(13);
  for (const matrix<T>& m : {poisson<T>(9), scattered<T>(97, 5, rng)}) {
    bool stored = false;
    for (std::int64_t k = 0; k < 20 && !stored; ++k) {
      AllocWatch watch;
      handle<T, I> hd(m, 1, rng);
      auto r = request<I>(10);
      qor_fault_fail_after(QOR_POOL_BOTH, k);
      const status s = optimize_mv(&hd.h, &r);
      qor_fault_reset();
      if (watch.failures() > 0) {
        EXPECT_EQ(s, alloc_failed);
        EXPECT_EQ(r.took_effect, 0);
        EXPECT_EQ(hd.hub.dia_mv, nullptr);
        EXPECT_EQ(hd.hub.esb_mv, nullptr);
      } else {
        EXPECT_EQ(s, ok);
        stored = r.took_effect != 0;
      }
    }
    EXPECT_TRUE(stored);
  }
}

#define QOR_KA_EACH(M) M(s, float, i4, std::int32_t) M(d, double, i4, std::int32_t) M(c, c32, i4, std::int32_t) \
  M(z, c64, i4, std::int32_t) M(s, float, i8, std::int64_t) M(d, double, i8, std::int64_t)                         \
  M(c, c32, i8, std::int64_t) M(z, c64, i8, std::int64_t)
#define QOR_KA_TEST(l, T, w, I)                                                  \
  TEST(SparseAnalysis, Products_##l##_##w) { analysed_products<T, I>(); }         \
  TEST(SparseAnalysis, WhatTakesEffect_##l##_##w) { what_takes_effect<T, I>(); } \
  TEST(SparseAnalysis, RefusedAllocations_##l##_##w) { refused_allocations<T, I>(); }
QOR_KA_EACH(QOR_KA_TEST)

}  // namespace
}  // namespace qor::test::sparse_kernels
