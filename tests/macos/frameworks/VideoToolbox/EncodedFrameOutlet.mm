#import <VideoToolbox/EncodedFrameOutlet.h>

#include <utility>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"

namespace standin {

void EncodedFrameOutlet::add(id imageBuffer, void* sourceFrameRefCon, EncoderOutput output,
                             Delivery delivery) {
  {
    const std::lock_guard lock(mutex);
    frames.push_back({imageBuffer, sourceFrameRefCon, output});
    if (delivery == Delivery::onSystemThread) startDelivery();
    if (delivery != Delivery::insideTheCall || !takeDelivery()) return;
  }
  deliver();
}

void EncodedFrameOutlet::complete() {
  std::unique_lock lock(mutex);
  if (deliveringThread == std::this_thread::get_id()) {
    violation("VTCompressionSessionCompleteFrames inside the output callback waits for itself");
    return;
  }
  startDelivery();
  changed.wait(lock, [this] { return frames.empty() && !isDelivering; });
}

void EncodedFrameOutlet::close() {
  std::unique_lock lock(mutex);
  const auto dropped = std::exchange(frames, {});
  if (deliveringThread == std::this_thread::get_id()) return;
  changed.wait(lock, [this] { return !isDelivering; });
}

bool EncodedFrameOutlet::isEmpty() {
  const std::lock_guard lock(mutex);
  return frames.empty() && !isDelivering;
}

bool EncodedFrameOutlet::takeDelivery() {
  if (isDelivering || frames.empty()) return false;
  isDelivering = true;
  return true;
}

void EncodedFrameOutlet::startDelivery() {
  if (!takeDelivery()) return;
  onSystemThread([self = shared_from_this()] { self->deliver(); });
}

void EncodedFrameOutlet::deliver() {
  std::unique_lock lock(mutex);
  deliveringThread = std::this_thread::get_id();
  while (!frames.empty()) {
    auto frame = std::move(frames.front());
    frames.pop_front();
    lock.unlock();
    hand(std::move(frame));
    lock.lock();
  }
  deliveringThread = {};
  isDelivering = false;
  changed.notify_all();
}

void EncodedFrameOutlet::hand(Frame frame) const {
  @autoreleasepool {
    callback(callbackRefCon, frame.sourceFrameRefCon, frame.output.status, frame.output.infoFlags,
             (__bridge CMSampleBufferRef)frame.output.sampleBuffer);
  }
}

}  // namespace standin
