# Debian's GNUstep in Apple's place, and the stand-ins for what it lacks.
set(gnustepFolder ${CMAKE_CURRENT_LIST_DIR})

add_library(frameworks INTERFACE)
target_compile_definitions(frameworks INTERFACE
  GNUSTEP GNUSTEP_BASE_LIBRARY=1 GNU_GUI_LIBRARY=1 GNU_RUNTIME=1 _NATIVE_OBJC_EXCEPTIONS)
# Weak references do not exist in the gcc runtime; weak outlets act as plain ones there.
target_compile_options(frameworks INTERFACE
  "$<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-runtime=gcc;-fblocks;-fobjc-exceptions;-fconstant-string-class=NSConstantString;-U__weak;-D__weak=>"
  -fexceptions -pthread)
target_include_directories(frameworks SYSTEM INTERFACE ${gnustepFolder}/include ${CMAKE_SYSROOT}/usr/include/GNUstep)
# libobjc's headers are gcc's; behind clang's own, so that nothing else is taken from there.
target_compile_options(frameworks INTERFACE "SHELL:-idirafter ${CMAKE_SYSROOT}/usr/lib/gcc/${CMAKE_LIBRARY_ARCHITECTURE}/12/include")
# With -rdynamic the libraries find the stand-ins that replace their own symbols.
target_link_options(frameworks INTERFACE -rdynamic -pthread)
# gnustep-base exports broken block classes of its own, so libBlocksRuntime comes first, needed or not.
target_link_libraries(frameworks INTERFACE
  "-Wl,--no-as-needed -lBlocksRuntime -Wl,--as-needed" gnustep-gui gnustep-base objc m ${CMAKE_DL_LIBS})

add_library(gnustep_standins OBJECT
  ${gnustepFolder}/appkit_version.mm
  ${gnustepFolder}/blocks.mm
  ${gnustepFolder}/defaults_lock.mm
  ${gnustepFolder}/event_queue.mm
  ${gnustepFolder}/file_manager.mm
  ${gnustepFolder}/interface.mm
  ${gnustepFolder}/main_bundle.mm
  ${gnustepFolder}/main_queue.mm
  ${gnustepFolder}/security.mm
  ${gnustepFolder}/signals.cpp
  ${gnustepFolder}/workspace.mm
  ${gnustepFolder}/xpc.mm)
# Replacing methods of the libraries is what these files are for.
target_compile_options(gnustep_standins PRIVATE -Wno-objc-protocol-method-implementation)
target_include_directories(gnustep_standins PUBLIC ${gnustepFolder}/../..)
target_link_libraries(gnustep_standins PUBLIC frameworks)

# The Security framework's binary, which the installer opens at run time: tools/mac-root puts it in its place.
add_library(security_framework MODULE ${gnustepFolder}/security_framework/security_framework.mm)
set_target_properties(security_framework PROPERTIES
  PREFIX "" OUTPUT_NAME Security SUFFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/mac-root)
target_link_libraries(security_framework PRIVATE frameworks)
# Its two calls take Objective-C's types; the installer, which looks them up, knows those as pointers only. A Mac's
# framework is not instrumented either.
target_compile_options(security_framework PRIVATE -fno-sanitize=function)
