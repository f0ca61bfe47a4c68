// Level 3 beside GEMM against OpenBLAS, side by side in one run: dtrsm in
// its four left/right x lower/upper cases, dtrmm, dsyrk, dsymm and zherk,
// square problems from 256 to 4000, on one thread and on two.
//
//   bench_blas_level3 [quick] [routine...]   quick: sizes up to 1000 only
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "common/bench.h"
#include "qor/cblas.h"
#include "qor/qor.h"

extern "C" {
void cblas_dtrmm(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, double,
                 const double*, int, double*, int);
void cblas_dtrsm(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, double,
                 const double*, int, double*, int);
void cblas_dsyrk(CBLAS_LAYOUT, CBLAS_UPLO, CBLAS_TRANSPOSE, int, int, double, const double*, int, double, double*,
                 int);
void cblas_dsymm(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, int, int, double, const double*, int, const double*, int,
                 double, double*, int);
void cblas_zherk(CBLAS_LAYOUT, CBLAS_UPLO, CBLAS_TRANSPOSE, int, int, double, const void*, int, double, void*, int);
}

namespace {

using Trx = void(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, double, const double*,
                 int, double*, int);
using Syrk = void(CBLAS_LAYOUT, CBLAS_UPLO, CBLAS_TRANSPOSE, int, int, double, const double*, int, double, double*,
                  int);
using Symm = void(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, int, int, double, const double*, int, const double*, int,
                  double, double*, int);
using Herk = void(CBLAS_LAYOUT, CBLAS_UPLO, CBLAS_TRANSPOSE, int, int, double, const void*, int, double, void*, int);

std::vector<double> random_vec(std::size_t n, unsigned seed) {
  std::vector<double> v(n);
  unsigned s = seed;
  for (auto& x : v) {
    s = s * 1664525u + 1013904223u;
    x = static_cast<double>(s >> 8) / 16777216.0 - 0.5;
  }
  return v;
}

// A triangle with a unit-size diagonal and small off-diagonal elements.
std::vector<double> triangle(int n) {
  std::vector<double> a = random_vec(static_cast<std::size_t>(n) * n, 7);
  for (auto& x : a) x /= n;
  for (int i = 0; i < n; ++i) a[static_cast<std::size_t>(i) * n + i] = 1.0 + 0.25 * (i % 3);
  return a;
}

// Best time of `call` over repetitions; `reset` restores the output before
// each and is not timed.
template <class Reset, class Call>
double timed(Reset&& reset, Call&& call, double work) {
  const double budget = 0.3;
  double best = 1e300, total = 0;
  const int min_reps = work > 2e10 ? 1 : 3;
  for (int r = 0; r < min_reps || total < budget; ++r) {
    reset();
    const double t0 = qor::bench::now();
    call();
    const double t = qor::bench::now() - t0;
    total += t;
    if (t < best) best = t;
    if (r > 200) break;
  }
  return best;
}

bool wanted(const std::vector<std::string>& only, const char* name) {
  if (only.empty()) return true;
  for (auto& s : only)
    if (s == name) return true;
  return false;
}

void run(int threads, const std::vector<int>& sizes, const std::vector<std::string>& only) {
  auto& ob = qor::bench::openblas();
  ob.set_threads(threads);
  qor_set_num_threads(threads);
  const std::string tag = " " + std::to_string(threads) + "t";
  auto* ob_trsm = ob.fn<Trx>("cblas_dtrsm");
  auto* ob_trmm = ob.fn<Trx>("cblas_dtrmm");
  auto* ob_syrk = ob.fn<Syrk>("cblas_dsyrk");
  auto* ob_symm = ob.fn<Symm>("cblas_dsymm");
  auto* ob_herk = ob.fn<Herk>("cblas_zherk");
  for (int n : sizes) {
    const std::size_t nn = static_cast<std::size_t>(n) * n;
    const std::vector<double> a = triangle(n), b0 = random_vec(nn, 3), c0 = random_vec(nn, 5);
    std::vector<double> b(nn), c(nn);
    const std::string size = std::to_string(n);
    const double tri_work = static_cast<double>(n) * n * n;  // flops of a triangular solve or product
    auto reset_b = [&] { std::memcpy(b.data(), b0.data(), nn * sizeof(double)); };
    auto reset_c = [&] { std::memcpy(c.data(), c0.data(), nn * sizeof(double)); };
    if (wanted(only, "dtrsm")) {
      const struct {
        CBLAS_SIDE side;
        CBLAS_UPLO uplo;
        const char* name;
      } cases[] = {{CblasLeft, CblasLower, "dtrsm LL"},
                   {CblasLeft, CblasUpper, "dtrsm LU"},
                   {CblasRight, CblasLower, "dtrsm RL"},
                   {CblasRight, CblasUpper, "dtrsm RU"}};
      for (auto& cs : cases) {
        double ours = timed(reset_b, [&] {
          cblas_dtrsm(CblasColMajor, cs.side, cs.uplo, CblasNoTrans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
        }, tri_work);
        double peer = ob_trsm ? timed(reset_b, [&] {
          ob_trsm(CblasColMajor, cs.side, cs.uplo, CblasNoTrans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
        }, tri_work) : 0;
        qor::bench::report(cs.name + tag, size, ours, "GF/s", tri_work * 1e-9, ob.label(), peer);
      }
    }
    if (wanted(only, "dtrmm")) {
      double ours = timed(reset_b, [&] {
        cblas_dtrmm(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
      }, tri_work);
      double peer = ob_trmm ? timed(reset_b, [&] {
        ob_trmm(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
      }, tri_work) : 0;
      qor::bench::report("dtrmm LLN" + tag, size, ours, "GF/s", tri_work * 1e-9, ob.label(), peer);
    }
    if (wanted(only, "dsyrk")) {
      double ours = timed(reset_c, [&] {
        cblas_dsyrk(CblasColMajor, CblasLower, CblasNoTrans, n, n, 1.0, b0.data(), n, 0.5, c.data(), n);
      }, tri_work);
      double peer = ob_syrk ? timed(reset_c, [&] {
        ob_syrk(CblasColMajor, CblasLower, CblasNoTrans, n, n, 1.0, b0.data(), n, 0.5, c.data(), n);
      }, tri_work) : 0;
      qor::bench::report("dsyrk LN" + tag, size, ours, "GF/s", tri_work * 1e-9, ob.label(), peer);
    }
    if (wanted(only, "dsymm")) {
      const double work = 2.0 * tri_work;
      double ours = timed(reset_c, [&] {
        cblas_dsymm(CblasColMajor, CblasLeft, CblasLower, n, n, 1.0, a.data(), n, b0.data(), n, 0.5, c.data(), n);
      }, work);
      double peer = ob_symm ? timed(reset_c, [&] {
        ob_symm(CblasColMajor, CblasLeft, CblasLower, n, n, 1.0, a.data(), n, b0.data(), n, 0.5, c.data(), n);
      }, work) : 0;
      qor::bench::report("dsymm LL" + tag, size, ours, "GF/s", work * 1e-9, ob.label(), peer);
    }
    if (wanted(only, "zherk")) {
      // Complex n x n from the real arrays: n / 2 rows of pairs would be too
      // small, so take a fresh set.
      const std::vector<double> za = random_vec(2 * nn, 9), zc0 = random_vec(2 * nn, 11);
      std::vector<double> zc(2 * nn);
      auto reset_z = [&] { std::memcpy(zc.data(), zc0.data(), 2 * nn * sizeof(double)); };
      const double work = 4.0 * tri_work;
      double ours = timed(reset_z, [&] {
        cblas_zherk(CblasColMajor, CblasLower, CblasNoTrans, n, n, 1.0, za.data(), n, 0.5, zc.data(), n);
      }, work);
      double peer = ob_herk ? timed(reset_z, [&] {
        ob_herk(CblasColMajor, CblasLower, CblasNoTrans, n, n, 1.0, za.data(), n, 0.5, zc.data(), n);
      }, work) : 0;
      qor::bench::report("zherk LN" + tag, size, ours, "GF/s", work * 1e-9, ob.label(), peer);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = false;
  std::vector<std::string> only;
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "quick") == 0) {
      quick = true;
    } else {
      only.emplace_back(argv[i]);
    }
  }
  std::vector<int> sizes = quick ? std::vector<int>{256, 500, 1000} : std::vector<int>{256, 500, 1000, 2000, 4000};
  std::printf("Level 3 against OpenBLAS: ratio = OpenBLAS time / qor time (above 1: qor faster)\n");
  for (int threads : {1, 2}) run(threads, sizes, only);
  return 0;
}
