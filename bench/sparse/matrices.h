// The benchmark matrices, generated with fixed seeds so that every run
// and every program (the Eigen bench, the scipy script through the files
// bench_sparse --write makes) sees the same arrays: zero-based CSR with
// sorted rows and no repeated position.
//   poisson2d  5-point Laplacian of a 1000 x 1000 grid (10^6 rows)
//   poisson3d  7-point Laplacian of a 100^3 grid (10^6 rows)
//   rmat       R-MAT graph of scale 20, edge factor 8 (a, b, c = 0.57,
//              0.19, 0.19), repeated edges merged
//   pareto     10^6 rows with Pareto-distributed lengths (shape 2, mean 8)
//              and uniformly random columns
// `scale` below 1 shrinks every matrix (quick runs).
#pragma once
#include <cstdint>
#include <string>
#include <vector>

namespace qor::bench::sparse {

struct csr {
  std::string name;
  std::int64_t rows = 0, cols = 0;
  std::vector<std::int32_t> ptr, col;
  std::vector<double> val;
  bool symmetric = false;
  std::int64_t nnz() const { return static_cast<std::int64_t>(col.size()); }
};

csr poisson2d(std::int64_t side);
csr poisson3d(std::int64_t side);
csr rmat(int scale, int edge_factor, std::uint64_t seed);
csr pareto(std::int64_t rows, double mean, std::uint64_t seed);

// The four matrices at full size, or smaller for quick runs.
std::vector<csr> all_matrices(bool quick);

// The lower triangle (diagonal included) of a matrix.
csr lower_triangle(const csr& a);

// Writes ptr (int32), col (int32), val (float64) as raw little-endian
// files <dir>/<name>.{ptr,col,val} and a line "<name> rows cols nnz
// symmetric" per matrix into <dir>/index.txt.
bool write_all(const std::vector<csr>& m, const std::string& dir);

}  // namespace qor::bench::sparse
