// Element types and the type list that drives every family.
#pragma once
#include <complex>
#include <cstdint>
#include <type_traits>

namespace qor {

using i64 = std::int64_t;
using c32 = std::complex<float>;   // 'c': interleaved binary32 pair
using c64 = std::complex<double>;  // 'z': interleaved binary64 pair

template <class T> struct is_complex : std::false_type {};
template <class R> struct is_complex<std::complex<R>> : std::true_type {};
template <class T> inline constexpr bool is_complex_v = is_complex<T>::value;

template <class T> struct real_of { using type = T; };
template <class R> struct real_of<std::complex<R>> { using type = R; };
template <class T> using real_t = typename real_of<T>::type;

// The family letter of an element type: s, d, c, z.
template <class T> inline constexpr char letter_of = 0;
template <> inline constexpr char letter_of<float> = 's';
template <> inline constexpr char letter_of<double> = 'd';
template <> inline constexpr char letter_of<c32> = 'c';
template <> inline constexpr char letter_of<c64> = 'z';

// Option letters: fold to upper case as the kernels do (byte & 0xDF).
inline char fold(const char* p) { return static_cast<char>(*p & 0xDF); }

}  // namespace qor

// X-macro over the four element types: QOR_FOR_EACH_TYPE(M) expands
// M(s, float) M(d, double) M(c, qor::c32) M(z, qor::c64). Used at the
// extern "C" boundary, where names must be pasted.
#define QOR_FOR_EACH_TYPE(M) M(s, float) M(d, double) M(c, ::qor::c32) M(z, ::qor::c64)
#define QOR_FOR_EACH_REAL_TYPE(M) M(s, float) M(d, double)
#define QOR_FOR_EACH_COMPLEX_TYPE(M) M(c, ::qor::c32) M(z, ::qor::c64)
