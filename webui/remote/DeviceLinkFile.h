#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

#include "platform/unix/GlibPtr.h"
#include "platform/unix/PrivateFolder.h"
#include "webui/trust/Invitation.h"

namespace quorvin::webui {

// The one link that opens this computer when it is left alone, in a file that only this user reads.
// What fails throws std::runtime_error. On the main loop's thread.
class DeviceLinkFile {
 public:
  // Makes a link when there is none yet.
  DeviceLinkFile(const std::string& folderPath, RandomBytes random);
  DeviceLinkFile(const DeviceLinkFile&) = delete;
  DeviceLinkFile& operator=(const DeviceLinkFile&) = delete;
  ~DeviceLinkFile();

  [[nodiscard]] Invitation::DeviceLink read() const;
  // By another, so that the one before opens nothing any more.
  void replace() const;
  // Tells when there is another link, whichever process has made it.
  void watch(std::function<void()> onReplaced);

 private:
  std::string path;
  PrivateFolder folder;
  RandomBytes random;
  std::function<void()> onReplaced;
  GlibPtr<GFileMonitor> monitor;
};

}  // namespace quorvin::webui
