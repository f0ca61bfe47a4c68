// Vector helpers of the transform engine, one template per operation over
// the 32f, 32fc, 64f and 64fc members, and the mapping of engine statuses
// to the transform subsystem's.
#include <climits>
#include <cstring>

#include "dft/primitive/api.h"
#include "dft/primitive/layout.h"
#include "frame/services.h"

namespace qor::dft {
namespace {

template <class E>
int check1(const E* p, int len) {
  if (p == nullptr) return kNullPtr;
  return len < 1 ? kBadSize : kOk;
}
template <class A, class B>
int check2(const A* p, const B* q, int len) {
  if (p == nullptr || q == nullptr) return kNullPtr;
  return len < 1 ? kBadSize : kOk;
}

template <class R>
int mulc_real(R value, R* x, int len) {
  if (int st = check1(x, len)) return st;
  for (int i = 0; i < len; ++i) x[i] *= value;
  return kOk;
}
template <class E>
int mulc_complex(E value, E* x, int len) {
  if (int st = check1(x, len)) return st;
  for (int i = 0; i < len; ++i) {
    const auto re = x[i].re * value.re - x[i].im * value.im;
    x[i].im = x[i].re * value.im + x[i].im * value.re;
    x[i].re = re;
  }
  return kOk;
}
template <class R>
int mul_real(const R* a, R* x, int len) {
  if (int st = check2(a, x, len)) return st;
  for (int i = 0; i < len; ++i) x[i] *= a[i];
  return kOk;
}
template <class E>
int mul_complex(const E* a, E* x, int len) {
  if (int st = check2(a, x, len)) return st;
  for (int i = 0; i < len; ++i) {
    const auto re = x[i].re * a[i].re - x[i].im * a[i].im;
    x[i].im = x[i].re * a[i].im + x[i].im * a[i].re;
    x[i].re = re;
  }
  return kOk;
}
template <class E>
int conj(const E* a, E* x, int len) {
  if (int st = check2(a, x, len)) return st;
  for (int i = 0; i < len; ++i) {
    x[i].re = a[i].re;
    x[i].im = -a[i].im;
  }
  return kOk;
}
template <class E>
int zero(E* x, int len) {
  if (int st = check1(x, len)) return st;
  std::memset(static_cast<void*>(x), 0, static_cast<std::size_t>(len) * sizeof(E));
  return kOk;
}
template <class E>
int copy(const E* a, E* x, int len) {
  if (int st = check2(a, x, len)) return st;
  if (a != x) std::memmove(static_cast<void*>(x), static_cast<const void*>(a), static_cast<std::size_t>(len) * sizeof(E));
  return kOk;
}

}  // namespace
}  // namespace qor::dft

using namespace qor::dft;

QOR_DEF_API zups_u8* qor_dft_def_zupsMalloc_8u(int len) {
  if (len < 1) return nullptr;
  return static_cast<zups_u8*>(qor_serv_malloc(len, 64));
}
// Blocks of len elements; the byte count must stay within an int, as for
// the byte form.
template <class E>
E* malloc_of(int len) {
  if (len < 1 || len > INT_MAX / static_cast<int>(sizeof(E))) return nullptr;
  return reinterpret_cast<E*>(qor_dft_def_zupsMalloc_8u(len * static_cast<int>(sizeof(E))));
}
QOR_DEF_API float* qor_dft_def_zupsMalloc_32f(int len) { return malloc_of<float>(len); }
QOR_DEF_API double* qor_dft_def_zupsMalloc_64f(int len) { return malloc_of<double>(len); }
QOR_DEF_API qor_zups_32fc* qor_dft_def_zupsMalloc_32fc(int len) { return malloc_of<qor_zups_32fc>(len); }
QOR_DEF_API qor_zups_64fc* qor_dft_def_zupsMalloc_64fc(int len) { return malloc_of<qor_zups_64fc>(len); }
QOR_DEF_API void qor_dft_def_zupsFree(void* p) {
  if (p != nullptr) qor_serv_free(p);
}

QOR_DEF_API int qor_dft_def_zupsMulC_32f_I(float value, float* srcdst, int len) { return mulc_real(value, srcdst, len); }
QOR_DEF_API int qor_dft_def_zupsMulC_64f_I(double value, double* srcdst, int len) { return mulc_real(value, srcdst, len); }
QOR_DEF_API int qor_dft_def_zupsMulC_32fc_I(qor_zups_32fc value, qor_zups_32fc* srcdst, int len) {
  return mulc_complex(value, srcdst, len);
}
QOR_DEF_API int qor_dft_def_zupsMulC_64fc_I(qor_zups_64fc value, qor_zups_64fc* srcdst, int len) {
  return mulc_complex(value, srcdst, len);
}
QOR_DEF_API int qor_dft_def_zupsMul_32f_I(const float* src, float* srcdst, int len) { return mul_real(src, srcdst, len); }
QOR_DEF_API int qor_dft_def_zupsMul_64f_I(const double* src, double* srcdst, int len) { return mul_real(src, srcdst, len); }
QOR_DEF_API int qor_dft_def_zupsMul_32fc_I(const qor_zups_32fc* src, qor_zups_32fc* srcdst, int len) {
  return mul_complex(src, srcdst, len);
}
QOR_DEF_API int qor_dft_def_zupsMul_64fc_I(const qor_zups_64fc* src, qor_zups_64fc* srcdst, int len) {
  return mul_complex(src, srcdst, len);
}
QOR_DEF_API int qor_dft_def_zupsConj_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst, int len) {
  return conj(src, dst, len);
}
QOR_DEF_API int qor_dft_def_zupsConj_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst, int len) {
  return conj(src, dst, len);
}
QOR_DEF_API int qor_dft_def_zupsZero_32f(float* dst, int len) { return zero(dst, len); }
QOR_DEF_API int qor_dft_def_zupsZero_64f(double* dst, int len) { return zero(dst, len); }
QOR_DEF_API int qor_dft_def_zupsZero_32fc(qor_zups_32fc* dst, int len) { return zero(dst, len); }
QOR_DEF_API int qor_dft_def_zupsZero_64fc(qor_zups_64fc* dst, int len) { return zero(dst, len); }
QOR_DEF_API int qor_dft_def_zupsCopy_32f(const float* src, float* dst, int len) { return copy(src, dst, len); }
QOR_DEF_API int qor_dft_def_zupsCopy_64f(const double* src, double* dst, int len) { return copy(src, dst, len); }
QOR_DEF_API int qor_dft_def_zupsCopy_32fc(const qor_zups_32fc* src, qor_zups_32fc* dst, int len) {
  return copy(src, dst, len);
}
QOR_DEF_API int qor_dft_def_zupsCopy_64fc(const qor_zups_64fc* src, qor_zups_64fc* dst, int len) {
  return copy(src, dst, len);
}

QOR_DEF_API unsigned int qor_dft_def_transfer_zup_qor_error(int status) {
  switch (status) {
    case kOk: return 0;
    case kNullPtr: return 3;
    case kNoMemory: return 1;
    default: return 7;
  }
}
