#include <gtest/gtest.h>

#include <array>

#include "platform/unix/DesktopText.h"

namespace quorvin {
namespace {

template <typename... Names>
std::string_view spokenBy(Names... names) {
  const std::array<const char*, sizeof...(names) + 1> all{names..., nullptr};
  return desktopLanguage(all.data());
}

TEST(DesktopText, SpeaksTheFirstLanguageOfTheDesktopThatThereIs) {
  EXPECT_EQ(spokenBy("de_AT.UTF-8", "de_AT", "de", "C"), "de");
  EXPECT_EQ(spokenBy("fr", "ar_EG@arab", "de", "C"), "ar");
  EXPECT_EQ(spokenBy("deu", "fr", "C"), "en");
  EXPECT_EQ(spokenBy(), "en");
}

TEST(DesktopText, PutsTheNameInItsPlace) {
  EXPECT_EQ(textIn("en", "notification.asks", "{name}"), "{name} asks to see your screen");
  EXPECT_EQ(textIn("de", "notification.asks", "Ann"), "Ann möchte Ihren Bildschirm sehen");
  EXPECT_EQ(textIn("de", "notification.stop", "Ann"), "Beenden");
}

TEST(DesktopText, HasNothingToSayWhereNothingIsWritten) {
  EXPECT_EQ(textIn("en", "notification.none"), "");
  EXPECT_EQ(textIn("fr", "notification.stop"), "");
}

}  // namespace
}  // namespace quorvin
