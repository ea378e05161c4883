#include <gtest/gtest.h>

#include <future>

#include "tests/linux/capture/CaptureStand.h"
#include "tests/linux/capture/SessionStand.h"

namespace quorvin {
namespace {

std::optional<Error> startError(ScreenStream& stream) {
  Answer started;
  stream.startCapture(started.completion());
  EXPECT_TRUE(started.wait());
  return started.error();
}

std::int64_t number(std::optional<Error> error) {
  return error ? error->code : 0;
}

TEST(StreamLife, NoSampleFollowsTheCompletionOfStop) {
  CaptureStand stand;
  auto configuration = CaptureStand::usualConfiguration();
  configuration.minimumFrameInterval = {1, 1000};
  for (std::uint32_t round = 0; round < 20; ++round) {
    ASSERT_TRUE(stand.start(configuration));
    for (std::uint32_t i = 0; i < round; ++i) stand.painter.fillAll(round * 1000 + i);
    ASSERT_TRUE(stand.stop());
    const auto count = stand.recorder->samples().size();
    stand.painter.fillAll(round);
    stand.drainQueue();
    EXPECT_EQ(stand.recorder->samples().size(), count);
  }
  EXPECT_TRUE(stand.delegate->errors().empty());
}

TEST(StreamLife, SamplesThatWaitInTheQueueAreDroppedByStop) {
  CaptureStand stand;
  stand.queue->halt();
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.stop());
  stand.queue->resume();
  stand.drainQueue();
  EXPECT_TRUE(stand.recorder->samples().empty());
}

TEST(StreamLife, StopsFromInsideTheHandler) {
  CaptureStand stand;
  Answer stopped;
  stand.recorder->onSample([&] { stand.stream->stopCapture(stopped.completion()); });
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stopped.wait());
  EXPECT_FALSE(stopped.error());
  stand.painter.fillAll(0xffffff);
  stand.drainQueue();
  EXPECT_EQ(stand.recorder->samples().size(), 1U);
}

TEST(StreamLife, AHandlerMayWaitForTheStopItAskedFor) {
  CaptureStand stand;
  std::promise<bool> answered;
  stand.recorder->onSample([&] {
    Answer stopped;
    stand.stream->stopCapture(stopped.completion());
    answered.set_value(stopped.wait());
  });
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  EXPECT_TRUE(answered.get_future().get());
}

TEST(StreamLife, StopsWithoutACompletion) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.stream->stopCapture({});
  EXPECT_EQ(startError(*stand.stream), std::nullopt);
}

TEST(StreamLife, ReleasingTheStreamStopsIt) {
  CaptureStand stand;
  auto configuration = CaptureStand::usualConfiguration();
  configuration.minimumFrameInterval = {1, 1000};
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(stand.start(configuration));
    stand.painter.fillAll(0x010101);
    stand.stream.reset();
    // What had begun before may end, but nothing new comes.
    stand.drainQueue();
    const auto count = stand.recorder->samples().size();
    stand.painter.fillAll(0x020202);
    stand.drainQueue();
    EXPECT_EQ(stand.recorder->samples().size(), count);
  }
}

TEST(StreamLife, TheHandlerMayReleaseTheStream) {
  CaptureStand stand;
  std::promise<void> released;
  stand.recorder->onSample([&] {
    stand.stream.reset();
    released.set_value();
  });
  stand.makeStream(CaptureStand::usualConfiguration());
  Answer started;
  stand.stream->startCapture(started.completion());
  released.get_future().wait();
  stand.drainQueue();
  EXPECT_EQ(stand.recorder->samples().size(), 1U);
}

TEST(StreamLife, ACompletionMayReleaseTheStream) {
  CaptureStand stand;
  stand.makeStream(CaptureStand::usualConfiguration());
  std::promise<void> released;
  stand.stream->startCapture([&](const auto& /*error*/) {
    stand.stream.reset();
    released.set_value();
  });
  released.get_future().wait();
}

TEST(StreamLife, FramesOutliveTheStreamAndTheServer) {
  CaptureStand stand;
  stand.painter.fillAll(0x123456);
  stand.recorder->holdFrames();
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.stream.reset();
  stand.server.end();
  stand.recorder->letFramesGo();
}

TEST(StreamLife, CanBeStartedAgainAfterAStop) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  ASSERT_TRUE(stand.stop());
  EXPECT_EQ(startError(*stand.stream), std::nullopt);
  EXPECT_TRUE(stand.recorder->waitForFrames(2));
}

TEST(StreamLife, CannotBeStartedTwice) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  const auto error = startError(*stand.stream);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, stand.capture.streamErrorDomain());
  EXPECT_EQ(error->localizedDescription, "The capture is running already.");
  EXPECT_TRUE(stand.recorder->waitForFrames(1));
}

