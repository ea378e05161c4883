# "Quorvin Support.app" on a Mac. Nothing is signed here: what is put together has to be signed
# from the inside out, with a certificate that a build does not have.
include(QuorvinMacFlutter)

set(QUORVIN_PRODUCT_NAME "Quorvin Support")
set(QUORVIN_BUNDLE_IDENTIFIER "com.quorvin.support" CACHE STRING "Identifier of the application")
set(QUORVIN_MAC_PACKAGING "${PROJECT_SOURCE_DIR}/packaging/macos")

# quorvin_find_mac_tool(VARIABLE NAME): a tool of Xcode's, which need not be on the path.
function(quorvin_find_mac_tool variable name)
  execute_process(COMMAND xcrun --find ${name} OUTPUT_VARIABLE found
    OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  find_program(${variable} ${name} HINTS "${found}")
  if(NOT ${variable} AND EXISTS "${found}")
    set(${variable} "${found}" CACHE FILEPATH "${name} of Xcode" FORCE)
  endif()
  if(NOT ${variable})
    message(FATAL_ERROR
      "The application cannot be put together without ${name}, which comes with Xcode (the command "
      "line tools alone are not enough). Install Xcode and choose it:\n"
      "  sudo xcode-select --switch /Applications/Xcode.app")
  endif()
endfunction()

# quorvin_add_resource(TARGET FILE DEPENDS COMMAND...): a file made while building, in Resources.
function(quorvin_add_resource target file depends)
  add_custom_command(OUTPUT "${file}" COMMAND ${ARGN} DEPENDS "${depends}" VERBATIM)
  set_source_files_properties("${file}" PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
  target_sources(${target} PRIVATE "${file}")
endfunction()

# quorvin_embed_framework(TARGET FRAMEWORK): ditto keeps the links inside of frameworks.
function(quorvin_embed_framework target framework)
  cmake_path(GET framework FILENAME name)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ditto "${framework}" "$<TARGET_BUNDLE_CONTENT_DIR:${target}>/Frameworks/${name}"
    VERBATIM)
endfunction()

# quorvin_add_mac_application(TARGET SOURCE...): the bundle with nib, icon and frameworks.
function(quorvin_add_mac_application target)
  quorvin_check_flutter_build()
  if(NOT CMAKE_OSX_DEPLOYMENT_TARGET)
    message(FATAL_ERROR "CMAKE_OSX_DEPLOYMENT_TARGET is not set. The presets macos and macos-dev "
      "set it.")
  endif()
  quorvin_find_mac_tool(QUORVIN_IBTOOL ibtool)
  quorvin_find_mac_tool(QUORVIN_ICONUTIL iconutil)

  add_executable(${target} MACOSX_BUNDLE ${ARGN})
  configure_file("${QUORVIN_MAC_PACKAGING}/Info.plist.in"
    "${CMAKE_CURRENT_BINARY_DIR}/Info.plist" @ONLY)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME "${QUORVIN_PRODUCT_NAME}"
    RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}"
    MACOSX_BUNDLE_INFO_PLIST "${CMAKE_CURRENT_BINARY_DIR}/Info.plist"
    BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "@executable_path/../Frameworks")

  quorvin_add_resource(${target} "${CMAKE_CURRENT_BINARY_DIR}/MainMenu.nib"
    "${QUORVIN_MAC_PACKAGING}/MainMenu.xib"
    "${QUORVIN_IBTOOL}" --errors --warnings --target-device mac
    --minimum-deployment-target "${CMAKE_OSX_DEPLOYMENT_TARGET}"
    --compile "${CMAKE_CURRENT_BINARY_DIR}/MainMenu.nib" "${QUORVIN_MAC_PACKAGING}/MainMenu.xib")
  file(GLOB pictures CONFIGURE_DEPENDS "${QUORVIN_MAC_PACKAGING}/AppIcon.iconset/*.png")
  quorvin_add_resource(${target} "${CMAKE_CURRENT_BINARY_DIR}/AppIcon.icns" "${pictures}"
    "${QUORVIN_ICONUTIL}" --convert icns --output "${CMAKE_CURRENT_BINARY_DIR}/AppIcon.icns"
    "${QUORVIN_MAC_PACKAGING}/AppIcon.iconset")

  foreach(name IN LISTS QUORVIN_FLUTTER_FRAMEWORKS QUORVIN_FLUTTER_APP)
    quorvin_find_flutter_framework(framework ${name})
    quorvin_embed_framework(${target} "${framework}")
  endforeach()
endfunction()
