// One namespace per instruction-set class.
//
// Processor bodies are written once, as templates or inline code in headers,
// and compiled in one translation unit per class with that class's flags.
// Wrapping them in QOR_ISA_BEGIN / QOR_ISA_END puts each copy in its own
// namespace (qor::base, qor::brc, qor::bdz, qor::zen, qor::avx512), so the linker never
// merges an AVX2 copy of an inline function into baseline code.
#pragma once

#if !defined(QOR_ISA_NAME)
#error "isa.h is for kernel-library sources built through qor_def_library()"
#endif

#if defined(QOR_ISA_BDZ) && !(defined(__AVX__) && defined(__FMA__))
#error "Bulldozer-class sources need AVX and FMA flags"
#endif
#if defined(QOR_ISA_ZEN) && !(defined(__AVX2__) && defined(__FMA__))
#error "Zen-class sources need AVX2 and FMA flags"
#endif
#if defined(QOR_ISA_AVX512) && !(defined(__AVX512F__) && defined(__AVX512BW__) && defined(__AVX512DQ__) && \
                                  defined(__AVX512VL__) && defined(__FMA__) && defined(__AVX2__))
#error "512-bit-class sources need AVX-512 F, BW, DQ, VL, AVX2 and FMA flags"
#endif
#if defined(QOR_ISA_BRC) && !defined(__SSE3__)
#error "Barcelona-class sources need SSE3 flags"
#endif
#if defined(QOR_ISA_BASE) && defined(__AVX__)
#error "baseline sources must build for plain x86-64"
#endif

#define QOR_ISA_BEGIN namespace qor::QOR_ISA_NAME {
#define QOR_ISA_END }
