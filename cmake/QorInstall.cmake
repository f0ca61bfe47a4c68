# Installation: both libraries, the public headers, a pkg-config file and a
# CMake package (find_package(qor) gives qor::core).
include(CMakePackageConfigHelpers)

install(TARGETS qor_core EXPORT qorTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS qor_def LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# libblas.so.3 beside the libraries, for programs built against the system
# BLAS (see README); it is not put on the default search path.
install(CODE "
  set(dir \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/qor-blas\")
  file(MAKE_DIRECTORY \"\${dir}\")
  file(CREATE_LINK ../$<TARGET_SONAME_FILE_NAME:qor_core> \"\${dir}/libblas.so.3\" SYMBOLIC)
  message(STATUS \"Installing: \${dir}/libblas.so.3\")")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qor DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT qorTargets NAMESPACE qor:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qor)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/qorConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qorConfig.cmake INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qor)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qorConfig.cmake ${PROJECT_BINARY_DIR}/qorConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qor)

configure_file(${PROJECT_SOURCE_DIR}/cmake/qor.pc.in ${PROJECT_BINARY_DIR}/qor.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
