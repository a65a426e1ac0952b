# Debian packages (cpack -G DEB, or scripts/check-packages.sh):
#   libvexsdk1      the shared library
#   libvexsdk-dev   headers, static archive, pkg-config and CMake files,
#                   man pages (section 3) and HTML reference
#   vexsdk-tools    vexctl and vexsim
#   python3-vexsdk  the Python package
# Shared-library dependencies are computed by dpkg-shlibdeps; the rest are
# versioned by hand below.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vexsdk)
set(CPACK_PACKAGE_VENDOR "VEXSDK")
set(CPACK_PACKAGE_CONTACT "VEXSDK maintainers <vexsdk@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "I/O and device library for backplane controllers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools python)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(VEXSDK_DEB_EXACT "(= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvexsdk${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "VEXSDK I/O and device library (shared library)")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvexsdk-dev)
set(CPACK_COMPONENT_DEV_DESCRIPTION "VEXSDK development files: headers, static archive, reference pages")
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "libvexsdk${PROJECT_VERSION_MAJOR} ${VEXSDK_DEB_EXACT}, libsqlite3-dev, libblkid-dev, libtomlplusplus-dev, pkg-config")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vexsdk-tools)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "VEXSDK tools: vexctl (drive a controller) and vexsim (virtual controller)")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-vexsdk)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "VEXSDK for Python (ctypes binding of libvexsdk)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), libvexsdk${PROJECT_VERSION_MAJOR} ${VEXSDK_DEB_EXACT}")
include(CPack)
