# What makes a fault in memory harder to use against whoever runs the programs. For what a customer
# gets: without optimisation _FORTIFY_SOURCE does nothing, and sanitizers do their own checking.

set(QUORVIN_HARDENED OFF)
if(APPLE OR QUORVIN_MACOS_STANDIN OR QUORVIN_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
  return()
endif()
set(QUORVIN_HARDENED ON)

include(CheckCXXCompilerFlag)
# Programs only, no shared libraries: what -fPIE makes is faster than what -fPIC makes.
add_compile_options(-fPIE -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
# Not every compiler has these, nor every processor.
foreach(option -fstack-clash-protection -fcf-protection=full -mbranch-protection=standard)
  string(MAKE_C_IDENTIFIER "QUORVIN_HAS${option}" has)
  check_cxx_compiler_flag(${option} ${has})
  if(${has})
    add_compile_options(${option})
  endif()
endforeach()
add_link_options(-pie "LINKER:-z,relro,-z,now,-z,noexecstack")

# For programs that have no loops over pixels: indices are checked.
set(QUORVIN_CHECKED_INDICES _GLIBCXX_ASSERTIONS)
