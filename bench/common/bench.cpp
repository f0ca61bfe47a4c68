#include "common/bench.h"

#include <dlfcn.h>

#include <chrono>
#include <ctime>
#include <cstdio>

namespace qor::bench {

Peer::Peer(const char* label, const char* const* files) : label_(label) {
  for (; *files != nullptr && handle_ == nullptr; ++files) handle_ = dlopen(*files, RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) std::fprintf(stderr, "bench: peer %s not found\n", label);
}

Peer::~Peer() {
  if (handle_ != nullptr) dlclose(handle_);
}

void* Peer::sym(const char* name) const { return handle_ != nullptr ? dlsym(handle_, name) : nullptr; }

void Peer::set_threads(int n) const {
  if (auto f = fn<void(int)>("openblas_set_num_threads")) f(n);
  if (auto f = fn<void(long)>("bli_thread_set_num_threads")) f(n);
}

Peer& openblas() {
  static const char* const files[] = {"/usr/lib/x86_64-linux-gnu/openblas-pthread/libopenblas.so.0",
                                      "libopenblas.so.0", nullptr};
  static Peer p("OpenBLAS", files);
  return p;
}

Peer& blis() {
  static const char* const files[] = {"/usr/lib/x86_64-linux-gnu/blis-openmp/libblis.so.4",
                                      "/usr/lib/x86_64-linux-gnu/blis-pthread/libblis.so.4", "libblis.so.4", nullptr};
  static Peer p("BLIS", files);
  return p;
}

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

void report(const std::string& what, const std::string& size, double ours_s, const char* unit, double work,
            const std::string& peer1, double peer1_s, const std::string& peer2, double peer2_s) {
  std::printf("%-22s %-16s qor %9.2f %-6s", what.c_str(), size.c_str(), work / ours_s, unit);
  if (!peer1.empty() && peer1_s > 0)
    std::printf(" | %s %9.2f ratio %5.2fx", peer1.c_str(), work / peer1_s, peer1_s / ours_s);
  if (!peer2.empty() && peer2_s > 0)
    std::printf(" | %s %9.2f ratio %5.2fx", peer2.c_str(), work / peer2_s, peer2_s / ours_s);
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace qor::bench
