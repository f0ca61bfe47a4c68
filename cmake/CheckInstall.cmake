# Test script (cmake -P): installs the build into a scratch prefix, checks
# that the installed qor-selftest starts, then configures, builds and runs
# examples/ against the installed copy twice, through find_package(qor) and
# through pkg-config qor. The programs must start on their own run path:
# LD_LIBRARY_PATH and QOR_DEF_LIBRARY are unset when they run.
#   -DBUILD_DIR=<build tree> -DSOURCE_DIR=<source tree> -DWORK_DIR=<scratch>
foreach(var BUILD_DIR SOURCE_DIR WORK_DIR)
  if(NOT ${var})
    message(FATAL_ERROR "CheckInstall.cmake: ${var} is not set")
  endif()
endforeach()
load_cache(${BUILD_DIR} READ_WITH_PREFIX qor_ CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_BINDIR CMAKE_MAKE_PROGRAM)
set(prefix ${WORK_DIR}/prefix)
set(libdir ${prefix}/${qor_CMAKE_INSTALL_LIBDIR})
set(clean_env --unset=LD_LIBRARY_PATH --unset=QOR_DEF_LIBRARY)

function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(rc)
    message(FATAL_ERROR "${what} failed (${rc}):\n${out}\n${err}")
  endif()
  set(out "${out}" PARENT_SCOPE)
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
run("installing into ${prefix}" ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The link farm, and qor-selftest starting on its own run path.
foreach(name libblas.so.3 libcblas.so.3)
  if(NOT IS_SYMLINK ${libdir}/qor-blas/${name} OR NOT EXISTS ${libdir}/qor-blas/${name})
    message(FATAL_ERROR "${libdir}/qor-blas/${name} is not a link to the core")
  endif()
endforeach()
run("the installed qor-selftest --help" ${CMAKE_COMMAND} -E env ${clean_env}
    ${prefix}/${qor_CMAKE_INSTALL_BINDIR}/qor-selftest --help)
message(STATUS "installed qor-selftest starts")

# qor.pc names this prefix, not the configured one.
find_program(PKG_CONFIG pkg-config REQUIRED)
set(pc_env PKG_CONFIG_PATH=${libdir}/pkgconfig)
run("pkg-config" ${CMAKE_COMMAND} -E env ${pc_env} ${PKG_CONFIG} --variable=libdir qor)
string(STRIP "${out}" pc_libdir)
file(REAL_PATH "${pc_libdir}" pc_libdir)
file(REAL_PATH "${libdir}" real_libdir)
if(NOT pc_libdir STREQUAL real_libdir)
  message(FATAL_ERROR "qor.pc gives libdir ${pc_libdir}, not ${real_libdir}")
endif()
message(STATUS "qor.pc: libdir ${pc_libdir}")

foreach(way find_package pkg-config)
  set(dir ${WORK_DIR}/build-${way})
  if(way STREQUAL "find_package")
    set(cfg_env)
    set(cfg_args -DCMAKE_PREFIX_PATH=${prefix})
  else()
    set(cfg_env ${pc_env})
    set(cfg_args)
  endif()
  run("configuring examples/ (${way})" ${CMAKE_COMMAND} -E env ${cfg_env}
      ${CMAKE_COMMAND} -S ${SOURCE_DIR}/examples -B ${dir} -G Ninja -DCMAKE_MAKE_PROGRAM=${qor_CMAKE_MAKE_PROGRAM}
      -DQOR_EXAMPLES_WITH=${way} ${cfg_args})
  run("building examples/ (${way})" ${CMAKE_COMMAND} --build ${dir})
  foreach(program qor-example qor-cblas-example)
    run("${program} (${way})" ${CMAKE_COMMAND} -E env ${clean_env} ${dir}/${program})
    # The kernel library it loaded is the installed one.
    if(NOT out MATCHES "member ${prefix}/")
      message(FATAL_ERROR "${program} (${way}) did not load the kernel library from ${prefix}:\n${out}")
    endif()
    string(STRIP "${out}" out)
    message(STATUS "${program} (${way}):\n${out}")
  endforeach()
endforeach()
