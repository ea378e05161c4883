#pragma once

namespace quorvin::webui {

// Takes from this process, with all its threads and for good, what it does not need to serve pages:
// whoever finds a fault in how it reads a stranger's bytes is to get no further than that. From now
// on it starts no program or process, touches no other process, opens no socket and no file for
// writing, and changes nothing in the file system but that it can delete files; each of these fails
// with EPERM. Connections can still be accepted. It keeps to a few hundred descriptors and one GiB
// of memory, and leaves no core file.
//
// These calls are refused, rather than all but a few allowed: what a new version of a library asks
// for then goes on working, unless it is one of them. Throws std::runtime_error when the system
// does not know how.
void confine();

}  // namespace quorvin::webui
