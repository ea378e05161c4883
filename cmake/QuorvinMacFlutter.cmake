# What Flutter leaves behind of the user interface, as far as the host needs it.

set(QUORVIN_FLUTTER_BUILD "" CACHE PATH
  "Folder of the user interface's frameworks: <its project>/build/macos/framework/Release after \
`flutter build macos-framework`, or <its project>/build/macos/Build/Products/Release after \
`flutter build macos`")

# Embedded in the application.
set(QUORVIN_FLUTTER_FRAMEWORKS FlutterMacOS file_selector_macos shared_preferences_foundation)
# The compiled Dart code and its assets: embedded too, but found by the engine and not linked.
set(QUORVIN_FLUTTER_APP App)

# quorvin_find_flutter_framework(VARIABLE NAME): where the framework lies, in whichever layout; empty
# when it is missing.
function(quorvin_find_flutter_framework variable name)
  set(${variable} "" PARENT_SCOPE)
  foreach(folder IN ITEMS "${name}.xcframework/macos-arm64_x86_64" "${name}" ".")
    cmake_path(SET path NORMALIZE "${QUORVIN_FLUTTER_BUILD}/${folder}/${name}.framework")
    if(IS_DIRECTORY "${path}")
      set(${variable} "${path}" PARENT_SCOPE)
      break()
    endif()
  endforeach()
endfunction()

# quorvin_check_flutter_build(): an error that names all that is missing.
function(quorvin_check_flutter_build)
  set(missing "")
  foreach(name IN LISTS QUORVIN_FLUTTER_FRAMEWORKS QUORVIN_FLUTTER_APP)
    quorvin_find_flutter_framework(path ${name})
    if(NOT path)
      string(APPEND missing "\n  ${name}.framework")
    endif()
  endforeach()
  if(missing)
    message(FATAL_ERROR
      "QUORVIN_FLUTTER_BUILD is\n  ${QUORVIN_FLUTTER_BUILD}\nwhich lacks${missing}\n"
      "Build the user interface first, with its plug-ins as frameworks:\n"
      "  flutter build macos-framework --release\n"
      "and give the folder build/macos/framework/Release of its project.")
  endif()
endfunction()

# quorvin_link_flutter(TARGET): compiles and links a target with Flutter and the two plug-ins. The
# frameworks count as the system's, so that warnings in their headers are not ours.
function(quorvin_link_flutter target)
  foreach(name IN LISTS QUORVIN_FLUTTER_FRAMEWORKS)
    quorvin_find_flutter_framework(path ${name})
    cmake_path(GET path PARENT_PATH folder)
    target_compile_options(${target} PUBLIC "SHELL:-iframework \"${folder}\"")
    target_link_options(${target} PUBLIC "-F${folder}")
    target_link_libraries(${target} PUBLIC "-framework ${name}")
  endforeach()
endfunction()
