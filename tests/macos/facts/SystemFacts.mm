#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#import "platform/macos/Files.h"
#import "platform/macos/Permissions.h"
#import "platform/macos/Process.h"
#import "tests/macos/facts/Fact.h"

// In the places of the main nib's two classes.
@interface FactDelegate : NSObject
@end
@interface FactWindow : NSWindow
@end

static std::string wakingOrder;

@implementation FactDelegate
- (void)awakeFromNib {
  wakingOrder += "delegate ";
}
@end
@implementation FactWindow
- (void)awakeFromNib {
  wakingOrder += "window ";
}
@end

namespace quorvin::facts {
namespace {

Outcome permissions() {
  const char* terminal = std::getenv("TERM_PROGRAM");
  MacPermissions system;
  return {std::string("Screen Recording ") + word(system.preflightScreenCaptureAccess()) +
          ", Accessibility " + word(system.isProcessTrusted()) + ", started by " +
          (terminal == nullptr ? "no terminal" : terminal)};
}

// The nib is the application's, compiled with the two classes above.
Outcome orderOfWaking() {
  const char* nib = std::getenv("QUORVIN_FACTS_NIB");
  const auto bytes = nib == nullptr ? std::nullopt : MacFiles().contents(nib);
  if (!bytes) return {"not tried: needs ibtool, which comes with Xcode"};
  wakingOrder.clear();
  NSArray* objects = nil;
  NSNib* loaded = [[NSNib alloc] initWithNibData:[NSData dataWithBytes:bytes->data()
                                                                length:bytes->size()]
                                          bundle:nil];
  [loaded instantiateWithOwner:[NSApplication sharedApplication] topLevelObjects:&objects];
  return {wakingOrder, agreesIf(wakingOrder.size() == 16)};
}

// Nothing is posted: that would type into the user's programs.
Outcome flagsOfAnArrowKey() {
  CGEventRef event = CGEventCreateKeyboardEvent(nullptr, /*left arrow*/ 0x7B, true);
  const auto made = CGEventGetFlags(event);
  std::ostringstream seen;
  seen << std::hex << "made with 0x" << made;
  CGEventSetFlags(event, {});
  seen << ", none set reads 0x" << CGEventGetFlags(event);
  CGEventSetFlags(event, kCGEventFlagMaskControl);
  seen << ", Control set reads 0x" << CGEventGetFlags(event);
  CFRelease(event);
  return {seen.str(), agreesIf(made == 0)};
}

constexpr std::string_view agent =
    "<plist version=\"1.0\"><dict><key>Label</key><string>com.quorvin.support.facts</string>"
    "<key>RunAtLoad</key><true/><key>ProgramArguments</key><array><string>/bin/sleep</string>"
    "<string>60</string></array></dict></plist>\n";

Outcome bootstrapAfterBootout() {
  const auto file = std::filesystem::temp_directory_path() / "com.quorvin.support.facts.plist";
  std::ofstream(file) << agent;
  const auto launchctl = [&](const char* verb) {
    return MacProcess().runTask("/bin/launchctl", {verb, "gui/" + std::to_string(getuid()), file});
  };
  if (const int status = launchctl("bootstrap"); status != 0) {
    return {"not tried: the first one answers " + std::to_string(status)};
  }
  pause(2s);  // until the agent runs
  launchctl("bootout");
  const auto begin = nowMs();
  const int first = launchctl("bootstrap");
  int last = first;
  while (last != 0 && nowMs() < begin + 15'000) {
    pause(1s);
    last = launchctl("bootstrap");
  }
  launchctl("bootout");
  std::filesystem::remove(file);
  return {std::to_string(first) + ", " + std::to_string(last) + " within " +
              std::to_string((nowMs() - begin) / 1000) + " s",
          agreesIf(first == 0)};
}

Outcome namesAndLinks() {
  const auto folder =
      std::filesystem::temp_directory_path() / ("quorvin-facts-" + std::to_string(getpid()));
  const auto composed = folder / "\xC3\xBC";  // one character, and the same as two
  const auto decomposed = folder / "u\xCC\x88";
  MacFiles files;
  files.createDirectory(folder);
  files.writeAtomically({}, composed);
  const bool isFound = files.fileExists(decomposed);
  const bool isAlike = files.standardized(composed) == files.standardized(decomposed);
  files.createSymbolicLink(folder / "link", "target");
  const bool isKept = files.destinationOfSymbolicLink(folder / "link") == "target";
  files.removeItem(folder);
  return {std::string("one file ") + word(isFound) + ", one path " + word(isAlike) +
              ", link made absolute " + word(!isKept),
          agreesIf(isFound && isAlike && !isKept)};
}

// What holds sleep off is listed by process.
constexpr auto askForAssertions =
    "case $(pmset -g assertions | grep \"pid $PPID(\") in *IdleDisplaySleep*) exit 2 ;; "
    "*IdleSystemSleep*) exit 1 ;; esac";

Outcome sleepUnderAnActivity() {
  MacProcess process;
  const auto activity =
      process.beginActivity(activityUserInitiated | activityLatencyCritical, "facts");
  const int status = process.runTask("/bin/sh", {"-c", askForAssertions});
  process.endActivity(activity);
  return {std::string("the system's ") + word(status == 1 || status == 2) + ", the display's " +
              word(status == 2),
          agreesIf(status == 1)};
}

Outcome needsFlutter() { return {"not tried: needs the application with Flutter"}; }

}  // namespace

std::vector<Fact> systemFacts() {
  return {
      {"permissions", 10, "Which permissions are there?",
       "those of the program that started this one", permissions},
      {"nib", 20, "Who of the main nib wakes first?", "either", orderOfWaking},
      {"key-flags", 10, "Which flags has the event of an arrow key?", "none of its own",
       flagsOfAnArrowKey},
      {"bootstrap", 60, "What does a bootstrap answer right after a bootout?", "0",
       bootstrapAfterBootout},
      {"names", 10, "What becomes of composed names and of relative links?",
       "composed and decomposed are one, links are made absolute", namesAndLinks},
      {"display-sleep", 20, "Whose sleep does the activity of a session hold off?",
       "the system's, not the display's", sleepUnderAnActivity},
      {"flutter", 10, "Does Flutter answer a termination later, and send states of its own?",
       "both", needsFlutter},
  };
}

}  // namespace quorvin::facts
