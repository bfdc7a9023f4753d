# kvsvg_add_subsystem(NAME [DEPS lib...])
# Makes the static library kvsvg_NAME from every .cpp of src/NAME. A folder
# without sources yet becomes an interface library so that dependants link.
function(kvsvg_add_subsystem name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.c)
  if(sources)
    add_library(kvsvg_${name} STATIC ${sources})
    target_include_directories(kvsvg_${name} PUBLIC ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(kvsvg_${name} PUBLIC ${ARG_DEPS})
  else()
    add_library(kvsvg_${name} INTERFACE)
    target_include_directories(kvsvg_${name} INTERFACE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(kvsvg_${name} INTERFACE ${ARG_DEPS})
  endif()
endfunction()

# kvsvg_add_test_suite(NAME DEPS lib...)
# One GoogleTest program per tests/ folder, run under the leak-checking main.
function(kvsvg_add_test_suite name)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    return()
  endif()
  add_executable(kvsvg_${name}_tests ${sources})
  target_link_libraries(kvsvg_${name}_tests PRIVATE kvsvg_testmain ${ARG_DEPS})
  target_compile_definitions(kvsvg_${name}_tests PRIVATE
    KVSVG_TEST_DATA_DIR="${PROJECT_SOURCE_DIR}/tests/data"
    KVSVG_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples")
  gtest_discover_tests(kvsvg_${name}_tests DISCOVERY_TIMEOUT 120 PROPERTIES LABELS ${name})
endfunction()
