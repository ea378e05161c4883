# GoogleTest as it is installed or, where that was built with another standard library, from source.
if(NOT QUORVIN_LIKE_A_MAC)
  find_package(GTest REQUIRED)
  return()
endif()
include_guard(GLOBAL)

set(test /usr/src/googletest/googletest)
set(mock /usr/src/googletest/googlemock)
if(APPLE)
  # Nothing is run, so that it is enough to know what there is to link with.
  add_library(quorvin_googletest INTERFACE)
  target_link_libraries(quorvin_googletest INTERFACE "${CMAKE_OSX_SYSROOT}/usr/lib/libgtest.tbd")
else()
  add_library(quorvin_googletest STATIC "${test}/src/gtest-all.cc" "${mock}/src/gmock-all.cc"
    "${mock}/src/gmock_main.cc")
  target_include_directories(quorvin_googletest PRIVATE
    "${test}" "${test}/include" "${mock}" "${mock}/include")
  # Not our code, and not our warnings.
  target_compile_options(quorvin_googletest PRIVATE -w)
endif()
target_include_directories(quorvin_googletest SYSTEM INTERFACE "${test}/include" "${mock}/include")
foreach(name gtest gmock gtest_main)
  add_library(GTest::${name} ALIAS quorvin_googletest)
endforeach()
