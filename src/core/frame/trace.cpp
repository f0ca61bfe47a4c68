// Verbose mode: the line of a traced public call (see trace.h).
#include "frame/trace.h"

#include <cstdio>
#include <ctime>

#include "frame/diag.h"
#include "frame/threads.h"
#include "qor/qor.h"

namespace qor::core::trace {
namespace {

// The thread's traced call: at most one at a time, since a public routine
// reached from inside a traced call is not traced again.
struct Record {
  bool busy = false;
  const char* name = nullptr;
  timespec t0{};
  std::int64_t errors = 0;
  int threads = 1;
  char args[320] = {};
};

thread_local Record t_record;

// Appends to a bounded buffer; the text is cut, never overrun.
struct Out {
  char* p;
  std::size_t left;
  void put(char c) {
    if (left > 1) {
      *p++ = c;
      --left;
    }
    *p = '\0';
  }
  void put(const char* s, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) put(s[i]);
  }
};

// The next key of a comma-separated list, without spaces or a leading
// '*' / '&'. Commas inside parentheses do not separate.
const char* next_key(const char* keys, const char** key, std::size_t* len) {
  while (*keys == ' ' || *keys == '*' || *keys == '&') ++keys;
  const char* start = keys;
  int depth = 0;
  while (*keys != '\0' && !(*keys == ',' && depth == 0)) {
    if (*keys == '(') ++depth;
    if (*keys == ')') --depth;
    ++keys;
  }
  const char* end = keys;
  while (end > start && end[-1] == ' ') --end;
  *key = start;
  *len = static_cast<std::size_t>(end - start);
  return *keys == ',' ? keys + 1 : keys;
}

double elapsed_ms(const timespec& t0) {
  timespec t1{};
  clock_gettime(CLOCK_MONOTONIC, &t1);
  return 1e3 * static_cast<double>(t1.tv_sec - t0.tv_sec) + 1e-6 * static_cast<double>(t1.tv_nsec - t0.tv_nsec);
}

}  // namespace

bool start(const char* name, const char* keys, const Field* fields, int count) {
  if (!on()) return false;
  Record& r = t_record;
  if (r.busy) return false;
  r.busy = true;
  r.name = name;
  r.errors = thread_argument_errors();
  r.threads = max_threads();
  r.args[0] = '\0';
  Out out{r.args, sizeof r.args};
  bool first = true;
  for (int i = 0; i < count; ++i) {
    const char* key = "";
    std::size_t len = 0;
    keys = next_key(keys != nullptr ? keys : "", &key, &len);
    const Field& f = fields[i];
    if (f.kind == Field::Skip) continue;
    if (!first) out.put(',');
    first = false;
    if (f.kind == Field::Letter) {
      out.put(f.letter != '\0' ? f.letter : '?');
    } else if (f.kind == Field::Text) {
      for (const char* s = f.text; *s != '\0'; ++s) out.put(*s);
    } else {
      char num[24];
      const int n = std::snprintf(num, sizeof num, "%lld", f.value);
      out.put(key, len);
      out.put('=');
      out.put(num, static_cast<std::size_t>(n > 0 ? n : 0));
    }
  }
  // The clock last, so the description is not timed.
  clock_gettime(CLOCK_MONOTONIC, &r.t0);
  return true;
}

void finish(long long status) {
  Record& r = t_record;
  const double ms = elapsed_ms(r.t0);
  const bool bad = thread_argument_errors() != r.errors;
  char code[24] = "ok";
  if (bad) {
    std::snprintf(code, sizeof code, "bad-argument");
  } else if (status != 0) {
    std::snprintf(code, sizeof code, "%lld", status);
  }
  char line[512];
  std::snprintf(line, sizeof line, "QOR_VERBOSE %s(%s) path=%s threads=%d time=%.4fms status=%s", r.name, r.args,
                qor_cpu_path_name(qor_get_cpu_path()), r.threads, ms, code);
  // Still marked busy while the line is delivered: a handler that calls a
  // public routine is not traced into an endless exchange.
  report(QOR_MSG_VERBOSE, r.name, line);
  r.busy = false;
}

}  // namespace qor::core::trace
