/*
 * qor: public interface of the core library, libqor_core.so.3.
 *
 * This header holds what every program may use: the version, the processor
 * facts the library detected, the kernel member it loaded, and the hooks that
 * tests and applications use to steer it (the processor-path override and
 * allocation fault injection). The numerical interfaces have headers of
 * their own next to this one.
 */
#ifndef QOR_QOR_H
#define QOR_QOR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define QOR_API __attribute__((visibility("default")))

#define QOR_VERSION_MAJOR 3
#define QOR_VERSION_MINOR 0
#define QOR_VERSION_PATCH 0

/* "qor 3.0.0" and build facts. */
QOR_API const char* qor_version_string(void);

/* ---- Processor facts, read once from CPUID ------------------------------ */

typedef struct qor_cpu_facts {
  char vendor[16];         /* "GenuineIntel", "AuthenticAMD", ... */
  int family, model, stepping;
  int sse3, ssse3, sse41, sse42, popcnt, avx, avx2, fma, fma4, avx512f;
  int barcelona, bulldozer, zen; /* AMD processor classes */
  int clx, icx;                  /* Intel Cascade Lake and Ice Lake server */
  /* Cache sizes: from the deterministic cache leaf (0x8000001D on AMD, 4 on
   * others), else from the older descriptor leaves (0x80000005 and
   * 0x80000006 on AMD, 2 on others); 0 where neither reports the level
   * (common under virtual machines). */
  int64_t l1d_bytes, l2_bytes, l3_bytes;
  /* The rest of the 512-bit class: byte/word, double/quad and 128/256-bit
   * forms, each 0 unless the OS also saves the 512-bit state. avx512 is
   * their conjunction with avx512f and fma: the 512-bit path can run. */
  int avx512bw, avx512dq, avx512vl, avx512;
  /* The CPUID leaf each cache size came from, 0 where none reported it. */
  unsigned l1d_leaf, l2_leaf, l3_leaf;
} qor_cpu_facts;

QOR_API void qor_get_cpu_facts(qor_cpu_facts* out);
/* The cache size of a level (1 data, 2, 3; 0 the last level) that the
 * kernels size their blocks for: the reported size, or a default where the
 * processor reports none. */
QOR_API int64_t qor_cache_bytes(int level);

/* ---- Processor path ------------------------------------------------------
 * The kernel member holds one baseline body and tuned bodies for four
 * processor classes. The core answers the member's processor questions
 * according to the path in force, so forcing a path makes the member run
 * that body on any machine able to execute its instructions.
 *
 * Automatic choice: an AMD Barcelona- or Bulldozer-class processor gets its
 * own path; a processor with AVX-512 F, BW, DQ, VL and FMA whose operating
 * system saves the 512-bit state gets the 512-bit path; any other with AVX2
 * and FMA the Zen path (its bodies are AVX2/FMA code); everything else the
 * baseline. On the 512-bit path the member is told it runs on the Zen
 * class too, so a family without a 512-bit body takes its Zen body.
 * The environment variable QOR_CPU_PATH (baseline, barcelona, bulldozer,
 * zen, avx512 or auto) sets the path at start-up. */
enum {
  QOR_CPU_PATH_AUTO = -1,
  QOR_CPU_PATH_BASELINE = 0,
  QOR_CPU_PATH_BARCELONA = 1,
  QOR_CPU_PATH_BULLDOZER = 2,
  QOR_CPU_PATH_ZEN = 3,
  QOR_CPU_PATH_AVX512 = 4
};

/* 0 on success; -1 when this machine cannot execute that path (nothing
 * changes); -2 for an unknown path. */
QOR_API int qor_set_cpu_path(int path);
/* The path in force, never QOR_CPU_PATH_AUTO. */
QOR_API int qor_get_cpu_path(void);
QOR_API int qor_cpu_path_supported(int path);
QOR_API const char* qor_cpu_path_name(int path);
/* How often the kernel member asked whether it runs on the class of `path`
 * and was told yes: the evidence that a tuned body was actually taken.
 * Families that keep the answer ask again after each change of the path,
 * the tier or the reproducibility mode, so the count grows at least once
 * after a path is forced and a tuned body of it runs. Counting starts with
 * the first call of this function, so programs that never ask pay nothing
 * for it. */
