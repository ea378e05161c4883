#pragma once

#include <functional>
#include <string>

#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin::webui {

// What this computer is, for a report: a line each about versions, the kind of session and the X
// server's extensions, and nothing about whose it is. A process of its own finds it out, since an X
// server may never answer, and what serves pages cannot ask it; it has ten seconds.
class SystemFacts {
 public:
  // To be made before this process is confined. The other one does not keep `link`. Throws
  // std::system_error when no descriptor is left.
  explicit SystemFacts(const FileDescriptor& link);

  // From the main loop, with what was found out in time. A former handler is forgotten.
  void whenKnown(std::function<void(const std::string&)> handler);

 private:
  FileDescriptor answer;
  std::string facts;
  MainLoopSource reading;
};

}  // namespace quorvin::webui
