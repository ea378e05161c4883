// Writes the inputs that the fuzzers start from: one file per idea, made by the encoders
// themselves so that they can never be out of date. Usage: make_corpus <folder>

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <vector>

#include "platform/flutter/LinkFrame.h"
#include "platform/flutter/StandardCodec.h"
#include "webui/tests/TestJpeg.h"

namespace {

using namespace quorvin;  // NOLINT: a program of one file

void write(const std::filesystem::path& folder, const std::string& name, const Bytes& bytes) {
  std::filesystem::create_directories(folder);
  std::ofstream file(folder / name, std::ios::binary);
  file.exceptions(std::ios::failbit | std::ios::badbit);
  file.write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
  file.close();
}

Value everyType() {
  return List{nullptr,
              true,
              false,
              -1,
              std::int64_t{1} << 40,
              0.5,
              "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80",
              Data({1, 2, 3}),
              std::vector<std::int32_t>{1, 2},
              std::vector<std::int64_t>{3},
              std::vector<double>{4.0},
              std::vector<float>{5.0F},
              Map{{"key", List{1.0, Map{}}}, {2, nullptr}}};
}

void writeMessages(const std::filesystem::path& folder) {
  write(folder, "every-type", encodeMessage(everyType()));
  write(folder, "big-integer", {5, 2, 'F', 'F'});
  write(folder, "16-bit-size", encodeMessage(std::string(300, 'x')));
  write(folder, "32-bit-size", {7, 255, 1, 0, 0, 0, 'x'});
  Value nested;
  for (int i = 0; i < messageNestingMax; ++i) nested = List{nested};
  write(folder, "deepest", encodeMessage(nested));
}

void writeCallsAndEnvelopes(const std::filesystem::path& folder) {
  write(folder, "call", encodeMethodCall({"method", everyType()}));
  write(folder, "success", encodeSuccessEnvelope(everyType()));
  write(folder, "error", encodeErrorEnvelope({"code", "message", everyType()}));
  write(folder, "error-with-stack-trace", {1, 7, 1, 'c', 0, 0, 7, 1, 's'});
}

void writeStreams(const std::filesystem::path& folder) {
  const std::vector<LinkFrame> frames = {
      {LinkFrameType::message, 0, "flutter/lifecycle", Data(Bytes{1, 2})},
      {LinkFrameType::reply, 1, "", Data(Bytes{3, 4, 5})},
      {LinkFrameType::emptyReply, 2, "", {}},
      {LinkFrameType::message, 3, "", {}}};
  Bytes stream = {2, 1, 5};  // two lengths: pieces of one and of five bytes
  for (const auto& frame : frames) {
    const Bytes bytes = encodeLinkFrame(frame);
    stream.insert(stream.end(), bytes.begin(), bytes.end());
  }
  write(folder, "every-frame", stream);
}

void writePropertyLists(const std::filesystem::path& folder) {
  const std::string agent =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
      "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
      "<plist version=\"1.0\"><dict>"
      "<key>Label</key><string>a &amp; b</string>"
      "<key>ProgramArguments</key><array><string>/bin/a</string><string/></array>"
      "<key>KeepAlive</key><true/>"
      "<key>others</key><dict><key>a</key><integer>1</integer><key>b</key><real>0.5</real>"
      "<key>c</key><data>AAEC</data><key>d</key><date>2026-01-01T00:00:00Z</date></dict>"
      "</dict></plist>\n";
  write(folder, "agent", Bytes(agent.begin(), agent.end()));
  const std::string binary = "bplist00";
  write(folder, "binary", Bytes(binary.begin(), binary.end()));
}

void writeUnits(const std::filesystem::path& folder) {
  // The first byte chooses the parameter sets: none, or both of two bytes in a key frame.
  write(folder, "two-units", {0, 0, 0, 0, 2, 0x65, 1, 0, 0, 0, 1, 0x65});
  write(folder, "key-frame", {0x57, 0x67, 1, 0x68, 2, 0, 0, 0, 3, 0x65, 1, 2});
  write(folder, "stray-bytes", {0, 0, 0, 0, 1, 0x65, 0, 0, 1});
  write(folder, "empty-unit", {0, 0, 0, 0, 1, 0x65, 0, 0, 0, 0});
  write(folder, "past-the-end", {0, 0, 0, 0, 9, 0x65});
  write(folder, "parameter-sets-alone", {0x57, 0x67, 1, 0x68, 2});
  Bytes longUnit{0, 0, 0, 1, 44};
  longUnit.resize(longUnit.size() + 300, 0x65);
  write(folder, "long-unit", longUnit);
}

void writeSegments(const std::filesystem::path& folder) {
  write(folder, "grid", webui::TestJpeg().file());
  write(folder, "one-a-row", webui::TestJpeg{.intervalMcus = 4, .segments = {{}, {1}}}.file());
  write(folder, "no-grid", webui::TestJpeg{.intervalMcus = 3}.file());
}

void writeTrust(const std::filesystem::path& folder) {
  // What happens, a byte each with what it needs: sent, changed, dropped, repeated, reflected.
  write(folder / "sealed_channel", "in-order", {0, 3, 0, 0, 0, 200});
  write(folder / "sealed_channel", "changed", {0, 3, 1, 9, 4, 0, 1});
  write(folder / "sealed_channel", "dropped", {0, 3, 2, 0, 1});
  write(folder / "sealed_channel", "repeated", {0, 3, 3, 0, 1});
  write(folder / "sealed_channel", "reflected", {4, 5, 0, 1});
  write(folder / "sealed_channel", "raw", {5, 24, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3});
  const std::string hello =
      "{\"type\":\"hello\",\"name\":\"A\\u202eb\",\"opening\":"
      "\"AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8\"}";
  write(folder / "invitation", "hello", Bytes(hello.begin(), hello.end()));
  write(folder / "invitation", "allowed", {0, 0, 1, 3, 4, 3, 5, 9});
  write(folder / "invitation", "resumed", {0, 0, 1, 3, 4, 6, 0, 2, 1, 3, 5, 4});
  write(folder / "invitation", "wrong-codes", {0, 7, 2, 7, 2, 7, 2});
  write(folder / "invitation", "expired", {0, 0, 8, 255, 8, 255, 8, 255, 1, 3});
}

}  // namespace

int main(int argc, char** argv) {
  const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
  if (arguments.size() != 2) {
    std::fputs("usage: make_corpus <folder>\n", stderr);
    return 2;
  }
  try {
    const std::filesystem::path folder(arguments[1]);
    writeMessages(folder / "message_codec");
    writeCallsAndEnvelopes(folder / "method_codec");
    writeStreams(folder / "link_frame");
    writePropertyLists(folder / "property_list");
    writeUnits(folder / "h264_payload");
    writeSegments(folder / "segmented_jpeg");
    writeTrust(folder);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "make_corpus: %s\n", error.what());
    return 1;
  }
  return 0;
}
