include(CMakePackageConfigHelpers)
install(TARGETS vexsdk vexsdk_static EXPORT vexsdkTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES include/vexsdk.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/vexsdk DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(VEXSDK_BUILD_TOOLS)
  install(TARGETS vexctl vexsim RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  # bash-completion loads a completion by the command's name.
  foreach(tool vexctl vexsim)
    install(FILES tools/completion/vexsdk-tools.bash
      DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME ${tool})
  endforeach()
endif()
install(EXPORT vexsdkTargets NAMESPACE vexsdk::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexsdk)
configure_package_config_file(cmake/vexsdkConfig.cmake.in
  ${PROJECT_BINARY_DIR}/vexsdkConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexsdk)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/vexsdkConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vexsdkConfig.cmake
  ${PROJECT_BINARY_DIR}/vexsdkConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/vexsdk)
# The .pc file finds its prefix relative to itself, so the SDK can move.
file(RELATIVE_PATH VEXSDK_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" VEXSDK_PC_TO_PREFIX "${VEXSDK_PC_TO_PREFIX}")
configure_file(cmake/vexsdk.pc.in ${PROJECT_BINARY_DIR}/vexsdk.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vexsdk.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
