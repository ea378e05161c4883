#pragma once

#include "platform/Application.h"

namespace quorvin {

// What makes the program's part of the objects in the main nib. A nib gives its objects no
// arguments, so they find this by themselves. Set while the application runs; main thread.
ApplicationFactories& nibFactories();

}  // namespace quorvin
