#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "Runner/QuorvinScreenCapture.h"
#include "Runner/RemoteInputController.h"
#include "platform/Platform.h"

namespace quorvin {

// The number of the next session. Numbers are never reused, so running out of them ends the
// process.
[[nodiscard]] std::int64_t nextGeneration(std::int64_t generation);

// The native end of the channels through which the user interface drives the host: answers its
// method calls, keeps the one support session, sends the session's frames and errors on the event
// channel, and lets the supporter's input through while a session lasts.
//
// Everything here runs on the main thread, so no lock guards the fields. What a capture reports
// from elsewhere comes back as a main-queue task that carries the generation of its session and is
// ignored when that is no longer the current one.
class QuorvinHostBridge final : public FlutterStreamHandler,
                                public std::enable_shared_from_this<QuorvinHostBridge> {
 public:
  // Creates both channels and installs the bridge on them. The messenger then holds the bridge:
  // it is torn down once the messenger has dropped its handlers and the last owner let go.
  [[nodiscard]] static std::shared_ptr<QuorvinHostBridge> make(
      Platform& platform, const std::shared_ptr<FlutterBinaryMessenger>& messenger);

  QuorvinHostBridge();  // not available: stops the process
  QuorvinHostBridge(Platform& platform, const std::shared_ptr<FlutterBinaryMessenger>& messenger);
  ~QuorvinHostBridge() override;

  // Answers one call; `result` is called exactly once, now or later.
  void handle(const FlutterMethodCall& call, FlutterResult result);

  std::optional<FlutterError> onListen(const Value& arguments, FlutterEventSink sink) override;
  std::optional<FlutterError> onCancel(const Value& arguments) override;

  // Whether a session is starting or running.
  [[nodiscard]] bool hasSession() const { return capture != nullptr; }
  // The display whose coordinates remote input maps onto; empty until the capture has started.
  [[nodiscard]] std::optional<DisplayID> inputDisplay() const { return inputDisplayID; }

 private:
  void replyWithCapabilities(FlutterResult result);
  [[nodiscard]] Value readPermissions();
  void requestPermissions();
  void authorizeStart(const Value& arguments, const FlutterResult& result);
  void configureStream(const Value& arguments, FlutterResult result);

  void injectInput(const Value& arguments, const FlutterResult& result);
  [[nodiscard]] RemoteInputController& remoteInput();  // made when it is first asked for
  [[nodiscard]] std::optional<Rect> inputBounds();

  void startCapture(const FlutterResult& result);
  void stopCapture();
  [[nodiscard]] std::shared_ptr<QuorvinScreenCapture> makeCapture(std::int64_t generation);
  void startCompleted(std::int64_t generation, const std::shared_ptr<QuorvinScreenCapture>& started,
                      const std::optional<Error>& error, const FlutterResult& result);
  void captureEnded(std::int64_t generation, const Error& error);
  void clearSession();  // after the capture has ended or failed to start
  void sendFrame(std::int64_t generation, Data frame);
  void beginSupportActivity();
  void endSupportActivity();

  Platform& platform;
  std::unique_ptr<FlutterMethodChannel> methodChannel;
  std::unique_ptr<FlutterEventChannel> frameChannel;
  FlutterEventSink eventSink;  // empty while nobody listens
  std::shared_ptr<QuorvinScreenCapture> capture;
  std::int64_t captureGeneration = 0;  // incremented by every start and every stop
  std::optional<DisplayID> inputDisplayID;
  std::shared_ptr<ActivityToken> supportActivity;
  std::unique_ptr<RemoteInputController> remoteInputController;  // kept from session to session
};

}  // namespace quorvin
