# Reference pages, one per exported function, generated from the blocks in
# the public headers: man pages (section 3) and HTML, installed with the SDK.
file(GLOB VEXSDK_PUBLIC_HEADERS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/vexsdk/*.h)
set(VEXSDK_REFERENCE_DIR ${PROJECT_BINARY_DIR}/reference)
set(VEXSDK_REFERENCE_STAMP ${VEXSDK_REFERENCE_DIR}/stamp)
add_custom_command(OUTPUT ${VEXSDK_REFERENCE_STAMP}
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${VEXSDK_REFERENCE_DIR}/man3 ${VEXSDK_REFERENCE_DIR}/html
  COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/scripts/gen_reference.py
          --include ${PROJECT_SOURCE_DIR}/include --out ${VEXSDK_REFERENCE_DIR}
          --version ${PROJECT_VERSION}
  COMMAND ${CMAKE_COMMAND} -E touch ${VEXSDK_REFERENCE_STAMP}
  DEPENDS ${PROJECT_SOURCE_DIR}/scripts/gen_reference.py ${VEXSDK_PUBLIC_HEADERS}
  COMMENT "Generating the reference pages" VERBATIM)
add_custom_target(vexsdk_reference ALL DEPENDS ${VEXSDK_REFERENCE_STAMP})
install(DIRECTORY ${VEXSDK_REFERENCE_DIR}/man3 DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT dev)
install(DIRECTORY ${VEXSDK_REFERENCE_DIR}/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
