#include "common/results.h"

#include <cpuid.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

#include "qor/qor.h"

namespace qor::bench {

namespace {

std::string json_string(const std::string& s) {
  std::string out = "\"";
  for (unsigned char ch : s) {
    if (ch == '"' || ch == '\\') {
      out += '\\';
      out += static_cast<char>(ch);
    } else if (ch < 0x20) {
      char buf[8];
      std::snprintf(buf, sizeof buf, "\\u%04x", ch);
      out += buf;
    } else {
      out += static_cast<char>(ch);
    }
  }
  return out + "\"";
}

// JSON has no infinities or NaN; a figure that is not finite is null.
std::string json_number(double v) {
  if (!(v == v) || v > 1e300 || v < -1e300) return "null";
  char buf[32];
  std::snprintf(buf, sizeof buf, "%.10g", v);  // sizes such as 2^22 exactly
  return buf;
}

// Builds one JSON object field by field.
class Object {
 public:
  Object& str(const char* key, const std::string& v) { return add(key, json_string(v)); }
  Object& num(const char* key, double v) { return add(key, json_number(v)); }
  Object& boolean(const char* key, bool v) { return add(key, v ? "true" : "false"); }
  std::string text() const { return "{" + body_ + "}"; }

 private:
  Object& add(const char* key, const std::string& v) {
    if (!body_.empty()) body_ += ", ";
    body_ += json_string(key) + ": " + v;
    return *this;
  }
  std::string body_;
};

std::string cpuinfo_field(const char* key) {
  std::ifstream in("/proc/cpuinfo");
  std::string line;
  const std::size_t klen = std::strlen(key);
  while (std::getline(in, line)) {
    if (line.compare(0, klen, key) != 0) continue;
    const auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    auto v = line.substr(colon + 1);
    v.erase(0, v.find_first_not_of(" \t"));
    return v;
  }
  return "";
}

std::string cpuid_brand() {
  unsigned regs[12] = {};
  unsigned top = __get_cpuid_max(0x80000000u, nullptr);
  if (top < 0x80000004u) return "";
  for (unsigned i = 0; i < 3; ++i) __get_cpuid(0x80000002u + i, &regs[4 * i], &regs[4 * i + 1], &regs[4 * i + 2], &regs[4 * i + 3]);
  std::string s(reinterpret_cast<const char*>(regs), sizeof regs);
  s = s.c_str();
  s.erase(0, s.find_first_not_of(' '));
  return s;
}

// Physical cores: distinct (physical id, core id) pairs; the logical count
// where /proc/cpuinfo does not say.
int physical_cores(int logical) {
  std::ifstream in("/proc/cpuinfo");
  std::string line, phys = "0";
  std::set<std::pair<std::string, std::string>> cores;
  while (std::getline(in, line)) {
    const auto colon = line.find(':');
    if (colon == std::string::npos) continue;
    auto v = line.substr(colon + 1);
    v.erase(0, v.find_first_not_of(" \t"));
    if (line.rfind("physical id", 0) == 0) phys = v;
    if (line.rfind("core id", 0) == 0) cores.emplace(phys, v);
  }
  return cores.empty() ? logical : static_cast<int>(cores.size());
}

// The one-minute load average: how busy the machine was with other work
// when the benchmark started.
double load_average() {
  std::ifstream in("/proc/loadavg");
  double v = -1;
  in >> v;
  return v;
}

std::string utc_now() {
  const std::time_t t = std::time(nullptr);
  std::tm tm{};
  gmtime_r(&t, &tm);
  char buf[32];
  std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%SZ", &tm);
  return buf;
}

std::string program_name() {
  char buf[4096];
  const ssize_t len = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (len <= 0) return "bench";
  std::string s(buf, static_cast<std::size_t>(len));
  s = s.substr(s.find_last_of('/') + 1);
  if (s.rfind("bench_", 0) == 0) s = s.substr(6);
  return s;
}

struct Output {
  std::FILE* file = nullptr;
  std::string benchmark;
  bool tried = false;
};

Output& output() {
  static Output out;
  return out;
}

void write_line(const std::string& line) {
  Output& o = output();
  if (o.file == nullptr) return;
  std::fputs(line.c_str(), o.file);
  std::fputc('\n', o.file);
  std::fflush(o.file);  // rows survive a run cut short
}

void open_output(const std::string& name, bool quick) {
  Output& o = output();
  if (o.tried) return;
  o.tried = true;
  o.benchmark = name;
  const char* dir = std::getenv("QOR_BENCH_OUT");
  if (dir == nullptr || *dir == '\0') return;
  const std::string path = std::string(dir) + "/" + name + ".jsonl";
  o.file = std::fopen(path.c_str(), "w");
  if (o.file == nullptr) {
    std::fprintf(stderr, "bench: cannot write %s\n", path.c_str());
    return;
  }
  const Machine& m = machine();
  qor_cpu_facts f;
  qor_get_cpu_facts(&f);
  write_line(Object()
                 .str("record", "machine")
                 .str("benchmark", name)
                 .str("processor", m.processor)
                 .str("vendor", f.vendor)
                 .num("family", f.family)
                 .num("model", f.model)
                 .num("stepping", f.stepping)
                 .str("cpu_path", m.path)
                 .num("vector_bits", m.vector_bits)
                 .str("isa", m.isa)
                 .num("machine_vector_bits", m.machine_vector_bits)
                 .num("cores", m.cores)
                 .num("logical_processors", m.logical)
                 .num("max_threads", m.max_threads)
                 .num("l1d_bytes", static_cast<double>(f.l1d_bytes))
                 .num("l2_bytes", static_cast<double>(f.l2_bytes))
                 .num("l3_bytes", static_cast<double>(f.l3_bytes))
                 .str("qor", qor_version_string())
                 .num("load_average", load_average())
                 .boolean("quick", quick)
                 .str("date", utc_now())
                 .text());
}

}  // namespace

std::string path_isa(int path, int* bits) {
  int b = 128;
  const char* isa = "SSE2";
  switch (path) {
    case QOR_CPU_PATH_BARCELONA: isa = "SSE3"; break;
    case QOR_CPU_PATH_BULLDOZER: b = 256; isa = "AVX/FMA"; break;
    case QOR_CPU_PATH_ZEN: b = 256; isa = "AVX2/FMA"; break;
    case QOR_CPU_PATH_AVX512: b = 512; isa = "AVX-512/FMA"; break;
    default: break;
  }
  if (bits != nullptr) *bits = b;
  return std::to_string(b) + "-bit " + isa;
}

const Machine& machine() {
  static const Machine m = [] {
    Machine r{};
    r.processor = cpuinfo_field("model name");
    if (r.processor.empty()) r.processor = cpuid_brand();
    if (r.processor.empty()) r.processor = "unknown processor";
    const int path = qor_get_cpu_path();
    r.path = qor_cpu_path_name(path);
    const std::string pi = path_isa(path, &r.vector_bits);
    r.isa = pi.substr(pi.find(' ') + 1);
    qor_cpu_facts f;
    qor_get_cpu_facts(&f);
    r.machine_vector_bits = f.avx512f ? 512 : f.avx ? 256 : 128;
    r.logical = static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN));
    r.cores = physical_cores(r.logical);
    r.max_threads = qor_get_max_threads();
    return r;
  }();
  return m;
}

