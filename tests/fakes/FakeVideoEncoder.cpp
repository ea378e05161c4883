#include "tests/fakes/FakeVideoEncoder.h"

#include <algorithm>
#include <array>
#include <deque>
#include <utility>

namespace quorvin::fakes {

namespace {

constexpr EncoderStatus parameterError = -12902;
constexpr EncoderStatus invalidSession = -12903;

constexpr std::array propertyNames{
    "realTime",          "allowFrameReordering", "allowTemporalCompression", "profileLevel",
    "expectedFrameRate", "averageBitRate",       "maxKeyFrameInterval"};

void appendBigEndian(Bytes& bytes, std::uint32_t number) {
  for (const int shift : {24, 16, 8, 0})
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
}

std::uint32_t bigEndian(std::span<const std::uint8_t> bytes) {
  std::uint32_t number = 0;
  for (const auto byte : bytes.first(4)) number = number << 8U | byte;
  return number;
}

std::string describe(const CompressionPropertyValue& value) {
  if (std::holds_alternative<ProfileLevel>(value)) return "h264MainAutoLevel";
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
  if (const auto* number = std::get_if<std::int32_t>(&value)) {
    return "int32 " + std::to_string(*number);
  }
  return "int64 " + std::to_string(std::get<std::int64_t>(value));
}

std::string describe(MediaTime time) {
  return std::to_string(time.value) + "/" + std::to_string(time.timescale);
}

long double seconds(MediaTime time) {
  return static_cast<long double>(time.value) / static_cast<long double>(time.timescale);
}

}  // namespace

std::shared_ptr<FakeEncodedSample> FakeEncodedSample::of(const FakePixelBuffer& frame) {
  Bytes unit{0x65};
  appendBigEndian(unit, frame.content);
  appendBigEndian(unit, static_cast<std::uint32_t>(frame.widthPx()));
  appendBigEndian(unit, static_cast<std::uint32_t>(frame.heightPx()));
  auto sample = std::make_shared<FakeEncodedSample>();
  sample->data = withLengths({unit});
  sample->parameterSets = {Bytes{0x67, 0x4D}, Bytes{0x68, 0xEE}};
  return sample;
}

Bytes FakeEncodedSample::withLengths(const std::vector<Bytes>& units) {
  Bytes bytes;
  for (const auto& unit : units) {
    appendBigEndian(bytes, static_cast<std::uint32_t>(unit.size()));
    bytes.insert(bytes.end(), unit.begin(), unit.end());
  }
  return bytes;
}

std::optional<std::size_t> FakeEncodedSample::dataLength() const {
  if (!data) return std::nullopt;
  return data->size();
}

EncoderStatus FakeEncodedSample::copyDataBytes(std::span<std::uint8_t> destination) const {
  if (!data || destination.size() != data->size()) return parameterError;
  std::ranges::copy(*data, destination.begin());
  return copyStatus;  // one that fails may have written everything
}

std::optional<std::span<const std::uint8_t>> FakeEncodedSample::h264ParameterSet(
    std::size_t index) const {
  setsAsked.push_back(index);
  if (index >= parameterSets.size() || !parameterSets[index]) return std::nullopt;
  return *parameterSets[index];
}

FakeEncodedFrame FakeEncodedFrame::readFromEnd(std::span<const std::uint8_t> bytes) {
  return {.content = bigEndian(bytes.last(12)),
          .width = bigEndian(bytes.last(8)),
          .height = bigEndian(bytes.last(4))};
}

struct FakeVideoEncoder::SessionState {
  struct Waiting {
    std::shared_ptr<FakePixelBuffer> frame;
    MediaTime time;
    Output output;
    bool usual;  // not made by a script
  };

  std::size_t number = 0;
  std::size_t width = 0;
  std::size_t height = 0;
  CompressionOutput* receiver = nullptr;  // null once invalidated
  std::deque<Waiting> waiting;
  std::optional<MediaTime> lastTime;

  bool deliverOne(FakeVideoEncoder& owner) {
    if (waiting.empty()) return false;
    const auto oldest = std::move(waiting.front());
    waiting.pop_front();
    if (oldest.usual) {
      owner.newestContent = std::max(owner.newestContent, oldest.frame->content);
    }
    receiver->compressionDidOutput(oldest.output.status, oldest.output.sample.get());
    return true;
  }
};

class FakeVideoEncoder::Session final : public CompressionSession {
 public:
  Session(FakeVideoEncoder& owner, std::shared_ptr<SessionState> state)
      : owner(owner), state(std::move(state)) {}
  ~Session() override {
    if (atWork()) ++owner.letGoAtWork;
    end();
    note("gone");
    std::erase(owner.sessions, state);
  }

