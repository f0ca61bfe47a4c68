// Self-checks of the sparse products: y = A x for a CSR, CSC and COO
// handle, and a CSR handle optimised for the product, against a dense long
// double product, with the speed of each on the 5-point Laplacian of a
// square grid in GB/s (values, indices, pointers, x and y read or written
// once).
#include "qor/sparse.h"

#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "check.h"

using qor::selftest::Result;

namespace {

enum class storage { csr, csc, coo, csr_optimised };

struct triplets {
  std::int32_t rows = 0, cols = 0;
  std::vector<std::int32_t> row, col;
  std::vector<double> value;
};

// A random rows x cols matrix, about `per_row` elements a row.
triplets random_matrix(std::int32_t rows, std::int32_t cols, int per_row) {
  std::mt19937 gen(2024);
  std::uniform_int_distribution<std::int32_t> pick(0, cols - 1);
  std::uniform_real_distribution<double> u(-1, 1);
  triplets t{rows, cols, {}, {}, {}};
  for (std::int32_t i = 0; i < rows; ++i) {
    std::vector<bool> used(static_cast<std::size_t>(cols), false);
    for (int k = 0; k < per_row; ++k) {
      const std::int32_t j = pick(gen);
      if (used[static_cast<std::size_t>(j)]) continue;
      used[static_cast<std::size_t>(j)] = true;
      t.row.push_back(i);
      t.col.push_back(j);
      t.value.push_back(u(gen));
    }
  }
  return t;
}

// The 5-point Laplacian of an n x n grid.
triplets laplacian(std::int32_t n) {
  triplets t{n * n, n * n, {}, {}, {}};
  for (std::int32_t i = 0; i < n; ++i)
    for (std::int32_t j = 0; j < n; ++j) {
      const std::int32_t r = i * n + j;
      auto add = [&](std::int32_t c, double v) {
        t.row.push_back(r);
        t.col.push_back(c);
        t.value.push_back(v);
      };
      if (i > 0) add(r - n, -1);
      if (j > 0) add(r - 1, -1);
      add(r, 4);
      if (j < n - 1) add(r + 1, -1);
      if (i < n - 1) add(r + n, -1);
    }
  return t;
}

// A handle over arrays it keeps alive.
struct sparse {
  std::vector<std::int32_t> ptr, index, other;
  std::vector<double> value;
  qor_sparse_handle h = nullptr;
  int status = 0;

