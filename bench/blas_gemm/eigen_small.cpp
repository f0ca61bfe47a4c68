// Eigen's side of the small-matrix benchmark: maps of the caller's arrays
// and a product without a temporary, as an Eigen program would write it.
#include "blas_gemm/eigen_small.h"

#include <Eigen/Dense>

namespace gemm_bench {
namespace {

template <class T>
void product(int n, const T* a, const T* b, T* c) {
  using M = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
  Eigen::Map<const M> A(a, n, n), B(b, n, n);
  Eigen::Map<M> C(c, n, n);
  C.noalias() = A * B;
}

}  // namespace

void eigen_product(int n, const float* a, const float* b, float* c) { product(n, a, b, c); }
void eigen_product(int n, const double* a, const double* b, double* c) { product(n, a, b, c); }
void eigen_product(int n, const std::complex<float>* a, const std::complex<float>* b, std::complex<float>* c) {
  product(n, a, b, c);
}
void eigen_product(int n, const std::complex<double>* a, const std::complex<double>* b, std::complex<double>* c) {
  product(n, a, b, c);
}

}  // namespace gemm_bench
