#include <gtest/gtest.h>
#include <seccomp.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <future>
#include <memory>
#include <thread>

#include "tests/linux/capture/CaptureHarness.h"
#include "tests/linux/capture/SessionHarness.h"

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

// Makes the system refuse what the calling thread is to be woken by, for as long as that lives.
void refuseEventDescriptors() {
  const std::unique_ptr<void, decltype(&seccomp_release)> filter(seccomp_init(SCMP_ACT_ALLOW),
                                                                 &seccomp_release);
  ASSERT_EQ(seccomp_rule_add(filter.get(), SCMP_ACT_ERRNO(EMFILE), SCMP_SYS(eventfd2), 0), 0);
  ASSERT_EQ(seccomp_load(filter.get()), 0);
}

// While it exists, this process can make no file larger, nor memory that it shares.
class NoGrowth {
 public:
  NoGrowth() {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
  }
  NoGrowth(const NoGrowth&) = delete;
  NoGrowth& operator=(const NoGrowth&) = delete;
  ~NoGrowth() { setrlimit(RLIMIT_FSIZE, &before); }

 private:
  rlimit before{};
};

TEST(StreamLife, NoSampleFollowsTheCompletionOfStop) {
  CaptureHarness harness;
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.minimumFrameInterval = {1, 1000};
  for (std::uint32_t round = 0; round < 20; ++round) {
    ASSERT_TRUE(harness.start(configuration));
    for (std::uint32_t i = 0; i < round; ++i) harness.painter.fillAll(round * 1000 + i);
    ASSERT_TRUE(harness.stop());
    const auto count = harness.recorder->samples().size();
    harness.painter.fillAll(round);
    harness.drainQueue();
    EXPECT_EQ(harness.recorder->samples().size(), count);
  }
  EXPECT_TRUE(harness.delegate->errors().empty());
}

TEST(StreamLife, SamplesThatWaitInTheQueueAreDroppedByStop) {
  CaptureHarness harness;
  harness.queue->halt();
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.stop());
  harness.queue->resume();
  harness.drainQueue();
  EXPECT_TRUE(harness.recorder->samples().empty());
}

TEST(StreamLife, StopsFromInsideTheHandler) {
  CaptureHarness harness;
  Answer stopped;
  harness.recorder->onSample([&] { harness.stream->stopCapture(stopped.completion()); });
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(stopped.wait());
  EXPECT_FALSE(stopped.error());
  harness.painter.fillAll(0xffffff);
  harness.drainQueue();
  EXPECT_EQ(harness.recorder->samples().size(), 1U);
}

TEST(StreamLife, AHandlerMayWaitForTheStopItAskedFor) {
  CaptureHarness harness;
  std::promise<bool> answered;
  harness.recorder->onSample([&] {
    Answer stopped;
    harness.stream->stopCapture(stopped.completion());
    answered.set_value(stopped.wait());
  });
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  EXPECT_TRUE(answered.get_future().get());
}

TEST(StreamLife, StopsWithoutACompletion) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.stream->stopCapture({});
  EXPECT_EQ(startError(*harness.stream), std::nullopt);
}

TEST(StreamLife, ReleasingTheStreamStopsIt) {
  CaptureHarness harness;
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.minimumFrameInterval = {1, 1000};
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(harness.start(configuration));
    harness.painter.fillAll(0x010101);
    harness.stream.reset();
    // What had begun before may end, but nothing new comes.
    harness.drainQueue();
    const auto count = harness.recorder->samples().size();
    harness.painter.fillAll(0x020202);
    harness.drainQueue();
    EXPECT_EQ(harness.recorder->samples().size(), count);
  }
}

TEST(StreamLife, TheHandlerMayReleaseTheStream) {
  CaptureHarness harness;
  std::promise<void> released;
  harness.recorder->onSample([&] {
    harness.stream.reset();
    released.set_value();
  });
  harness.makeStream(CaptureHarness::usualConfiguration());
  Answer started;
  harness.stream->startCapture(started.completion());
  released.get_future().wait();
  harness.drainQueue();
  EXPECT_EQ(harness.recorder->samples().size(), 1U);
}

TEST(StreamLife, ACompletionMayReleaseTheStream) {
  CaptureHarness harness;
  harness.makeStream(CaptureHarness::usualConfiguration());
  std::promise<void> released;
  harness.stream->startCapture([&](const auto& /*error*/) {
    harness.stream.reset();
    released.set_value();
  });
  released.get_future().wait();
}

TEST(StreamLife, FramesOutliveTheStreamAndTheServer) {
  CaptureHarness harness;
  harness.painter.fillAll(0x123456);
  harness.recorder->holdFrames();
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.stream.reset();
  harness.server.end();
  harness.recorder->letFramesGo();
}

