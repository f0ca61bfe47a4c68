// The thread count of the core's threaded drivers.
#include "frame/threads.h"

#include <omp.h>

#include <atomic>
#include <cstdlib>

#include "qor/qor.h"

namespace qor::core {
namespace {

// 0: the OpenMP default. Read from QOR_NUM_THREADS on first use.
std::atomic<int>& setting() {
  static std::atomic<int> n = [] {
    const char* env = std::getenv("QOR_NUM_THREADS");
    if (env == nullptr || *env == '\0') return 0;
    char* end = nullptr;
    long v = std::strtol(env, &end, 10);
    return (*end == '\0' && v > 0 && v <= 4096) ? static_cast<int>(v) : 0;
  }();
  return n;
}

}  // namespace

int max_threads() {
  if (omp_in_parallel()) return 1;
  int n = setting().load(std::memory_order_relaxed);
  return n > 0 ? n : omp_get_max_threads();
}

}  // namespace qor::core

extern "C" QOR_API void qor_set_num_threads(int n) {
  qor::core::setting().store(n > 0 ? n : 0, std::memory_order_relaxed);
}

extern "C" QOR_API int qor_get_max_threads(void) {
  int n = qor::core::setting().load(std::memory_order_relaxed);
  return n > 0 ? n : omp_get_max_threads();
}
