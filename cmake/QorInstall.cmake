# Installation: both libraries, the public headers, a pkg-config file and a
# CMake package (find_package(qor) gives qor::core), in two components:
#   runtime      the libraries, the qor-blas link farm and qor-selftest
#   development  headers, qor.pc, the CMake package and the libqor_core.so link
# The Debian packages (cmake/QorPackage.cmake) are made from these.
include(CMakePackageConfigHelpers)

install(TARGETS qor_core EXPORT qorTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS qor_def
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
# libblas.so.3 and libcblas.so.3 in <libdir>/qor-blas, links to the core for
# programs built against the system BLAS (see README); the directory is not
# on the default search path (the Debian package registers the links as
# alternatives instead).
install(CODE "
  set(dir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/qor-blas\")
  file(MAKE_DIRECTORY \"\${dir}\")
  foreach(name libblas.so.3 libcblas.so.3)
    message(STATUS \"Installing: \${dir}/\${name}\")
    file(CREATE_LINK ../$<TARGET_SONAME_FILE_NAME:qor_core> \"\${dir}/\${name}\" SYMBOLIC)
  endforeach()" COMPONENT runtime)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qor DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT qorTargets NAMESPACE qor:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qor COMPONENT development)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qorConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qorConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qor)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qorConfig.cmake ${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qor COMPONENT development)

# qor.pc finds its prefix from its own directory (${pcfiledir}), as many
# levels up as <libdir>/pkgconfig is deep: two for lib, three for
# lib/x86_64-linux-gnu (GNUInstallDirs' choice under /usr on Debian).
# An absolute directory given at configure time is kept as it is.
set(QOR_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(QOR_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH qor_pc_up /prefix/${QOR_PC_DIR} /prefix)
  string(REGEX REPLACE "/$" "" qor_pc_up "${qor_pc_up}")
  set(QOR_PC_PREFIX "\${pcfiledir}/${qor_pc_up}")
endif()
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(QOR_PC_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(QOR_PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
configure_file(${PROJECT_SOURCE_DIR}/cmake/qor.pc.in ${PROJECT_BINARY_DIR}/qor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qor.pc DESTINATION ${QOR_PC_DIR} COMPONENT development)

include(${PROJECT_SOURCE_DIR}/cmake/QorPackage.cmake)
