# The 64-bit Windows toolchain; its test programs run under Wine.
set(processor AMD64)
set(triplet x86_64-w64-mingw32)
set(wine wine64)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
