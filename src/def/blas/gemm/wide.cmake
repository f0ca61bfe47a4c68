# The 512-bit GEMM body for s, d, c and z. Products and sums stay separate
# operations where the source writes them so, so every path of the body
# rounds an entry the same way.
qor_def_library(blas_gemm_avx512 ISA avx512 SOURCES wide.cpp)
target_compile_options(qor_def_blas_gemm_avx512 PRIVATE -ffp-contract=off)
