// dgetrf_small against Debian's reference LAPACK, run in a separate process
// (reference_lu.cpp) so that its names never meet the core's: the same
// pivots and info on random, tied and singular matrices, factors within a
// few units of rounding of the elementwise scale |L||U|, and the machine
// parameters of both lamch routines.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "lapack/imports.h"
#include "lu_test.h"

namespace lut {
namespace {

struct Case {
  std::string what;
  Mat<double> a;
};

struct Result {
  i64 info = 0;
  std::vector<i64> ipiv;
  std::vector<double> lu;
};

// Runs the reference on every case; false when it is not installed.
bool run_reference(const std::vector<Case>& cases, double (&dl)[10], double (&sl)[10], std::vector<Result>& out) {
  char dir[] = "/tmp/qor_lapack_refXXXXXX";
  if (mkdtemp(dir) == nullptr) return false;
  const std::string in = std::string(dir) + "/in", res = std::string(dir) + "/out";
  std::FILE* f = std::fopen(in.c_str(), "wb");
  const i64 count = static_cast<i64>(cases.size());
  std::fwrite(&count, sizeof count, 1, f);
  for (const Case& c : cases) {
    std::fwrite(&c.a.rows, sizeof(i64), 1, f);
    std::fwrite(&c.a.cols, sizeof(i64), 1, f);
    for (i64 j = 0; j < c.a.cols; ++j) std::fwrite(&c.a(0, j), sizeof(double), static_cast<std::size_t>(c.a.rows), f);
  }
  std::fclose(f);
  const std::string cmd = std::string(QOR_LAPACK_REFERENCE_RUNNER) + " " + in + " " + res;
  const int status = std::system(cmd.c_str());
  bool ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
  if (!ok) {
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 77) << "reference runner failed: " << status;
  } else {
    std::FILE* r = std::fopen(res.c_str(), "rb");
    ok = std::fread(dl, sizeof(double), 10, r) == 10 && std::fread(sl, sizeof(double), 10, r) == 10;
    for (const Case& c : cases) {
      Result x;
      const i64 k = std::min(c.a.rows, c.a.cols);
      x.ipiv.resize(static_cast<std::size_t>(k));
      x.lu.resize(static_cast<std::size_t>(c.a.rows * c.a.cols));
      ok = ok && std::fread(&x.info, sizeof(i64), 1, r) == 1 &&
           std::fread(x.ipiv.data(), sizeof(i64), x.ipiv.size(), r) == x.ipiv.size() &&
           std::fread(x.lu.data(), sizeof(double), x.lu.size(), r) == x.lu.size();
      out.push_back(std::move(x));
    }
    std::fclose(r);
    EXPECT_TRUE(ok) << "short reference output";
  }
  std::remove(in.c_str());
  std::remove(res.c_str());
  rmdir(dir);
  return ok;
}

std::vector<Case> cases() {
  std::vector<Case> out;
  std::vector<std::pair<i64, i64>> shapes;
  for (i64 n : sizes())
    if (n > 0) shapes.push_back({n, n});
  for (auto s : {std::pair<i64, i64>{3, 5}, {5, 3}, {7, 12}, {12, 7}, {40, 17}, {17, 40}}) shapes.push_back(s);
  for (auto [m, n] : shapes) {
    out.push_back({"random", random_matrix<double>(m, n, 2000 + 3 * m + n)});
    // Ties in the first column (equal magnitudes, mixed signs) and, after
    // the first step, exactly 0.5 in magnitude all down the second.
    Mat<double> t = random_matrix<double>(m, n, 2100 + m + n);
    for (i64 i = 0; i < m; ++i) {
      const double s = (i * 7 + 3) % 5 < 2 ? -1.0 : 1.0;
      t(i, 0) = s;
      if (n > 1) t(i, 1) = (i == 0 ? 0.25 : s * 0.25 + ((i % 3 == 0) ? 0.5 : -0.5));
    }
    out.push_back({"tied", t});
    // Singular: a zero column, a zero row, and zero trailing columns.
    Mat<double> z = random_matrix<double>(m, n, 2200 + m * n);
    for (i64 i = 0; i < m; ++i) z(i, n / 2) = 0;
    out.push_back({"zero column", z});
    Mat<double> r = random_matrix<double>(m, n, 2300 + m * n);
    for (i64 j = 0; j < n; ++j) r(m / 3, j) = 0;
    out.push_back({"zero row", r});
    Mat<double> tr = random_matrix<double>(m, n, 2400 + m * n);
    for (i64 j = std::max<i64>(n - 2, 0); j < n; ++j)
      for (i64 i = 0; i < m; ++i) tr(i, j) = 0;
    out.push_back({"zero trailing columns", tr});
  }
  return out;
}

TEST(Reference, DgetrfPivotsInfoAndFactors) {
  const std::vector<Case> all = cases();
  double dl[10], sl[10];
  std::vector<Result> ref;
  if (!run_reference(all, dl, sl, ref)) GTEST_SKIP() << "Debian's reference LAPACK is not installed";
  const auto& k = Kernels<double>::get();
  double worst = 0;
  for (std::size_t c = 0; c < all.size(); ++c) {
    const Case& x = all[c];
    Mat<double> lu = x.a;
    const i64 m = lu.rows, n = lu.cols, mn = std::min(m, n);
    std::vector<i64> ipiv(static_cast<std::size_t>(mn));
    i64 info = -1;
    k.getrf(&m, &n, lu.data(), &lu.ld, ipiv.data(), &info);
    const Result& r = ref[c];
    SCOPED_TRACE(x.what + " " + std::to_string(m) + "x" + std::to_string(n));
    EXPECT_EQ(info, r.info);
    EXPECT_EQ(ipiv, r.ipiv);
    if (ipiv != r.ipiv) continue;
    // Each element against the reference, in units of eps (|L||U|)_ij.
    auto R = [&](i64 i, i64 j) { return r.lu[static_cast<std::size_t>(i + j * m)]; };
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i < m; ++i) {
        double scale = 0;
        for (i64 t = 0; t <= std::min({i, j, mn - 1}); ++t) scale += std::fabs(t == i ? 1.0 : R(i, t)) * std::fabs(R(t, j));
        if (i > j && j < mn) scale /= std::fabs(R(j, j));  // a multiplier: relative to its pivot
        const double d = std::fabs(lu(i, j) - R(i, j));
        if (d == 0) continue;
        const double units = d / (unit_roundoff<double>() * scale);
        worst = std::max(worst, units);
        EXPECT_LE(units, 8.0) << "element (" << i << "," << j << ") " << lu(i, j) << " vs " << R(i, j);
      }
  }
  RecordProperty("worst_units", std::to_string(worst));
  // The machine parameters, letter by letter and in lower case.
  const char* letters = "ESBPNRMULO";
  for (int i = 0; i < 10; ++i) {
    const char up[2] = {letters[i], 0}, low[2] = {static_cast<char>(letters[i] | 0x20), 0};
    EXPECT_EQ(qor_lapack_dlamch(up), dl[i]) << letters[i];
    EXPECT_EQ(qor_lapack_dlamch(low), dl[i]) << letters[i];
    EXPECT_EQ(static_cast<double>(qor_lapack_slamch(up)), sl[i]) << letters[i];
    EXPECT_EQ(static_cast<double>(qor_lapack_slamch(low)), sl[i]) << letters[i];
  }
}

