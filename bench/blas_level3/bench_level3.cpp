// Level 3 beside GEMM against OpenBLAS, side by side in one run: dtrsm in
// its four left/right x lower/upper cases (without and with transposition),
// strsm, ctrsm and ztrsm in two cases each, dtrmm, dsyrk, dsymm and zherk, square problems from 256 to 4000, on one
// thread and on two. A dgemm line at each size gives our own GEMM rate, and
// every other line says what fraction of it the routine reaches (GEMM does
// most of their arithmetic).
//
//   bench_blas_level3 [quick] [cputime] [1t|2t] [n=<size>] [routine...]
//     quick:   sizes up to 1000 only (also QOR_BENCH_QUICK=1)
//     cputime: time the one-thread runs by the calling thread's CPU time
//              (both libraries compute on that thread), steadier on a
//              shared machine
//     1t, 2t:  only that thread count
//     n=:      only that size (may repeat)
//     routine: dgemm dtrsm dtrsmt strsm ctrsm ztrsm dtrmm dsyrk dsymm zherk
//              (default: all)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
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
void cblas_strsm(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, float, const float*,
                 int, float*, int);
void cblas_ctrsm(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, const void*,
                 const void*, int, void*, int);
void cblas_ztrsm(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, const void*,
                 const void*, int, void*, int);
void cblas_dgemm(CBLAS_LAYOUT, CBLAS_TRANSPOSE, CBLAS_TRANSPOSE, int, int, int, double, const double*, int,
                 const double*, int, double, double*, int);
}

namespace {

using Trx = void(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, double, const double*,
                 int, double*, int);
using Syrk = void(CBLAS_LAYOUT, CBLAS_UPLO, CBLAS_TRANSPOSE, int, int, double, const double*, int, double, double*,
                  int);
using Symm = void(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, int, int, double, const double*, int, const double*, int,
                  double, double*, int);
using Herk = void(CBLAS_LAYOUT, CBLAS_UPLO, CBLAS_TRANSPOSE, int, int, double, const void*, int, double, void*, int);
using Strsm = void(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, float, const float*,
                   int, float*, int);
using Ztrsm = void(CBLAS_LAYOUT, CBLAS_SIDE, CBLAS_UPLO, CBLAS_TRANSPOSE, CBLAS_DIAG, int, int, const void*,
                   const void*, int, void*, int);
using Gemm = void(CBLAS_LAYOUT, CBLAS_TRANSPOSE, CBLAS_TRANSPOSE, int, int, int, double, const double*, int,
                  const double*, int, double, double*, int);

bool cputime = false;

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
  double (*clock)() = cputime && qor_get_max_threads() == 1 ? qor::bench::thread_seconds : qor::bench::now;
  for (int r = 0; r < min_reps || total < budget; ++r) {
    reset();
    const double t0 = clock();
    call();
    const double t = clock() - t0;
    total += t;
    if (t < best) best = t;
    if (r > 200) break;
  }
  return best;
}

// Our dgemm rate at the current size (GFLOP/s), 0 before it is measured.
double gemm_rate = 0;

