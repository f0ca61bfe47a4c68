// Checks, argument errors, option letters, verbose mode, messages, version.
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

#include "frame/diag.h"
#include "frame/messages.h"
#include "frame/services.h"
#include "frame/trace.h"
#include "qor/qor.h"

namespace {

std::mutex g_handler_mutex;
std::recursive_mutex g_deliver_mutex;
qor_message_handler g_handler = nullptr;
void* g_handler_user = nullptr;
std::atomic<std::int64_t> g_counts[4];
thread_local std::int64_t t_argument_errors = 0;

}  // namespace

std::int64_t qor::core::thread_argument_errors() { return t_argument_errors; }

// Delivers one diagnostic to the handler, or to standard error as one line.
void qor::core::report(int kind, const char* routine, const char* text) {
  if (kind < QOR_MSG_WARNING || kind > QOR_MSG_VERBOSE) kind = QOR_MSG_WARNING;
  g_counts[kind].fetch_add(1, std::memory_order_relaxed);
  if (kind == QOR_MSG_ARGUMENT_ERROR) ++t_argument_errors;
  qor_message_handler h;
  void* user;
  {
    std::lock_guard<std::mutex> lock(g_handler_mutex);
    h = g_handler;
    user = g_handler_user;
  }
  if (h != nullptr) {
    // One message at a time: the threads of a team may warn together, and
    // a handler need not be written for concurrent calls. Recursive, so a
    // handler that calls back into the library and is warned again does
    // not wait on itself.
    std::lock_guard<std::recursive_mutex> deliver(g_deliver_mutex);
    h(kind, routine, text, user);
    return;
  }
  std::fprintf(stderr, "%s\n", text);
  std::fflush(stderr);
}

namespace {
using qor::core::report;

int env_int(const char* name, int fallback) {
  const char* v = std::getenv(name);
  return (v != nullptr && *v != '\0') ? std::atoi(v) : fallback;
}

// The verbose word, read once; see frame/trace.h.
int* verbose_word() {
  qor::core::verbose_from_environment();
  return &qor::core::g_verbose_word;
}

std::atomic<int>& cbwr_word() {
  static std::atomic<int> word{env_int("QOR_CBWR", 1)};
  return word;
}

}  // namespace

// -1 until read: QOR_VERBOSE is consulted on the first question, unless
// qor_set_verbose() answered it before.
int qor::core::g_verbose_word = -1;

int qor::core::verbose_from_environment() {
  std::atomic_ref<int> word(g_verbose_word);
  int v = word.load(std::memory_order_relaxed);
  if (v >= 0) return v;
  const int from_env = env_int("QOR_VERBOSE", 0) == 1 ? 1 : 0;
  // Only the unread state is replaced: a setting made meanwhile stands.
  word.compare_exchange_strong(v, from_env, std::memory_order_relaxed);
  return word.load(std::memory_order_relaxed);
}

