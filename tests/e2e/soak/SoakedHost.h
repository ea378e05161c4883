#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/link/HostHarness.h"
#include "tests/e2e/soak/Payload.h"

namespace quorvin {

// What is asked of the frame; the rest follows from it.
struct SoakSettings {
  bool isH264 = false;
  PixelSize most{1920, 1200};
  int fps = 30;
  int megabits = 7;
  int quality = 72;
  int queueDepth = 3;
  bool showsCursor = true;
};

struct SoakedFrame {
  std::vector<std::uint8_t> payload;
  DecodedPayload decoded;
};

// What a process keeps of the system.
struct Vitals {
  std::size_t residentBytes = 0;
  std::size_t threads = 0;
  std::size_t descriptors = 0;
};

// The real host, whose every answer and payload is held against what was asked of it. Everything
// throws std::runtime_error when it is not as it should be.
class SoakedHost {
 public:
  explicit SoakedHost(HostHarness& harness);

  // A session of a display of this size.
  void start(PixelSize display);
  // From now on the display may have this size, and frames as much of it as fits.
  void expectDisplay(PixelSize display);
  // Nothing comes any more afterwards.
  void stop();
  // Sends all of them before it waits for an answer; the last one counts.
  void configure(const std::vector<SoakSettings>& settings);
  // Something else that has to succeed.
  void call(const std::string& method, const Value& arguments = {});
  // The next frame, if one comes within the time.
  std::optional<SoakedFrame> nextFrame(std::chrono::milliseconds within);
  // Closes the link and waits until the host has ended as it should.
  void end();

  // What the frames will be once everything has come through.
  [[nodiscard]] PayloadKind latest() const;
  [[nodiscard]] const SoakSettings& settings() const { return latestSettings; }
  [[nodiscard]] Vitals vitals() const;
  // What it has to say for itself.
  [[nodiscard]] std::string errorOutput() const { return host.process->errorOutput(); }

  struct Counts {
    std::size_t jpeg = 0;
    std::size_t h264 = 0;
    std::size_t settings = 0;
    std::size_t sessions = 0;
  };
  [[nodiscard]] const Counts& counts() const { return counted; }

 private:
  void expectAlso(const SoakSettings& settings);
  void check(const PayloadKind& kind);
  [[nodiscard]] PixelSize shown(PixelSize size, PixelSize display) const;
  [[nodiscard]] bool canCome(const PayloadKind& kind) const;

  ConnectedHost host;
  PixelSize displayAtStart;
  SoakSettings latestSettings;
  // What may have been asked for, and what size the display may have, at the moment; the latest
  // last.
  std::vector<PayloadKind> asked{{}};
  std::vector<PixelSize> displays;
  // Whether the first frame of the latest kind means that everything earlier is through.
  bool latestIsNew = false;
  Counts counted;
};

}  // namespace quorvin
