/* A C program calling the CBLAS interface of the core: one dgemm checked
   against a hand computed product. Built against the installed package with
   find_package(qor) or pkg-config qor (cc prog.c $(pkg-config --cflags --libs qor)). */
#include <stdio.h>

#include "qor/cblas.h"
#include "qor/qor.h"

int main(void) {
  /* C = alpha A B + beta C, row major, A 2 x 3, B 3 x 2. */
  const double a[6] = {1, 2, 3, 4, 5, 6};
  const double b[6] = {7, 8, 9, 10, 11, 12};
  double c[4] = {1, 1, 1, 1};
  const double want[4] = {2 * 58 + 1, 2 * 64 + 1, 2 * 139 + 1, 2 * 154 + 1};
  cblas_dgemm(CblasRowMajor, CblasNoTrans, CblasNoTrans, 2, 2, 3, 2.0, a, 3, b, 2, 1.0, c, 2);
  int bad = 0;
  for (int i = 0; i < 4; ++i) bad += c[i] != want[i];
  printf("%s\ncblas_dgemm: [%g %g; %g %g] %s\nmember %s\n", qor_version_string(), c[0], c[1], c[2], c[3],
         bad ? "WRONG" : "ok", qor_member_path());
  return bad ? 1 : 0;
}
