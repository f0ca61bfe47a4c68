// The 512-bit-class body of the transform engine: the same templates as
// the other bodies, with the 512-bit vector types of simd.h as the widest
// of the set.
#include "dft/primitive/engine.h"

QOR_ISA_BEGIN
template void exec_dft<float>(const ::qor::dft::DftSpec*, const float*, float*, float*, bool);
template void exec_dft<double>(const ::qor::dft::DftSpec*, const double*, double*, double*, bool);
template void exec_fft<float>(const ::qor::dft::FftSpec*, const float*, float*, float*, bool);
template void exec_fft<double>(const ::qor::dft::FftSpec*, const double*, double*, double*, bool);
template void exec_pow2<float>(const ::qor::dft::FftSpec*, const float*, float*, float*, bool, bool, double);
template void exec_pow2<double>(const ::qor::dft::FftSpec*, const double*, double*, double*, bool, bool, double);
template bool exec_step<float>(int, bool, bool, const float*, float*, const ::qor::dft::Step&);
template bool exec_step<double>(int, bool, bool, const double*, double*, const ::qor::dft::Step&);
template void exec_scale<float>(float*, ::qor::dft::i64, float);
template void exec_scale<double>(double*, ::qor::dft::i64, double);
QOR_ISA_END
