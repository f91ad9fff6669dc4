# The 32-bit Windows toolchain; its test programs run under Wine.
set(processor x86)
set(triplet i686-w64-mingw32)
set(wine wine)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