extern "C" {

QOR_SERV_API int qor_serv_check_ptr(const void* p, const char*) { return p == nullptr ? 1 : 0; }

QOR_SERV_API int qor_serv_check_ptr_and_warn(const void* p, const char* routine) {
  if (p != nullptr) return 0;
  const char* name = routine != nullptr ? routine : "?";
  char line[256];
  std::snprintf(line, sizeof line, "qor warning: %s could not allocate its workspace; it continues without it", name);
  report(QOR_MSG_WARNING, name, line);
  return 1;
}

QOR_SERV_API void qor_serv_xerbla(const char* routine, const std::int64_t* arg, int len) {
  char name[64] = "?";
  if (routine != nullptr && len > 0) {
    int n = len < 63 ? len : 63;
    std::memcpy(name, routine, static_cast<std::size_t>(n));
    name[n] = '\0';
    for (int i = n - 1; i >= 0 && (name[i] == ' ' || name[i] == '\0'); --i) name[i] = '\0';
  }
  char line[160];
  std::snprintf(line, sizeof line, " ** On entry to %s parameter number %2lld had an illegal value", name,
                static_cast<long long>(arg != nullptr ? *arg : 0));
  report(QOR_MSG_ARGUMENT_ERROR, name, line);
}

QOR_SERV_API int qor_serv_lsame(const char* a, const char* b, int, int) {
  if (a == nullptr || b == nullptr) return 0;
  auto up = [](unsigned char c) { return (c >= 'a' && c <= 'z') ? c - 32 : c; };
  return up(static_cast<unsigned char>(*a)) == up(static_cast<unsigned char>(*b));
}

QOR_SERV_API int qor_serv_cbwr_get(int) { return cbwr_word().load(std::memory_order_relaxed); }

QOR_SERV_API int* qor_serv_verbose_mode(void) { return verbose_word(); }

// The member's verbose lines take the same path as those of the public
// calls.
QOR_SERV_API void qor_serv_print_verbose_info(int, const char* text, double seconds) {
  char line[512];
  std::snprintf(line, sizeof line, "QOR_VERBOSE %s time=%.4fms", text != nullptr ? text : "", seconds * 1e3);
  report(QOR_MSG_VERBOSE, "", line);
}

QOR_SERV_API double qor_serv_dsecnd(void) {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + 1e-9 * static_cast<double>(ts.tv_nsec);
}

QOR_SERV_API const char* qor_serv_get_msg(int number, int count, ...) {
  thread_local char text[4096];
  const char* args[16] = {};
  va_list ap;
  va_start(ap, count);
  for (int i = 0; i < count && i < 16; ++i) args[i] = va_arg(ap, const char*);
  va_end(ap);
  qor::core::expand_message(text, sizeof text, number, count < 16 ? count : 16, args);
  return text;
}

QOR_SERV_API void qor_serv_print(int channel, int number, int count, ...) {
  char text[4096];
  const char* args[16] = {};
  va_list ap;
  va_start(ap, count);
  for (int i = 0; i < count && i < 16; ++i) args[i] = va_arg(ap, const char*);
  va_end(ap);
  qor::core::expand_message(text, sizeof text, number, count < 16 ? count : 16, args);
  std::FILE* out = channel == 2 ? stderr : stdout;
  std::fprintf(out, "%s\n", text);
  std::fflush(out);
}

QOR_SERV_API void qor_serv_format_print(int channel, const char* format, int count, ...) {
  if (format == nullptr) return;
  std::FILE* out = channel == 2 ? stderr : stdout;
  va_list ap;
  va_start(ap, count);
  std::vfprintf(out, format, ap);
  va_end(ap);
  std::fflush(out);
}

QOR_SERV_API void qor_serv_get_version_string_c(char* buffer, int size) {
  if (buffer == nullptr || size <= 0) return;
  std::snprintf(buffer, static_cast<std::size_t>(size), "%s", qor_version_string());
}

QOR_API const char* qor_version_string(void) {
  return "qor 3.0.0 (generic x86-64 kernel member, built " __DATE__ ")";
}

QOR_API void qor_set_message_handler(qor_message_handler handler, void* user) {
  std::lock_guard<std::mutex> lock(g_handler_mutex);
  g_handler = handler;
  g_handler_user = user;
}

QOR_API std::int64_t qor_message_count(int kind) {
  return (kind >= QOR_MSG_WARNING && kind <= QOR_MSG_VERBOSE) ? g_counts[kind].load() : 0;
}

QOR_API void qor_set_verbose(int mode) {
  std::atomic_ref<int>(qor::core::g_verbose_word).store(mode == 1 ? 1 : 0, std::memory_order_relaxed);
}
QOR_API int qor_get_verbose(void) { return qor::core::verbose_from_environment(); }
QOR_API void qor_set_cbwr(int mode) {
  cbwr_word().store(mode, std::memory_order_relaxed);
  qor::core::cpu_answers_changed();  // the body choice depends on the mode
}

}  // extern "C"