QOR_API int64_t qor_cpu_path_hits(int path);

/* Processor tier reported to the member (0: the generic member serves this
 * processor). A tier of -1 restores the detected one. Tiers above 0 name
 * processors a dedicated member would serve; on them the member takes its
 * baseline bodies. */
QOR_API void qor_set_cpu_tier(int tier);
QOR_API int qor_get_cpu_tier(void);

/* ---- The kernel member ---------------------------------------------------
 * Loaded on first use from QOR_DEF_LIBRARY if set, else from the directory
 * of libqor_core.so.3, else through the loader's search path. */
QOR_API int qor_member_load(void);          /* 0, or -1 with qor_member_error() */
QOR_API const char* qor_member_path(void);  /* the file loaded, or "" */
QOR_API const char* qor_member_error(void); /* "" when all is well */
QOR_API int qor_member_cpu_version(void);   /* the member's identity: 0 */

/* ---- Allocation accounting and fault injection --------------------------
 * The member allocates through two pools: QOR_POOL_ALLOCATE (the
 * allocate/deallocate pair) and QOR_POOL_MALLOC (malloc/calloc/free). */
enum { QOR_POOL_ALLOCATE = 1, QOR_POOL_MALLOC = 2, QOR_POOL_BOTH = 3 };

typedef struct qor_alloc_counts {
  int64_t allocations; /* blocks handed out */
  int64_t frees;       /* blocks given back */
  int64_t failures;    /* requests refused, injected or real */
  int64_t live;        /* allocations - frees */
} qor_alloc_counts;

/* Fail the next n requests to the given pools. */
QOR_API void qor_fault_fail_next(int pools, int64_t n);
/* Let k more requests succeed, then fail every later one. */
QOR_API void qor_fault_fail_after(int pools, int64_t k);
QOR_API void qor_fault_reset(void);
QOR_API void qor_alloc_stats(int pool, qor_alloc_counts* out);

/* ---- Diagnostics ----------------------------------------------------------
 * Warnings (a routine met a null allocation), argument errors (xerbla) and
 * verbose lines go to standard error. A handler set here receives them
 * instead, one message at a time even when the threads of a team report
 * together. */
typedef void (*qor_message_handler)(int kind, const char* routine, const char* text, void* user);
enum { QOR_MSG_WARNING = 1, QOR_MSG_ARGUMENT_ERROR = 2, QOR_MSG_VERBOSE = 3 };
QOR_API void qor_set_message_handler(qor_message_handler handler, void* user);
/* Counts of the messages of one kind reported so far. */
QOR_API int64_t qor_message_count(int kind);

/* Verbose mode (0 off, 1 on; off unless QOR_VERBOSE=1 at start-up). When
 * on, every public BLAS, transposition and transform call reports one line
 * (kind QOR_MSG_VERBOSE, `routine` the name called) when it returns:
 *   QOR_VERBOSE dgemm_(N,T,m=1000,n=1000,k=1000,lda=1000,ldb=1000,ldc=1000)
 *     path=zen threads=2 time=12.3456ms status=ok
 * (one line): option letters, then sizes, leading dimensions and increments
 * as key=value in argument order; the processor path in force; the largest
 * OpenMP team the call may use; the wall time; status=ok, or
 * status=bad-argument when the call failed its argument checks. */
QOR_API void qor_set_verbose(int mode);
QOR_API int qor_get_verbose(void);

/* Reproducibility mode answered to the member; 1 is automatic. Any other
 * mode asks for results that do not change with the processor class: the
 * member then takes no 512-bit body, and an AVX-512 machine computes what
 * an AVX2 machine does. QOR_CBWR sets it at start-up. */
QOR_API void qor_set_cbwr(int mode);

/* ---- Threads ---------------------------------------------------------------
 * Large BLAS calls run on an OpenMP team in the core. The team is at most
 * the number set here; QOR_NUM_THREADS sets it at start-up, and without
 * either the OpenMP default holds (OMP_NUM_THREADS, else the processors
 * available). A call made from inside a parallel region runs on one thread. */
QOR_API void qor_set_num_threads(int n); /* n < 1 restores the default */
QOR_API int qor_get_max_threads(void);

#ifdef __cplusplus
}
#endif
#endif
