# GoogleTest is built from Debian's sources (package googletest) for whatever target is configured.
set(KV_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "Sources of GoogleTest")
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
add_subdirectory(${KV_GOOGLETEST_SOURCE} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
include(GoogleTest)
