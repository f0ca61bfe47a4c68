/* A C program written against the standard BLAS interfaces, built with gcc
 * and -lblas: the system's <cblas.h> for the CBLAS names, the Fortran names
 * declared as C programs usually do (without the hidden lengths of the
 * character arguments). It knows nothing of qor. It prints its results as
 * lines "LABEL tol=T values...": run once on the reference BLAS and once on
 * the core, the two outputs must agree within T (run_client.py compares
 * them). A line starting with '#' names the BLAS it ran on. */
#include <complex.h>
#include <float.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(__has_include)
#if __has_include(<cblas.h>)
#include <cblas.h>
#define HAVE_CBLAS_H 1
#endif
#endif
#ifndef HAVE_CBLAS_H
enum CBLAS_ORDER { CblasRowMajor = 101, CblasColMajor = 102 };
enum CBLAS_TRANSPOSE { CblasNoTrans = 111, CblasTrans = 112, CblasConjTrans = 113 };
void cblas_sgemm(enum CBLAS_ORDER, enum CBLAS_TRANSPOSE, enum CBLAS_TRANSPOSE, int, int, int, float, const float*,
                 int, const float*, int, float, float*, int);
void cblas_zgemv(enum CBLAS_ORDER, enum CBLAS_TRANSPOSE, int, int, const void*, const void*, int, const void*, int,
                 const void*, void*, int);
double cblas_dnrm2(int, const double*, int);
#endif

void dgemm_(const char* ta, const char* tb, const int* m, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
            const int* ldc);
void zgemv_(const char* t, const int* m, const int* n, const double complex* alpha, const double complex* a,
            const int* lda, const double complex* x, const int* incx, const double complex* beta, double complex* y,
            const int* incy);
double dnrm2_(const int* n, const double* x, const int* incx);
float sdot_(const int* n, const float* x, const int* incx, const float* y, const int* incy);

enum { M = 301, N = 283, K = 297, LD = 310 };

static unsigned long long state = 88172645463325252ull;

/* A uniform number in [-1, 1), the same on every run. */
static double rnd(void) {
  state ^= state << 13;
  state ^= state >> 7;
  state ^= state << 17;
  return (double)(state >> 11) * (2.0 / 9007199254740992.0) - 1.0;
}

/* A sample of the entries of a column-major (or row-major) m x n matrix:
 * every 61st, the last, and the root mean square. */
static void print_matrix(const char* label, double tol, const void* c, int is_float, int ld, int m, int n, int row) {
  double s = 0;
  long count = 0;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < m; ++i) {
      size_t at = row ? (size_t)i * ld + j : (size_t)j * ld + i;
      double v = is_float ? ((const float*)c)[at] : ((const double*)c)[at];
      s += v * v;
      if (count++ % 61 == 0 || (i == m - 1 && j == n - 1)) printf("%s (%d,%d) tol=%.3e %.17e\n", label, i, j, tol, v);
    }
  }
  printf("%s rms tol=%.3e %.17e\n", label, tol, sqrt(s / ((double)m * n)));
}

static void print_zvector(const char* label, double tol, const double complex* y, int n, int inc) {
  for (int i = 0; i < n; ++i) {
    double complex v = y[(size_t)i * inc];
    printf("%s (%d) tol=%.3e %.17e %.17e\n", label, i, tol, creal(v), cimag(v));
  }
}

static void which_blas(void) {
  FILE* f = fopen("/proc/self/maps", "r");
  if (f == NULL) return;
  char line[1024];
  while (fgets(line, sizeof line, f) != NULL) {
    if (strstr(line, "libqor_core") != NULL || strstr(line, "libblas") != NULL) {
      char* path = strchr(line, '/');
      printf("# blas: %s", path != NULL ? path : line);
      break;
    }
  }
  fclose(f);
}

