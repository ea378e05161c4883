#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Runner/PictureSettings.h"
#include "tests/unit/runner/PictureSettingsArguments.h"

namespace quorvin {
namespace {

bool accepted(const std::string& key, const Value& value) {
  return parsePictureSettings(pictureSettingsWith(key, value)).has_value();
}

TEST(PictureSettings, ReadsEverySetting) {
  const auto settings = parsePictureSettings(Map{{"profile", "sharp"},
                                                 {"show_cursor", false},
                                                 {"codec", "h264"},
                                                 {"max_width", 1280},
                                                 {"max_height", 720},
                                                 {"fps", 15},
                                                 {"bitrate_mbps", 3},
                                                 {"jpeg_quality", 90},
                                                 {"queue_depth", 5}});
  EXPECT_EQ(settings, (PictureSettings{false, "h264", 1280, 720, 15, 3, 90, 5}));
}

TEST(PictureSettings, AcceptsEachRangeToItsEndsAndNoFurther) {
  struct Range {
    const char* key;
    std::int64_t min;
    std::int64_t max;
  };
  for (const auto& range :
       {Range{"max_width", 640, 4096}, Range{"max_height", 480, 2304}, Range{"fps", 5, 60},
        Range{"bitrate_mbps", 1, 20}, Range{"jpeg_quality", 40, 95}, Range{"queue_depth", 1, 8}}) {
    EXPECT_TRUE(accepted(range.key, range.min)) << range.key;
    EXPECT_TRUE(accepted(range.key, range.max)) << range.key;
    EXPECT_FALSE(accepted(range.key, range.min - 1)) << range.key;
    EXPECT_FALSE(accepted(range.key, range.max + 1)) << range.key;
  }
}

TEST(PictureSettings, RefusesWhenAnySettingIsMissing) {
  const auto complete = validPictureSettings();
  for (const auto& left : complete.entries()) {
    Map map;
    for (const auto& entry : complete.entries()) {
      if (!(entry == left)) map.append(entry.key, entry.value);
    }
    EXPECT_FALSE(parsePictureSettings(map)) << *left.key.as<std::string>();
  }
  EXPECT_TRUE(parsePictureSettings(complete));
}

TEST(PictureSettings, RefusesOtherNamesOfProfileAndCodec) {
  EXPECT_FALSE(accepted("profile", "turbo"));
  EXPECT_FALSE(accepted("profile", "Fast"));
  EXPECT_FALSE(accepted("codec", "H264"));
  EXPECT_FALSE(accepted("codec", "vp9"));
  for (const auto* profile : {"fast", "balanced", "sharp"}) {
    EXPECT_TRUE(accepted("profile", profile));
  }
}

TEST(PictureSettings, RefusesOtherTypes) {
  EXPECT_FALSE(accepted("profile", 1));
  EXPECT_FALSE(accepted("show_cursor", 1));
  EXPECT_FALSE(accepted("show_cursor", "true"));
  EXPECT_FALSE(accepted("fps", "30"));
  EXPECT_FALSE(accepted("fps", nullptr));
  EXPECT_FALSE(accepted("queue_depth", true)) << "a boolean is not a number";
  EXPECT_FALSE(accepted("max_width", List{1280}));
}

TEST(PictureSettings, TakesAWholeNumberHoweverItWasSentButNoFraction) {
  EXPECT_TRUE(accepted("fps", 30.0));
  EXPECT_FALSE(accepted("fps", 30.5));
  EXPECT_FALSE(accepted("fps", 1e300));
  EXPECT_FALSE(accepted("fps", std::numeric_limits<double>::quiet_NaN()));
  EXPECT_FALSE(accepted("fps", std::numeric_limits<double>::infinity()));
}

TEST(PictureSettings, IgnoresKeysItDoesNotKnow) {
  EXPECT_TRUE(accepted("supporter", "Ada"));
}

TEST(PictureSettings, RefusesWhatIsNotAMapWithStringKeys) {
  EXPECT_FALSE(parsePictureSettings({}));
  EXPECT_FALSE(parsePictureSettings(List{1, 2}));
  EXPECT_FALSE(parsePictureSettings("fast"));
  auto mixed = validPictureSettings();
  mixed.append(7, "seven");
  EXPECT_FALSE(parsePictureSettings(mixed));
}

}  // namespace
}  // namespace quorvin
