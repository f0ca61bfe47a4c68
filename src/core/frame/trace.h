// Verbose mode: one line per public call.
//
// A public entry runs its work through QOR_TRACED(...). With verbose mode
// off (the default) that costs one load of the verbose word and a branch
// that is not taken: no clock is read, nothing is formatted or allocated,
// and the entry's own code is what it was. With it on, the entry's
// arguments are described and the clock read on the way in, and on the way
// out one line goes to the message path (the handler set with
// qor_set_message_handler, as a QOR_MSG_VERBOSE message, else standard
// error):
//
//   QOR_VERBOSE dgemm_(N,T,m=1000,n=1000,k=1000,lda=1000,ldb=1000,ldc=1000) path=zen threads=2 time=12.3456ms status=ok
//
// The name is the one the caller used. In the parentheses, option letters
// (Fortran characters upper-cased, CBLAS enumerations as their letters, the
// CBLAS layout as R or C, '?' for a value that is none of them) stand bare
// and integers as key=value, in the order of the argument list; pointers
// and scalars are left out. A grouped batch call shows its first group and
// the number of groups. Then the processor path in force
// (qor_get_cpu_path), the largest team the call may use (1 inside a
// parallel region), the wall time in milliseconds, and status=ok, or
// status=bad-argument when the call reported an argument error, or, for an
// entry that returns a status (the transform and sparse interfaces), the
// number it returned when that is not 0 (status=3).
//
// A public routine reached from inside another traced call on the same
// thread (a message handler calling back, say) is not traced again: the
// outer call's line covers it.
#pragma once
#include <atomic>
#include <cstdint>
#include <type_traits>

#include "qor/cblas.h"

namespace qor::core {

// The verbose word: -1 until QOR_VERBOSE has been read, then 0 (off) or 1
// (on). qor_set_verbose() stores it, and the kernel member reads it through
// qor_serv_verbose_mode(). Constant-initialised, so it needs no constructor.
extern int g_verbose_word;

// Reads QOR_VERBOSE into the word unless something set it first; returns
// the word.
int verbose_from_environment();

}  // namespace qor::core

namespace qor::core::trace {

// Whether verbose mode is on, QOR_VERBOSE read if need be.
inline bool on() {
  const int v = std::atomic_ref<int>(g_verbose_word).load(std::memory_order_relaxed);
  if (v == 0) [[likely]] return false;
  return (v > 0 ? v : verbose_from_environment()) == 1;
}

// One described argument.
struct Field {
  enum Kind : unsigned char { Skip, Letter, Int, Text };
  Kind kind = Skip;
  char letter = 0;
  long long value = 0;
  const char* text = nullptr;
};

// A string printed as it is (a kernel's name), not as an option letter.
struct Name {
  const char* text;
};

// The first element of an array that may be null (the per-group arrays of
// a batch call), left out when null.
template <class T>
struct First {
  const T* p;
};
template <class T>
First<T> first(const T* p) {
  return {p};
}

inline char upper(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c; }

inline Field letter(char c) {
  Field f;
  f.kind = Field::Letter;
  f.letter = c;
  return f;
}

inline Field field(char c) { return letter(upper(c)); }
inline Field field(const char* c) { return letter(c != nullptr ? upper(*c) : '?'); }
inline Field field(char* c) { return field(static_cast<const char*>(c)); }
inline Field field(Name n) {
  Field f;
  f.kind = Field::Text;
  f.text = n.text != nullptr ? n.text : "?";
  return f;
}
inline Field field(CBLAS_ORDER v) {
  return letter(v == CblasRowMajor ? 'R' : v == CblasColMajor ? 'C' : '?');
}
inline Field field(CBLAS_TRANSPOSE v) {
  return letter(v == CblasNoTrans ? 'N' : v == CblasTrans ? 'T' : v == CblasConjTrans ? 'C' : '?');
}
inline Field field(CBLAS_UPLO v) { return letter(v == CblasUpper ? 'U' : v == CblasLower ? 'L' : '?'); }
inline Field field(CBLAS_DIAG v) { return letter(v == CblasNonUnit ? 'N' : v == CblasUnit ? 'U' : '?'); }
inline Field field(CBLAS_SIDE v) { return letter(v == CblasLeft ? 'L' : v == CblasRight ? 'R' : '?'); }
// Integers by value; anything else (pointers, scalars, structures) is left
// out.
template <class T>
Field field(const T& v) {
  Field f;
  if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool>) {
    f.kind = Field::Int;
    f.value = static_cast<long long>(v);
  }
  return f;
}
template <class T>
Field field(First<T> a) {
  return a.p != nullptr ? field(*a.p) : Field{};
}

