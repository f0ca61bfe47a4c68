#include "common/bench.h"

#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <utility>
#include <vector>

#include "qor/qor.h"

namespace qor::bench {

namespace {

// A flag of the first processor in /proc/cpuinfo.
bool has_cpu_flag(const char* flag) {
  std::ifstream in("/proc/cpuinfo");
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("flags", 0) == 0) return (line + " ").find(std::string(" ") + flag + " ") != std::string::npos;
  return false;
}

// The OpenBLAS kernel set for this machine's instructions when the one
// OpenBLAS chose by itself (`chosen`) is a generic set without AVX2, else "".
std::string better_openblas_kernels(const std::string& chosen) {
  static const char* const modern[] = {"Haswell", "SkylakeX", "Cooperlake", "SapphireRapids", "Zen", nullptr};
  for (const char* const* m = modern; *m != nullptr; ++m)
    if (chosen == *m) return "";
  __builtin_cpu_init();
  if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("fma")) return "";
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
      __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq")) {
    // Cooperlake's set adds bfloat16 kernels to SkylakeX's.
    return has_cpu_flag("avx512_bf16") ? "Cooperlake" : "SkylakeX";
  }
  return "Haswell";
}

}  // namespace

// A peer's own names bind first (RTLD_DEEPBIND): its CBLAS layer calls its
// Fortran names (BLIS's cblas_dgemm calls dgemm_), which would otherwise
// resolve to ours, loaded before it in the process, and time our code.
constexpr int kPeerOpen = RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND;

Peer::Peer(const char* label, const char* const* files, const char* const* set_aside) : label_(label) {
  // Take the pinning variables out of the environment while the peer loads
  // and settles its kernel choice; OpenBLAS makes it when loaded, BLIS on
  // its first query (describe() makes that query).
  std::vector<std::pair<std::string, std::string>> saved;
  const char* keep = std::getenv("QOR_BENCH_PEER_ENV");
  const bool keep_env = keep != nullptr && std::strcmp(keep, "keep") == 0;
  for (; !keep_env && set_aside != nullptr && *set_aside != nullptr; ++set_aside) {
    if (const char* v = std::getenv(*set_aside)) {
      saved.emplace_back(*set_aside, v);
      unsetenv(*set_aside);
    }
  }
  const char* file = nullptr;
  for (; *files != nullptr && handle_ == nullptr; ++files) {
    handle_ = dlopen(*files, kPeerOpen);
    file = *files;
  }
  if (handle_ != nullptr) describe();
  std::string note;
  for (auto& [name, value] : saved) note += (note.empty() ? "" : ", ") + name + "=" + value;
  if (!note.empty()) note += " set aside while loading";
  // OpenBLAS knows processors by model number and takes a generic SSE3
  // kernel set on one newer than itself; such a peer would be measured far
  // below its best. Load it again with the kernel set the machine's
  // instructions call for.
  if (handle_ != nullptr && !keep_env && sym("openblas_get_corename") != nullptr) {
    const std::string better = better_openblas_kernels(kernels_);
    if (!better.empty()) {
      const std::string first = kernels_;
      dlclose(handle_);
      setenv("OPENBLAS_CORETYPE", better.c_str(), 1);
      handle_ = dlopen(file, kPeerOpen);
      unsetenv("OPENBLAS_CORETYPE");
      if (handle_ != nullptr) describe();
      note += std::string(note.empty() ? "" : "; ") + "took " + first +
              " kernels on this processor by itself, loaded again with OPENBLAS_CORETYPE=" + better;
    }
  }
  for (auto& [name, value] : saved) setenv(name.c_str(), value.c_str(), 1);
  if (handle_ == nullptr) {
    std::fprintf(stderr, "bench: peer %s not found\n", label);
    return;
  }
  std::printf("peer %s: %s kernels (%s)%s%s\n", label_.c_str(), kernels_.c_str(), config_.c_str(),
              note.empty() ? "" : "; ", note.c_str());
  std::fflush(stdout);
  record_peer(label_, kernels_, config_, note);
}

Peer::~Peer() {
  if (handle_ != nullptr) dlclose(handle_);
}

void* Peer::sym(const char* name) const { return handle_ != nullptr ? dlsym(handle_, name) : nullptr; }

