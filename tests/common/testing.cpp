#include "common/testing.h"

namespace qor::test {

std::vector<int> runnable_paths() {
  std::vector<int> paths;
  for (int p = QOR_CPU_PATH_BASELINE; p <= QOR_CPU_PATH_AVX512; ++p)
    if (qor_cpu_path_supported(p)) paths.push_back(p);
  return paths;
}

PathGuard::PathGuard(int path) { EXPECT_EQ(qor_set_cpu_path(path), 0); }
PathGuard::~PathGuard() { qor_set_cpu_path(QOR_CPU_PATH_AUTO); }

AllocWatch::AllocWatch() { qor_alloc_stats(QOR_POOL_BOTH, &start_); }

AllocWatch::~AllocWatch() {
  qor_fault_reset();
  qor_alloc_counts now;
  qor_alloc_stats(QOR_POOL_BOTH, &now);
  EXPECT_EQ(now.live, start_.live) << "blocks allocated through the services were not given back";
}

std::int64_t AllocWatch::allocations() const {
  qor_alloc_counts now;
  qor_alloc_stats(QOR_POOL_BOTH, &now);
  return now.allocations - start_.allocations;
}

std::int64_t AllocWatch::failures() const {
  qor_alloc_counts now;
  qor_alloc_stats(QOR_POOL_BOTH, &now);
  return now.failures - start_.failures;
}

MessageCapture::MessageCapture() { qor_set_message_handler(&MessageCapture::handler, this); }
MessageCapture::~MessageCapture() { qor_set_message_handler(nullptr, nullptr); }

void MessageCapture::handler(int kind, const char* routine, const char* text, void* user) {
  static_cast<MessageCapture*>(user)->entries_.push_back({kind, routine, text});
}

int MessageCapture::count(int kind) const {
  int n = 0;
  for (const Entry& e : entries_) n += e.kind == kind;
  return n;
}

}  // namespace qor::test
