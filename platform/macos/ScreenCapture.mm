#import "platform/macos/ScreenCapture.h"

#import <AppKit/AppKit.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <utility>

#include "platform/Fatal.h"
#import "platform/macos/Bridging.h"
#include "platform/macos/ScreenStream.h"

namespace quorvin {
namespace {

class MacShareableDisplay final : public ShareableDisplay {
 public:
  explicit MacShareableDisplay(SCDisplay* display) : handle(display) {}

  [[nodiscard]] DisplayID displayID() const override { return handle.displayID; }
  [[nodiscard]] std::int64_t widthPt() const override { return handle.width; }
  [[nodiscard]] std::int64_t heightPt() const override { return handle.height; }
  [[nodiscard]] SCDisplay* display() const { return handle; }

 private:
  SCDisplay* handle;
};

std::shared_ptr<const ShareableContent> toShareableContent(SCShareableContent* content) {
  if (content == nil) return nullptr;
  auto result = std::make_shared<ShareableContent>();
  for (SCDisplay* display in content.displays) {
    result->displays.push_back(std::make_shared<MacShareableDisplay>(display));
  }
  return result;
}

}  // namespace

std::optional<DisplayID> MacScreenCapture::mainScreenNumber() {
  id number = NSScreen.mainScreen.deviceDescription[@"NSScreenNumber"];
  if (![number isKindOfClass:[NSNumber class]]) return {};
  return static_cast<NSNumber*>(number).unsignedIntValue;
}

void MacScreenCapture::getShareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly,
                                           ShareableContentHandler handler) {
  [SCShareableContent
      getShareableContentExcludingDesktopWindows:excludingDesktopWindows
                             onScreenWindowsOnly:onScreenWindowsOnly
                               completionHandler:^(SCShareableContent* content, NSError* error) {
                                 handler(toShareableContent(content), toOptionalError(error));
                               }];
}

std::string MacScreenCapture::streamErrorDomain() { return toString(SCStreamErrorDomain); }

std::shared_ptr<ScreenStream> MacScreenCapture::makeStream(const ContentFilter& filter,
                                                           const StreamConfiguration& configuration,
                                                           std::weak_ptr<StreamDelegate> delegate) {
  const auto* display = dynamic_cast<const MacShareableDisplay*>(filter.display.get());
  if (display == nullptr) fatalError("A stream was asked for of a display of another maker.");
  SCContentFilter* contentFilter = [[SCContentFilter alloc] initWithDisplay:display->display()
                                                           excludingWindows:@[]];
  return std::make_shared<MacScreenStream>(contentFilter, configuration, std::move(delegate));
}

}  // namespace quorvin
