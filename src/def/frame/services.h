// The service contract between the kernel library and the core library.
//
// The core library defines every function declared here; the kernel library
// imports them and reaches its environment through nothing else: memory,
// processor facts, diagnostics, text and file operations, small mathematics
// and locks. The declarations are shared by both sides, so a signature is
// written once and a mismatch fails to compile.
#pragma once
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#if defined(QOR_BUILDING_CORE)
#define QOR_SERV_API extern "C" __attribute__((visibility("default")))
#else
#define QOR_SERV_API extern "C"
#endif

// Memory. Two pairs that never mix: allocate/deallocate and malloc/free.
// The alignment is a power of two (others are rounded up to one); null means
// failure. calloc pairs with free.
QOR_SERV_API void* qor_serv_allocate(std::int64_t size, int alignment);
QOR_SERV_API void qor_serv_deallocate(void* p);
QOR_SERV_API void* qor_serv_malloc(std::int64_t size, int alignment);
QOR_SERV_API void qor_serv_free(void* p);
QOR_SERV_API void* qor_serv_calloc(std::int64_t count, std::int64_t size, int alignment);

// Checks and errors.
QOR_SERV_API int qor_serv_check_ptr(const void* p, const char* routine);
QOR_SERV_API int qor_serv_check_ptr_and_warn(const void* p, const char* routine);
QOR_SERV_API void qor_serv_xerbla(const char* routine, const std::int64_t* arg, int len);
QOR_SERV_API int qor_serv_lsame(const char* a, const char* b, int la, int lb);

// Processor facts. Cheap, and constant unless a test hook changes them.
QOR_SERV_API int qor_serv_cpu_detect(void);
QOR_SERV_API int qor_serv_cpuisitbarcelona(void);
QOR_SERV_API int qor_serv_cpuisbulldozer(void);
QOR_SERV_API int qor_serv_cpuiszen(void);
// Non-zero on the 512-bit class (AVX-512 F, BW, DQ, VL and FMA, with the
// 512-bit state saved by the OS). That class also answers yes to
// qor_serv_cpuiszen: it runs every AVX2/FMA body.
QOR_SERV_API int qor_serv_cpuisavx512(void);
// A counter that changes whenever one of the answers above may change (a
// forced path or tier, a new reproducibility mode). A kernel that keeps an
// answer asks again when the counter has moved.
QOR_SERV_API const std::atomic<std::uint32_t>* qor_serv_cpu_generation(void);
QOR_SERV_API int qor_serv_cpuisclx(void);
QOR_SERV_API int qor_serv_cpuisicx(void);
// Cache size in bytes: level 1, 2 or 3; 0 asks for the last level.
QOR_SERV_API std::int64_t qor_serv_get_cache_size(int level);

// Numerical behaviour: the reproducibility mode word (1 = automatic).
QOR_SERV_API int qor_serv_cbwr_get(int which);

// Diagnostics.
QOR_SERV_API int* qor_serv_verbose_mode(void);
QOR_SERV_API void qor_serv_print_verbose_info(int kind, const char* text, double seconds);
QOR_SERV_API double qor_serv_dsecnd(void);
// Catalogued messages. The further arguments are texts (const char*).
QOR_SERV_API const char* qor_serv_get_msg(int number, int count, ...);
QOR_SERV_API void qor_serv_print(int channel, int number, int count, ...);
QOR_SERV_API void qor_serv_format_print(int channel, const char* format, int count, ...);
QOR_SERV_API void qor_serv_get_version_string_c(char* buffer, int size);

// File and text operations with explicit destination sizes. Text results
// are always terminated inside the destination; on overflow the destination
// holds the truncated text and the call reports failure (-1 or non-zero).
QOR_SERV_API std::FILE* qor_serv_fopen(const char* name, const char* mode);
QOR_SERV_API int qor_serv_fclose(std::FILE* f);
QOR_SERV_API int qor_serv_fprintf_s(std::FILE* f, const char* format, ...);
QOR_SERV_API int qor_serv_printf_s(const char* format, ...);
QOR_SERV_API int qor_serv_sprintf_s(char* dst, std::size_t size, const char* format, ...);
QOR_SERV_API int qor_serv_snprintf_s(char* dst, std::size_t size, std::size_t count, const char* format, ...);
QOR_SERV_API char* qor_serv_sprintf_char_s(char* cur, char* end, const char* format, ...);
QOR_SERV_API int qor_serv_strncpy_s(char* dst, std::size_t size, const char* src, std::size_t count);
QOR_SERV_API int qor_serv_strncat_s(char* dst, std::size_t size, const char* src, std::size_t count);
QOR_SERV_API int qor_serv_memcpy_unbounded_s(void* dst, std::size_t size, const void* src, std::size_t count);
QOR_SERV_API int qor_serv_memmove_s(void* dst, std::size_t size, const void* src, std::size_t count);

// Small mathematics. Complex arguments point to interleaved pairs.
QOR_SERV_API float qor_serv_c_abs(const float* c);
QOR_SERV_API double qor_serv_z_abs(const double* z);
QOR_SERV_API double qor_serv_d_sign(const double* a, const double* b);
QOR_SERV_API float qor_serv_s_sign(const float* a, const float* b);
QOR_SERV_API double qor_serv_int2d_ceil(const std::int64_t* n);
QOR_SERV_API float qor_serv_int2f_ceil(const std::int64_t* n);
QOR_SERV_API double qor_serv_libm_sin(double x);
QOR_SERV_API double qor_serv_libm_cos(double x);
QOR_SERV_API void qor_serv_libm_sincospi(double x, double* s, double* c);
QOR_SERV_API void qor_serv_libm_sincospif(float x, float* s, float* c);

// Locks on a word owned by the caller, initially 0.
QOR_SERV_API void qor_serv_lock(int* word);
QOR_SERV_API void qor_serv_unlock(int* word);
