/* Linked with -lblas against Debian's libblas-dev: run through the
   libblas.so.3 alternative, it must land on qor's core (named in
   /proc/self/maps) and compute a dgemm correctly. */
#include <stdio.h>
#include <string.h>

void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
            const int* ldc, size_t la, size_t lb);

int main(void) {
  /* Column major: A 2 x 3, B 3 x 2, C = 2 A B + C. */
  const double a[6] = {1, 4, 2, 5, 3, 6}; /* [1 2 3; 4 5 6] */
  const double b[6] = {7, 9, 11, 8, 10, 12}; /* [7 8; 9 10; 11 12] */
  double c[4] = {1, 1, 1, 1};
  const double want[4] = {117, 279, 129, 309};
  const int m = 2, n = 2, k = 3, lda = 2, ldb = 3, ldc = 2;
  const double alpha = 2, beta = 1;
  dgemm_("N", "N", &m, &n, &k, &alpha, a, &lda, b, &ldb, &beta, c, &ldc, 1, 1);
  int bad = 0;
  for (int i = 0; i < 4; ++i) bad += c[i] != want[i];
  printf("dgemm_: [%g %g; %g %g] %s\n", c[0], c[2], c[1], c[3], bad ? "WRONG" : "ok");

  FILE* maps = fopen("/proc/self/maps", "r");
  char line[4096];
  int ours = 0;
  while (maps != NULL && fgets(line, sizeof line, maps) != NULL) {
    if (strstr(line, "libqor_core.so") != NULL && !ours) {
      ours = 1;
      printf("mapped: %s", strchr(line, '/'));
    }
  }
  if (maps != NULL) fclose(maps);
  if (!ours) printf("libqor_core.so is not mapped: libblas.so.3 is not qor\n");
  return bad || !ours ? 1 : 0;
}
