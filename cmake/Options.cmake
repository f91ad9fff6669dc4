# What every target of ours is compiled with; brindlex_plain_options is all of it but sanitizers.
add_library(brindlex_plain_options INTERFACE)
add_library(brindlex_options INTERFACE)
target_link_libraries(brindlex_options INTERFACE brindlex_plain_options)

target_compile_options(brindlex_plain_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Werror -ffp-contract=off)

if(BRINDLEX_SANITIZE)
  target_compile_options(brindlex_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(brindlex_options INTERFACE -fsanitize=address,undefined)
endif()

# What makes a mistake in memory harder to use. tests/hardening_test.py looks for each in the built
# files; docs/reliability.md says what the compilers do not have.
target_compile_options(brindlex_plain_options INTERFACE -fstack-protector-strong)
if(NOT WIN32)
  target_compile_options(brindlex_plain_options INTERFACE -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86|AMD64|i.86")
    target_compile_options(brindlex_plain_options INTERFACE -fcf-protection)
  endif()
  if(NOT BRINDLEX_SANITIZE)
    # It needs optimized code; the sanitizers check the same functions themselves.
    target_compile_options(brindlex_plain_options INTERFACE
      $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
  endif()
  # The compilers of Debian make position-independent programs by themselves.
  target_link_options(brindlex_plain_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()

if(WIN32)
  target_compile_definitions(brindlex_plain_options INTERFACE
    UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0501)
  target_link_options(brindlex_plain_options INTERFACE -static -Wl,--no-insert-timestamp)
  add_library(brindlex_stack_guard STATIC ${CMAKE_SOURCE_DIR}/server/runtime/stack_guard.cpp)
  target_compile_options(brindlex_stack_guard PRIVATE -Wall -Wextra -Wconversion -Werror)
  target_link_libraries(brindlex_plain_options INTERFACE brindlex_stack_guard)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # A 32-bit host may call in with the stack aligned to 4 bytes only; SSE needs 16. The unwinding
    # tables for the cold part of a function that is split in two are wrong when it realigns its
    # stack (seen in g++ 12: an exception on its way through a constructor ended the process), so
    # no function is split.
    target_compile_options(brindlex_plain_options INTERFACE
      -msse2 -mfpmath=sse -mstackrealign -fno-reorder-blocks-and-partition)
  endif()
endif()
