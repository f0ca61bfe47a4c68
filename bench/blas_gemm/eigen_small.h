// Eigen's product of two n x n column-major matrices, C = A B, for the
// small-matrix benchmark; compiled in its own file for this processor.
#pragma once
#include <complex>

namespace gemm_bench {

void eigen_product(int n, const float* a, const float* b, float* c);
void eigen_product(int n, const double* a, const double* b, double* c);
void eigen_product(int n, const std::complex<float>* a, const std::complex<float>* b, std::complex<float>* c);
void eigen_product(int n, const std::complex<double>* a, const std::complex<double>* b, std::complex<double>* c);

}  // namespace gemm_bench
