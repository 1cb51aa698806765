# The distribution as it ships: one folder with the application and, beside it, the components.
set(distribution "${CMAKE_BINARY_DIR}/Quillmark Installer")

# What the system checks before it blesses the helper tool. Nobody has the team of the default.
string(JOIN " and " requirement
  "identifier \"com.quillmark.customInstaller.Helper\""
  "anchor apple generic"
  "certificate leaf[subject.OU] = \"0000000000\"")
set(QUILLMARK_HELPER_REQUIREMENT "${requirement}"
  CACHE STRING "Code requirement that the helper tool's signature must meet")
string(REPLACE "&" "&amp;" helperRequirement "${QUILLMARK_HELPER_REQUIREMENT}")
string(REPLACE "<" "&lt;" helperRequirement "${helperRequirement}")
string(REPLACE ">" "&gt;" helperRequirement "${helperRequirement}")
configure_file(resources/Info.plist.in ${CMAKE_BINARY_DIR}/Info.plist @ONLY)

# Only a Mac can compile the interface file. GNUstep loads it as it is; the bundle that is cross-built on Linux holds
# it as it is too, and AppKit cannot load that.
if(APPLE AND NOT CMAKE_CROSSCOMPILING)
  set(interface ${CMAKE_BINARY_DIR}/MainMenu.nib)
  add_custom_command(
    OUTPUT ${interface}
    COMMAND xcrun ibtool --errors --warnings --compile ${interface} ${CMAKE_SOURCE_DIR}/resources/MainMenu.xib
    DEPENDS resources/MainMenu.xib
    VERBATIM)
else()
  set(interface ${CMAKE_SOURCE_DIR}/resources/MainMenu.xib)
endif()

set(icon ${CMAKE_SOURCE_DIR}/resources/Installer.icns)
file(GLOB languages CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/*.lproj)
file(GLOB strings CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/resources/*.lproj/*.strings)
set(resources "")
foreach(resource IN LISTS interface icon languages)
  list(APPEND resources --resource ${resource})
endforeach()
file(GLOB_RECURSE payloadFiles CONFIGURE_DEPENDS ${payload}/*)
add_custom_command(
  OUTPUT ${CMAKE_BINARY_DIR}/distribution.stamp
  COMMAND ${CMAKE_SOURCE_DIR}/tools/assemble-distribution
    --executable $<TARGET_FILE:installer> --info-plist ${CMAKE_BINARY_DIR}/Info.plist --payload ${payload}
    ${resources} ${distribution}
  COMMAND ${CMAKE_COMMAND} -E touch ${CMAKE_BINARY_DIR}/distribution.stamp
  DEPENDS
    installer ${CMAKE_BINARY_DIR}/Info.plist ${interface} ${icon} ${strings}
    tools/assemble-distribution ${payloadFiles}
  COMMENT "Assembling ${distribution}"
  VERBATIM)
add_custom_target(distribution ALL DEPENDS ${CMAKE_BINARY_DIR}/distribution.stamp)
