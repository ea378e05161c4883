#include <gtest/gtest.h>

#include <string>

#include "platform/flutter/Utf8.h"

namespace quorvin {
namespace {

TEST(Utf8, AcceptsEveryLengthOfSequence) {
  EXPECT_TRUE(isUtf8(""));
  EXPECT_TRUE(isUtf8("plain"));
  EXPECT_TRUE(isUtf8("gr\xC3\xBC\xC3\x9F"));
  EXPECT_TRUE(isUtf8("h\xE2\x98\xBAw"));
  EXPECT_TRUE(isUtf8("\xF0\x9F\x98\x80"));
  EXPECT_TRUE(isUtf8(std::string(3, '\0')));
}

TEST(Utf8, AcceptsTheFirstAndLastCodePointOfEachRange) {
  EXPECT_TRUE(isUtf8("\x7F"));
  EXPECT_TRUE(isUtf8("\xC2\x80"));
  EXPECT_TRUE(isUtf8("\xDF\xBF"));
  EXPECT_TRUE(isUtf8("\xE0\xA0\x80"));
  EXPECT_TRUE(isUtf8("\xED\x9F\xBF"));
  EXPECT_TRUE(isUtf8("\xEE\x80\x80"));
  EXPECT_TRUE(isUtf8("\xEF\xBF\xBF"));
  EXPECT_TRUE(isUtf8("\xF0\x90\x80\x80"));
  EXPECT_TRUE(isUtf8("\xF4\x8F\xBF\xBF"));
}

TEST(Utf8, RefusesOverlongForms) {
  EXPECT_FALSE(isUtf8("\xC0\x80"));
  EXPECT_FALSE(isUtf8("\xC1\xBF"));
  EXPECT_FALSE(isUtf8("\xE0\x9F\xBF"));
  EXPECT_FALSE(isUtf8("\xF0\x8F\xBF\xBF"));
}

TEST(Utf8, RefusesSurrogatesAndWhatLiesAboveTheLastCodePoint) {
  EXPECT_FALSE(isUtf8("\xED\xA0\x80"));
  EXPECT_FALSE(isUtf8("\xED\xBF\xBF"));
  EXPECT_FALSE(isUtf8("\xF4\x90\x80\x80"));
  EXPECT_FALSE(isUtf8("\xF5\x80\x80\x80"));
  EXPECT_FALSE(isUtf8("\xFF"));
}

TEST(Utf8, RefusesLoneAndMissingContinuationBytes) {
  EXPECT_FALSE(isUtf8("\x80"));
  EXPECT_FALSE(isUtf8("\xBF"));
  EXPECT_FALSE(isUtf8("\xC3"));
  EXPECT_FALSE(isUtf8("\xC3("));
  EXPECT_FALSE(isUtf8("\xE2\x98"));
  EXPECT_FALSE(isUtf8("\xE2(\x98"));
  EXPECT_FALSE(isUtf8("\xE2\x98("));
  EXPECT_FALSE(isUtf8("\xF0\x9F\x98"));
  EXPECT_FALSE(isUtf8("\xF0\x9F\x98("));
  EXPECT_FALSE(isUtf8("\xF0\x9F(\x80"));
}

}  // namespace
}  // namespace quorvin
