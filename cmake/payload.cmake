# The payload: what an installation installs. QUILLMARK_PAYLOAD names the vendor's; without it a sample is made.
if(QUILLMARK_PAYLOAD)
  get_filename_component(payload "${QUILLMARK_PAYLOAD}" ABSOLUTE BASE_DIR ${CMAKE_SOURCE_DIR})
else()
  set(payload ${CMAKE_BINARY_DIR}/sample-payload)
  execute_process(
    COMMAND ${CMAKE_SOURCE_DIR}/tools/make-sample-payload ${payload}
    COMMAND_ERROR_IS_FATAL ANY)
endif()

# The sample is not for shipping, so that only what it lacks counts.
execute_process(
  COMMAND ${CMAKE_SOURCE_DIR}/tools/check-payload ${payload} ${payload}
  OUTPUT_VARIABLE service ERROR_VARIABLE doubts RESULT_VARIABLE incomplete)
if(incomplete)
  message(FATAL_ERROR "The payload ${payload} is not complete:\n${doubts}")
elseif(QUILLMARK_PAYLOAD)
  message(STATUS "The payload ${payload}, by releases of macOS:\n${service}${doubts}")
endif()
