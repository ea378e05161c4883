#pragma once

#import <Foundation/Foundation.h>

#include <cstddef>
#include <cstdint>

namespace standin {

// Flutter's standard message format as its macOS embedding reads and writes it: bytes and numbers
// in a row are typed data, and there is no limit. Every integer is written in eight bytes. Written
// from the format's description, apart from the product's codecs, which tests let speak with this
// one. What the embedding asserts against is a violation here.

class StandardWriter {
 public:
  void writeByte(std::uint8_t byte);
  void writeValue(id _Nullable value);
  [[nodiscard]] NSData* _Nonnull message() const { return data; }

 private:
  void append(const void* _Nullable bytes, std::size_t length);
  template <typename Number>
  void append(Number number);
  void align(std::size_t alignment);
  void writeSize(std::size_t size);
  void writeNumber(NSNumber* _Nonnull number);
  void writeText(NSString* _Nonnull text);
  void writeTypedData(id _Nonnull typed);
  void writeArray(NSArray* _Nonnull array);
  void writeDictionary(NSDictionary* _Nonnull dictionary);

  NSMutableData* _Nonnull data = [NSMutableData dataWithLength:0];
};

class StandardReader {
 public:
  explicit StandardReader(NSData* _Nonnull message) : data(message) {}

  [[nodiscard]] std::uint8_t readByte();
  // nil for null; inside a list or a map that is NSNull.
  [[nodiscard]] id _Nullable readValue();
  // Whether everything has been read, and nothing beyond it was asked for.
  [[nodiscard]] bool isAtEnd() const { return !isCorrupted && offset == data.length; }

 private:
  [[nodiscard]] const std::uint8_t* _Nullable take(std::size_t length);
  template <typename Number>
  [[nodiscard]] Number number();
  void align(std::size_t alignment);
  [[nodiscard]] std::size_t readSize();
  [[nodiscard]] id _Nonnull readElement();
  [[nodiscard]] NSString* _Nullable readText();
  [[nodiscard]] NSData* _Nonnull readNumbers(std::size_t elementSize);
  [[nodiscard]] NSArray* _Nonnull readArray();
  [[nodiscard]] NSDictionary* _Nonnull readDictionary();

  NSData* _Nonnull data;
  std::size_t offset = 0;
  bool isCorrupted = false;
};

}  // namespace standin
