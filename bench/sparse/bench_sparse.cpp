// Sparse products (qor/sparse.h) against Eigen's row-major SparseMatrix,
// side by side in one run, on the matrices of matrices.h:
//
//   mv n          y = A x, beta 0, plain and hinted + optimised, 1 and 2
//                 threads (Eigen::setNbThreads alike)
//   mv t          y = A^T x, plain and optimised (Eigen: A.transpose() * x)
//   sym lower     y = A x from the lower triangle (Eigen: selfadjointView)
//   dotmv         y = A x and x . y (Eigen: the product, then the dot)
//   mm            C = A B with 8 and 32 columns, column- and row-major
//   mv n i8       the 64-bit index handle
//   optimize      the cost of qor_sparse_optimize in plain products
//
// Each line gives GB/s (values, column indices, row pointers, x and y
// counted once each), the ratio Eigen time / qor time (above 1: qor is
// faster), and the fraction of a triad (a = b + s c) over as many bytes,
// measured in the same run. The sides are timed in alternating rounds, the
// best sample of each kept.
//
// At the end it writes the matrices to a temporary directory and runs
// bench_sparse.py with /usr/bin/python3, which compares qor with scipy
// through ctypes on the same arrays.
//
//   bench_sparse [quick] [noscipy] [--write DIR]
//     quick:   smaller matrices (also QOR_BENCH_QUICK=1)
//     noscipy: leave out the scipy comparison
//     --write DIR: write the matrices for bench_sparse.py and stop
#include <dlfcn.h>
#include <unistd.h>

#include <Eigen/Core>
#include <Eigen/SparseCore>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "common/bench.h"
#include "qor/sparse.h"
#include "sparse/matrices.h"

