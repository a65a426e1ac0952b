# Cross build for the controllers: 32-bit ARM Linux, hard-float ABI, with
# Debian's cross compiler. The compiler brings the C and C++ runtime
# (/usr/arm-linux-gnueabihf); the other libraries come from a private
# sysroot that scripts/armhf-sysroot.sh unpacks (install-deps.sh armhf runs
# it). Programs built here run under qemu-arm through cmake/armhf-run, which
# CTest uses as the emulator; no binfmt registration is needed.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)

get_filename_component(_vexsdk_src "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)
set(VEXSDK_ARMHF_SYSROOT "${_vexsdk_src}/build/armhf-sysroot" CACHE PATH
    "Sysroot with the armhf libraries (scripts/armhf-sysroot.sh)")
if(NOT EXISTS "${VEXSDK_ARMHF_SYSROOT}/.packages")
  message(FATAL_ERROR "no armhf sysroot at ${VEXSDK_ARMHF_SYSROOT}: "
                      "run scripts/install-deps.sh armhf (as root the first time)")
endif()
set(_vexsdk_libdir "${VEXSDK_ARMHF_SYSROOT}/usr/lib/arm-linux-gnueabihf")

set(CMAKE_FIND_ROOT_PATH "${VEXSDK_ARMHF_SYSROOT}" /usr/arm-linux-gnueabihf)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)

# pkg-config answers for the sysroot, never for the build machine.
set(ENV{PKG_CONFIG_LIBDIR} "${_vexsdk_libdir}/pkgconfig:${VEXSDK_ARMHF_SYSROOT}/usr/share/pkgconfig")
set(ENV{PKG_CONFIG_SYSROOT_DIR} "${VEXSDK_ARMHF_SYSROOT}")
set(ENV{PKG_CONFIG_PATH} "")

# Programs in the build tree find the sysroot's shared libraries by RPATH,
# so the emulator needs nothing but the runtime prefix.
set(CMAKE_BUILD_RPATH "${_vexsdk_libdir}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${_vexsdk_libdir}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${_vexsdk_libdir}")

set(CMAKE_CROSSCOMPILING_EMULATOR "${_vexsdk_src}/cmake/armhf-run")
