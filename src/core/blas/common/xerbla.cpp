// Argument errors of the public BLAS interfaces.
//
// xerbla_ keeps the reference form of the message but returns instead of
// stopping the program. xerbla_array_ (the reference's entry for callers
// without Fortran strings) builds the name and calls it. xerbla_ and
// cblas_xerbla have default visibility and are called through the dynamic
// linker, so an application's own definition replaces them, as the
// reference BLAS test programs require.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "blas/common/interface.h"
#include "frame/diag.h"
#include "qor/blas.h"
#include "qor/qor.h"

namespace {

void fortran_report(const char* routine, long long arg, std::size_t len) {
  char name[64] = "?";
  if (routine != nullptr) {
    std::size_t n = len < 63 ? len : 63;
    std::memcpy(name, routine, n);
    name[n] = '\0';
    while (n > 0 && name[n - 1] == ' ') name[--n] = '\0';
  }
  char line[160];
  std::snprintf(line, sizeof line, " ** On entry to %s parameter number %2lld had an illegal value", name, arg);
  qor::core::report(QOR_MSG_ARGUMENT_ERROR, name, line);
}

}  // namespace

extern "C" {

QOR_API void xerbla_(const char* routine, const int* arg, std::size_t len) {
  fortran_report(routine, arg != nullptr ? *arg : 0, len);
}

QOR_API void xerbla_64_(const char* routine, const std::int64_t* arg, std::size_t len) {
  fortran_report(routine, arg != nullptr ? *arg : 0, len);
}

QOR_API void cblas_xerbla(int arg, const char* routine, const char* form, ...) {
  char line[512];
  int n = std::snprintf(line, sizeof line, "Parameter %d to routine %s was incorrect", arg,
                        routine != nullptr ? routine : "?");
  if (form != nullptr && *form != '\0' && n > 0 && static_cast<std::size_t>(n) < sizeof line - 2) {
    line[n++] = ' ';
    va_list ap;
    va_start(ap, form);
    std::vsnprintf(line + n, sizeof line - static_cast<std::size_t>(n), form, ap);
    va_end(ap);
  }
  std::size_t len = std::strlen(line);
  while (len > 0 && line[len - 1] == '\n') line[--len] = '\0';
  qor::core::report(QOR_MSG_ARGUMENT_ERROR, routine != nullptr ? routine : "?", line);
}

}  // extern "C"

namespace {

// The reference routines pass their names as CHARACTER*6 constants, blank
// padded ('DGEMV ', 'DSYR  '), so an application's XERBLA receives six
// characters and the length 6. Longer names (extensions such as ZGEMM3M)
// pass as they are. The text stays terminated for C handlers that ignore
// the length.
struct FortranName {
  char text[8];
  const char* name;
  std::size_t len;
  explicit FortranName(const char* routine) : name(routine), len(std::strlen(routine)) {
    if (len < 6) {
      std::memcpy(text, routine, len);
      std::memset(text + len, ' ', 6 - len);
      text[6] = '\0';
      name = text;
      len = 6;
    }
  }
  FortranName(const FortranName&) = delete;  // `name` may point into `text`
  FortranName& operator=(const FortranName&) = delete;
};

// XERBLA_ARRAY: the name comes as an array of `len` characters; the
// reference copies at most 32 of them into a blank-padded CHARACTER*32 and
// calls XERBLA with it, length 32.
constexpr std::size_t kArrayName = 32;

template <class Int>
void fill_array_name(char (&name)[kArrayName + 1], const char* chars, const Int* len) {
  std::memset(name, ' ', kArrayName);
  name[kArrayName] = '\0';
  Int n = (len != nullptr && chars != nullptr) ? *len : 0;
  if (n > static_cast<Int>(kArrayName)) n = static_cast<Int>(kArrayName);
  for (Int i = 0; i < n; ++i) name[i] = chars[i];
}

}  // namespace

extern "C" {

// The hidden length of the character array (1, the length of one element)
// is declared but not used, so C callers may leave it out.
QOR_API void xerbla_array_(const char* srname_array, const int* srname_len, const int* info, std::size_t) {
  char name[kArrayName + 1];
  fill_array_name(name, srname_array, srname_len);
  xerbla_(name, info, kArrayName);
}

QOR_API void xerbla_array_64_(const char* srname_array, const std::int64_t* srname_len, const std::int64_t* info,
                              std::size_t) {
  char name[kArrayName + 1];
  fill_array_name(name, srname_array, srname_len);
  xerbla_64_(name, info, kArrayName);
}

}  // extern "C"

namespace qor::core::blas {

template <>
void fortran_arg_error<int>(const char* routine, int arg) {
  const FortranName f(routine);
  xerbla_(f.name, &arg, f.len);
}

template <>
void fortran_arg_error<std::int64_t>(const char* routine, std::int64_t arg) {
  const FortranName f(routine);
  xerbla_64_(f.name, &arg, f.len);
}

}  // namespace qor::core::blas