namespace {

using qor::bench::sparse::csr;
using eigen_csr = Eigen::SparseMatrix<double, Eigen::RowMajor, int>;
using eigen_map = Eigen::Map<const eigen_csr>;
using vec = Eigen::VectorXd;

constexpr double min_seconds = 0.3;

const qor_sparse_descr general{QOR_SPARSE_GENERAL, QOR_SPARSE_FULL, QOR_SPARSE_NON_UNIT};
const qor_sparse_descr sym_lower{QOR_SPARSE_SYMMETRIC, QOR_SPARSE_LOWER, QOR_SPARSE_NON_UNIT};

std::string processor() {
  std::ifstream f("/proc/cpuinfo");
  std::string line;
  while (std::getline(f, line))
    if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
  return "unknown processor";
}

// Bytes a product moves: the matrix once, x and y once each.
double product_bytes(const csr& a, std::int64_t columns = 1) {
  return static_cast<double>(a.nnz()) * 12 + static_cast<double>(a.rows + 1) * 4 +
         static_cast<double>(a.rows + a.cols) * 8 * static_cast<double>(columns);
}

// Best time of the triad a = b + s c over as many bytes as `bytes`.
double triad_seconds(double bytes) {
  const std::size_t n = static_cast<std::size_t>(bytes / 24) + 1;
  std::vector<double> a(n, 0.0), b(n, 1.0), c(n, 2.0);
  const double s = 0.5;
  return qor::bench::best_time(
      [&] {
        double* __restrict pa = a.data();
        const double* __restrict pb = b.data();
        const double* __restrict pc = c.data();
#pragma omp parallel for num_threads(qor_get_max_threads()) schedule(static)
        for (std::size_t i = 0; i < n; ++i) pa[i] = pb[i] + s * pc[i];
      },
      min_seconds);
}

// A qor handle over a matrix's arrays, 32- or 64-bit indices.
struct handle32 {
  qor_sparse_handle h = nullptr;
  explicit handle32(const csr& a) {
    qor_sparse_d_create_csr(&h, 0, static_cast<std::int32_t>(a.rows), static_cast<std::int32_t>(a.cols),
                            const_cast<std::int32_t*>(a.ptr.data()), const_cast<std::int32_t*>(a.ptr.data()) + 1,
                            const_cast<std::int32_t*>(a.col.data()), const_cast<double*>(a.val.data()));
  }
  ~handle32() { qor_sparse_destroy(h); }
};
struct handle64 {
  std::vector<std::int64_t> ptr, col;
  qor_sparse_handle_64 h = nullptr;
  explicit handle64(const csr& a) : ptr(a.ptr.begin(), a.ptr.end()), col(a.col.begin(), a.col.end()) {
    qor_sparse_d_create_csr_64(&h, 0, a.rows, a.cols, ptr.data(), ptr.data() + 1, col.data(),
                               const_cast<double*>(a.val.data()));
  }
  ~handle64() { qor_sparse_destroy_64(h); }
};

struct line_printer {
  double triad_gbs;
  void operator()(const std::string& what, const csr& a, double bytes, double ours, double eigen, int threads) const {
    qor::bench::Case c;
    c.what = what;
    c.operation = what;
    c.type = "d";
    c.size = a.name;
    c.n = static_cast<double>(a.rows);
    c.bytes = bytes;
    c.threads = threads;
    qor::bench::report(c, ours, "GB/s", bytes * 1e-9, eigen > 0 ? "eigen" : "", eigen);
    std::printf("%-22s %-16s   triad %.2f GB/s: qor at %.0f%%\n", "", "", triad_gbs,
                100 * bytes * 1e-9 / ours / triad_gbs);
  }
};

void bench_matrix(const csr& a) {
  const eigen_map e(a.rows, a.cols, a.nnz(), a.ptr.data(), a.col.data(), a.val.data());
  vec x = vec::LinSpaced(a.cols, -1, 1), y(a.rows), yt(a.cols), ey(a.rows), eyt(a.cols);
  const double bytes = product_bytes(a);
  std::printf("\n== %s: %lld x %lld, %lld elements\n", a.name.c_str(), static_cast<long long>(a.rows),
              static_cast<long long>(a.cols), static_cast<long long>(a.nnz()));

  handle32 plain(a), opt(a), opt_t(a);
  // Optimised for n (the cost of optimize in plain products) and,
  // separately, for t.
  qor_set_num_threads(1);
  qor_sparse_set_mv_hint(opt.h, QOR_SPARSE_OP_N, general, 1000);
  qor_sparse_set_dotmv_hint(opt.h, QOR_SPARSE_OP_N, general, 1000);
  const double t0 = qor::bench::now();
  qor_sparse_optimize(opt.h);
  const double optimize_s = qor::bench::now() - t0;
  qor_sparse_set_mv_hint(opt_t.h, QOR_SPARSE_OP_T, general, 1000);
  qor_sparse_optimize(opt_t.h);

  for (int threads : {1, 2}) {
    qor_set_num_threads(threads);
    Eigen::setNbThreads(threads);
    const line_printer print{bytes * 1e-9 / triad_seconds(bytes)};
    const std::string t = " " + std::to_string(threads) + "t";
    auto p = qor::bench::best_times_alternating(
        [&] { qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, plain.h, general, x.data(), 0.0, y.data()); },
        [&] { ey.noalias() = e * x; }, min_seconds);
    print("mv n plain" + t, a, bytes, p.first, p.second, threads);
    p = qor::bench::best_times_alternating(
        [&] { qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, opt.h, general, x.data(), 0.0, y.data()); },
        [&] { ey.noalias() = e * x; }, min_seconds);
    print("mv n optimised" + t, a, bytes, p.first, p.second, threads);
    if (threads == 1) {
      const double plain_s = qor::bench::best_time(
          [&] { qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, plain.h, general, x.data(), 0.0, y.data()); }, min_seconds);
      std::printf("%-22s %-16s   optimize costs %.1f plain products\n", "optimize", a.name.c_str(),
                  optimize_s / plain_s);
    }
  }

  qor_set_num_threads(1);
  Eigen::setNbThreads(1);
  const line_printer print{bytes * 1e-9 / triad_seconds(bytes)};
  vec xr = vec::LinSpaced(a.rows, -1, 1);
  auto p = qor::bench::best_times_alternating(
      [&] { qor_sparse_d_mv(QOR_SPARSE_OP_T, 1.0, plain.h, general, xr.data(), 0.0, yt.data()); },
      [&] { eyt.noalias() = e.transpose() * xr; }, min_seconds);
  print("mv t plain", a, bytes, p.first, p.second, 1);
  p = qor::bench::best_times_alternating(
      [&] { qor_sparse_d_mv(QOR_SPARSE_OP_T, 1.0, opt_t.h, general, xr.data(), 0.0, yt.data()); },
      [&] { eyt.noalias() = e.transpose() * xr; }, min_seconds);
  print("mv t optimised", a, bytes, p.first, p.second, 1);

  if (a.symmetric) {
    const csr l = qor::bench::sparse::lower_triangle(a);
    const eigen_map el(l.rows, l.cols, l.nnz(), l.ptr.data(), l.col.data(), l.val.data());
    handle32 lh(l);
    const double lbytes = product_bytes(l);
    p = qor::bench::best_times_alternating(
        [&] { qor_sparse_d_mv(QOR_SPARSE_OP_N, 1.0, lh.h, sym_lower, x.data(), 0.0, y.data()); },
        [&] { ey.noalias() = el.selfadjointView<Eigen::Lower>() * x; }, min_seconds);
    print("sym lower", l, lbytes, p.first, p.second, 1);
  }

  if (a.rows == a.cols) {
    double d = 0, ed = 0;
    p = qor::bench::best_times_alternating(
        [&] { qor_sparse_d_dotmv(QOR_SPARSE_OP_N, 1.0, opt.h, general, x.data(), 0.0, y.data(), &d); },
        [&] {
          ey.noalias() = e * x;
          ed = x.dot(ey);
        },
        min_seconds);
    print("dotmv optimised", a, bytes, p.first, p.second, 1);
  }

  for (int k : {8, 32}) {
    const double mbytes = product_bytes(a, k);
    Eigen::MatrixXd bc = Eigen::MatrixXd::Random(a.cols, k), cc(a.rows, k), ec(a.rows, k);
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> br = bc, cr(a.rows, k), er(a.rows, k);
    p = qor::bench::best_times_alternating(
        [&] {
          qor_sparse_d_mm(QOR_SPARSE_OP_N, 1.0, plain.h, general, QOR_SPARSE_COLUMN_MAJOR, bc.data(), k,
                          static_cast<std::int32_t>(a.cols), 0.0, cc.data(), static_cast<std::int32_t>(a.rows));
        },
        [&] { ec.noalias() = e * bc; }, min_seconds);
    print("mm " + std::to_string(k) + " col-major", a, mbytes, p.first, p.second, 1);
    p = qor::bench::best_times_alternating(
        [&] {
          qor_sparse_d_mm(QOR_SPARSE_OP_N, 1.0, plain.h, general, QOR_SPARSE_ROW_MAJOR, br.data(), k, k, 0.0, cr.data(),
                          k);
        },
        [&] { er.noalias() = e * br; }, min_seconds);
    print("mm " + std::to_string(k) + " row-major", a, mbytes, p.first, p.second, 1);
  }

  handle64 wide(a);
  const double wbytes = bytes + static_cast<double>(a.nnz() + a.rows + 1) * 4;
  p = qor::bench::best_times_alternating(
      [&] { qor_sparse_d_mv_64(QOR_SPARSE_OP_N, 1.0, wide.h, general, x.data(), 0.0, y.data()); },
      [&] { ey.noalias() = e * x; }, min_seconds);
  print("mv n plain i8", a, wbytes, p.first, p.second, 1);
}

