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

# The interface file, compiled: by Xcode's own tool on a Mac, by ours elsewhere.
set(interface ${CMAKE_BINARY_DIR}/MainMenu.nib)
set(interfaceSource ${CMAKE_SOURCE_DIR}/resources/MainMenu.xib)
if(APPLE AND NOT CMAKE_CROSSCOMPILING)
  set(interfaceCompiler xcrun ibtool --errors --warnings --compile ${interface} ${interfaceSource})
  set(interfaceCompilerFiles "")
else()
  set(interfaceCompiler ${CMAKE_SOURCE_DIR}/tools/compile-interface ${interfaceSource} ${interface})
  file(GLOB interfaceCompilerFiles CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/tools/interface_compiler/*.py)
  list(APPEND interfaceCompilerFiles ${CMAKE_SOURCE_DIR}/tools/compile-interface)
endif()
add_custom_command(
  OUTPUT ${interface}
  COMMAND ${interfaceCompiler}
  DEPENDS ${interfaceSource} ${interfaceCompilerFiles}
  VERBATIM)
add_custom_target(interface DEPENDS ${interface})

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