void Peer::describe() {
  // OpenBLAS names its core and build; BLIS its configuration and version.
  if (auto core = fn<char*()>("openblas_get_corename")) kernels_ = core();
  if (auto conf = fn<char*()>("openblas_get_config")) config_ = conf();
  if (auto id = fn<int()>("bli_arch_query_id")) {
    if (auto name = fn<const char*(int)>("bli_arch_string")) kernels_ = name(id());
    std::string v = "BLIS";
    if (auto ver = fn<const char*()>("bli_info_get_version_str")) v += std::string(" ") + ver();
    if (auto omp = fn<long()>("bli_info_get_enable_openmp"); omp && omp()) v += ", OpenMP";
    if (auto pth = fn<long()>("bli_info_get_enable_pthreads"); pth && pth()) v += ", pthreads";
    if (auto simd = fn<long()>("bli_info_get_simd_size")) v += ", SIMD " + std::to_string(simd()) + " bytes";
    config_ = v;
  }
  // Trailing blanks in OpenBLAS's strings.
  while (!config_.empty() && config_.back() == ' ') config_.pop_back();
  while (!kernels_.empty() && kernels_.back() == ' ') kernels_.pop_back();
  if (kernels_.empty()) kernels_ = "unknown";
}

void Peer::set_threads(int n) const {
  if (auto f = fn<void(int)>("openblas_set_num_threads")) f(n);
  if (auto f = fn<void(long)>("bli_thread_set_num_threads")) f(n);
}

Peer& openblas() {
  static const char* const files[] = {"/usr/lib/x86_64-linux-gnu/openblas-pthread/libopenblas.so.0",
                                      "libopenblas.so.0", nullptr};
  static const char* const pinning[] = {"OPENBLAS_CORETYPE", "OPENBLAS_L2_SIZE", nullptr};
  static Peer p("OpenBLAS", files, pinning);
  return p;
}

Peer& blis() {
  static const char* const files[] = {"/usr/lib/x86_64-linux-gnu/blis-openmp/libblis.so.4",
                                      "/usr/lib/x86_64-linux-gnu/blis-pthread/libblis.so.4", "libblis.so.4", nullptr};
  static const char* const pinning[] = {"BLIS_ARCH_TYPE", nullptr};
  static Peer p("BLIS", files, pinning);
  return p;
}

double now() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

double thread_seconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

namespace {

// Rows name rates GFLOP/s or GB/s whatever the printed spelling.
std::string row_unit(const char* unit) { return std::strncmp(unit, "GF", 2) == 0 ? "GFLOP/s" : unit; }

Row make_row(const Case& c, const std::string& library, double seconds, const char* unit, double work, double ratio) {
  Row r;
  r.operation = c.operation.empty() ? c.what : c.operation;
  r.type = c.type;
  r.size = c.size;
  r.n = c.n;
  r.bytes = c.bytes;
  r.threads = c.threads;
  r.library = library;
  if (library == "qor") r.path = qor_cpu_path_name(qor_get_cpu_path());
  r.rate = work / seconds;
  r.unit = row_unit(unit);
  r.seconds = seconds;
  r.ratio = ratio;
  return r;
}

}  // namespace

void report(const Case& c, double ours_s, const char* unit, double work, const std::string& peer1, double peer1_s,
            const std::string& peer2, double peer2_s) {
  std::printf("%-22s %-16s qor %9.2f %-6s", c.what.c_str(), c.size.c_str(), work / ours_s, unit);
  if (!peer1.empty() && peer1_s > 0)
    std::printf(" | %s %9.2f ratio %5.2fx", peer1.c_str(), work / peer1_s, peer1_s / ours_s);
  if (!peer2.empty() && peer2_s > 0)
    std::printf(" | %s %9.2f ratio %5.2fx", peer2.c_str(), work / peer2_s, peer2_s / ours_s);
  std::printf("\n");
  std::fflush(stdout);
  record_result(c, ours_s, unit, work, peer1, peer1_s, peer2, peer2_s);
}

void record_result(const Case& c, double ours_s, const char* unit, double work, const std::string& peer1,
                   double peer1_s, const std::string& peer2, double peer2_s) {
  record(make_row(c, "qor", ours_s, unit, work, 1.0));
  if (!peer1.empty() && peer1_s > 0) record(make_row(c, peer1, peer1_s, unit, work, peer1_s / ours_s));
  if (!peer2.empty() && peer2_s > 0) record(make_row(c, peer2, peer2_s, unit, work, peer2_s / ours_s));
}

void report(const std::string& what, const std::string& size, double ours_s, const char* unit, double work,
            const std::string& peer1, double peer1_s, const std::string& peer2, double peer2_s) {
  Case c;
  c.what = what;
  c.size = size;
  const auto digit = size.find_first_of("0123456789");
  c.n = digit == std::string::npos ? 0 : std::strtod(size.c_str() + digit, nullptr);
  c.threads = qor_get_max_threads();
  report(c, ours_s, unit, work, peer1, peer1_s, peer2, peer2_s);
}

void record_alone(const Case& c, const std::string& library, double seconds, const char* unit, double work) {
  record(make_row(c, library, seconds, unit, work, 1.0));
}

}  // namespace qor::bench