// The scipy side: the same matrices through files, the same core library.
int run_scipy(const std::vector<csr>& m) {
  Dl_info info{};
  if (dladdr(reinterpret_cast<void*>(&qor_sparse_d_mv), &info) == 0 || info.dli_fname == nullptr) {
    std::fprintf(stderr, "bench_sparse: cannot find the core library for the scipy side\n");
    return 1;
  }
  char dir[] = "/tmp/qor_bench_sparse_XXXXXX";
  if (mkdtemp(dir) == nullptr || !qor::bench::sparse::write_all(m, dir)) {
    std::fprintf(stderr, "bench_sparse: cannot write the matrices for the scipy side\n");
    return 1;
  }
  std::fflush(stdout);
  const std::string cmd =
      std::string("/usr/bin/python3 ") + QOR_SPARSE_BENCH_SCRIPT + " --lib " + info.dli_fname + " --matrices " + dir;
  const int rc = std::system(cmd.c_str());
  for (const csr& a : m)
    for (const char* ext : {"ptr", "col", "val"}) unlink((std::string(dir) + "/" + a.name + "." + ext).c_str());
  unlink((std::string(dir) + "/index.txt").c_str());
  rmdir(dir);
  return rc == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = std::getenv("QOR_BENCH_QUICK") != nullptr, scipy = true;
  std::string write_dir;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "quick") == 0) quick = true;
    if (std::strcmp(argv[i], "noscipy") == 0) scipy = false;
    if (std::strcmp(argv[i], "--write") == 0 && i + 1 < argc) write_dir = argv[++i];
  }
  const std::vector<csr> m = qor::bench::sparse::all_matrices(quick);
  if (!write_dir.empty()) {
    if (!qor::bench::sparse::write_all(m, write_dir)) {
      std::fprintf(stderr, "bench_sparse: cannot write into %s\n", write_dir.c_str());
      return 1;
    }
    return 0;
  }
  std::printf("sparse products against Eigen %d.%d.%d (row-major SparseMatrix), double, beta 0\n", EIGEN_WORLD_VERSION,
              EIGEN_MAJOR_VERSION, EIGEN_MINOR_VERSION);
  std::printf("processor: %s\n", processor().c_str());
  for (const csr& a : m) bench_matrix(a);
  if (scipy) return run_scipy(m);
  return 0;
}
