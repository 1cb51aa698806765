# The oldest macOS that the product runs on: the bundle names it, and the Intel slice is built for it. The other slice is
# too, or for the first macOS for Apple silicon where that is newer.
set(QUILLMARK_MINIMUM_MACOS 10.8 CACHE STRING "Oldest macOS that the Mac product runs on")
if(NOT QUILLMARK_MINIMUM_MACOS MATCHES "^[0-9]+\\.[0-9]+$")
  message(FATAL_ERROR "QUILLMARK_MINIMUM_MACOS must be a version such as 10.13, not \"${QUILLMARK_MINIMUM_MACOS}\"")
endif()
set(minimumMacOS_x86_64 ${QUILLMARK_MINIMUM_MACOS})
set(minimumMacOS_arm64 11.0)
if(QUILLMARK_MINIMUM_MACOS VERSION_GREATER minimumMacOS_arm64)
  set(minimumMacOS_arm64 ${QUILLMARK_MINIMUM_MACOS})
endif()
