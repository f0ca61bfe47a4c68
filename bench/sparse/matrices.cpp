// Generators of the benchmark matrices (matrices.h).
#include "sparse/matrices.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>

namespace qor::bench::sparse {
namespace {

// Rows of (column, value) pairs to sorted CSR, merging repeated positions.
csr from_rows(std::string name, std::int64_t rows, std::int64_t cols,
              std::vector<std::vector<std::pair<std::int32_t, double>>>& r) {
  csr a;
  a.name = std::move(name);
  a.rows = rows;
  a.cols = cols;
  a.ptr.push_back(0);
  for (auto& row : r) {
    std::sort(row.begin(), row.end(), [](const auto& p, const auto& q) { return p.first < q.first; });
    for (std::size_t k = 0; k < row.size(); ++k) {
      if (k > 0 && row[k].first == row[k - 1].first) {
        a.val.back() += row[k].second;
        continue;
      }
      a.col.push_back(row[k].first);
      a.val.push_back(row[k].second);
    }
    a.ptr.push_back(static_cast<std::int32_t>(a.col.size()));
    std::vector<std::pair<std::int32_t, double>>().swap(row);
  }
  return a;
}

}  // namespace

csr poisson2d(std::int64_t n) {
  csr a;
  a.name = "poisson2d";
  a.rows = a.cols = n * n;
  a.symmetric = true;
  a.ptr.push_back(0);
  for (std::int64_t i = 0; i < n; ++i)
    for (std::int64_t j = 0; j < n; ++j) {
      const std::int64_t r = i * n + j;
      auto add = [&](std::int64_t c, double v) {
        a.col.push_back(static_cast<std::int32_t>(c));
        a.val.push_back(v);
      };
      if (i > 0) add(r - n, -1);
      if (j > 0) add(r - 1, -1);
      add(r, 4);
      if (j < n - 1) add(r + 1, -1);
      if (i < n - 1) add(r + n, -1);
      a.ptr.push_back(static_cast<std::int32_t>(a.col.size()));
    }
  return a;
}

csr poisson3d(std::int64_t n) {
  csr a;
  a.name = "poisson3d";
  a.rows = a.cols = n * n * n;
  a.symmetric = true;
  a.ptr.push_back(0);
  for (std::int64_t i = 0; i < n; ++i)
    for (std::int64_t j = 0; j < n; ++j)
      for (std::int64_t k = 0; k < n; ++k) {
        const std::int64_t r = (i * n + j) * n + k;
        auto add = [&](std::int64_t c, double v) {
          a.col.push_back(static_cast<std::int32_t>(c));
          a.val.push_back(v);
        };
        if (i > 0) add(r - n * n, -1);
        if (j > 0) add(r - n, -1);
        if (k > 0) add(r - 1, -1);
        add(r, 6);
        if (k < n - 1) add(r + 1, -1);
        if (j < n - 1) add(r + n, -1);
        if (i < n - 1) add(r + n * n, -1);
        a.ptr.push_back(static_cast<std::int32_t>(a.col.size()));
      }
  return a;
}

csr rmat(int scale, int edge_factor, std::uint64_t seed) {
  const std::int64_t n = std::int64_t{1} << scale;
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(0, 1);
  std::vector<std::vector<std::pair<std::int32_t, double>>> r(static_cast<std::size_t>(n));
  const double a = 0.57, b = 0.19, c = 0.19;
  for (std::int64_t e = 0; e < n * edge_factor; ++e) {
    std::int64_t i = 0, j = 0;
    for (int level = 0; level < scale; ++level) {
      const double p = u(gen);
      const int bi = p >= a + b ? 1 : 0;
      const int bj = (p >= a && p < a + b) || p >= a + b + c ? 1 : 0;
      i = 2 * i + bi;
      j = 2 * j + bj;
    }
    r[static_cast<std::size_t>(i)].push_back({static_cast<std::int32_t>(j), u(gen) - 0.5});
  }
  return from_rows("rmat", n, n, r);
}

csr pareto(std::int64_t rows, double mean, std::uint64_t seed) {
  // Shape 2 has mean 2 * x_m: x_m = mean / 2, lengths rounded down, at
  // least 1, at most the column count.
  std::mt19937_64 gen(seed);
  std::uniform_real_distribution<double> u(0, 1);
  std::uniform_int_distribution<std::int32_t> column(0, static_cast<std::int32_t>(rows - 1));
  std::vector<std::vector<std::pair<std::int32_t, double>>> r(static_cast<std::size_t>(rows));
  for (auto& row : r) {
    const double len = (mean / 2) / std::sqrt(1 - u(gen));
    const std::int64_t k = std::clamp<std::int64_t>(static_cast<std::int64_t>(len), 1, rows);
    for (std::int64_t q = 0; q < k; ++q) row.push_back({column(gen), u(gen) - 0.5});
  }
  return from_rows("pareto", rows, rows, r);
}

std::vector<csr> all_matrices(bool quick) {
  std::vector<csr> m;
  m.push_back(poisson2d(quick ? 300 : 1000));
  m.push_back(poisson3d(quick ? 45 : 100));
  m.push_back(rmat(quick ? 17 : 20, 8, 20));
  m.push_back(pareto(quick ? 100000 : 1000000, 8, 8));
  return m;
}

csr lower_triangle(const csr& a) {
  csr l;
  l.name = a.name + "_lower";
  l.rows = a.rows;
  l.cols = a.cols;
  l.ptr.push_back(0);
  for (std::int64_t i = 0; i < a.rows; ++i) {
    for (std::int32_t k = a.ptr[static_cast<std::size_t>(i)]; k < a.ptr[static_cast<std::size_t>(i) + 1]; ++k)
      if (a.col[static_cast<std::size_t>(k)] <= i) {
        l.col.push_back(a.col[static_cast<std::size_t>(k)]);
        l.val.push_back(a.val[static_cast<std::size_t>(k)]);
      }
    l.ptr.push_back(static_cast<std::int32_t>(l.col.size()));
  }
  return l;
}

bool write_all(const std::vector<csr>& m, const std::string& dir) {
  std::FILE* index = std::fopen((dir + "/index.txt").c_str(), "w");
  if (index == nullptr) return false;
  bool ok = true;
  for (const csr& a : m) {
    auto dump = [&](const char* ext, const void* p, std::size_t bytes) {
      std::FILE* f = std::fopen((dir + "/" + a.name + "." + ext).c_str(), "wb");
      if (f == nullptr) return false;
      const bool w = std::fwrite(p, 1, bytes, f) == bytes;
      return std::fclose(f) == 0 && w;
    };
    ok &= dump("ptr", a.ptr.data(), a.ptr.size() * 4);
    ok &= dump("col", a.col.data(), a.col.size() * 4);
    ok &= dump("val", a.val.data(), a.val.size() * 8);
    std::fprintf(index, "%s %lld %lld %lld %d\n", a.name.c_str(), static_cast<long long>(a.rows),
                 static_cast<long long>(a.cols), static_cast<long long>(a.nnz()), a.symmetric ? 1 : 0);
  }
  return std::fclose(index) == 0 && ok;
}

}  // namespace qor::bench::sparse
