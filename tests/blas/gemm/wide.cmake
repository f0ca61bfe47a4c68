# The 512-bit GEMM body in s, d, c and z (skips where the machine has no
# 512-bit path).
qor_add_test(test_blas_gemm_wide SOURCES test_gemm_wide.cpp LIBS ${CMAKE_DL_LIBS})
