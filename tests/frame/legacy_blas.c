/* A program written for the reference BLAS: it declares the Fortran and
 * CBLAS names itself, links against the system's libblas.so.3 and knows
 * nothing of qor. Run with the core's directory first in LD_LIBRARY_PATH,
 * it must resolve every name in the core and get the reference results. */
#define _GNU_SOURCE
#include <complex.h>
#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <string.h>

double ddot_(const int* n, const double* x, const int* incx, const double* y, const int* incy);
void daxpy_(const int* n, const double* a, const double* x, const int* incx, double* y, const int* incy);
int idamax_(const int* n, const double* x, const int* incx);
double _Complex zdotc_(const int* n, const double _Complex* x, const int* incx, const double _Complex* y,
                       const int* incy);
void dgemv_(const char* t, const int* m, const int* n, const double* alpha, const double* a, const int* lda,
            const double* x, const int* incx, const double* beta, double* y, const int* incy);
void dgemm_(const char* ta, const char* tb, const int* m, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
            const int* ldc);
void dtrsm_(const char* side, const char* uplo, const char* t, const char* diag, const int* m, const int* n,
            const double* alpha, const double* a, const int* lda, double* b, const int* ldb);
void zherk_(const char* uplo, const char* t, const int* n, const int* k, const double* alpha,
            const double _Complex* a, const int* lda, const double* beta, double _Complex* c, const int* ldc);
void cblas_dgemm(int layout, int ta, int tb, int m, int n, int k, double alpha, const double* a, int lda,
                 const double* b, int ldb, double beta, double* c, int ldc);

static int failures = 0;

static void expect(int ok, const char* what) {
  if (!ok) {
    printf("FAILED: %s\n", what);
    ++failures;
  }
}

int main(void) {
  /* Every name comes from the library that also carries the core's own
   * API: the program is running on the core, not on another BLAS. */
  void* own = dlsym(RTLD_DEFAULT, "qor_get_cpu_path");
  expect(own != NULL, "the core was loaded as libblas.so.3");
  if (own != NULL) {
    const char* names[] = {"ddot_", "daxpy_", "idamax_", "zdotc_", "dgemv_", "dgemm_", "dtrsm_", "zherk_",
                           "cblas_dgemm"};
    Dl_info core, other;
    dladdr(own, &core);
    for (size_t i = 0; i < sizeof names / sizeof names[0]; ++i) {
      void* p = dlsym(RTLD_DEFAULT, names[i]);
      expect(p != NULL && dladdr(p, &other) != 0 && other.dli_fbase == core.dli_fbase, names[i]);
    }
  }

  const int n = 3, one = 1;
  double x[3] = {1, -4, 2}, y[3] = {1, 1, 1};
  const double two = 2;
  expect(ddot_(&n, x, &one, y, &one) == -1.0, "ddot_");
  daxpy_(&n, &two, x, &one, y, &one);
  expect(y[0] == 3.0 && y[1] == -7.0 && y[2] == 5.0, "daxpy_");
  expect(idamax_(&n, x, &one) == 2, "idamax_ (1-based)");

  double _Complex z[2] = {1 + 2 * I, 3 - 1 * I};
  const int two_n = 2;
  double _Complex d = zdotc_(&two_n, z, &one, z, &one);
  expect(creal(d) == 15.0 && cimag(d) == 0.0, "zdotc_ returned by value");

  /* A = [1 2; 3 4] (column major), x = (1, 1): A x = (3, 7). */
  const double a[4] = {1, 3, 2, 4}, ones[2] = {1, 1}, zero = 0, unit = 1;
  double v[2];
  dgemv_("N", &two_n, &two_n, &unit, a, &two_n, ones, &one, &zero, v, &one);
  expect(v[0] == 3.0 && v[1] == 7.0, "dgemv_");

  /* A A = [7 10; 15 22]; then solve with the upper triangle of A. */
  double c[4];
  dgemm_("N", "N", &two_n, &two_n, &two_n, &unit, a, &two_n, a, &two_n, &zero, c, &two_n);
  expect(c[0] == 7.0 && c[1] == 15.0 && c[2] == 10.0 && c[3] == 22.0, "dgemm_");
  double r[4];
  cblas_dgemm(101, 111, 111, 2, 2, 2, 1.0, a, 2, a, 2, 0.0, r, 2);
  expect(memcmp(r, c, sizeof r) == 0, "cblas_dgemm");
  double b[2] = {5, 8}; /* U = [1 2; 0 4], U x = b gives x = (1, 2) */
  dtrsm_("L", "U", "N", "N", &two_n, &one, &unit, a, &two_n, b, &two_n);
  expect(fabs(b[0] - 1.0) < 1e-15 && fabs(b[1] - 2.0) < 1e-15, "dtrsm_");

  /* zherk lower: C = A A^H for A = (1+2i; 3-i) gives [5, .; 1-7i, 10]. */
  double _Complex h[4] = {0, 0, -99, 0};
  zherk_("L", "N", &two_n, &one, &unit, z, &two_n, &zero, h, &two_n);
  expect(creal(h[0]) == 5.0 && cimag(h[0]) == 0.0 && creal(h[1]) == 1.0 && cimag(h[1]) == -7.0 && creal(h[3]) == 10.0 &&
             creal(h[2]) == -99.0,
         "zherk_ fills the lower triangle only");

  printf("%s\n", failures == 0 ? "legacy BLAS program: all names on the core, results as the reference"
                                 : "legacy BLAS program FAILED");
  return failures == 0 ? 0 : 1;
}