// Begins the thread's traced call: marks it busy, describes the arguments
// and reads the clock. False when the thread is inside a traced call
// already, or verbose mode turns out to be off.
bool start(const char* name, const char* keys, const Field* fields, int count);

// Ends it: reads the clock, delivers the line, clears the mark. `status` is
// the entry's returned status (0 when it returns none or succeeded).
void finish(long long status = 0);

// Runs the work of a public entry traced. Kept out of line and out of the
// hot text: the entry branches here with its arguments still in their
// registers and returns straight after, so its untraced path is the code it
// would be without a trace.
// With Status, an integer result of the body is the entry's status, shown
// when not 0 (a pointer or no result is no status).
template <bool Status, class F, class... A>
[[gnu::cold, gnu::noinline]] auto run(const char* name, const char* keys, F body, const A&... args) {
  struct End {
    bool traced;
    long long status = 0;
    ~End() {
      if (traced) finish(status);
    }
  };
  const Field fields[sizeof...(A) + 1] = {field(args)...};
  End end{start(name, keys, fields, static_cast<int>(sizeof...(A)))};
  using R = decltype(body());
  if constexpr (Status && (std::is_integral_v<R> || std::is_enum_v<R>)) {
    auto result = body();
    end.status = static_cast<long long>(result);
    return result;
  } else {
    return body();
  }
}

// The word, for the check in the entries: nonzero when verbose mode is on
// or QOR_VERBOSE has not been read yet (run() sorts out which).
inline bool maybe_on() { return std::atomic_ref<int>(g_verbose_word).load(std::memory_order_relaxed) != 0; }

}  // namespace qor::core::trace

// A public entry hands its work to the trace as a lambda:
//   QOR_TRACED((arguments...), [=] { ...work... });
// which runs it, traced when verbose mode is on, and returns its result.
// The arguments are what the line shows, as the caller gave them (Fortran
// ones dereferenced); their spelling gives the keys.
// QOR_TRACED_NAMED((arguments...), "k1,k2", [=] { ... }) names them
// explicitly. The lambda is spelled out twice in the expansion: the traced
// copy is built only on the cold path, and the untraced one is called on
// the spot, so the entry's usual path is its work and nothing else.
// QOR_TRACED_STATUS and QOR_TRACED_STATUS_NAMED are the same for an entry
// whose result is a status: a nonzero one is shown on the line.
#define QOR_TRACED(args, ...) QOR_TRACED_NAMED(args, QOR_TRACE_KEYS args, __VA_ARGS__)
#define QOR_TRACED_NAMED(args, keys, ...) QOR_TRACED_AS(false, args, keys, __VA_ARGS__)
#define QOR_TRACED_STATUS(args, ...) QOR_TRACED_STATUS_NAMED(args, QOR_TRACE_KEYS args, __VA_ARGS__)
#define QOR_TRACED_STATUS_NAMED(args, keys, ...) QOR_TRACED_AS(true, args, keys, __VA_ARGS__)
#define QOR_TRACED_AS(status, args, keys, ...)                                                       \
  if (::qor::core::trace::maybe_on()) [[unlikely]]                                                   \
    return ::qor::core::trace::run<status>(__func__, keys, __VA_ARGS__ QOR_TRACE_COMMA_ITEMS args);  \
  return (__VA_ARGS__)()

// The routine that does an entry's work, when the entry is its only
// caller: it is spelled in both copies of the lambda, and would otherwise
// lose the inlining that a single call earns it.
#define QOR_TRACED_WORK [[gnu::always_inline]] inline

// For an argument list in parentheses: its spelling, and its items each
// after a comma.
#define QOR_TRACE_KEYS(...) #__VA_ARGS__
#define QOR_TRACE_COMMA_ITEMS(...) __VA_OPT__(, ) __VA_ARGS__
