// A separate process that runs Debian's reference LAPACK, so that its
// Fortran names never meet the core's: it loads the reference BLAS and
// LAPACK by path, factors the matrices of the input file with dgetrf and
// writes the results, with the reference dlamch and slamch answers.
//
// Input: count, then per matrix m, n and the m x n doubles (column-major),
// all as int64 and double. Output: the ten dlamch then the ten slamch values
// for "ESBPNRMULO" as doubles, then per matrix info, min(m, n) pivots
// (int64) and the factored doubles. Exit status 77: no reference library.
#include <dlfcn.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

using getrf_t = void(const int* m, const int* n, double* a, const int* lda, int* ipiv, int* info);
using dlamch_t = double(const char* c, std::size_t len);
using slamch_t = float(const char* c, std::size_t len);

template <class X> bool get(std::FILE* f, X* x, std::size_t n = 1) { return std::fread(x, sizeof(X), n, f) == n; }
template <class X> void put(std::FILE* f, const X* x, std::size_t n = 1) { std::fwrite(x, sizeof(X), n, f); }

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  void* blas = dlopen("/usr/lib/x86_64-linux-gnu/blas/libblas.so.3", RTLD_NOW | RTLD_GLOBAL);
  void* lapack = blas != nullptr ? dlopen("/usr/lib/x86_64-linux-gnu/lapack/liblapack.so.3", RTLD_NOW | RTLD_LOCAL) : nullptr;
  if (lapack == nullptr) return 77;
  auto* dgetrf = reinterpret_cast<getrf_t*>(dlsym(lapack, "dgetrf_"));
  auto* dlamch = reinterpret_cast<dlamch_t*>(dlsym(lapack, "dlamch_"));
  auto* slamch = reinterpret_cast<slamch_t*>(dlsym(lapack, "slamch_"));
  if (dgetrf == nullptr || dlamch == nullptr || slamch == nullptr) return 77;
  std::FILE* in = std::fopen(argv[1], "rb");
  std::FILE* out = std::fopen(argv[2], "wb");
  if (in == nullptr || out == nullptr) return 3;
  for (const char* c = "ESBPNRMULO"; *c; ++c) {
    const double v = dlamch(c, 1);
    put(out, &v);
  }
  for (const char* c = "ESBPNRMULO"; *c; ++c) {
    const double v = slamch(c, 1);
    put(out, &v);
  }
  std::int64_t count = 0;
  if (!get(in, &count)) return 4;
  for (std::int64_t k = 0; k < count; ++k) {
    std::int64_t m = 0, n = 0;
    if (!get(in, &m) || !get(in, &n)) return 4;
    std::vector<double> a(static_cast<std::size_t>(m * n) + 1);
    if (m * n > 0 && !get(in, a.data(), static_cast<std::size_t>(m * n))) return 4;
    const int mi = static_cast<int>(m), ni = static_cast<int>(n), lda = mi > 0 ? mi : 1;
    std::vector<int> ipiv(static_cast<std::size_t>(mi < ni ? mi : ni) + 1);
    int info = 0;
    dgetrf(&mi, &ni, a.data(), &lda, ipiv.data(), &info);
    const std::int64_t info64 = info;
    put(out, &info64);
    for (int j = 0; j < (mi < ni ? mi : ni); ++j) {
      const std::int64_t p = ipiv[static_cast<std::size_t>(j)];
      put(out, &p);
    }
    put(out, a.data(), static_cast<std::size_t>(m * n));
  }
  std::fclose(out);
  std::fclose(in);
  return 0;
}
