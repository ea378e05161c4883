#include "platform/linux/capture/CaptureWakeup.h"

#include <sys/eventfd.h>

#include "platform/linux/capture/ScreenCaptureErrors.h"

namespace quorvin {

CaptureWakeup::CaptureWakeup() : counter(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  if (!counter.isOpen()) {
    throw screenCaptureError(ScreenCaptureErrorCode::noResources,
                             "The system has no file descriptor left for a capture.");
  }
}

// Both can only fail when the counter is full or empty, and then there is nothing left to do.
void CaptureWakeup::signal() {
  eventfd_write(counter.get(), 1);
}

void CaptureWakeup::clear() {
  eventfd_t ignored = 0;
  eventfd_read(counter.get(), &ignored);
}

}  // namespace quorvin