TEST(StreamLife, CanBeStartedAgainAfterAStop) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  ASSERT_TRUE(harness.stop());
  EXPECT_EQ(startError(*harness.stream), std::nullopt);
  EXPECT_TRUE(harness.recorder->waitForFrames(2));
}

TEST(StreamLife, CannotBeStartedTwice) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  const auto error = startError(*harness.stream);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, harness.capture.streamErrorDomain());
  EXPECT_EQ(error->localizedDescription, "The capture is running already.");
  EXPECT_TRUE(harness.recorder->waitForFrames(1));
}

TEST(StreamLife, CannotBeStoppedBeforeItStarted) {
  CaptureHarness harness;
  harness.makeStream(CaptureHarness::usualConfiguration());
  Answer stopped;
  harness.stream->stopCapture(stopped.completion());
  ASSERT_TRUE(stopped.wait());
  EXPECT_TRUE(stopped.error());
}

TEST(StreamLife, TakesOneOutputOfTheScreenOnly) {
  CaptureHarness harness;
  harness.makeStream(CaptureHarness::usualConfiguration());
  const auto other = std::make_shared<SampleRecorder>();
  auto& stream = *harness.stream;
  EXPECT_TRUE(stream.addStreamOutput(harness.recorder, StreamOutputType::screen, harness.queue));
  EXPECT_TRUE(stream.addStreamOutput(other, StreamOutputType::screen, harness.queue));
  harness.stream = harness.capture.makeStream({}, CaptureHarness::usualConfiguration(), {});
  auto& fresh = *harness.stream;
  EXPECT_TRUE(fresh.addStreamOutput(other, StreamOutputType::audio, harness.queue));
  EXPECT_TRUE(fresh.addStreamOutput(other, StreamOutputType::screen, nullptr));
  EXPECT_TRUE(fresh.addStreamOutput({}, StreamOutputType::screen, harness.queue));
  EXPECT_FALSE(fresh.addStreamOutput(other, StreamOutputType::screen, harness.queue));
}

TEST(StreamLife, NeedsADisplay) {
  CaptureHarness harness;
  const auto stream = harness.capture.makeStream({}, CaptureHarness::usualConfiguration(), {});
  EXPECT_TRUE(startError(*stream));
}

TEST(StreamLife, RefusesToStartWithAnUnsoundConfiguration) {
  CaptureHarness harness;
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 0;
  harness.makeStream(configuration);
  EXPECT_TRUE(startError(*harness.stream));
}

TEST(StreamLife, RefusesToStartWithoutAServer) {
  CaptureHarness harness;
  harness.makeStream(CaptureHarness::usualConfiguration());
  harness.server.end();
  EXPECT_EQ(number(startError(*harness.stream)), 1);
}

TEST(StreamLife, AStartIsAnsweredWhileTheServerIsStuck) {
  CaptureHarness harness;
  harness.makeStream(CaptureHarness::usualConfiguration());
  harness.server.freeze();
  Answer started;
  harness.stream->startCapture(started.completion());
  ASSERT_TRUE(started.wait());
  EXPECT_EQ(number(started.error()), 10);
  harness.server.thaw();
  EXPECT_EQ(startError(*harness.stream), std::nullopt);
  EXPECT_TRUE(harness.recorder->waitForFrames(1));
  EXPECT_EQ(started.count(), 1);
}

// From the list of displays to the first frame.
TEST(StreamLife, MakesOneConnectionForAStart) {
  CaptureHarness harness({"-extension", "MIT-SHM"}, CaptureHarness::Way::throughProxy);
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  EXPECT_EQ(harness.proxy->connections(), 1);
  ASSERT_TRUE(harness.stop());
  // Another start of the same stream has to connect again.
  EXPECT_EQ(startError(*harness.stream), std::nullopt);
  ASSERT_TRUE(harness.recorder->waitForFrames(2));
  EXPECT_EQ(harness.proxy->connections(), 2);
}

TEST(StreamLife, RefusesToStartOnADisplayThatHasGone) {
  CaptureHarness harness;
  harness.painter.defineMonitor("cinema", {0, 0, 100, 100});
  harness.makeStream(CaptureHarness::usualConfiguration());
  harness.painter.deleteMonitor("cinema");
  EXPECT_EQ(number(startError(*harness.stream)), 3);
}

TEST(StreamLife, ANewSizeAppliesWhileItRuns) {
  CaptureHarness harness;
  harness.painter.fillAll(0x123456);
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 160;
  configuration.height = 120;
  Answer updated;
  harness.stream->updateConfiguration(configuration, updated.completion());
  ASSERT_TRUE(updated.wait());
  EXPECT_FALSE(updated.error());
  ASSERT_TRUE(harness.recorder->waitForFrames(2));
  const auto frame = harness.recorder->frames().back();
  EXPECT_EQ(frame.size, (PixelSize{160, 120}));
  EXPECT_TRUE(frame.isAbout(159, 119, 0x123456));
  EXPECT_EQ(updated.count(), 1);
}

