#include "tests/contract/FlutterContract.h"
#include "tests/contract/InputEventsContract.h"
#include "tests/contract/PermissionsContract.h"
#include "tests/contract/ScreenCaptureContract.h"

namespace quorvin::contract {

// What a test program on a Mac cannot bring about.

// Only the user decides on permissions and names the computer.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PermissionsContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SeparatePermissionsContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NamelessComputerContract);
// A stream changes, and ends, by what happens on the screen and in the system's own menus.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(ScreenStreamContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(HiddenContentContract);
// What is posted goes to whatever the user has open, and displays are plugged in by hand.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(InputEventsContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(PixelScrollContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(NegativeDisplayContract);
// The user interface of an engine is a compiled Dart program.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FlutterMethodContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FlutterEventContract);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(FlutterTextContract);

}  // namespace quorvin::contract
