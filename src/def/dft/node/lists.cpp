// The backend lists of the complex one-dimensional class.
//
// The order is a performance decision: batched split storage first, then
// the small in-cache transform, then the general road through the threading
// layer, and the Bluestein objects last, since the general road declines
// only what it cannot do and Bluestein takes what is left. The full order:
//   bkd_cr2cr_1d_batched, bkd_cr2cr_1d_<p>, bkd_c2c_1d_small_<p>,
//   bkd_c2c_1d_default (local to the list), bkd_c2c_1d_bluestein_<p>,
//   bkd_c2c_1d_bluestein_strided_<p>.
#include "dft/backends/backends.h"
#include "dft/node/backend.h"

namespace qor::dfxi {

const dfxi_backend* const bkdown_list_c2c_1d_d[] = {&qor_dft_def_bkd_cr2cr_1d_batched, &qor_dft_def_bkd_cr2cr_1d_d,
                                                    &qor_dft_def_bkd_c2c_1d_small_d, &bkd_c2c_1d_default_d,
                                                    &qor_dft_def_bkd_c2c_1d_bluestein_d,
                                                    &qor_dft_def_bkd_c2c_1d_bluestein_strided_d, nullptr};
const dfxi_backend* const bkdown_list_c2c_1d_s[] = {&qor_dft_def_bkd_cr2cr_1d_batched, &qor_dft_def_bkd_cr2cr_1d_s,
                                                    &qor_dft_def_bkd_c2c_1d_small_s, &bkd_c2c_1d_default_s,
                                                    &qor_dft_def_bkd_c2c_1d_bluestein_s,
                                                    &qor_dft_def_bkd_c2c_1d_bluestein_strided_s, nullptr};

}  // namespace qor::dfxi
