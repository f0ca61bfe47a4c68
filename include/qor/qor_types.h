/*
 * Element types shared by the public headers.
 *
 * qor_complex8 and qor_complex16 are interleaved pairs passed by value or
 * pointed to. qor_complex_float and qor_complex_double are the types of
 * complex function results: C99 _Complex in C, std::complex in C++, which
 * are returned alike by the x86-64 calling convention.
 */
#ifndef QOR_QOR_TYPES_H
#define QOR_QOR_TYPES_H

#ifdef __cplusplus
#include <complex>
#endif

typedef struct qor_complex8 {
  float real, imag;
} qor_complex8;

typedef struct qor_complex16 {
  double real, imag;
} qor_complex16;

#ifdef __cplusplus
typedef std::complex<float> qor_complex_float;
typedef std::complex<double> qor_complex_double;
#else
typedef float _Complex qor_complex_float;
typedef double _Complex qor_complex_double;
#endif

#endif
