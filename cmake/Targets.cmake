# One helper per kind of target, so that a list of sources is all that a folder has to say.

# engine_add_folder(core Formats.cpp ...): the sources of one folder of the engine.
function(engine_add_folder name)
  list(TRANSFORM ARGN PREPEND "${name}/")
  string(REPLACE "/" "_" target "engine_${name}")
  add_library(${target} OBJECT ${ARGN})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE zor_flags)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_sources(engine INTERFACE $<TARGET_OBJECTS:${target}>)
endfunction()

# engine_add_avx2(core Loops.cpp ...): sources of a folder with twins of hot loops for processors with AVX2. Where there
# may be such processors, ZOR_HAS_AVX2_TWINS is defined; whether there is one is found out at run time.
function(engine_add_avx2 name)
  if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
    return()
  endif()
  list(TRANSFORM ARGN PREPEND "${name}/")
  string(REPLACE "/" "_" target "engine_${name}")
  target_sources(${target} PRIVATE ${ARGN})
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS -mavx2)
  target_compile_definitions(${target} PRIVATE ZOR_HAS_AVX2_TWINS)
  target_compile_definitions(engine INTERFACE ZOR_HAS_AVX2_TWINS)
endfunction()

# engine_add_test(core FormatsTest.cpp ...): a GoogleTest program with the engine linked in, every case a ctest test.
# Call it once per folder of tests; LABEL and further libraries can be set on the target test_<folder>.
function(engine_add_test folder)
  set(target test_${folder})
  add_executable(${target} ${ARGN})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE zor_flags test_support engine GTest::gmock GTest::gtest GTest::gtest_main)
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST PROPERTIES LABELS ${folder} TIMEOUT 600)
endfunction()