TEST(StreamLife, ANewConfigurationBringsAFrameEvenIfItIsTheSame) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.stream->updateConfiguration(CaptureHarness::usualConfiguration(), {});
  EXPECT_TRUE(harness.recorder->waitForFrames(2));
}

// The thread that asks the server may take as long as that likes.
TEST(StreamLife, ANewConfigurationIsAnsweredWhileTheServerIsStuck) {
  CaptureHarness harness;
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.showsCursor = true;  // so that the server is asked for where it is
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.server.freeze();
  configuration.width = 160;
  configuration.height = 120;
  for (int round = 0; round < 20; ++round) {
    Answer updated;
    harness.stream->updateConfiguration(configuration, updated.completion());
    EXPECT_EQ(updated.count(), 1);
  }
  harness.server.thaw();
  const auto isSmall = [](const auto& frame) {
    return frame.size == PixelSize{160, 120};
  };
  EXPECT_TRUE(harness.recorder->waitForFrame(isSmall));
}

TEST(StreamLife, AnUnsoundNewConfigurationChangesNothing) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.height = -4;
  Answer updated;
  harness.stream->updateConfiguration(configuration, updated.completion());
  ASSERT_TRUE(updated.wait());
  EXPECT_TRUE(updated.error());
  harness.painter.fillAll(0x654321);
  ASSERT_TRUE(harness.recorder->waitForColour(0, 0, 0x654321));
  EXPECT_EQ(harness.recorder->frames().back().size, (PixelSize{320, 240}));
}

TEST(StreamLife, SaysThatTheSystemHasNothingLeftAndWorksOnceItHas) {
  CaptureHarness harness;
  const auto display = harness.displays().front();
  harness.stream =
      harness.capture.makeStream({display}, CaptureHarness::usualConfiguration(), harness.delegate);
  const auto addOutput = [&harness] {
    return harness.stream->addStreamOutput(harness.recorder, StreamOutputType::screen,
                                           harness.queue);
  };
  std::thread([&] {
    refuseEventDescriptors();
    EXPECT_EQ(number(addOutput()), 9);
    EXPECT_EQ(number(startError(*harness.stream)), 9);
  }).join();
  EXPECT_EQ(addOutput(), std::nullopt);
  EXPECT_EQ(startError(*harness.stream), std::nullopt);
  EXPECT_TRUE(harness.recorder->waitForFrames(1));
}

// A frame of another size needs memory that the server shares.
TEST(StreamLife, EndsWithOneErrorWhenANewSizeCannotBeHad) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 160;
  configuration.height = 120;
  {
    const NoGrowth nothingLeft;
    harness.stream->updateConfiguration(configuration, {});
    ASSERT_TRUE(harness.delegate->waitForStop());
  }
  const auto errors = harness.delegate->errors();
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_EQ(errors[0].code, 9);
  EXPECT_EQ(startError(*harness.stream), std::nullopt);
  EXPECT_TRUE(harness.recorder->waitForFrames(2));
}

TEST(StreamLife, AConfigurationGivenBeforeTheStartCounts) {
  CaptureHarness harness;
  harness.makeStream(CaptureHarness::usualConfiguration());
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 32;
  configuration.height = 24;
  Answer updated;
  harness.stream->updateConfiguration(configuration, updated.completion());
  EXPECT_EQ(startError(*harness.stream), std::nullopt);
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  EXPECT_EQ(harness.recorder->frames().front().size, (PixelSize{32, 24}));
  EXPECT_EQ(updated.count(), 1);
}

TEST(StreamLife, EndsWithOneErrorWhenTheServerDies) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.server.end();
  ASSERT_TRUE(harness.delegate->waitForStop());
  Answer stopped;
  harness.stream->stopCapture(stopped.completion());
  ASSERT_TRUE(stopped.wait());
  const auto errors = harness.delegate->errors();
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_EQ(errors[0].domain, harness.capture.streamErrorDomain());
  EXPECT_EQ(errors[0].localizedDescription, "The connection to the X server was lost.");
}

TEST(StreamLife, ReportsNoErrorOnceItHasBeenToldToStop) {
  for (int round = 0; round < 5; ++round) {
    CaptureHarness harness;
    ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
    Answer stopped;
    harness.stream->stopCapture(stopped.completion());
    harness.server.end();
    ASSERT_TRUE(stopped.wait());
    EXPECT_FALSE(stopped.error());
    EXPECT_TRUE(harness.delegate->errors().empty());
  }
}