TEST(Lamch, IeeeParametersAndUnknownLetters) {
  // Binary64: precision 2^-53, smallest normal 2^-1022, 53 digits, exponents -1021..1024.
  EXPECT_EQ(qor_lapack_dlamch("E"), 0x1p-53);
  EXPECT_EQ(qor_lapack_dlamch("P"), 0x1p-52);
  EXPECT_EQ(qor_lapack_dlamch("S"), 0x1p-1022);
  EXPECT_EQ(qor_lapack_dlamch("u"), 0x1p-1022);
  EXPECT_EQ(qor_lapack_dlamch("o"), 0x1.fffffffffffffp1023);
  EXPECT_EQ(qor_lapack_dlamch("N"), 53.0);
  EXPECT_EQ(qor_lapack_dlamch("M"), -1021.0);
  EXPECT_EQ(qor_lapack_dlamch("L"), 1024.0);
  EXPECT_EQ(qor_lapack_dlamch("b"), 2.0);
  EXPECT_EQ(qor_lapack_dlamch("R"), 1.0);
  EXPECT_EQ(qor_lapack_slamch("E"), 0x1p-24f);
  EXPECT_EQ(qor_lapack_slamch("s"), 0x1p-126f);
  EXPECT_EQ(qor_lapack_slamch("O"), 0x1.fffffep127f);
  EXPECT_EQ(qor_lapack_slamch("N"), 24.0f);
  EXPECT_EQ(qor_lapack_slamch("M"), -125.0f);
  EXPECT_EQ(qor_lapack_slamch("L"), 128.0f);
  EXPECT_EQ(qor_lapack_dlamch("X"), 0.0);
  EXPECT_EQ(qor_lapack_slamch("?"), 0.0f);
}

}  // namespace
}  // namespace lut
