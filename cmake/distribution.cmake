# The distribution as it ships: one folder with the application and, beside it, the components.
set(distribution "${CMAKE_BINARY_DIR}/Quillmark Installer")
configure_file(resources/Info.plist.in ${CMAKE_BINARY_DIR}/Info.plist @ONLY)

if(APPLE)
  set(interface ${CMAKE_BINARY_DIR}/MainMenu.nib)
  add_custom_command(
    OUTPUT ${interface}
    COMMAND xcrun ibtool --errors --warnings --compile ${interface} ${CMAKE_SOURCE_DIR}/resources/MainMenu.xib
    DEPENDS resources/MainMenu.xib
    VERBATIM)
else()
  set(interface ${CMAKE_SOURCE_DIR}/resources/MainMenu.xib)
endif()

file(GLOB_RECURSE payloadFiles CONFIGURE_DEPENDS ${payload}/*)
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/distribution.stamp
  COMMAND ${CMAKE_SOURCE_DIR}/tools/assemble-distribution
    --executable $<TARGET_FILE:installer> --info-plist ${CMAKE_BINARY_DIR}/Info.plist --interface ${interface}
    --payload ${payload} ${distribution}
  COMMAND ${CMAKE_COMMAND} -E touch ${CMAKE_BINARY_DIR}/distribution.stamp
  DEPENDS installer ${interface} ${CMAKE_BINARY_DIR}/Info.plist tools/assemble-distribution ${payloadFiles}
  COMMENT "Assembling ${distribution}"
  VERBATIM)
add_custom_target(distribution ALL DEPENDS ${CMAKE_BINARY_DIR}/distribution.stamp)
