# One helper per kind of target, so that a list of sources is all that a folder has to say.

# engine_add_folder(core Formats.cpp ...): the sources of one folder of the engine. engine_core_objects carries what is
# made of them, for programs that need one folder only.
function(engine_add_folder name)
  list(TRANSFORM ARGN PREPEND "${name}/")
  add_library(engine_${name}_objects INTERFACE)
  target_include_directories(engine_${name}_objects INTERFACE ${PROJECT_SOURCE_DIR}/src)
  engine_add_objects(${name} engine_${name} ${ARGN})
  target_link_libraries(engine INTERFACE engine_${name}_objects)
endfunction()

function(engine_add_objects folder target)
  add_library(${target} OBJECT ${ARGN})
  target_include_directories(${target} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE zor_flags)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_sources(engine_${folder}_objects INTERFACE $<TARGET_OBJECTS:${target}>)
endfunction()

# engine_add_vector_kernels(kernels BytesVector.cpp ...): sources of vector kernels, each compiled once for every
# instruction set that this kind of processor may have. Which of them runs is found out at run time.
function(engine_add_vector_kernels folder)
  list(TRANSFORM ARGN PREPEND "${folder}/")
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i[3-6]86")
    engine_add_tier(${folder} Sse4 1 "-msse4.2" ${ARGN})
    engine_add_tier(${folder} Avx2 2 "-mavx2;-mfma;-mbmi;-mbmi2" ${ARGN})
    target_compile_definitions(engine_${folder} PRIVATE ZOR_KERNELS_X86)
  elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    engine_add_tier(${folder} Neon 3 "-march=armv8-a+crypto" ${ARGN})
    target_compile_definitions(engine_${folder} PRIVATE ZOR_KERNELS_NEON)
  endif()
endfunction()

function(engine_add_tier folder tier number flags)
  set(target engine_${folder}_${tier})
  engine_add_objects(${folder} ${target} ${ARGN})
  target_link_libraries(${target} PRIVATE zor_highway)
  target_compile_definitions(${target} PRIVATE ZOR_TIER=${tier} ZOR_TIER_IS=${number})
  target_compile_options(${target} PRIVATE ${flags})
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