  sparse(const triplets& t, storage s) {
    const bool by_col = s == storage::csc;
    if (s == storage::coo) {
      other = t.row;
      index = t.col;
      value = t.value;
      status = qor_sparse_d_create_coo(&h, 0, t.rows, t.cols, static_cast<std::int32_t>(value.size()), other.data(),
                                       index.data(), value.data());
      return;
    }
    const std::int32_t outer = by_col ? t.cols : t.rows;
    ptr.assign(static_cast<std::size_t>(outer) + 1, 0);
    for (std::size_t k = 0; k < t.value.size(); ++k) ++ptr[static_cast<std::size_t>(by_col ? t.col[k] : t.row[k]) + 1];
    for (std::int32_t i = 0; i < outer; ++i) ptr[static_cast<std::size_t>(i) + 1] += ptr[static_cast<std::size_t>(i)];
    index.resize(t.value.size());
    value.resize(t.value.size());
    std::vector<std::int32_t> at(ptr.begin(), ptr.end() - 1);
    for (std::size_t k = 0; k < t.value.size(); ++k) {
      const std::int32_t o = by_col ? t.col[k] : t.row[k];
      const std::size_t p = static_cast<std::size_t>(at[static_cast<std::size_t>(o)]++);
      index[p] = by_col ? t.row[k] : t.col[k];
      value[p] = t.value[k];
    }
    status =
        by_col ? qor_sparse_d_create_csc(&h, 0, t.rows, t.cols, ptr.data(), ptr.data() + 1, index.data(), value.data())
               : qor_sparse_d_create_csr(&h, 0, t.rows, t.cols, ptr.data(), ptr.data() + 1, index.data(), value.data());
    if (status == 0 && s == storage::csr_optimised) {
      const qor_sparse_descr g{QOR_SPARSE_GENERAL, QOR_SPARSE_FULL, QOR_SPARSE_NON_UNIT};
      status = qor_sparse_set_mv_hint(h, QOR_SPARSE_OP_N, g, 1000);
      if (status == 0) status = qor_sparse_optimize(h);
    }
  }
  ~sparse() {
    if (h != nullptr) qor_sparse_destroy(h);
  }
};

Result run(storage s, const char* what) {
  Result r;
  const qor_sparse_descr g{QOR_SPARSE_GENERAL, QOR_SPARSE_FULL, QOR_SPARSE_NON_UNIT};
  // Accuracy: a 300 x 200 matrix against the dense long double product.
  {
    const triplets t = random_matrix(300, 200, 12);
    sparse a(t, s);
    if (a.status != 0) {
      r.ok = false;
      r.detail = std::string(what) + ": create failed, status " + std::to_string(a.status);
      return r;
    }
    std::vector<long double> dense(static_cast<std::size_t>(t.rows) * t.cols, 0.0L);
    for (std::size_t k = 0; k < t.value.size(); ++k)
      dense[static_cast<std::size_t>(t.row[k]) * t.cols + t.col[k]] += t.value[k];
    std::vector<double> x(static_cast<std::size_t>(t.cols)), y(static_cast<std::size_t>(t.rows));
    for (std::size_t j = 0; j < x.size(); ++j) x[j] = std::sin(0.37 * static_cast<double>(j) + 0.1);
    r.ok &= qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, a.h, g, x.data(), 0.0, y.data()) == 0;
    for (std::int32_t i = 0; i < t.rows; ++i) {
      long double want = 0, mag = 0;
      for (std::int32_t j = 0; j < t.cols; ++j) {
        want += dense[static_cast<std::size_t>(i) * t.cols + j] * x[static_cast<std::size_t>(j)];
        mag += std::fabs(dense[static_cast<std::size_t>(i) * t.cols + j] * x[static_cast<std::size_t>(j)]);
      }
      if (mag > 0)
        r.error = std::fmax(r.error, static_cast<double>(std::fabs(y[static_cast<std::size_t>(i)] - want) / mag));
    }
    r.ok &= r.error < 1e-14;
  }
  // Speed: the Laplacian of a 700 x 700 grid (or 1500 x 1500 under --long).
  const std::int32_t n = qor::selftest::long_run() ? 1500 : 700;
  const triplets t = laplacian(n);
  sparse a(t, s);
  std::vector<double> x(static_cast<std::size_t>(t.cols), 1.0), y(static_cast<std::size_t>(t.rows));
  double best = 1e30;
  for (int rep = 0; rep < 20; ++rep) {
    const double t0 = qor::selftest::now();
    r.ok &= qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, a.h, g, x.data(), 0.0, y.data()) == 0;
    best = std::fmin(best, qor::selftest::now() - t0);
  }
  const double nnz = static_cast<double>(t.value.size());
  const double bytes = nnz * (8 + 4) + (s == storage::coo ? nnz * 4 : (t.rows + 1) * 4.0) + 2.0 * 8 * t.rows;
  r.speed = bytes / best * 1e-9;
  r.unit = "GB/s";
  r.detail = std::string(what) + ", 300x200 random against long double; speed on the " + std::to_string(n) +
             "^2 grid Laplacian";
  return r;
}

}  // namespace

QOR_SELFTEST("sparse", dcsr_mv) { return run(storage::csr, "CSR"); }
QOR_SELFTEST("sparse", dcsr_mv_optimised) { return run(storage::csr_optimised, "CSR hinted and optimised"); }
QOR_SELFTEST("sparse", dcsc_mv) { return run(storage::csc, "CSC"); }
QOR_SELFTEST("sparse", dcoo_mv) { return run(storage::coo, "COO"); }
