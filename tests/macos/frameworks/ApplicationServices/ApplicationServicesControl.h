#pragma once

namespace standin {

// Any thread.

// The process is trusted again.
void resetApplicationServices();
void setProcessTrusted(bool isTrusted);

}  // namespace standin
