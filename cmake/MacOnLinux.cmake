# The build for a Mac on Linux, with what tools/mac_sdk.py makes. Nothing of it runs.
set(sdk "${CMAKE_CURRENT_LIST_DIR}/../build/mac-sdk")
set(tools /usr/lib/llvm-19/bin)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_OSX_SYSROOT "${sdk}")
set(CMAKE_OSX_DEPLOYMENT_TARGET 13.0)
foreach(language C CXX OBJCXX)
  set(CMAKE_${language}_COMPILER_TARGET arm64-apple-macos13)
  set(CMAKE_${language}_FLAGS_INIT "@${sdk}/flags")
endforeach()
set(CMAKE_C_COMPILER clang-16)
set(CMAKE_CXX_COMPILER clang++-16)
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -Wl,--error-limit=0")
# ar knows nothing of objects for several processors.
foreach(language C CXX)
  set(CMAKE_${language}_CREATE_STATIC_LIBRARY
    "${tools}/llvm-libtool-darwin -static -o <TARGET> <OBJECTS>")
endforeach()
set(CMAKE_INSTALL_NAME_TOOL "${tools}/llvm-install-name-tool" CACHE FILEPATH "")
# Tests cannot be asked for their names.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
