# Reading the standard library and GoogleTest takes more than half of the time of building a file
# without optimisation. Here they are read twice a build instead: once for the program, and once for
# its tests. The everyday build does without, so that a missing #include is noticed.

option(QUORVIN_PRECOMPILED_HEADERS "Read the headers that most files include only once" OFF)
if(NOT QUORVIN_PRECOMPILED_HEADERS)
  return()
endif()

set(headersOfTheProgram
  <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint> <cstring> <filesystem>
  <functional> <map> <memory> <mutex> <optional> <set> <span> <stdexcept> <string> <string_view>
  <system_error> <thread> <utility> <variant> <vector>)
set(headersOfTests ${headersOfTheProgram} <fstream> <sstream> <gmock/gmock.h> <gtest/gtest.h>)

# Files can share them only when they are compiled with the same options.
add_compile_options(-pthread)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  # Without the time in them the cache knows them again.
  add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
else()
  # Without the name of what was read before the cache knows nothing.
  add_compile_options(-fpch-preprocess)
endif()

# quorvin_precompiled_headers(NAME [HEADER...]): a target whose headers others can use.
function(quorvin_precompiled_headers name)
  add_library(${name} OBJECT "${CMAKE_SOURCE_DIR}/cmake/precompiled/empty.cpp")
  if(QUORVIN_BACK_END STREQUAL "macos")
    target_sources(${name} PRIVATE "${CMAKE_SOURCE_DIR}/cmake/precompiled/empty.mm")
    target_compile_options(${name} PRIVATE $<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
  endif()
  if(QUORVIN_MACOS_STANDIN)
    target_link_libraries(${name} PRIVATE macos_standin_headers)
  endif()
  foreach(header IN LISTS ARGN)
    target_precompile_headers(${name} PRIVATE "$<$<COMPILE_LANGUAGE:CXX,OBJCXX>:${header}>")
  endforeach()
endfunction()

# Makes every target of a folder, and of those in it, use what was read before.
function(quorvin_use_precompiled_headers directory)
  # Where indices are checked the standard library's headers are other ones, and the tests read all.
  cmake_path(RELATIVE_PATH directory BASE_DIRECTORY "${CMAKE_SOURCE_DIR}" OUTPUT_VARIABLE room)
  if(QUORVIN_HARDENED AND NOT room MATCHES "^(Runner|platform)(/|$)")
    return()
  endif()
  if(room MATCHES "(^|/)tests(/|$)")
    set(headers quorvin_headers_of_tests)
  else()
    set(headers quorvin_headers_of_the_program)
  endif()
  get_property(targets DIRECTORY "${directory}" PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    get_target_property(kind ${target} TYPE)
    get_target_property(without ${target} DISABLE_PRECOMPILE_HEADERS)
    if(kind MATCHES "^(EXECUTABLE|(STATIC|OBJECT)_LIBRARY)$" AND NOT without)
      target_precompile_headers(${target} REUSE_FROM ${headers})
    endif()
  endforeach()
  get_property(folders DIRECTORY "${directory}" PROPERTY SUBDIRECTORIES)
  foreach(folder IN LISTS folders)
    quorvin_use_precompiled_headers("${folder}")
  endforeach()
endfunction()

quorvin_precompiled_headers(quorvin_headers_of_the_program ${headersOfTheProgram})
if(BUILD_TESTING)
  include(QuorvinGoogleTest)
  quorvin_precompiled_headers(quorvin_headers_of_tests ${headersOfTests})
  target_link_libraries(quorvin_headers_of_tests PRIVATE GTest::gmock)
endif()

function(quorvin_use_precompiled_headers_everywhere)
  get_property(folders DIRECTORY PROPERTY SUBDIRECTORIES)
  foreach(folder IN LISTS folders)
    quorvin_use_precompiled_headers("${folder}")
  endforeach()
endfunction()

# When all targets are known.
cmake_language(DEFER DIRECTORY "${CMAKE_SOURCE_DIR}" CALL quorvin_use_precompiled_headers_everywhere)
