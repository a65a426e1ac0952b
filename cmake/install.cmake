include(CMakePackageConfigHelpers)
# Components are the packages: runtime (the shared library), dev (headers,
# archive, pkg-config and CMake files, reference pages), tools, python.
install(TARGETS vexsdk vexsdk_static EXPORT vexsdkTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(FILES include/vexsdk.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(DIRECTORY include/vexsdk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
if(VEXSDK_BUILD_TOOLS)
  install(TARGETS vexctl vexsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()
install(EXPORT vexsdkTargets NAMESPACE vexsdk::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexsdk COMPONENT dev)
configure_package_config_file(cmake/vexsdkConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vexsdkConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexsdk)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vexsdkConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vexsdkConfig.cmake
  ${PROJECT_BINARY_DIR}/vexsdkConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexsdk COMPONENT dev)
# The .pc file finds its prefix relative to itself, so the SDK can move.
file(RELATIVE_PATH VEXSDK_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" VEXSDK_PC_TO_PREFIX "${VEXSDK_PC_TO_PREFIX}")
configure_file(cmake/vexsdk.pc.in ${PROJECT_BINARY_DIR}/vexsdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vexsdk.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
# The Python package, where the system's python3 finds it.
install(DIRECTORY python/vexsdk DESTINATION lib/python3/dist-packages COMPONENT python
  PATTERN __pycache__ EXCLUDE)