TEST(StreamLife, CannotBeStoppedBeforeItStarted) {
  CaptureStand stand;
  stand.makeStream(CaptureStand::usualConfiguration());
  Answer stopped;
  stand.stream->stopCapture(stopped.completion());
  ASSERT_TRUE(stopped.wait());
  EXPECT_TRUE(stopped.error());
}

TEST(StreamLife, TakesOneOutputOfTheScreenOnly) {
  CaptureStand stand;
  stand.makeStream(CaptureStand::usualConfiguration());
  const auto other = std::make_shared<SampleRecorder>();
  auto& stream = *stand.stream;
  EXPECT_TRUE(stream.addStreamOutput(stand.recorder, StreamOutputType::screen, stand.queue));
  EXPECT_TRUE(stream.addStreamOutput(other, StreamOutputType::screen, stand.queue));
  stand.stream = stand.capture.makeStream({}, CaptureStand::usualConfiguration(), {});
  auto& fresh = *stand.stream;
  EXPECT_TRUE(fresh.addStreamOutput(other, StreamOutputType::audio, stand.queue));
  EXPECT_TRUE(fresh.addStreamOutput(other, StreamOutputType::screen, nullptr));
  EXPECT_TRUE(fresh.addStreamOutput({}, StreamOutputType::screen, stand.queue));
  EXPECT_FALSE(fresh.addStreamOutput(other, StreamOutputType::screen, stand.queue));
}

TEST(StreamLife, NeedsADisplay) {
  CaptureStand stand;
  const auto stream = stand.capture.makeStream({}, CaptureStand::usualConfiguration(), {});
  EXPECT_TRUE(startError(*stream));
}

TEST(StreamLife, RefusesToStartWithAnUnsoundConfiguration) {
  CaptureStand stand;
  auto configuration = CaptureStand::usualConfiguration();
  configuration.width = 0;
  stand.makeStream(configuration);
  EXPECT_TRUE(startError(*stand.stream));
}

TEST(StreamLife, RefusesToStartWithoutAServer) {
  CaptureStand stand;
  stand.makeStream(CaptureStand::usualConfiguration());
  stand.server.end();
  EXPECT_EQ(number(startError(*stand.stream)), 1);
}

TEST(StreamLife, AStartIsAnsweredWhileTheServerIsStuck) {
  CaptureStand stand;
  stand.makeStream(CaptureStand::usualConfiguration());
  stand.server.freeze();
  Answer started;
  stand.stream->startCapture(started.completion());
  ASSERT_TRUE(started.wait());
  EXPECT_EQ(number(started.error()), 10);
  stand.server.thaw();
  EXPECT_EQ(startError(*stand.stream), std::nullopt);
  EXPECT_TRUE(stand.recorder->waitForFrames(1));
  EXPECT_EQ(started.count(), 1);
}

// From the list of displays to the first frame.
TEST(StreamLife, MakesOneConnectionForAStart) {
  CaptureStand stand({"-extension", "MIT-SHM"}, CaptureStand::Way::throughProxy);
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  EXPECT_EQ(stand.proxy->connections(), 1);
  ASSERT_TRUE(stand.stop());
  // Another start of the same stream has to connect again.
  EXPECT_EQ(startError(*stand.stream), std::nullopt);
  ASSERT_TRUE(stand.recorder->waitForFrames(2));
  EXPECT_EQ(stand.proxy->connections(), 2);
}

TEST(StreamLife, RefusesToStartOnADisplayThatHasGone) {
  CaptureStand stand;
  stand.painter.defineMonitor("cinema", {0, 0, 100, 100});
  stand.makeStream(CaptureStand::usualConfiguration());
  stand.painter.deleteMonitor("cinema");
  EXPECT_EQ(number(startError(*stand.stream)), 3);
}

TEST(StreamLife, ANewSizeAppliesWhileItRuns) {
  CaptureStand stand;
  stand.painter.fillAll(0x123456);
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  auto configuration = CaptureStand::usualConfiguration();
  configuration.width = 160;
  configuration.height = 120;
  Answer updated;
  stand.stream->updateConfiguration(configuration, updated.completion());
  ASSERT_TRUE(updated.wait());
  EXPECT_FALSE(updated.error());
  ASSERT_TRUE(stand.recorder->waitForFrames(2));
  const auto frame = stand.recorder->frames().back();
  EXPECT_EQ(frame.size, (PixelSize{160, 120}));
  EXPECT_TRUE(frame.isAbout(159, 119, 0x123456));
  EXPECT_EQ(updated.count(), 1);
}

