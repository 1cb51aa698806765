# The payload: what an installation installs. QUILLMARK_PAYLOAD names the vendor's; without it a sample is made.
if(QUILLMARK_PAYLOAD)
  get_filename_component(payload "${QUILLMARK_PAYLOAD}" ABSOLUTE BASE_DIR ${CMAKE_SOURCE_DIR})
else()
  set(payload ${CMAKE_BINARY_DIR}/sample-payload)
  execute_process(
    COMMAND ${CMAKE_SOURCE_DIR}/tools/make-sample-payload ${payload}
    COMMAND_ERROR_IS_FATAL ANY)
endif()

execute_process(
  COMMAND ${CMAKE_SOURCE_DIR}/tools/check-payload ${payload} ${payload}
  OUTPUT_VARIABLE missing RESULT_VARIABLE incomplete)
if(incomplete)
  string(REPLACE "\n" "\n  " missing "\n${missing}")
  message(FATAL_ERROR "The payload ${payload} is not complete. It lacks:${missing}")
endif()
