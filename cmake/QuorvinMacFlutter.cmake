# What `flutter build macos` leaves behind, as far as the host needs it.

set(QUORVIN_FLUTTER_BUILD "" CACHE PATH
  "Products folder of the user interface's `flutter build macos`, \
for example <its project>/build/macos/Build/Products/Release")

# Embedded in the application. The plug-ins are frameworks only when CocoaPods builds them.
set(QUORVIN_FLUTTER_FRAMEWORKS
  FlutterMacOS.framework
  file_selector_macos/file_selector_macos.framework
  shared_preferences_foundation/shared_preferences_foundation.framework)
# The compiled Dart code and its assets: embedded too, but found by the engine and not linked.
set(QUORVIN_FLUTTER_APP App.framework)

# quorvin_check_flutter_build(): an error that names all that is missing.
function(quorvin_check_flutter_build)
  set(missing "")
  foreach(framework IN LISTS QUORVIN_FLUTTER_FRAMEWORKS QUORVIN_FLUTTER_APP)
    if(NOT IS_DIRECTORY "${QUORVIN_FLUTTER_BUILD}/${framework}")
      string(APPEND missing "\n  ${framework}")
    endif()
  endforeach()
  if(missing)
    message(FATAL_ERROR
      "QUORVIN_FLUTTER_BUILD is\n  ${QUORVIN_FLUTTER_BUILD}\nwhich lacks${missing}\n"
      "Build the user interface first, with its plug-ins as frameworks:\n"
      "  flutter config --no-enable-swift-package-manager\n"
      "  flutter build macos --release\n"
      "and give the folder build/macos/Build/Products/Release of its project.")
  endif()
endfunction()

# quorvin_link_flutter(TARGET): compiles and links a target with Flutter and the two plug-ins. The
# frameworks count as the system's, so that warnings in their headers are not ours.
function(quorvin_link_flutter target)
  foreach(framework IN LISTS QUORVIN_FLUTTER_FRAMEWORKS)
    cmake_path(GET framework PARENT_PATH folder)
    cmake_path(GET framework STEM name)
    set(path "${QUORVIN_FLUTTER_BUILD}")
    if(folder)
      string(APPEND path "/${folder}")
    endif()
    target_compile_options(${target} PUBLIC "SHELL:-iframework \"${path}\"")
    target_link_options(${target} PUBLIC "-F${path}")
    target_link_libraries(${target} PUBLIC "-framework ${name}")
  endforeach()
endfunction()
