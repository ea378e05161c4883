#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>

#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"
#include "webui/remote/RemoteConfig.h"
#include "webui/remote/Signalling.h"
#include "webui/remote/SignallingPacket.h"

namespace quorvin::webui {

// Starts the program quorvin-signalling, which holds the connections to the broker: this one opens
// none once it serves pages. It ends when its socket does. Throws std::runtime_error, with a text
// for people.
[[nodiscard]] FileDescriptor startSignalling(const std::string& program,
                                             const RemoteConfig& config);

// Signalling over that program. It claims the place of a code from other customers: whoever has it
// says so. When the program has ended every place is unreachable for good.
class SignallingLink : public Signalling {
 public:
  SignallingLink(FileDescriptor program, RandomBytes random);

  [[nodiscard]] std::unique_ptr<SignallingPlace> listen(const ClientId& inbox,
                                                        const std::string& place,
                                                        Handlers handlers) override;

 private:
  class Place;

  void post(SignallingWord word, std::uint32_t number, ByteView content);
  void write();
  void read();
  void close();

  FileDescriptor program;
  RandomBytes random;
  std::map<std::uint32_t, Place*> places;
  std::uint32_t lastNumber = 0;
  std::deque<Bytes> unsent;
  MainLoopSource readable;
  MainLoopSource writable;
};

}  // namespace quorvin::webui
