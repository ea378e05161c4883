#import <CoreGraphics/CoreGraphics.h>
#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#import "platform/macos/StreamBridges.h"
#import "tests/macos/facts/Fact.h"

namespace quorvin::facts {
namespace {

class Samples final : public StreamOutput {
 public:
  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType /*type*/) override {
    const auto attachments = sample.attachments().value_or(std::vector<SampleAttachments>());
    const auto status = attachments.empty() ? -1 : attachments[0].frameStatus.value_or(-1);
    const std::lock_guard lock(mutex);
    ++counts["status " + std::to_string(status) + (sample.imageBuffer() ? " with" : " without")];
  }

  // "2 of status 1 without a surface, " for what came since the last time.
  std::string take() {
    std::string list;
    const std::lock_guard lock(mutex);
    for (const auto& [kind, count] : std::exchange(counts, {})) {
      list += std::to_string(count) + " of " + kind + " a surface, ";
    }
    return list;
  }

 private:
  std::mutex mutex;
  std::map<std::string, int> counts;
};

// What a handler was told, which may run on any thread, late or never.
using Answer = std::shared_future<std::string>;
using Handler = void (^)(NSError*);

Answer ask(void (^request)(Handler)) {
  const auto promise = std::make_shared<std::promise<std::string>>();
  request(^(NSError* error) {
    promise->set_value(error == nil ? "done" : "error " + std::to_string(error.code));
  });
  return promise->get_future().share();
}

std::string wait(const Answer& answer) {
  const auto isThere = [&] { return answer.wait_for(0s) == std::future_status::ready; };
  return runLoopUntil(isThere, 5s) ? answer.get() : "no answer within 5 s";
}

// The host's own stream hides what is asked here, so this is ScreenCaptureKit's, with the host's
// bridges.
struct Trial {
  std::shared_ptr<Samples> samples = std::make_shared<Samples>();
  QuorvinStreamOutput* output = [[QuorvinStreamOutput alloc] initWithOutput:samples];
  QuorvinStreamDelegate* delegate = [[QuorvinStreamDelegate alloc] initWithDelegate:{}];
  SCStream* stream = nil;

  Answer start() const {
    return ask(^(Handler handler) {
      [stream startCaptureWithCompletionHandler:handler];
    });
  }
  std::string stop() const {
    return wait(ask(^(Handler handler) {
      [stream stopCaptureWithCompletionHandler:handler];
    }));
  }
  std::string watch(std::chrono::seconds time) const {
    samples->take();
    pause(time);
    return samples->take();
  }
};

SCDisplay* anyDisplay() {
  __block SCDisplay* display = nil;
  const auto answer = ask(^(Handler handler) {
    [SCShareableContent
        getShareableContentExcludingDesktopWindows:YES
                               onScreenWindowsOnly:YES
                                 completionHandler:^(SCShareableContent* content, NSError* error) {
                                   display = content.displays.firstObject;
                                   handler(error);
                                 }];
  });
  return wait(answer) == "done" ? display : nil;
}

// A stream of the system's own size and rate.
template <Outcome (*attempt)(Trial&), NSInteger queueDepth = 3>
Outcome withStream() {
  if (!CGPreflightScreenCaptureAccess()) return {"not tried: Screen Recording is not granted"};
  SCDisplay* display = anyDisplay();
  if (display == nil) return {"not tried: there is no display"};
  Trial trial;
  @autoreleasepool {
    SCStreamConfiguration* configuration = [[SCStreamConfiguration alloc] init];
    configuration.queueDepth = queueDepth;
    SCContentFilter* filter = [[SCContentFilter alloc] initWithDisplay:display
                                                      excludingWindows:@[]];
    trial.stream = [[SCStream alloc] initWithFilter:filter
                                      configuration:configuration
                                           delegate:trial.delegate];
    [trial.stream addStreamOutput:trial.output
                             type:SCStreamOutputTypeScreen
               sampleHandlerQueue:dispatch_queue_create("facts", DISPATCH_QUEUE_SERIAL)
                            error:nil];
  }
  return attempt(trial);
}

// In four parts, of which none may be empty if the host is to know that the stream is alive.
Outcome watchStillScreen(Trial& trial) {
  std::string seen = "start " + wait(trial.start()) + ", ";
  pause(1s);  // what moved has come to rest
  bool isAlive = true;
  for (int part = 0; part < 4; ++part) {
    const auto samples = trial.watch(5s);
    isAlive = isAlive && !samples.empty();
    seen += samples.empty() ? "none, " : samples;
  }
  return {seen + "stop " + trial.stop(), agreesIf(isAlive)};
}

Outcome useShortQueue(Trial& trial) {
  const auto start = wait(trial.start());
  const auto seen = trial.watch(5s);
  return {"start " + start + ", " + seen + "stop " + trial.stop(),
          agreesIf(!start.starts_with("no answer"))};
}

Outcome stopAtOnce(Trial& trial) {
  const auto started = trial.start();
  const auto stop = trial.stop();
  const auto start = wait(started);
  const auto after = trial.watch(3s);
  const auto again = stop == "done" ? stop : trial.stop();
  return {"stop " + stop + ", start " + start + ", after them " + after + "last stop " + again,
          agreesIf(again == "done" && (stop == "error -3808" || after.empty()))};
}

Outcome dropIt(Trial& trial) {
  const auto start = wait(trial.start());
  const auto before = trial.watch(3s);
  trial.stream = nil;
  pause(1s);  // for what was on its way
  const auto after = trial.watch(5s);
  return {"start " + start + ", before " + before + "after " + after,
          (before + after).empty() ? "-" : "yes"};
}

Outcome letGoOfBridges(Trial& trial) {
  __weak id delegate = trial.delegate;
  __weak id output = trial.output;
  trial.delegate = nil;
  trial.output = nil;
  return {std::string("delegate ") + word(delegate != nil) + ", output " + word(output != nil),
          "yes"};
}

}  // namespace

std::vector<Fact> streamFacts() {
  return {
      {"still-screen", 45, "What does a stream deliver in 4 x 5 s of a still screen?",
       "something in every 5 s, or the session would end", withStream<watchStillScreen>},
      {"queue-depth", 30, "Does a stream take a queue of one, where Apple names three?",
       "it does, or answers an error", withStream<useShortQueue, 1>},
      {"stop-while-starting", 40, "Can a stream be stopped whose start is unanswered?",
       "it can, or refuses with -3808 and is asked again", withStream<stopAtOnce>},
      {"drop", 30, "Is a stream over that is let go of without a stop?",
       "either; the host stops it", withStream<dropIt>},
      {"references", 15, "Does a stream keep its delegate and its outputs?",
       "either; the host keeps them", withStream<letGoOfBridges>},
  };
}

}  // namespace quorvin::facts