  EncoderStatus setProperty(CompressionProperty property, CompressionPropertyValue value) override {
    const std::string name = propertyNames.at(static_cast<std::size_t>(property));
    if (!used(name + " = " + describe(value))) return invalidSession;
    return owner.refusedProperties.contains(property) ? refusal : 0;
  }
  EncoderStatus prepareToEncodeFrames() override {
    return used("prepare") ? owner.prepareStatus : invalidSession;
  }
  EncoderStatus encodeFrame(const std::shared_ptr<PixelBuffer>& frame, MediaTime time,
                            std::optional<MediaTime> duration) override;
  EncoderStatus completeFrames(std::optional<MediaTime> until) override;
  void invalidate() override {
    if (used("invalidate")) end();
  }

 private:
  [[nodiscard]] bool atWork() const { return state->receiver != nullptr; }
  void note(const std::string& call) {
    owner.calls.push_back(std::to_string(state->number) + ": " + call);
  }
  // Notes the call; false when there is nothing left to call.
  bool used(const std::string& call) {
    note(call);
    if (!atWork()) owner.violations.push_back("invalidated session used: " + call);
    return atWork();
  }
  void checkFrame(const FakePixelBuffer& frame, MediaTime time);
  void bringOut();
  void end() {
    state->waiting.clear();
    state->receiver = nullptr;
  }

  FakeVideoEncoder& owner;
  const std::shared_ptr<SessionState> state;
};

EncoderStatus FakeVideoEncoder::Session::encodeFrame(const std::shared_ptr<PixelBuffer>& frame,
                                                     MediaTime time,
                                                     std::optional<MediaTime> duration) {
  const auto known = std::dynamic_pointer_cast<FakePixelBuffer>(frame);
  if (known == nullptr) return parameterError;
  const auto call = "encode " + std::to_string(known->content) + " at " + describe(time);
  if (!used(duration ? call + " for " + describe(*duration) : call)) return invalidSession;
  checkFrame(*known, time);
  if (owner.whileEncoding) owner.whileEncoding();
  if (owner.encodeStatus != 0) return owner.encodeStatus;
  const bool usual = !owner.script;
  state->waiting.push_back({known, time,
                            usual ? Output{0, FakeEncodedSample::of(*known)} : owner.script(*known),
                            usual});
  bringOut();
  return 0;
}

void FakeVideoEncoder::Session::checkFrame(const FakePixelBuffer& frame, MediaTime time) {
  if (state->lastTime && seconds(time) <= seconds(*state->lastTime)) {
    owner.violations.push_back("time stamp " + describe(time) + " after " +
                               describe(*state->lastTime));
  }
  state->lastTime = time;
  if (frame.widthPx() != state->width || frame.heightPx() != state->height) {
    owner.violations.emplace_back("frame of another size than the session's");
  }
}

void FakeVideoEncoder::Session::bringOut() {
  if (owner.delivery == Delivery::atOnce) state->deliverOne(owner);
  if (owner.delivery == Delivery::later) {
    // Whichever of these tasks runs first, the oldest frame comes out first.
    owner.dispatch.systemThreads().async(
        [state = state, &owner = owner] { state->deliverOne(owner); });
  }
}

EncoderStatus FakeVideoEncoder::Session::completeFrames(std::optional<MediaTime> until) {
  if (!used(until ? "complete until " + describe(*until) : "complete")) return invalidSession;
  if (owner.whileCompleting) owner.whileCompleting();
  while (!state->waiting.empty() &&
         (!until || seconds(state->waiting.front().time) <= seconds(*until))) {
    state->deliverOne(owner);
  }
  return 0;
}

CompressionSessionResult FakeVideoEncoder::createSession(std::int32_t width, std::int32_t height,
                                                         VideoCodec codec,
                                                         const EncoderSpecification& specification,
                                                         CompressionOutput* output) {
  creations.push_back({width, height, codec, specification});
  if (output == nullptr) violations.emplace_back("session without an output");
  if (width <= 0 || height <= 0) return {parameterError, nullptr};
  if (!makesSessions) return {status, nullptr};
  auto state = std::make_shared<SessionState>();
  state->number = ++sessionsMade;
  state->width = static_cast<std::size_t>(width);
  state->height = static_cast<std::size_t>(height);
  state->receiver = output;
  sessions.push_back(state);
  return {status, std::make_unique<Session>(*this, state)};
}

bool FakeVideoEncoder::deliverNext() {
  const auto found =
      std::ranges::find_if(sessions, [](const auto& state) { return !state->waiting.empty(); });
  if (found == sessions.end()) return false;
  const auto held = *found;
  return held->deliverOne(*this);
}

std::size_t FakeVideoEncoder::waiting() const {
  std::size_t count = 0;
  for (const auto& state : sessions) count += state->waiting.size();
  return count;
}

std::size_t FakeVideoEncoder::sessionsAtWork() const {
  return static_cast<std::size_t>(std::ranges::count_if(
      sessions, [](const auto& state) { return state->receiver != nullptr; }));
}

}  // namespace quorvin::fakes
