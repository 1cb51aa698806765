# quillmark_add_python_tests(KIND [ALL] [FOLDER FOLDER] [MODULES MODULE ...] [ONLY PATTERN] [PROPERTIES NAME VALUE ...])
#
# Adds each test method of tests/FOLDER/MODULE.py as KIND.Class.test_method, so that ctest can run several at a time and
# name what failed. FOLDER is KIND unless it is given, and lies in "tools" if it does not in "tests". Without MODULES they
# are all of tests/FOLDER/test_*.py; with ONLY those of them whose names match it. The label is KIND, and with ALL
# also "all": then only "./test --all" runs them. The properties are those of set_tests_properties. The tests run in the
# folder "tests", where they find "support".
function(quillmark_add_python_tests kind)
  cmake_parse_arguments(PARSE_ARGV 1 arg "ALL" "FOLDER;ONLY" "MODULES;PROPERTIES")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "quillmark_add_python_tests: what is ${arg_UNPARSED_ARGUMENTS}?")
  endif()
  if(NOT arg_FOLDER)
    set(arg_FOLDER ${kind})
  endif()
  set(tests ${PROJECT_SOURCE_DIR}/tests)
  set(folder ${tests}/${arg_FOLDER})
  if(NOT IS_DIRECTORY ${folder})
    set(folder ${PROJECT_SOURCE_DIR}/tools/${arg_FOLDER})
  endif()
  if(NOT arg_MODULES)
    file(GLOB files CONFIGURE_DEPENDS ${folder}/test_*.py)
    foreach(file IN LISTS files)
      get_filename_component(module ${file} NAME_WE)
      list(APPEND arg_MODULES ${module})
    endforeach()
  endif()

  foreach(module IN LISTS arg_MODULES)
    list(APPEND names ${arg_FOLDER}.${module})
    list(APPEND sources ${folder}/${module}.py)
  endforeach()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources} ${tests}/support/list_tests.py)
  execute_process(
    COMMAND python3 -B -m support.list_tests ${names}
    WORKING_DIRECTORY ${tests}
    OUTPUT_VARIABLE found
    OUTPUT_STRIP_TRAILING_WHITESPACE
    COMMAND_ERROR_IS_FATAL ANY)

  set(all "")
  if(arg_ALL)
    set(all ALL)
  endif()
  string(REPLACE "\n" ";" found "${found}")
  foreach(test IN LISTS found)
    string(REGEX REPLACE "^${arg_FOLDER}\\.[^.]+" "${kind}" name ${test})
    if(NOT arg_ONLY OR name MATCHES "${arg_ONLY}")
      quillmark_add_python_test(${name} ${test} ${all} PROPERTIES LABELS ${kind} ${arg_PROPERTIES})
    endif()
  endforeach()
endfunction()

# quillmark_add_python_test(NAME TEST [ALL] [PROPERTIES NAME VALUE ...])
#
# Adds one test method, FOLDER.MODULE.Class.test_method, under a name of its own.
function(quillmark_add_python_test name test)
  cmake_parse_arguments(PARSE_ARGV 2 arg "ALL" "" PROPERTIES)
  add_test(NAME ${name} COMMAND python3 -B -m support.run_test ${test} WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}/tests)
  # What takes seconds may take minutes on a machine that has a lot else to do; what waits inside a test gives up sooner.
  set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 600 ${arg_PROPERTIES})
  if(arg_ALL)
    set_property(TEST ${name} APPEND PROPERTY LABELS all)
  endif()
endfunction()
