// What each instruction-set body of the engine offers to the entries. The
// bodies are the same templates (engine.h) compiled once per class; the
// entries pick qor::base, qor::zen or qor::avx512 at run time by the
// library's body rule.
#pragma once
#include "dft/primitive/layout.h"
#include "frame/body.h"

namespace qor::dft {

// One self-sorting step, as the exported kernels describe it:
//   for p < m, c < sl, q < Q: a_j = src[q + is*(c + sl*(p + j*m))]
//   dst[q + os*(c + sl*(r*p + k))] = DFT_r(a)_k * tw[(k-1)*m + p]
struct Step {
  int r;
  int m;
  i64 sl;
  i64 Q;
  i64 is;
  i64 os;
  const void* tw;   // null: no twiddles
  const void* tab;  // roots of unity of r, for radices without their own kernel
  const void* twd = nullptr;  // first step only: the twiddles as real and imaginary parts, each twice
};

// The body of the engine that serves the call: baseline, Zen class or
// 512-bit class, by the library's body rule (frame/body.h).
Body engine_body();
// True when the Zen-class body is to run, for callers that have no
// 512-bit body (the 512-bit class takes the Zen body there).
bool use_zen_body();

}  // namespace qor::dft

#define QOR_DFT_ENGINE_DECLS                                                                                    \
  template <class R>                                                                                            \
  void exec_dft(const ::qor::dft::DftSpec* spec, const R* in, R* out, R* work, bool inv);                      \
  template <class R>                                                                                            \
  void exec_fft(const ::qor::dft::FftSpec* spec, const R* in, R* out, R* work, bool inv);                      \
  /* a power-of-two spec with the scaling of the caller's spec */                                             \
  template <class R>                                                                                            \
  void exec_pow2(const ::qor::dft::FftSpec* spec, const R* in, R* out, R* work, bool inv, bool scaled,          \
                 double scale);                                                                                 \
  /* kind 0: self-sorting step, 1: out-of-order step in place (src == dst) */                                  \
  template <class R>                                                                                            \
  bool exec_step(int kind, bool generic, bool inv, const R* src, R* dst, const ::qor::dft::Step& st);          \
  template <class R>                                                                                            \
  void exec_scale(R* data, ::qor::dft::i64 count, R value);

namespace qor::base {
QOR_DFT_ENGINE_DECLS
}
namespace qor::zen {
QOR_DFT_ENGINE_DECLS
}
namespace qor::avx512 {
QOR_DFT_ENGINE_DECLS
}