int main(void) {
  which_blas();
  float* sa = malloc(sizeof(float) * LD * LD);
  float* sb = malloc(sizeof(float) * LD * LD);
  float* sc = malloc(sizeof(float) * LD * LD);
  double* a = malloc(sizeof(double) * LD * LD);
  double* b = malloc(sizeof(double) * LD * LD);
  double* c = malloc(sizeof(double) * LD * LD);
  double complex* za = malloc(sizeof(double complex) * LD * LD);
  double complex* zx = malloc(sizeof(double complex) * 2 * LD);
  double complex* zy = malloc(sizeof(double complex) * 2 * LD);
  if (!sa || !sb || !sc || !a || !b || !c || !za || !zx || !zy) return 2;
  for (int i = 0; i < LD * LD; ++i) {
    sa[i] = (float)rnd();
    sb[i] = (float)rnd();
    sc[i] = (float)rnd();
    a[i] = rnd();
    b[i] = rnd();
    c[i] = rnd();
    za[i] = rnd() + rnd() * I;
  }
  for (int i = 0; i < 2 * LD; ++i) {
    zx[i] = rnd() + rnd() * I;
    zy[i] = rnd() + rnd() * I;
  }

  /* cblas_sgemm in both layouts and with transposed operands. */
  const double stol = 8.0 * K * FLT_EPSILON * 16;
  cblas_sgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, M, N, K, 1.0f, sa, LD, sb, LD, 0.0f, sc, LD);
  print_matrix("cblas_sgemm row NN", stol, sc, 1, LD, M, N, 1);
  cblas_sgemm(CblasColMajor, CblasTrans, CblasNoTrans, M, N, K, -0.5f, sa, LD, sb, LD, 2.0f, sc, LD);
  print_matrix("cblas_sgemm col TN", 3 * stol, sc, 1, LD, M, N, 0);
  cblas_sgemm(CblasRowMajor, CblasTrans, CblasTrans, N, M, K, 1.0f, sb, LD, sa, LD, 1.0f, sc, LD);
  print_matrix("cblas_sgemm row TT", 4 * stol, sc, 1, LD, N, M, 1);

  /* dgemm_ from C, no hidden lengths. */
  const int m = M, n = N, k = K, ld = LD, one = 1, two = 2, minus_one = -1;
  const double alpha = 1.5, beta = -0.5;
  const double dtol = 8.0 * K * DBL_EPSILON * 16;
  dgemm_("N", "T", &m, &n, &k, &alpha, a, &ld, b, &ld, &beta, c, &ld);
  print_matrix("dgemm_ NT", dtol, c, 0, LD, M, N, 0);
  dgemm_("C", "N", &n, &m, &k, &alpha, a, &ld, b, &ld, &beta, c, &ld);
  print_matrix("dgemm_ CN", 2 * dtol, c, 0, LD, N, M, 0);

  /* zgemv_ and cblas_zgemv. */
  const double complex zalpha = 0.75 - 0.25 * I, zbeta = 0.5 + 0.125 * I;
  const double ztol = 16.0 * N * DBL_EPSILON * 8;
  zgemv_("N", &m, &n, &zalpha, za, &ld, zx, &one, &zbeta, zy, &one);
  print_zvector("zgemv_ N", ztol, zy, M, 1);
  zgemv_("C", &m, &n, &zalpha, za, &ld, zx, &two, &zbeta, zy, &minus_one);
  print_zvector("zgemv_ C", 2 * ztol, zy, N, 1);
  cblas_zgemv(CblasRowMajor, CblasConjTrans, M, N, &zalpha, za, LD, zx, 1, &zbeta, zy, 2);
  print_zvector("cblas_zgemv row C", 4 * ztol, zy, N, 2);

  /* Norms, and a single-precision dot product returned by value. */
  const int big = 3 * LD - 300, stride = 3;
  printf("dnrm2_ tol=%.3e %.17e\n", 16 * DBL_EPSILON, dnrm2_(&big, a, &one) / 20.0);
  printf("dnrm2_ inc3 tol=%.3e %.17e\n", 16 * DBL_EPSILON, dnrm2_(&ld, a, &stride) / 20.0);
  printf("cblas_dnrm2 tol=%.3e %.17e\n", 16 * DBL_EPSILON, cblas_dnrm2(LD, b, 2) / 20.0);
  printf("sdot_ tol=%.3e %.9e\n", 4 * LD * FLT_EPSILON, (double)sdot_(&ld, sa, &one, sb, &one));

  free(sa);
  free(sb);
  free(sc);
  free(a);
  free(b);
  free(c);
  free(za);
  free(zx);
  free(zy);
  return 0;
}
