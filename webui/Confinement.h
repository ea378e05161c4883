#pragma once

namespace quorvin::webui {

enum class Network {
  none,      // connections can still be accepted
  outgoing,  // connections to other hosts, and nothing of the user's files
};

// Takes from this process, with all its threads and for good, what it does not need to serve pages,
// so that a fault in how it reads a stranger's bytes is worth little. From now on it starts no
// process, touches no other process, opens no socket and no file for writing, and changes nothing
// in the file system, but that it can delete files. Each of these fails with EPERM. With a network
// that is `outgoing`, it makes connections over IP, listens to none, and where the kernel knows
// Landlock it reads only what looking up a host's name takes. The process is limited to a few
// hundred descriptors and one GiB of memory, and leaves no core file.
//
// The filter lists what is refused, not what is allowed, so that a new version of a library goes on
// working unless it makes one of these calls. Throws std::runtime_error when the system
// does not know how.
void confine(Network network = Network::none);

}  // namespace quorvin::webui
