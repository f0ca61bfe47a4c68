// Machine parameters by LAPACK letter, for the LAPACK kernels and the
// core's own LAPACK routines.
//
// The values are those of IEEE binary32 and binary64 with rounding to
// nearest: eps is half the distance from 1 to the next number, the safe
// minimum is the smallest normal number (its reciprocal does not overflow).
#include <limits>

#include "lapack/imports.h"

namespace {

template <class R>
R lamch(const char* cmach) {
  using lim = std::numeric_limits<R>;
  const R eps = lim::epsilon() * R(0.5);
  switch (cmach != nullptr ? (*cmach & 0xDF) : 0) {
    case 'E':
      return eps;
    case 'S': {
      // The smallest number whose reciprocal is finite; 1 / huge lies below
      // the smallest normal number in both formats, so that is the answer.
      R sfmin = lim::min();
      const R small = R(1) / lim::max();
      if (small >= sfmin) sfmin = small * (R(1) + eps);
      return sfmin;
    }
    case 'B':
      return R(lim::radix);
    case 'P':
      return eps * R(lim::radix);
    case 'N':
      return R(lim::digits);
    case 'R':
      return R(1);
    case 'M':
      return R(lim::min_exponent);
    case 'U':
      return lim::min();
    case 'L':
      return R(lim::max_exponent);
    case 'O':
      return lim::max();
    default:
      return R(0);
  }
}

}  // namespace

QOR_LAPACK_CORE_API float qor_lapack_slamch(const char* cmach) { return lamch<float>(cmach); }
QOR_LAPACK_CORE_API double qor_lapack_dlamch(const char* cmach) { return lamch<double>(cmach); }
