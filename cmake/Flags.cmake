# Flags travel on this INTERFACE target; CMAKE_CXX_FLAGS stays the user's.

add_library(zor_flags INTERFACE)
target_compile_features(zor_flags INTERFACE cxx_std_20)
target_compile_options(zor_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wcast-qual -Wnon-virtual-dtor
  -Woverloaded-virtual -Wunused
  # Floating-point results are part of the behaviour: no contraction, whatever the compiler's default.
  -ffp-contract=off)
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  # Files of images grow beyond 2 GB there too.
  target_compile_definitions(zor_flags INTERFACE _FILE_OFFSET_BITS=64)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
    # Otherwise 32-bit x86 computes in registers of 80 bits, and rounds when it stores them.
    target_compile_options(zor_flags INTERFACE -msse2 -mfpmath=sse)
  endif()
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # False alarm of g++ 12 at -O3 on "text" + string (its bug 105329).
  target_compile_options(zor_flags INTERFACE -Wno-restrict)
endif()
if(ZOR_WARNINGS_ARE_ERRORS)
  target_compile_options(zor_flags INTERFACE -Werror)
endif()
if(ZOR_SANITIZE)
  target_compile_options(zor_flags INTERFACE -fsanitize=${ZOR_SANITIZE} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
  target_link_options(zor_flags INTERFACE -fsanitize=${ZOR_SANITIZE})
  if(ZOR_SANITIZE MATCHES "undefined")
    target_compile_options(zor_flags INTERFACE -fsanitize=float-cast-overflow)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      # Host and plug-in call each other by C types, in which either has its own names for what is behind a pointer.
      target_compile_options(zor_flags INTERFACE -fno-sanitize=function)
    endif()
  endif()
endif()
