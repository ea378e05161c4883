#pragma once

#include <string>

#include "platform/unix/FileDescriptor.h"

namespace quorvin::webui {

// A process of its own that opens the page in the desktop's browser: the one that serves the page
// starts no programs. Which page that is it is told before strangers can say anything, so that
// nobody can have it open another one. Ends when it has done so, and with this object.
class BrowserLauncher {
 public:
  // Makes the process, which must be done before there is a second thread; it keeps everything open
  // that is, but not the link. Without one, no browser is opened.
  explicit BrowserLauncher(const FileDescriptor& link);

  // The file to open. What is opened can be read in a command line by every user of the machine.
  void setPage(const std::string& page);
  void open();
  // In a browser that nobody sees, until `end` or this object's end.
  void openHidden();
  void end() { orders.reset(); }

 private:
  FileDescriptor orders;
};

}  // namespace quorvin::webui
