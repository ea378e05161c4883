#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

namespace quorvin {

using Bytes = std::vector<std::uint8_t>;

// An immutable, reference-counted run of bytes. Copying a Data copies a pointer, so a frame
// travels from the encoder to the channel without its bytes being touched, and a back end can
// hand out storage of its own (a pooled encoder buffer, an NSData) by giving its owner.
class Data {
 public:
  Data() = default;
  explicit Data(Bytes bytes) {
    auto storage = std::make_shared<const Bytes>(std::move(bytes));
    view = std::span<const std::uint8_t>(*storage);
    owner = std::move(storage);
  }
  // `bytes` must stay valid and unchanged for as long as `owner` is held.
  Data(std::shared_ptr<const void> owner, std::span<const std::uint8_t> bytes)
      : owner(std::move(owner)), view(bytes) {}

  [[nodiscard]] std::span<const std::uint8_t> bytes() const { return view; }
  [[nodiscard]] const std::uint8_t* data() const { return view.data(); }
  [[nodiscard]] std::size_t size() const { return view.size(); }
  [[nodiscard]] bool empty() const { return view.empty(); }

  // Some of the bytes, in the same storage.
  [[nodiscard]] Data slice(std::size_t begin, std::size_t count) const {
    return {owner, view.subspan(begin, count)};
  }

  friend bool operator==(const Data& a, const Data& b) {
    return std::ranges::equal(a.view, b.view);
  }

 private:
  std::shared_ptr<const void> owner;
  std::span<const std::uint8_t> view;
};

}  // namespace quorvin
