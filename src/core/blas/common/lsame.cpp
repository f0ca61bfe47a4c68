// LSAME of the reference BLAS: whether two option letters are the same
// letter, regardless of case. Programs and LAPACK builds linked against
// the system BLAS call it, so the core carries it.
//
// A Fortran LOGICAL function: gfortran returns .TRUE. as 1 in the default
// integer width. lsame_64_ returns it in 64 bits, as a build with 64-bit
// default integers (and logicals) expects; its value in the low 32 bits is
// the same, so either name serves either caller. The hidden lengths of the
// two character arguments are declared but not used, so C callers may leave
// them out.
#include <cstddef>
#include <cstdint>

#include "qor/blas.h"
#include "qor/qor.h"

namespace {

// As the reference: equal characters, or the same letter once lower-case
// ASCII letters are raised; other characters compare as they are.
bool same_letter(const char* ca, const char* cb) {
  if (ca == nullptr || cb == nullptr) return false;
  auto up = [](unsigned char c) { return (c >= 'a' && c <= 'z') ? static_cast<unsigned char>(c - 32) : c; };
  return up(static_cast<unsigned char>(*ca)) == up(static_cast<unsigned char>(*cb));
}

}  // namespace

extern "C" {

QOR_API int lsame_(const char* ca, const char* cb, std::size_t, std::size_t) { return same_letter(ca, cb) ? 1 : 0; }

QOR_API std::int64_t lsame_64_(const char* ca, const char* cb, std::size_t, std::size_t) {
  return same_letter(ca, cb) ? 1 : 0;
}

}  // extern "C"
