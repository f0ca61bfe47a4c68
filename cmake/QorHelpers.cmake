# Build helpers shared by every subsystem.
#
# Kernel-library code is added with qor_def_library(), core code with
# qor_core_library(), tests with qor_add_test(). Each call makes an OBJECT
# library that the matching shared library links, so a subsystem never edits
# a file outside its own directories.

# Instruction-set classes. Baseline code is plain x86-64 (SSE2); each
# processor class has its own flags and compile definition. The names are
# the suffixes of the exported processor bodies.
set(QOR_ISA_FLAGS_base -march=x86-64 -mtune=generic)
set(QOR_ISA_FLAGS_brc  -march=x86-64 -msse3 -mssse3 -mtune=amdfam10)
set(QOR_ISA_FLAGS_bdz  -march=x86-64 -msse3 -mssse3 -msse4.1 -msse4.2 -mpopcnt -mavx -mfma -mtune=bdver2)
set(QOR_ISA_FLAGS_zen  -march=x86-64 -msse3 -mssse3 -msse4.1 -msse4.2 -mpopcnt -mavx -mavx2 -mfma -mbmi -mbmi2 -mf16c -mtune=znver2)
# The 512-bit class: AVX-512 F, BW, DQ and VL with FMA and everything the
# Zen class has. Tuned for Ice Lake server, whose 512-bit scheduling
# (two FMA ports, one 512-bit load-store pair per cycle) sits between
# Skylake server and Sapphire Rapids and suits Zen 4 and 5 as well.
set(QOR_ISA_FLAGS_avx512 -march=x86-64 -msse3 -mssse3 -msse4.1 -msse4.2 -mpopcnt -mavx -mavx2 -mfma -mbmi -mbmi2
    -mf16c -mavx512f -mavx512bw -mavx512dq -mavx512vl -mtune=icelake-server -mprefer-vector-width=512)
set(QOR_ISAS base brc bdz zen avx512)

set(QOR_DEF_OBJECTS "" CACHE INTERNAL "")
set(QOR_CORE_OBJECTS "" CACHE INTERNAL "")

# qor_def_library(<name> [ISA <isa>] SOURCES <files...>)
function(qor_def_library name)
  cmake_parse_arguments(Q "" "ISA" "SOURCES" ${ARGN})
  if(NOT Q_ISA)
    set(Q_ISA base)
  endif()
  if(NOT Q_ISA IN_LIST QOR_ISAS)
    message(FATAL_ERROR "qor_def_library(${name}): unknown ISA '${Q_ISA}'")
  endif()
  set(tgt qor_def_${name})
  add_library(${tgt} OBJECT ${Q_SOURCES})
  target_compile_options(${tgt} PRIVATE ${QOR_ISA_FLAGS_${Q_ISA}} -fno-exceptions -fno-rtti)
  string(TOUPPER ${Q_ISA} isa_up)
  target_compile_definitions(${tgt} PRIVATE QOR_ISA_${isa_up}=1 QOR_ISA_NAME=${Q_ISA} QOR_BUILDING_DEF=1)
  target_include_directories(${tgt} PRIVATE ${PROJECT_SOURCE_DIR}/src/def ${PROJECT_SOURCE_DIR}/include)
  set_target_properties(${tgt} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(qor_def PRIVATE ${tgt})
endfunction()

# qor_core_library(<name> SOURCES <files...>)
function(qor_core_library name)
  cmake_parse_arguments(Q "" "" "SOURCES" ${ARGN})
  set(tgt qor_core_${name})
  add_library(${tgt} OBJECT ${Q_SOURCES})
  # The Fortran names are defined with the trailing lengths of their
  # character arguments, which many C callers never pass. A sibling call
  # may reuse the callee's incoming argument slots, and would then write
  # over the caller's frame where those lengths were expected; the core
  # makes no sibling calls, so a short argument list is always safe.
  target_compile_options(${tgt} PRIVATE ${QOR_ISA_FLAGS_base} -fno-optimize-sibling-calls)
  target_compile_definitions(${tgt} PRIVATE QOR_BUILDING_CORE=1)
  target_include_directories(${tgt} PRIVATE ${PROJECT_SOURCE_DIR}/src/core ${PROJECT_SOURCE_DIR}/src/def
                             ${PROJECT_SOURCE_DIR}/include)
  set_target_properties(${tgt} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_link_libraries(${tgt} PRIVATE OpenMP::OpenMP_CXX)
  target_link_libraries(qor_core PRIVATE ${tgt})
endfunction()

# qor_add_test(<name> SOURCES <files...> [LIBS <libs...>] [TIMEOUT <s>])
# A GoogleTest program linked against the public core library, registered
# with CTest as one test per program.
function(qor_add_test name)
  cmake_parse_arguments(Q "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  add_executable(${name} ${Q_SOURCES})
  target_link_libraries(${name} PRIVATE qor::core qor_test_common GTest::gtest_main ${Q_LIBS})
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/src/def)
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
  if(NOT Q_TIMEOUT)
    set(Q_TIMEOUT 600)
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${Q_TIMEOUT}
    ENVIRONMENT "QOR_DEF_LIBRARY=$<TARGET_FILE:qor_def>;OMP_NUM_THREADS=2")
  add_dependencies(${name} qor_def)
endfunction()
