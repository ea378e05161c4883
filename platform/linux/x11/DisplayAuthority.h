#pragma once

namespace quorvin {

// Puts the name of the file with the keys to X displays into the environment (XAUTHORITY), unless
// it is there already. libXau otherwise makes it up in one static buffer for all threads, which is
// a race between two of them that open a display. Call once, before there are further threads.
void nameDisplayAuthority();

}  // namespace quorvin
