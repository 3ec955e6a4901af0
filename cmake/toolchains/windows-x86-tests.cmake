# The tests of the 32-bit product: GoogleTest needs the -posix runtime (std::thread and std::mutex). The module that
# they load is the product's own, made by windows-x86.
include(${CMAKE_CURRENT_LIST_DIR}/windows-x86.cmake)
set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
