# Flags travel on this INTERFACE target; CMAKE_CXX_FLAGS stays the user's.

add_library(zor_flags INTERFACE)
target_compile_features(zor_flags INTERFACE cxx_std_20)
target_compile_options(zor_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wcast-qual -Wnon-virtual-dtor
  -Woverloaded-virtual -Wunused
  # Floating-point results are part of the behaviour: no contraction, whatever the compiler's default.
  -ffp-contract=off)
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
  endif()
endif()
