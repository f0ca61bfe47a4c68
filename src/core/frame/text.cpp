// File and text operations with bounded destinations.
//
// Every text written is terminated inside its destination. Truncation is
// reported (-1, or a non-zero code for the copy operations) and leaves the
// part that fitted. A null destination or a size of 0 writes nothing.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "frame/services.h"

namespace {

int vbounded(char* dst, std::size_t size, std::size_t limit, const char* format, va_list ap) {
  if (dst == nullptr || size == 0 || format == nullptr) return -1;
  std::size_t room = limit < size ? limit : size;  // room includes the terminator
  int n = std::vsnprintf(dst, room, format, ap);
  if (n < 0) {
    dst[0] = '\0';
    return -1;
  }
  return static_cast<std::size_t>(n) < room ? n : -1;
}

}  // namespace

extern "C" {

QOR_SERV_API std::FILE* qor_serv_fopen(const char* name, const char* mode) {
  if (name == nullptr || mode == nullptr) return nullptr;
  return std::fopen(name, mode);
}

QOR_SERV_API int qor_serv_fclose(std::FILE* f) { return f == nullptr ? EOF : std::fclose(f); }

QOR_SERV_API int qor_serv_fprintf_s(std::FILE* f, const char* format, ...) {
  if (f == nullptr || format == nullptr) return -1;
  va_list ap;
  va_start(ap, format);
  int n = std::vfprintf(f, format, ap);
  va_end(ap);
  return n;
}

QOR_SERV_API int qor_serv_printf_s(const char* format, ...) {
  if (format == nullptr) return -1;
  va_list ap;
  va_start(ap, format);
  int n = std::vprintf(format, ap);
  va_end(ap);
  return n;
}

QOR_SERV_API int qor_serv_sprintf_s(char* dst, std::size_t size, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  int n = vbounded(dst, size, size, format, ap);
  va_end(ap);
  return n;
}

// At most `count` characters, and never more than the destination holds.
QOR_SERV_API int qor_serv_snprintf_s(char* dst, std::size_t size, std::size_t count, const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  std::size_t limit = count < size ? count + 1 : size;
  int n = vbounded(dst, size, limit, format, ap);
  va_end(ap);
  return n;
}

// Appends at `cur`, with the buffer ending at `end`; returns the new end of
// the text, so calls chain. A truncated write returns the last position.
QOR_SERV_API char* qor_serv_sprintf_char_s(char* cur, char* end, const char* format, ...) {
  if (cur == nullptr || end == nullptr || cur >= end || format == nullptr) return cur;
  std::size_t room = static_cast<std::size_t>(end - cur);
  va_list ap;
  va_start(ap, format);
  int n = std::vsnprintf(cur, room, format, ap);
  va_end(ap);
  if (n < 0) {
    *cur = '\0';
    return cur;
  }
  return static_cast<std::size_t>(n) < room ? cur + n : end - 1;
}

QOR_SERV_API int qor_serv_strncpy_s(char* dst, std::size_t size, const char* src, std::size_t count) {
  if (dst == nullptr || size == 0) return EINVAL;
  if (src == nullptr) {
    dst[0] = '\0';
    return EINVAL;
  }
  std::size_t n = strnlen(src, count);
  if (n >= size) {
    dst[0] = '\0';
    return ERANGE;
  }
  std::memcpy(dst, src, n);
  dst[n] = '\0';
  return 0;
}

QOR_SERV_API int qor_serv_strncat_s(char* dst, std::size_t size, const char* src, std::size_t count) {
  if (dst == nullptr || size == 0) return EINVAL;
  std::size_t have = strnlen(dst, size);
  if (have == size) {  // destination not terminated within its size
    dst[0] = '\0';
    return EINVAL;
  }
  if (src == nullptr) return EINVAL;
  std::size_t n = strnlen(src, count);
  if (have + n >= size) {
    dst[0] = '\0';
    return ERANGE;
  }
  std::memcpy(dst + have, src, n);
  dst[have + n] = '\0';
  return 0;
}

QOR_SERV_API int qor_serv_memcpy_unbounded_s(void* dst, std::size_t size, const void* src, std::size_t count) {
  if (count == 0) return 0;
  if (dst == nullptr || src == nullptr) return EINVAL;
  if (count > size) return ERANGE;
  std::memcpy(dst, src, count);
  return 0;
}

QOR_SERV_API int qor_serv_memmove_s(void* dst, std::size_t size, const void* src, std::size_t count) {
  if (count == 0) return 0;
  if (dst == nullptr || src == nullptr) return EINVAL;
  if (count > size) return ERANGE;
  std::memmove(dst, src, count);
  return 0;
}

}  // extern "C"
