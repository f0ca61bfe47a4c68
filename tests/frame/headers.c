/* Every public header must compile alone, as C. Building this file is the
 * test; main() only keeps the linker content. */
#include "qor/blas.h"
#include "qor/cblas.h"
#include "qor/dft.h"
#include "qor/qor.h"

#if defined(__has_include)
#if __has_include("qor/trans.h")
#include "qor/trans.h"
#endif
#if __has_include("qor/dft_primitive.h")
#include "qor/dft_primitive.h"
#endif
#endif

int main(void) { return qor_member_load() == 0 ? 0 : 1; }
