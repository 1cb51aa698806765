# The payload: what an installation installs. QUILLMARK_PAYLOAD names the vendor's; without it a sample is made.
if(QUILLMARK_PAYLOAD)
  get_filename_component(payload "${QUILLMARK_PAYLOAD}" ABSOLUTE BASE_DIR ${CMAKE_SOURCE_DIR})
else()
  set(payload ${CMAKE_BINARY_DIR}/sample-payload)
  execute_process(
    COMMAND ${CMAKE_SOURCE_DIR}/tools/make-sample-payload ${payload}
    COMMAND_ERROR_IS_FATAL ANY)
endif()

set(payloadParts
  Quillmark.app/Contents/Info.plist
  client.up.tunnelblick.sh
  client.down.tunnelblick.sh
  components/WGComponents/osIntel/QuillmarkGuard
  components/WGComponents/osM1/QuillmarkGuard
  components/ca.crt
  components/client.crt
  components/client.key
  components/client.ovpn
  components/login.conf
  components/ta.key)
# Whatever further releases the payload names must bring their component.
file(GLOB releases RELATIVE ${payload} ${payload}/components/WGComponents/*)
foreach(release IN LISTS releases)
  list(APPEND payloadParts ${release}/QuillmarkGuard)
endforeach()
list(REMOVE_DUPLICATES payloadParts)

set(missing "")
foreach(part IN LISTS payloadParts)
  if(NOT EXISTS ${payload}/${part})
    string(APPEND missing "\n  ${part}")
  endif()
endforeach()
if(missing)
  message(FATAL_ERROR "The payload ${payload} is not complete. It lacks:${missing}")
endif()
