// The size of the OpenMP team the core's threaded drivers may use.
#pragma once

namespace qor::core {

// At most this many threads for one call: the number set through
// qor_set_num_threads() or QOR_NUM_THREADS, else omp_get_max_threads(); 1
// inside a parallel region, so that nested calls do not oversubscribe.
int max_threads();

}  // namespace qor::core
