#include "tests/e2e/soak/SoakedHost.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <stdexcept>

#include "platform/linux/capture/CaptureSession.h"

namespace quorvin {

namespace {

using namespace std::chrono_literals;

const FlutterReply done = Value();

void require(bool condition, const std::string& complaint) {
  if (!condition) throw std::runtime_error(complaint);
}

Map argumentsOf(const SoakSettings& settings) {
  return {{"profile", "sharp"},
          {"show_cursor", settings.showsCursor},
          {"codec", settings.isH264 ? "h264" : "jpeg"},
          {"max_width", settings.most.width},
          {"max_height", settings.most.height},
          {"fps", settings.fps},
          {"bitrate_mbps", settings.megabits},
          {"jpeg_quality", settings.quality},
          {"queue_depth", settings.queueDepth}};
}

// The proportions of the display, within both limits, and never larger than it.
PayloadKind kindOf(const SoakSettings& settings, PixelSize display) {
  const double scale = std::min({1.0, static_cast<double>(settings.most.width) / display.width,
                                 static_cast<double>(settings.most.height) / display.height});
  return {settings.isH264,
          {static_cast<int>(scale * display.width), static_cast<int>(scale * display.height)}};
}

std::size_t entriesOf(const std::filesystem::path& folder) {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

}  // namespace

SoakedHost::SoakedHost(HostHarness& harness) : host(harness) {
  require(host.client->listen() == done, "the host lets nobody listen");
}

void SoakedHost::start(PixelSize display) {
  displayAtStart = display;
  displays = {display};
  // A new session knows nothing of the settings of the one before.
  latestSettings = {};
  asked = {kindOf(latestSettings, display)};
  latestIsNew = true;
  require(host.startCapture(), "the host does not start a session");
  ++counted.sessions;
}

void SoakedHost::stop() {
  require(host.client->call("stopCapture") == done, "the host does not stop a session");
  require(host.client->eventsAfterReply() == 0, "frames come after the end of a session");
  host.client->discardEvents();
}

void SoakedHost::expectDisplay(PixelSize display) {
  latestIsNew = !canCome({asked.back().isH264, shown(asked.back().size, display)});
  displays.push_back(display);
}

void SoakedHost::configure(const std::vector<SoakSettings>& settings) {
  std::vector<std::uint32_t> calls;
  for (const auto& each : settings) {
    expectAlso(each);
    calls.push_back(
        host.client->send(LinkClient::methodChannel, "configureStream", argumentsOf(each)));
  }
  for (const auto id : calls) {
    require(host.client->waitForReply(id) == done, "the host does not take good settings");
  }
  counted.settings += settings.size();
}

void SoakedHost::expectAlso(const SoakSettings& settings) {
  const auto kind = kindOf(settings, displayAtStart);
  latestIsNew = !canCome({kind.isH264, shown(kind.size, displays.back())});
  asked.push_back(kind);
  latestSettings = settings;
}

PayloadKind SoakedHost::latest() const {
  return {asked.back().isH264, shown(asked.back().size, displays.back())};
}

// A size is asked for with the display in mind that the session began with.
PixelSize SoakedHost::shown(PixelSize size, PixelSize display) const {
  return display == displayAtStart ? size : fittedInto(size, display);
}

// Codec, size and display do not change at the same moment, so that every mixture can occur.
bool SoakedHost::canCome(const PayloadKind& kind) const {
  const auto isShown = [&](const PayloadKind& each) {
    return std::ranges::any_of(
        displays, [&](PixelSize display) { return shown(each.size, display) == kind.size; });
  };
  return std::ranges::find(asked, kind.isH264, &PayloadKind::isH264) != asked.end() &&
         std::ranges::any_of(asked, isShown);
}

void SoakedHost::call(const std::string& method, const Value& arguments) {
  const auto reply = host.client->call(method, arguments);
  const auto* error = std::get_if<FlutterError>(&reply);
  require(std::holds_alternative<Value>(reply),
          "the host fails in " + method + (error == nullptr ? "" : ": " + error->code));
}

std::optional<SoakedFrame> SoakedHost::nextFrame(std::chrono::milliseconds within) {
  const auto event = host.client->nextEvent(within);
  if (!event) return std::nullopt;
  if (const auto* error = std::get_if<FlutterError>(&*event)) {
    throw std::runtime_error("the session ended: " + error->message.value_or(error->code));
  }
  const auto* data = std::get<Value>(*event).as<Data>();
  require(data != nullptr, "an event is no frame");
  const auto bytes = data->bytes();
  SoakedFrame frame{{bytes.begin(), bytes.end()}, decodePayload(bytes)};
  check(frame.decoded.kind);
  return frame;
}

void SoakedHost::check(const PayloadKind& kind) {
  ++(kind.isH264 ? counted.h264 : counted.jpeg);
  require(canCome(kind), "nobody asked for " + textOf(kind) + " but for " + textOf(latest()));
  if (!latestIsNew || kind != latest()) return;
  asked = {asked.back()};
  displays = {displays.back()};
}

void SoakedHost::end() {
  host.client->close();
  const auto status = host.process->statusWithin(60s);
  require(status == 0, "the host ends with status " + (status ? std::to_string(*status) : "none"));
  require(errorOutput().empty(), "the host complains");
}

Vitals SoakedHost::vitals() const {
  const auto folder = std::filesystem::path("/proc") / std::to_string(host.process->processId());
  return {host.process->residentBytes(), entriesOf(folder / "task"), entriesOf(folder / "fd")};
}

}  // namespace quorvin
