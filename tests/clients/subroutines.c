/* The subroutine forms (ddotsub_ and kin) store exactly what their
 * functions return, for both integer widths, and the reference CBLAS
 * flags are there to read. */
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include "qor/blas.h"

static int failures = 0;

#define EXPECT_SAME(what, a, b)                                   \
  do {                                                            \
    if (memcmp(&(a), &(b), sizeof(a)) != 0) {                     \
      printf("%s: the subroutine form differs\n", what);          \
      ++failures;                                                 \
    }                                                             \
  } while (0)

#define CHECK_WIDTH(INT, SFX)                                                                    \
  do {                                                                                           \
    INT n = 7, inc = 1, inc2 = 2;                                                                \
    float fv, ff, sb = 0.5f;                                                                     \
    double dv, df;                                                                               \
    INT iv, ifn;                                                                                 \
    qor_complex_float cv, cf;                                                                    \
    qor_complex_double zv, zf;                                                                   \
    sdotsub##SFX(&n, fx, &inc, fy, &inc2, &fv); ff = sdot##SFX(&n, fx, &inc, fy, &inc2);         \
    EXPECT_SAME("sdotsub" #SFX, fv, ff);                                                         \
    ddotsub##SFX(&n, dx, &inc, dy, &inc2, &dv); df = ddot##SFX(&n, dx, &inc, dy, &inc2);         \
    EXPECT_SAME("ddotsub" #SFX, dv, df);                                                         \
    sdsdotsub##SFX(&n, &sb, fx, &inc, fy, &inc, &fv); ff = sdsdot##SFX(&n, &sb, fx, &inc, fy, &inc); \
    EXPECT_SAME("sdsdotsub" #SFX, fv, ff);                                                       \
    dsdotsub##SFX(&n, fx, &inc, fy, &inc, &dv); df = dsdot##SFX(&n, fx, &inc, fy, &inc);         \
    EXPECT_SAME("dsdotsub" #SFX, dv, df);                                                        \
    cdotcsub##SFX(&n, cx, &inc, cy, &inc, &cv); cf = cdotc##SFX(&n, cx, &inc, cy, &inc);         \
    EXPECT_SAME("cdotcsub" #SFX, cv, cf);                                                        \
    cdotusub##SFX(&n, cx, &inc, cy, &inc, &cv); cf = cdotu##SFX(&n, cx, &inc, cy, &inc);         \
    EXPECT_SAME("cdotusub" #SFX, cv, cf);                                                        \
    zdotcsub##SFX(&n, zx, &inc, zy, &inc, &zv); zf = zdotc##SFX(&n, zx, &inc, zy, &inc);         \
    EXPECT_SAME("zdotcsub" #SFX, zv, zf);                                                        \
    zdotusub##SFX(&n, zx, &inc, zy, &inc, &zv); zf = zdotu##SFX(&n, zx, &inc, zy, &inc);         \
    EXPECT_SAME("zdotusub" #SFX, zv, zf);                                                        \
    snrm2sub##SFX(&n, fx, &inc, &fv); ff = snrm2##SFX(&n, fx, &inc);                             \
    EXPECT_SAME("snrm2sub" #SFX, fv, ff);                                                        \
    dnrm2sub##SFX(&n, dx, &inc, &dv); df = dnrm2##SFX(&n, dx, &inc);                             \
    EXPECT_SAME("dnrm2sub" #SFX, dv, df);                                                        \
    scnrm2sub##SFX(&n, cx, &inc, &fv); ff = scnrm2##SFX(&n, cx, &inc);                           \
    EXPECT_SAME("scnrm2sub" #SFX, fv, ff);                                                       \
    dznrm2sub##SFX(&n, zx, &inc, &dv); df = dznrm2##SFX(&n, zx, &inc);                           \
    EXPECT_SAME("dznrm2sub" #SFX, dv, df);                                                       \
    sasumsub##SFX(&n, fx, &inc, &fv); ff = sasum##SFX(&n, fx, &inc);                             \
    EXPECT_SAME("sasumsub" #SFX, fv, ff);                                                        \
    dasumsub##SFX(&n, dx, &inc, &dv); df = dasum##SFX(&n, dx, &inc);                             \
    EXPECT_SAME("dasumsub" #SFX, dv, df);                                                        \
    scasumsub##SFX(&n, cx, &inc, &fv); ff = scasum##SFX(&n, cx, &inc);                           \
    EXPECT_SAME("scasumsub" #SFX, fv, ff);                                                       \
    dzasumsub##SFX(&n, zx, &inc, &dv); df = dzasum##SFX(&n, zx, &inc);                           \
    EXPECT_SAME("dzasumsub" #SFX, dv, df);                                                       \
    isamaxsub##SFX(&n, fx, &inc, &iv); ifn = isamax##SFX(&n, fx, &inc);                          \
    EXPECT_SAME("isamaxsub" #SFX, iv, ifn);                                                      \
    idamaxsub##SFX(&n, dx, &inc, &iv); ifn = idamax##SFX(&n, dx, &inc);                          \
    EXPECT_SAME("idamaxsub" #SFX, iv, ifn);                                                      \
    icamaxsub##SFX(&n, cx, &inc, &iv); ifn = icamax##SFX(&n, cx, &inc);                          \
    EXPECT_SAME("icamaxsub" #SFX, iv, ifn);                                                      \
    izamaxsub##SFX(&n, zx, &inc, &iv); ifn = izamax##SFX(&n, zx, &inc);                          \
    EXPECT_SAME("izamaxsub" #SFX, iv, ifn);                                                      \
    if (ifn < 1 || ifn > n) {                                                                    \
      printf("izamax" #SFX " outside 1..n\n");                                                   \
      ++failures;                                                                                \
    }                                                                                            \
  } while (0)

int main(void) {
  float fx[16], fy[16], cx[32], cy[32];
  double dx[16], dy[16], zx[32], zy[32];
  for (int i = 0; i < 32; ++i) {
    double v = (i * 37 % 11) - 5.25, w = (i * 13 % 7) - 2.5;
    if (i < 16) fx[i] = (float)v, fy[i] = (float)w, dx[i] = v, dy[i] = w;
    cx[i] = (float)w, cy[i] = (float)v, zx[i] = w, zy[i] = v;
  }
  CHECK_WIDTH(int, _);
  CHECK_WIDTH(int64_t, _64_);
  float s1, s1f;
  double d1, d1f;
  scabs1sub_(cx + 2, &s1);
  s1f = scabs1_(cx + 2);
  EXPECT_SAME("scabs1sub_", s1, s1f);
  dcabs1sub_(zx + 2, &d1);
  d1f = dcabs1_(zx + 2);
  EXPECT_SAME("dcabs1sub_", d1, d1f);
  if (CBLAS_CallFromC != 0 || RowMajorStrg != 0) {
    printf("the reference CBLAS flags are not 0\n");
    ++failures;
  }
  printf("%s\n", failures == 0 ? "subroutine forms: all agree" : "subroutine forms: FAILED");
  return failures == 0 ? 0 : 1;
}