// The result line, with the fraction of our own dgemm rate for the
// double-precision routines. `what` is "dtrsm LLN 1t": the rows take the
// type letter, the operation and the thread count from it.
void report(const std::string& what, const std::string& size, double ours, double gflop, const std::string& peer,
            double theirs, bool of_dgemm = true) {
  std::printf("%-22s %-6s qor %7.2f GF/s", what.c_str(), size.c_str(), gflop / ours);
  if (theirs > 0) std::printf(" | %s %7.2f ratio %5.2fx", peer.c_str(), gflop / theirs, theirs / ours);
  if (of_dgemm && gemm_rate > 0) std::printf(" | %3.0f%% of qor dgemm", 100.0 * gflop / ours / gemm_rate);
  std::printf("\n");
  std::fflush(stdout);
  const std::string base = what.substr(0, what.rfind(' '));
  qor::bench::Case c;
  c.what = what;
  c.type = base.substr(0, 1);
  c.operation = base.substr(1);
  c.size = size;
  c.n = std::atof(size.c_str());
  c.threads = qor_get_max_threads();
  qor::bench::record_result(c, ours, "GFLOP/s", gflop, peer, theirs);
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
  auto* ob_gemm = ob.fn<Gemm>("cblas_dgemm");
  for (int n : sizes) {
    gemm_rate = 0;
    const std::size_t nn = static_cast<std::size_t>(n) * n;
    const std::vector<double> a = triangle(n), b0 = random_vec(nn, 3), c0 = random_vec(nn, 5);
    std::vector<double> b(nn), c(nn);
    const std::string size = std::to_string(n);
    const double tri_work = static_cast<double>(n) * n * n;  // flops of a triangular solve or product
    auto reset_b = [&] { std::memcpy(b.data(), b0.data(), nn * sizeof(double)); };
    auto reset_c = [&] { std::memcpy(c.data(), c0.data(), nn * sizeof(double)); };
    if (wanted(only, "dgemm")) {
      // C = C - B A: the product a solve of the same size is mostly made of.
      const double work = 2.0 * tri_work;
      double ours = timed(reset_c, [&] {
        cblas_dgemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, -1.0, b0.data(), n, a.data(), n, 1.0,
                    c.data(), n);
      }, work);
      double peer = ob_gemm ? timed(reset_c, [&] {
        ob_gemm(CblasColMajor, CblasNoTrans, CblasNoTrans, n, n, n, -1.0, b0.data(), n, a.data(), n, 1.0, c.data(), n);
      }, work) : 0;
      report("dgemm NN" + tag, size, ours, work * 1e-9, ob.label(), peer);
      gemm_rate = work * 1e-9 / ours;
    }
    for (CBLAS_TRANSPOSE trans : {CblasNoTrans, CblasTrans}) {
      if (!wanted(only, trans == CblasNoTrans ? "dtrsm" : "dtrsmt")) continue;
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
          cblas_dtrsm(CblasColMajor, cs.side, cs.uplo, trans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
        }, tri_work);
        double peer = ob_trsm ? timed(reset_b, [&] {
          ob_trsm(CblasColMajor, cs.side, cs.uplo, trans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
        }, tri_work) : 0;
        report(std::string(cs.name) + (trans == CblasNoTrans ? "N" : "T") + tag, size, ours, tri_work * 1e-9, ob.label(), peer);
      }
    }
    // The other types of the solve: two cases each (left lower, and right
    // upper transposed, conjugated for the complex types). A complex triangle
    // takes the real one with small imaginary parts.
    auto other_trsm = [&](const char* name, int parts, double flops, auto* elem, auto&& ours_fn, auto&& peer_fn) {
      using E = std::remove_pointer_t<decltype(elem)>;
      if (!wanted(only, name)) return;
      std::vector<E> ta(parts * nn), tb0(parts * nn), tb(parts * nn);
      for (std::size_t i = 0; i < nn; ++i) {
        ta[parts * i] = static_cast<E>(a[i]);
        tb0[parts * i] = static_cast<E>(b0[i]);
        if (parts == 2) {
          ta[2 * i + 1] = static_cast<E>(0.5 * c0[i] / n);
          tb0[2 * i + 1] = static_cast<E>(c0[i]);
        }
      }
      auto reset = [&] { std::memcpy(tb.data(), tb0.data(), tb0.size() * sizeof(E)); };
      const CBLAS_TRANSPOSE tr = parts == 2 ? CblasConjTrans : CblasTrans;
      const struct {
        CBLAS_SIDE side;
        CBLAS_UPLO uplo;
        CBLAS_TRANSPOSE trans;
        const char* label;
      } cases[] = {{CblasLeft, CblasLower, CblasNoTrans, " LLN"}, {CblasRight, CblasUpper, tr, " RUT"}};
      for (auto& cs : cases) {
        double ours = timed(reset, [&] { ours_fn(cs.side, cs.uplo, cs.trans, ta.data(), tb.data()); }, flops);
        double peer = timed(reset, [&] { peer_fn(cs.side, cs.uplo, cs.trans, ta.data(), tb.data()); }, flops);
        report(name + std::string(cs.label) + tag, size, ours, flops * 1e-9, ob.label(), peer, false);
      }
    };
    auto* ob_strsm = ob.fn<Strsm>("cblas_strsm");
    auto* ob_ctrsm = ob.fn<Ztrsm>("cblas_ctrsm");
    auto* ob_ztrsm = ob.fn<Ztrsm>("cblas_ztrsm");
    const float one_c[2] = {1, 0};
    const double one_z[2] = {1, 0};
    if (ob_strsm)
      other_trsm("strsm", 1, tri_work, static_cast<float*>(nullptr),
                 [&](CBLAS_SIDE sd, CBLAS_UPLO ul, CBLAS_TRANSPOSE tr, const float* x, float* y) {
                   cblas_strsm(CblasColMajor, sd, ul, tr, CblasNonUnit, n, n, 1.0f, x, n, y, n);
                 },
                 [&](CBLAS_SIDE sd, CBLAS_UPLO ul, CBLAS_TRANSPOSE tr, const float* x, float* y) {
                   ob_strsm(CblasColMajor, sd, ul, tr, CblasNonUnit, n, n, 1.0f, x, n, y, n);
                 });
    if (ob_ctrsm)
      other_trsm("ctrsm", 2, 4 * tri_work, static_cast<float*>(nullptr),
                 [&](CBLAS_SIDE sd, CBLAS_UPLO ul, CBLAS_TRANSPOSE tr, const float* x, float* y) {
                   cblas_ctrsm(CblasColMajor, sd, ul, tr, CblasNonUnit, n, n, one_c, x, n, y, n);
                 },
                 [&](CBLAS_SIDE sd, CBLAS_UPLO ul, CBLAS_TRANSPOSE tr, const float* x, float* y) {
                   ob_ctrsm(CblasColMajor, sd, ul, tr, CblasNonUnit, n, n, one_c, x, n, y, n);
                 });
    if (ob_ztrsm)
      other_trsm("ztrsm", 2, 4 * tri_work, static_cast<double*>(nullptr),
                 [&](CBLAS_SIDE sd, CBLAS_UPLO ul, CBLAS_TRANSPOSE tr, const double* x, double* y) {
                   cblas_ztrsm(CblasColMajor, sd, ul, tr, CblasNonUnit, n, n, one_z, x, n, y, n);
                 },
                 [&](CBLAS_SIDE sd, CBLAS_UPLO ul, CBLAS_TRANSPOSE tr, const double* x, double* y) {
                   ob_ztrsm(CblasColMajor, sd, ul, tr, CblasNonUnit, n, n, one_z, x, n, y, n);
                 });
    if (wanted(only, "dtrmm")) {
      double ours = timed(reset_b, [&] {
        cblas_dtrmm(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
      }, tri_work);
      double peer = ob_trmm ? timed(reset_b, [&] {
        ob_trmm(CblasColMajor, CblasLeft, CblasLower, CblasNoTrans, CblasNonUnit, n, n, 1.0, a.data(), n, b.data(), n);
      }, tri_work) : 0;
      report("dtrmm LLN" + tag, size, ours, tri_work * 1e-9, ob.label(), peer);
    }
    if (wanted(only, "dsyrk")) {
      double ours = timed(reset_c, [&] {
        cblas_dsyrk(CblasColMajor, CblasLower, CblasNoTrans, n, n, 1.0, b0.data(), n, 0.5, c.data(), n);
      }, tri_work);
      double peer = ob_syrk ? timed(reset_c, [&] {
        ob_syrk(CblasColMajor, CblasLower, CblasNoTrans, n, n, 1.0, b0.data(), n, 0.5, c.data(), n);
      }, tri_work) : 0;
      report("dsyrk LN" + tag, size, ours, tri_work * 1e-9, ob.label(), peer);
    }
    if (wanted(only, "dsymm")) {
      const double work = 2.0 * tri_work;
      double ours = timed(reset_c, [&] {
        cblas_dsymm(CblasColMajor, CblasLeft, CblasLower, n, n, 1.0, a.data(), n, b0.data(), n, 0.5, c.data(), n);
      }, work);
      double peer = ob_symm ? timed(reset_c, [&] {
        ob_symm(CblasColMajor, CblasLeft, CblasLower, n, n, 1.0, a.data(), n, b0.data(), n, 0.5, c.data(), n);
      }, work) : 0;
      report("dsymm LL" + tag, size, ours, work * 1e-9, ob.label(), peer);
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
      report("zherk LN" + tag, size, ours, work * 1e-9, ob.label(), peer, false);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool quick = qor::bench::quick_requested(argc, argv);
  std::vector<std::string> only;
  std::vector<int> sizes, team = {1, 2};
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "quick") == 0) {
      quick = true;
    } else if (std::strcmp(argv[i], "cputime") == 0) {
      cputime = true;
    } else if (std::strcmp(argv[i], "1t") == 0 || std::strcmp(argv[i], "2t") == 0) {
      team = {argv[i][0] - '0'};
    } else if (std::strncmp(argv[i], "n=", 2) == 0 && std::atoi(argv[i] + 2) > 0) {
      sizes.push_back(std::atoi(argv[i] + 2));
    } else {
      only.emplace_back(argv[i]);
    }
  }
  qor::bench::begin("blas_level3", quick);
  qor::bench::openblas();  // prints its kernel choice first
  if (sizes.empty())
    sizes = quick ? std::vector<int>{256, 500, 1000} : std::vector<int>{256, 500, 1000, 2000, 4000};
  std::printf("Level 3 against OpenBLAS: ratio = OpenBLAS time / qor time (above 1: qor faster)%s\n",
              cputime ? "; one thread timed by CPU time" : "");
  for (int threads : team) run(threads, sizes, only);
  return 0;
}
