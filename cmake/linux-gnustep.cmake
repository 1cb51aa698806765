# Native build on Debian with clang and GNUstep. CMake 3.25 wants the Objective-C++ compiler's full path.
set(CMAKE_C_COMPILER /usr/bin/clang-19)
set(CMAKE_CXX_COMPILER /usr/bin/clang++-19)
set(CMAKE_OBJCXX_COMPILER /usr/bin/clang++-19)
