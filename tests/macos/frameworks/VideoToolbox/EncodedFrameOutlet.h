#pragma once

#import <VideoToolbox/VideoToolboxScript.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

namespace standin {

// The way of one session's finished frames to its output callback: in order, one at a time, on a
// system thread or inside the call that hands the frame in. Any thread.
class EncodedFrameOutlet : public std::enable_shared_from_this<EncodedFrameOutlet> {
 public:
  EncodedFrameOutlet(VTCompressionOutputCallback callback, void* callbackRefCon)
      : callback(callback), callbackRefCon(callbackRefCon) {}

  // Takes the frame along; it is let go once the callback has run.
  void add(id imageBuffer, void* sourceFrameRefCon, EncoderOutput output, Delivery delivery);
  // Waits until everything that was added has come out, held frames too.
  void complete();
  // Drops what has not come out, and waits for a callback that is running.
  void close();
  [[nodiscard]] bool isEmpty();

 private:
  struct Frame {
    id imageBuffer;
    void* sourceFrameRefCon;
    EncoderOutput output;
  };

  bool takeDelivery();   // with the mutex held; whether the caller is to deliver
  void startDelivery();  // with the mutex held
  void deliver();
  void hand(Frame frame) const;

  const VTCompressionOutputCallback callback;
  void* const callbackRefCon;
  std::mutex mutex;  // guards the rest
  std::condition_variable changed;
  std::deque<Frame> frames;
  bool isDelivering = false;
  std::thread::id deliveringThread;
};

}  // namespace standin