TEST(StreamLife, ANewConfigurationBringsAFrameEvenIfItIsTheSame) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.stream->updateConfiguration(CaptureStand::usualConfiguration(), {});
  EXPECT_TRUE(stand.recorder->waitForFrames(2));
}

// The thread that asks the server may take as long as that likes.
TEST(StreamLife, ANewConfigurationIsAnsweredWhileTheServerIsStuck) {
  CaptureStand stand;
  auto configuration = CaptureStand::usualConfiguration();
  configuration.showsCursor = true;  // so that the server is asked for where it is
  ASSERT_TRUE(stand.start(configuration));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.server.freeze();
  configuration.width = 160;
  configuration.height = 120;
  for (int round = 0; round < 20; ++round) {
    Answer updated;
    stand.stream->updateConfiguration(configuration, updated.completion());
    EXPECT_EQ(updated.count(), 1);
  }
  stand.server.thaw();
  const auto isSmall = [](const auto& frame) {
    return frame.size == PixelSize{160, 120};
  };
  EXPECT_TRUE(stand.recorder->waitForFrame(isSmall));
}

TEST(StreamLife, AnUnsoundNewConfigurationChangesNothing) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  auto configuration = CaptureStand::usualConfiguration();
  configuration.height = -4;
  Answer updated;
  stand.stream->updateConfiguration(configuration, updated.completion());
  ASSERT_TRUE(updated.wait());
  EXPECT_TRUE(updated.error());
  stand.painter.fillAll(0x654321);
  ASSERT_TRUE(stand.recorder->waitForColour(0, 0, 0x654321));
  EXPECT_EQ(stand.recorder->frames().back().size, (PixelSize{320, 240}));
}

TEST(StreamLife, AConfigurationGivenBeforeTheStartCounts) {
  CaptureStand stand;
  stand.makeStream(CaptureStand::usualConfiguration());
  auto configuration = CaptureStand::usualConfiguration();
  configuration.width = 32;
  configuration.height = 24;
  Answer updated;
  stand.stream->updateConfiguration(configuration, updated.completion());
  EXPECT_EQ(startError(*stand.stream), std::nullopt);
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  EXPECT_EQ(stand.recorder->frames().front().size, (PixelSize{32, 24}));
  EXPECT_EQ(updated.count(), 1);
}

TEST(StreamLife, EndsWithOneErrorWhenTheServerDies) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.server.end();
  ASSERT_TRUE(stand.delegate->waitForStop());
  Answer stopped;
  stand.stream->stopCapture(stopped.completion());
  ASSERT_TRUE(stopped.wait());
  const auto errors = stand.delegate->errors();
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_EQ(errors[0].domain, stand.capture.streamErrorDomain());
  EXPECT_EQ(errors[0].localizedDescription, "The connection to the X server was lost.");
}

TEST(StreamLife, ReportsNoErrorOnceItHasBeenToldToStop) {
  for (int round = 0; round < 5; ++round) {
    CaptureStand stand;
    ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
    Answer stopped;
    stand.stream->stopCapture(stopped.completion());
    stand.server.end();
    ASSERT_TRUE(stopped.wait());
    EXPECT_FALSE(stopped.error());
    EXPECT_TRUE(stand.delegate->errors().empty());
  }
}

TEST(StreamLife, EndsWithOneErrorWhenTheDisplayIsRemoved) {
  CaptureStand stand;
  stand.painter.defineMonitor("cinema", {0, 0, 100, 100});
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.painter.deleteMonitor("cinema");
  ASSERT_TRUE(stand.delegate->waitForStop());
  const auto errors = stand.delegate->errors();
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_EQ(errors[0].code, 3);
  EXPECT_EQ(errors[0].localizedDescription,
            "The display that was being captured is no longer connected.");
}

// A display that takes on other modes, and what of it is shown in frames of at most 160 x 120.
class ModeChangeTest : public testing::Test {
 protected:
  static constexpr std::uint32_t ground = 0x112233;

  void SetUp() override {
    stand.painter.fillAll(ground);
    stand.painter.defineMonitor("cinema", {0, 0, 160, 120});
    ASSERT_TRUE(stand.start(configuration()));
    ASSERT_TRUE(stand.recorder->waitForFrames(1));
  }

  static StreamConfiguration configuration() {
    auto configuration = CaptureStand::usualConfiguration();
    configuration.width = 160;
    configuration.height = 120;
    return configuration;
  }

