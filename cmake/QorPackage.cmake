# Debian packages, made by CPack's DEB generator from the install components
# (cmake/QorInstall.cmake):
#
#   libqor3     runtime: libqor_core.so.3, libqor_def.so.3, the qor-blas link
#               farm (libblas.so.3, libcblas.so.3) and qor-selftest. Its
#               maintainer scripts (cmake/deb/) register the farm's links as
#               alternatives for Debian's libblas.so.3 and libcblas.so.3.
#   libqor-dev  development: headers, qor.pc, the CMake package and the
#               libqor_core.so link; depends on libqor3 of the same version.
#
# Configure with -DCMAKE_INSTALL_PREFIX=/usr so that GNUInstallDirs chooses
# Debian's multiarch library directory (lib/x86_64-linux-gnu), then
#   cmake --build <tree> --target package      (packages in <tree>/packages)
# or cpack --config <tree>/CPackConfig.cmake -B <dir>.

set(QOR_DEB_ALTERNATIVE_PRIORITY 80 CACHE STRING
  "Priority of qor's libblas.so.3/libcblas.so.3 alternatives in the Debian package (OpenBLAS 100, BLIS 80, reference 10)")

# Debian's multiarch triplet, in its alternatives' names and link directory.
if(CMAKE_LIBRARY_ARCHITECTURE)
  set(QOR_DEB_MULTIARCH ${CMAKE_LIBRARY_ARCHITECTURE})
else()
  set(QOR_DEB_MULTIARCH x86_64-linux-gnu)
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME qor)
set(CPACK_PACKAGE_VENDOR qor)
set(CPACK_PACKAGE_CONTACT "qor developers <qor-dev@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENT_RUNTIME_DISPLAY_NAME "qor libraries")
# Descriptions: the first line is each package's synopsis (an empty summary
# keeps CPack from putting the project's in front of both).
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "qor numerical kernel library, with a BLAS and CBLAS
libqor_core.so.3, the library programs link, with the whole BLAS and CBLAS
interface, and libqor_def.so.3, the kernel library it loads. Registers the
core as an alternative for libblas.so.3 and libcblas.so.3 (below OpenBLAS);
choose it with update-alternatives --set libblas.so.3-${QOR_DEB_MULTIARCH}.
Also qor-selftest, which checks and times every subsystem.")
set(CPACK_COMPONENT_DEVELOPMENT_DISPLAY_NAME "qor development files")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "qor numerical kernel library, development files
Headers, the pkg-config file (pkg-config qor) and the CMake package
(find_package(qor), target qor::core).")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)  # libqor-dev: Depends libqor3 (= version)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqor3)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_PROVIDES "libblas.so.3")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqor-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)

# Dependencies of the runtime package from its binaries, and a DEBIAN/shlibs
# for its two libraries, when dpkg-shlibdeps (dpkg-dev) and file are there;
# else the dependencies dpkg-shlibdeps gives on Debian 12. The kernel
# library needs the core, which is in the package itself.
find_program(QOR_DPKG_SHLIBDEPS dpkg-shlibdeps)
find_program(QOR_FILE_PROGRAM file)
mark_as_advanced(QOR_DPKG_SHLIBDEPS QOR_FILE_PROGRAM)
if(QOR_DPKG_SHLIBDEPS AND QOR_FILE_PROGRAM)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  if(NOT IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "usr/${CMAKE_INSTALL_LIBDIR}")
  endif()
  set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
else()
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libc6 (>= 2.35), libgcc-s1 (>= 4.0), libgomp1 (>= 6), libstdc++6 (>= 11)")
endif()

# The maintainer scripts, with the paths of this configuration. Debian's
# links live in /usr/lib/<multiarch>/ whatever our library directory is.
set(QOR_DEB_RUNTIME ${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME})
set(QOR_DEB_LINK_DIR /usr/lib/${QOR_DEB_MULTIARCH})
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(QOR_DEB_FARM ${CMAKE_INSTALL_LIBDIR}/qor-blas)
else()
  set(QOR_DEB_FARM ${CPACK_PACKAGING_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/qor-blas)
endif()
set(QOR_DEB_PRIORITY ${QOR_DEB_ALTERNATIVE_PRIORITY})
set(qor_deb_scripts "")
foreach(script postinst prerm postrm)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/deb/${script}.in ${PROJECT_BINARY_DIR}/deb/${script} @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  list(APPEND qor_deb_scripts ${PROJECT_BINARY_DIR}/deb/${script})
endforeach()
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${qor_deb_scripts}")

if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  message(STATUS "Debian packages put the libraries in /usr/${CMAKE_INSTALL_LIBDIR}; "
                 "configure with -DCMAKE_INSTALL_PREFIX=/usr for /usr/lib/${QOR_DEB_MULTIARCH}")
endif()

include(CPack)