TEST(StreamLife, EndsWithOneErrorWhenTheDisplayIsRemoved) {
  CaptureHarness harness;
  harness.painter.defineMonitor("cinema", {0, 0, 100, 100});
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.painter.deleteMonitor("cinema");
  ASSERT_TRUE(harness.delegate->waitForStop());
  const auto errors = harness.delegate->errors();
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
    harness.painter.fillAll(ground);
    harness.painter.defineMonitor("cinema", {0, 0, 160, 120});
    ASSERT_TRUE(harness.start(configuration()));
    ASSERT_TRUE(harness.recorder->waitForFrames(1));
  }

  static StreamConfiguration configuration() {
    auto configuration = CaptureHarness::usualConfiguration();
    configuration.width = 160;
    configuration.height = 120;
    return configuration;
  }

  // The display has its last pixel marked, wherever that is; as while a mode is set, it is away for
  // a moment. The size of the frames in which that pixel is the last one.
  PixelSize sizeIn(PixelSize mode) {
    harness.painter.deleteMonitor("cinema");
    harness.painter.fillAll(ground);
    mark ^= 0xffff00;
    harness.painter.fill({mode.width - 8, mode.height - 8, 8, 8}, mark);
    harness.painter.defineMonitor("cinema", {0, 0, mode.width, mode.height});
    return sizeOnceMarked();
  }
  PixelSize sizeOnceMarked() {
    const auto isMarked = [this](const auto& frame) {
      return frame.isAbout(frame.size.width - 1, frame.size.height - 1, mark) &&
             frame.isAbout(0, 0, ground);
    };
    EXPECT_TRUE(harness.recorder->waitForFrame(isMarked));
    return harness.recorder->frames().back().size;
  }

  CaptureHarness harness;
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
  const auto count = harness.recorder->frames().size();
  harness.stream->updateConfiguration(configuration(), {});
  ASSERT_TRUE(harness.recorder->waitForFrames(count + 1));
  EXPECT_EQ(harness.recorder->frames().back().size, (PixelSize{100, 120}));
}

TEST_F(ModeChangeTest, TheFormerModeBringsTheConfiguredSizeBack) {
  ASSERT_EQ(sizeIn({120, 90}), (PixelSize{120, 90}));
  EXPECT_EQ(sizeIn({160, 120}), (PixelSize{160, 120}));
}

// What has changed can then be told from the rows of a frame of another size by nobody.
TEST(ModeChange, BeginsTheHistoryOfRowsAnew) {
  SessionHarness harness;
  harness.painter.defineMonitor("cinema", {0, 0, 160, 120});
  auto settings = SessionHarness::usualSettings();
  settings.frameSize = {160, 120};
  harness.start(settings);
  const auto first = harness.nextFrame();
  ASSERT_TRUE(first);
  harness.painter.deleteMonitor("cinema");
  harness.painter.defineMonitor("cinema", {0, 0, 120, 90});
  const auto second = harness.nextFrame();
  ASSERT_TRUE(second);
  EXPECT_EQ(FrameCopy(*second).size, (PixelSize{120, 90}));
  EXPECT_EQ(rowsChangedSince(*first, *second), (std::vector<RowRange>{{0, 90}}));
}

TEST(StreamLife, AMovedDisplayIsFollowed) {
  CaptureHarness harness;
  harness.painter.fillAll(0x112233);
  harness.painter.fill({200, 0, 120, 240}, 0x00ff00);
  harness.painter.defineMonitor("cinema", {0, 0, 100, 100});
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 100;
  configuration.height = 100;
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForColour(50, 50, 0x112233));
  harness.painter.deleteMonitor("cinema");
  harness.painter.defineMonitor("cinema", {210, 60, 100, 100});
  ASSERT_TRUE(harness.recorder->waitForColour(50, 50, 0x00ff00));
}

TEST(StreamLife, SurvivesStartsAndStopsFromManyThreads) {
  CaptureHarness harness;
  harness.makeStream(CaptureHarness::usualConfiguration());
  std::vector<std::future<void>> users;
  users.reserve(4);
  for (int user = 0; user < 4; ++user) {
    users.push_back(std::async(std::launch::async, [&harness] {
      for (int i = 0; i < 10; ++i) {
        Answer stopped;
        harness.stream->stopCapture(stopped.completion());
        EXPECT_TRUE(stopped.wait());
      }
    }));
  }
  for (int i = 0; i < 10; ++i) {
    Answer started;
    harness.stream->startCapture(started.completion());
    EXPECT_TRUE(started.wait());
    harness.painter.fillAll(static_cast<std::uint32_t>(i));
  }
  for (auto& user : users) user.get();
}

}  // namespace
}  // namespace quorvin