  // The display has its last pixel marked, wherever that is; as while a mode is set, it is away for
  // a moment. The size of the frames in which that pixel is the last one.
  PixelSize sizeIn(PixelSize mode) {
    stand.painter.deleteMonitor("cinema");
    stand.painter.fillAll(ground);
    mark ^= 0xffff00;
    stand.painter.fill({mode.width - 8, mode.height - 8, 8, 8}, mark);
    stand.painter.defineMonitor("cinema", {0, 0, mode.width, mode.height});
    return sizeOnceMarked();
  }
  PixelSize sizeOnceMarked() {
    const auto isMarked = [this](const auto& frame) {
      return frame.isAbout(frame.size.width - 1, frame.size.height - 1, mark) &&
             frame.isAbout(0, 0, ground);
    };
    EXPECT_TRUE(stand.recorder->waitForFrame(isMarked));
    return stand.recorder->frames().back().size;
  }

  CaptureStand stand;
  std::uint32_t mark = 0xff0000;
};

TEST_F(ModeChangeTest, ALargerDisplayIsScaledIntoTheConfiguredSize) {
  EXPECT_EQ(sizeIn({320, 240}), (PixelSize{160, 120}));
}

TEST_F(ModeChangeTest, ASmallerDisplayIsNotScaledUp) {
  EXPECT_EQ(sizeIn({120, 90}), (PixelSize{120, 90}));
}

TEST_F(ModeChangeTest, ADisplayOfOtherProportionsKeepsThem) {
  EXPECT_EQ(sizeIn({120, 160}), (PixelSize{90, 120}));
  EXPECT_EQ(sizeIn({320, 120}), (PixelSize{160, 60}));
}

TEST_F(ModeChangeTest, TheSameConfigurationOnceMoreChangesNoSize) {
  ASSERT_EQ(sizeIn({100, 120}), (PixelSize{100, 120}));
  const auto count = stand.recorder->frames().size();
  stand.stream->updateConfiguration(configuration(), {});
  ASSERT_TRUE(stand.recorder->waitForFrames(count + 1));
  EXPECT_EQ(stand.recorder->frames().back().size, (PixelSize{100, 120}));
}

TEST_F(ModeChangeTest, TheFormerModeBringsTheConfiguredSizeBack) {
  ASSERT_EQ(sizeIn({120, 90}), (PixelSize{120, 90}));
  EXPECT_EQ(sizeIn({160, 120}), (PixelSize{160, 120}));
}

// What has changed can then be told from the rows of a frame of another size by nobody.
TEST(ModeChange, BeginsTheHistoryOfRowsAnew) {
  SessionStand stand;
  stand.painter.defineMonitor("cinema", {0, 0, 160, 120});
  auto settings = SessionStand::usualSettings();
  settings.frameSize = {160, 120};
  stand.start(settings);
  const auto first = stand.nextFrame();
  ASSERT_TRUE(first);
  stand.painter.deleteMonitor("cinema");
  stand.painter.defineMonitor("cinema", {0, 0, 120, 90});
  const auto second = stand.nextFrame();
  ASSERT_TRUE(second);
  EXPECT_EQ(FrameCopy(*second).size, (PixelSize{120, 90}));
  EXPECT_EQ(rowsChangedSince(*first, *second), (std::vector<RowRange>{{0, 90}}));
}

TEST(StreamLife, AMovedDisplayIsFollowed) {
  CaptureStand stand;
  stand.painter.fillAll(0x112233);
  stand.painter.fill({200, 0, 120, 240}, 0x00ff00);
  stand.painter.defineMonitor("cinema", {0, 0, 100, 100});
  auto configuration = CaptureStand::usualConfiguration();
  configuration.width = 100;
  configuration.height = 100;
  ASSERT_TRUE(stand.start(configuration));
  ASSERT_TRUE(stand.recorder->waitForColour(50, 50, 0x112233));
  stand.painter.deleteMonitor("cinema");
  stand.painter.defineMonitor("cinema", {210, 60, 100, 100});
  ASSERT_TRUE(stand.recorder->waitForColour(50, 50, 0x00ff00));
}

TEST(StreamLife, SurvivesStartsAndStopsFromManyThreads) {
  CaptureStand stand;
  stand.makeStream(CaptureStand::usualConfiguration());
  std::vector<std::future<void>> users;
  users.reserve(4);
  for (int user = 0; user < 4; ++user) {
    users.push_back(std::async(std::launch::async, [&stand] {
      for (int i = 0; i < 10; ++i) {
        Answer stopped;
        stand.stream->stopCapture(stopped.completion());
        EXPECT_TRUE(stopped.wait());
      }
    }));
  }
  for (int i = 0; i < 10; ++i) {
    Answer started;
    stand.stream->startCapture(started.completion());
    EXPECT_TRUE(started.wait());
    stand.painter.fillAll(static_cast<std::uint32_t>(i));
  }
  for (auto& user : users) user.get();
}

}  // namespace
}  // namespace quorvin
