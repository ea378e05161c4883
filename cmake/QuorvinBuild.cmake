# Language level, warnings and sanitizers that every target of this project shares.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)

find_program(QUORVIN_CCACHE ccache)
if(QUORVIN_CCACHE)
  # It keeps what uses precompiled headers only when told that they hold no time of day.
  set(launcher "${CMAKE_COMMAND}" -E env CCACHE_SLOPPINESS=pch_defines,time_macros
      "${QUORVIN_CCACHE}")
  set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  set(CMAKE_OBJCXX_COMPILER_LAUNCHER ${launcher})
endif()

# A product and a sum are rounded one by one, or positions would differ from one kind of processor
# to another in their last bit.
add_compile_options(-ffp-contract=off)

option(QUORVIN_LIKE_A_MAC "Use libc++ and a Mac's int64_t, with what tools/mac_sdk.py makes" OFF)
if(QUORVIN_LIKE_A_MAC)
  # What newer versions of libc++ no longer include for others is not there in this one either.
  add_compile_options(-stdlib=libc++ -D_LIBCPP_REMOVE_TRANSITIVE_INCLUDES
    "SHELL:-isystem ${CMAKE_SOURCE_DIR}/build/mac-sdk/overlay")
  add_link_options(-stdlib=libc++)
endif()

set(QUORVIN_SANITIZE "" CACHE STRING "Sanitizers for every target, as given to -fsanitize=")

add_compile_options(-Wall -Wextra -Wpedantic -Werror -Wconversion -Wsign-conversion
                    -Wnon-virtual-dtor -Woverloaded-virtual -Wundef)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 reports uses of uninitialised or out-of-range storage inside its own library headers
  # once sanitizers keep it from folding them; clang and the sanitizers themselves watch these.
  add_compile_options(-Wno-maybe-uninitialized -Wno-restrict)
  # Constructor parameters named like the member they set are the house style; clang allows them.
  add_compile_options(-Wshadow=local)
else()
  add_compile_options(-Wshadow -Wthread-safety)
  if(QUORVIN_BACK_END STREQUAL "linux")
    # clang-tidy's check of the same takes a fifth of its time. Apple's names are reserved ones.
    add_compile_options(-Wreserved-identifier -Wreserved-macro-identifier)
  endif()
endif()

if(QUORVIN_SANITIZE)
  # Line numbers are all that a report needs, and much less to write than everything.
  add_compile_options("-fsanitize=${QUORVIN_SANITIZE}" -fno-omit-frame-pointer -g1)
  add_link_options("-fsanitize=${QUORVIN_SANITIZE}")
  if(QUORVIN_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize-recover=undefined)
  endif()
endif()

if(QUORVIN_FUZZERS)
  # A fuzzer is worth what it tries in its time, and tries several times as much like this.
  add_compile_options(-O2)
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()

option(QUORVIN_COVERAGE "Record which lines run (clang only)" OFF)
if(QUORVIN_COVERAGE)
  add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
  add_link_options(-fprofile-instr-generate)
endif()

# Where the application bundle of this build is put together; the layout is the same on every
# system, only the folder of the executables differs.
set(QUORVIN_BUNDLE "${CMAKE_BINARY_DIR}/Quorvin Support.app")
if(QUORVIN_BACK_END STREQUAL "macos")
  set(QUORVIN_BUNDLE_EXECUTABLES "${QUORVIN_BUNDLE}/Contents/MacOS")
else()
  set(QUORVIN_BUNDLE_EXECUTABLES "${QUORVIN_BUNDLE}/Contents/Linux")
endif()
