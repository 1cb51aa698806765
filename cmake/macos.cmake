# How the Mac product is compiled and linked, on a Mac and on Linux alike.
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_OBJCXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_compile_options(
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}=.
  -Wunguarded-availability
  # The calls are those that OS X 10.8 has, whatever has replaced them since.
  -Wno-deprecated-declarations)
# The linker signs the slice for Apple silicon unasked, because nothing unsigned runs there. The Intel slice stays
# unsigned until the bundle is signed: the linker's signature would have SHA-256 alone, and OS X 10.8 knows SHA-1 only.
add_link_options(-Wl,-dead_strip -Wl,-x)

# CMAKE_OSX_DEPLOYMENT_TARGET is one for all slices.
if(NOT CMAKE_CROSSCOMPILING AND "arm64" IN_LIST CMAKE_OSX_ARCHITECTURES)
  add_compile_options("SHELL:-Xarch_arm64 -mmacosx-version-min=${minimumMacOS_arm64}")
  add_link_options("SHELL:-Xarch_arm64 -mmacosx-version-min=${minimumMacOS_arm64}")
endif()
