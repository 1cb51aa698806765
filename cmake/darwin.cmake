# Cross build of one slice of the Mac product with clang 19 and LLVM's linker. tools/build-macos sets the two variables.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES
  QUILLMARK_SLICE QUILLMARK_DARWIN_HEADERS QUILLMARK_MINIMUM_MACOS)
include(${CMAKE_CURRENT_LIST_DIR}/minimum-macos.cmake)
set(minimumMacOS ${minimumMacOS_${QUILLMARK_SLICE}})
if(NOT minimumMacOS)
  message(FATAL_ERROR "QUILLMARK_SLICE must be x86_64 or arm64, not \"${QUILLMARK_SLICE}\"")
endif()
if(NOT EXISTS ${QUILLMARK_DARWIN_HEADERS}/lib/libcxx/include/__config)
  message(FATAL_ERROR "Darwin's C headers are not in \"${QUILLMARK_DARWIN_HEADERS}\"; tools/build-macos fetches them")
endif()

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${QUILLMARK_SLICE})
# CMake 3.25 wants the Objective-C++ compiler's full path.
set(CMAKE_CXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_CXX_COMPILER_TARGET ${QUILLMARK_SLICE}-apple-macosx${minimumMacOS})
set(CMAKE_OBJCXX_COMPILER_TARGET ${CMAKE_CXX_COMPILER_TARGET})
set(CMAKE_AR /usr/bin/llvm-ar-19 CACHE FILEPATH "")
set(CMAKE_RANLIB /usr/bin/llvm-ranlib-19 CACHE FILEPATH "")
set(CMAKE_INSTALL_NAME_TOOL /usr/bin/llvm-install-name-tool-19 CACHE FILEPATH "")

# Nothing is taken from an installed SDK: the headers and the stubs are named one by one.
set(CMAKE_OSX_SYSROOT "" CACHE STRING "")
set(CMAKE_OSX_ARCHITECTURES "" CACHE STRING "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "")
set(sdk ${CMAKE_CURRENT_LIST_DIR}/macos-sdk)
string(JOIN " " compilerFlags
  -nostdinc -nostdinc++
  -isystem "\"${QUILLMARK_DARWIN_HEADERS}/lib/libcxx/include\""
  -isystem /usr/lib/llvm-19/lib/clang/19/include
  -isystem "\"${QUILLMARK_DARWIN_HEADERS}/lib/libc/include/any-macos-any\""
  -isystem "\"${sdk}/usr/include\""
  -iframework "\"${sdk}/System/Library/Frameworks\""
  # What the build of Apple's own libc++ configures; the package leaves it to the command line.
  -D_LIBCPP_ABI_VERSION=1 -D_LIBCPP_ABI_NAMESPACE=__1 -D_LIBCPP_HAS_THREAD_API_PTHREAD
  -D_LIBCPP_PSTL_CPU_BACKEND_SERIAL -D_LIBCPP_HAS_NO_INCOMPLETE_PSTL -D_LIBCPP_HAS_NO_INCOMPLETE_FORMAT)
set(CMAKE_CXX_FLAGS_INIT "${compilerFlags}")
set(CMAKE_OBJCXX_FLAGS_INIT "${compilerFlags}")
# Without -platform_version the linker would note the target's version as the SDK's too.
set(CMAKE_EXE_LINKER_FLAGS_INIT
  "-fuse-ld=lld \"-Wl,-syslibroot,${sdk}\" -Wl,-platform_version,macos,${minimumMacOS},11.0")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
