/* A transform through the public interface alone: a batch of two complex
 * signals of length 64 in double precision, out of place. The forward
 * transform of a pure tone exp(2 pi i f j / n) is n at bin f and 0
 * elsewhere; the backward transform, scaled by 1/n, gives the tone back.
 * Exits 0 when both hold, 1 when they do not, and 77 (skipped) while the
 * library cannot commit the descriptor yet. */
#include <math.h>
#include <stdio.h>
#include <stdlib.h>

#include "qor/dft.h"

enum { N = 64, COUNT = 2 };

static int fail(const char* what, int status) {
  fprintf(stderr, "example_dft: %s: %s\n", what, qor_dft_error_message(status));
  return 1;
}

int main(void) {
  const double pi = 3.14159265358979323846;
  static double in[2 * N * COUNT], out[2 * N * COUNT], back[2 * N * COUNT];
  const int tone[COUNT] = {3, 50};
  qor_dft_handle h = NULL;
  int64_t committed = 0;
  double worst = 0;
  int st, t, j;

  for (t = 0; t < COUNT; ++t)
    for (j = 0; j < N; ++j) {
      in[2 * (t * N + j)] = cos(2 * pi * tone[t] * j / N);
      in[2 * (t * N + j) + 1] = sin(2 * pi * tone[t] * j / N);
    }

  st = qor_dft_create_1d(&h, QOR_DFT_DOUBLE, QOR_DFT_COMPLEX, N);
  if (st != QOR_DFT_OK) return fail("create", st);
  /* Integers pass through the variadic form as int64_t. */
  if ((st = qor_dft_set_value(h, QOR_DFT_PLACEMENT, QOR_DFT_NOT_INPLACE)) != QOR_DFT_OK ||
      (st = qor_dft_set_value(h, QOR_DFT_NUMBER_OF_TRANSFORMS, (int64_t)COUNT)) != QOR_DFT_OK ||
      (st = qor_dft_set_value(h, QOR_DFT_INPUT_DISTANCE, (int64_t)N)) != QOR_DFT_OK ||
      (st = qor_dft_set_value(h, QOR_DFT_OUTPUT_DISTANCE, (int64_t)N)) != QOR_DFT_OK ||
      (st = qor_dft_set_value(h, QOR_DFT_BACKWARD_SCALE, 1.0 / N)) != QOR_DFT_OK ||
      (st = qor_dft_set_value(h, QOR_DFT_DESCRIPTOR_NAME, "tones")) != QOR_DFT_OK)
    return fail("set_value", st);

  st = qor_dft_commit(h);
  qor_dft_get_value(h, QOR_DFT_COMMIT_STATUS, &committed);
  if (committed != QOR_DFT_COMMITTED) {
    printf("example_dft: not committed yet (%s)\n", qor_dft_error_message(st));
    qor_dft_free(&h);
    return 77;
  }

  if ((st = qor_dft_forward_out(h, in, out)) != QOR_DFT_OK) return fail("forward", st);
  if ((st = qor_dft_backward_out(h, out, back)) != QOR_DFT_OK) return fail("backward", st);
  for (t = 0; t < COUNT; ++t)
    for (j = 0; j < N; ++j) {
      const double re = out[2 * (t * N + j)] - (j == tone[t] ? N : 0), im = out[2 * (t * N + j) + 1];
      const double dr = back[2 * (t * N + j)] - in[2 * (t * N + j)];
      const double di = back[2 * (t * N + j) + 1] - in[2 * (t * N + j) + 1];
      worst = fmax(worst, fmax(sqrt(re * re + im * im) / N, sqrt(dr * dr + di * di)));
    }
  qor_dft_free(&h);
  printf("example_dft: largest error %.3g\n", worst);
  return worst < 1e-12 ? 0 : 1;
}