void begin(const char* name, bool quick) { open_output(name, quick); }

bool quick_requested(int argc, char** argv) {
  for (int i = 1; i < argc; ++i)
    if (std::strcmp(argv[i], "quick") == 0) return true;
  const char* env = std::getenv("QOR_BENCH_QUICK");
  return env != nullptr && *env != '\0' && std::strcmp(env, "0") != 0;
}

void record(const Row& row) {
  open_output(program_name(), false);
  if (output().file == nullptr) return;
  write_line(Object()
                 .str("record", "row")
                 .str("benchmark", output().benchmark)
                 .str("operation", row.operation)
                 .str("type", row.type)
                 .str("size", row.size)
                 .num("n", row.n)
                 .num("bytes", row.bytes)
                 .num("threads", row.threads)
                 .str("library", row.library)
                 .str("path", row.path)
                 .num("rate", row.rate)
                 .str("unit", row.unit)
                 .num("seconds", row.seconds)
                 .num("ratio", row.ratio)
                 .text());
}

void record_peer(const std::string& library, const std::string& kernels, const std::string& config,
                 const std::string& note) {
  open_output(program_name(), false);
  write_line(Object()
                 .str("record", "peer")
                 .str("benchmark", output().benchmark)
                 .str("library", library)
                 .str("kernels", kernels)
                 .str("config", config)
                 .str("note", note)
                 .text());
}

}  // namespace qor::bench
