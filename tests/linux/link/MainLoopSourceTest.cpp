#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>

#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"
#include "tests/linux/link/TestLoop.h"

namespace quorvin {
namespace {

int readyInLastPoll = 0;

gint notingPoll(GPollFD* descriptors, guint count, gint timeout) {
  readyInLastPoll = ::poll(reinterpret_cast<pollfd*>(descriptors), count, timeout);
  return readyInLastPoll;
}

TEST(MainLoopSource, OfADescriptorDoesNotRouseItsOwnLoop) {
  const TestLoop loop;
  g_main_context_set_poll_func(loop.context(), notingPoll);
  const FileDescriptor descriptor(::eventfd(1, EFD_CLOEXEC));
  int calls = 0;
  const auto source = MainLoopSource::onDescriptor(loop.context(), descriptor.get(), G_IO_IN, [&] {
    std::uint64_t number = 0;
    EXPECT_EQ(::read(descriptor.get(), &number, sizeof number), 8);
    ++calls;
    return MainLoopSource::Next::again;
  });
  g_main_context_iteration(loop.context(), FALSE);
  EXPECT_EQ(calls, 1);
  g_main_context_iteration(loop.context(), FALSE);
  EXPECT_EQ(readyInLastPoll, 0);
}

}  // namespace
}  // namespace quorvin
