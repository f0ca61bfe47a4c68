// Argument errors of the public BLAS interfaces.
//
// xerbla_ keeps the reference form of the message but returns instead of
// stopping the program. Both it and cblas_xerbla have default visibility and
// are called through the dynamic linker, so an application's own definition
// replaces them, as the reference BLAS test programs require.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "blas/common/interface.h"
#include "frame/diag.h"
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

namespace qor::core::blas {

template <>
void fortran_arg_error<int>(const char* routine, int arg) {
  xerbla_(routine, &arg, std::strlen(routine));
}

template <>
void fortran_arg_error<std::int64_t>(const char* routine, std::int64_t arg) {
  xerbla_64_(routine, &arg, std::strlen(routine));
}

}  // namespace qor::core::blas
