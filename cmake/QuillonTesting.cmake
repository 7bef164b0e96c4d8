# GoogleTest: the system package natively, the Debian sources when cross
# compiling for Windows.
if(CMAKE_CROSSCOMPILING)
  set(gtest_force_shared_crt OFF CACHE BOOL "" FORCE)
  set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  if(NOT TARGET GTest::gtest_main)
    add_library(GTest::gtest_main ALIAS gtest_main)
  endif()
else()
  find_package(GTest REQUIRED)
endif()

# quillon_test(<folder> DEPS <targets...>)
# One test executable per folder (tests/<folder>/*.cpp), registered as one
# ctest so that a Windows run under Wine starts one process per folder.
# Tests find their fixtures through QUILLON_TEST_DATA.
function(quillon_test folder)
  cmake_parse_arguments(ARG "" "" "DEPS" ${ARGN})
  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  if(NOT sources)
    message(STATUS "tests/${folder}: no test sources yet")
    return()
  endif()
  set(target test_${folder})
  add_executable(${target} ${sources})
  target_link_libraries(${target} PRIVATE ${ARG_DEPS} GTest::gtest_main)
  target_compile_definitions(${target} PRIVATE
    QUILLON_TEST_DATA="${PROJECT_SOURCE_DIR}/tests/data")
  add_test(NAME ${folder} COMMAND ${target} --gtest_brief=1)
endfunction()
