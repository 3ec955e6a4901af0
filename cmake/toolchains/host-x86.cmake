# Native 32-bit build on a 64-bit Linux machine. The word size goes into the flags of every language
# so that CMake's own checks see it too.
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
set(KV_X86_FLAGS "-m32 -msse2 -mfpmath=sse -mstackrealign -D_FILE_OFFSET_BITS=64")
set(CMAKE_C_FLAGS_INIT "${KV_X86_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${KV_X86_FLAGS}")
set(CMAKE_ASM_FLAGS_INIT "-m32")
