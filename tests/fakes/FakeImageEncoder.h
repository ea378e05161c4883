#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/ImageEncoder.h"
#include "tests/fakes/FakeScreenCapture.h"

namespace quorvin::fakes {

// Writes files that say which frame they show: FF D8, the content number, FF D9.
class FakeImageEncoder final : public ImageEncoder {
 public:
  bool fails = false;
  std::function<void()> whileEncoding;  // what another thread does meanwhile
  std::size_t paddingBytes = 0;         // makes files larger
  std::function<void()> whenLetGo;      // of each file, when its last holder lets go of it
  std::vector<double> factors;          // of every request
  std::uint32_t newestContent = 0;      // of the frames encoded, the highest
  std::vector<bool> contexts;           // cacheIntermediates of every context made

  static Data file(std::uint32_t content, std::size_t paddingBytes = 0) {
    Bytes bytes = {0xFF, 0xD8};
    for (const int shift : {24, 16, 8, 0}) {
      bytes.push_back(static_cast<std::uint8_t>(content >> shift));
    }
    bytes.resize(bytes.size() + paddingBytes);
    bytes.insert(bytes.end(), {0xFF, 0xD9});
    return Data(std::move(bytes));
  }

  static std::uint32_t contentOf(const Data& file) {
    std::uint32_t content = 0;
    for (std::size_t index = 2; index < 6; ++index) {
      content = (content << 8U) | file.bytes()[index];
    }
    return content;
  }

  std::unique_ptr<ImageContext> makeContext(bool cacheIntermediates) override {
    contexts.push_back(cacheIntermediates);
    return std::make_unique<Context>(*this);
  }

 private:
  class Context final : public ImageContext {
   public:
    explicit Context(FakeImageEncoder& owner) : owner(owner) {}
    std::optional<Data> jpegRepresentation(const PixelBuffer& frame,
                                           double compressionFactor) override {
      owner.factors.push_back(compressionFactor);
      if (owner.whileEncoding) owner.whileEncoding();
      if (owner.fails) return std::nullopt;
      const auto content = static_cast<const FakePixelBuffer&>(frame).content;
      owner.newestContent = std::max(owner.newestContent, content);
      auto written = file(content, owner.paddingBytes);
      if (!owner.whenLetGo) return written;
      const auto bytes = written.bytes();
      return Data(
          std::shared_ptr<void>(nullptr, [written, action = owner.whenLetGo](void*) { action(); }),
          bytes);
    }

   private:
    FakeImageEncoder& owner;
  };
};

}  // namespace quorvin::fakes
