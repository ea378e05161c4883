// A wire between two network namespaces, with delay, loss, a rate and a queue of bounded length:
// what the kernel's own emulation does, for kernels without it.
//
// wire NAMESPACE INTERFACE NAMESPACE INTERFACE SHAPE SEED: makes an interface in each. SHAPE is a
// file with delay in ms, loss in percent, rate in Mbit/s (0: any) and queue in ms, which holds for
// each of both directions; SIGUSR1 has it read again. Says "up" once the interfaces are there.

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <poll.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <iostream>
#include <random>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<double, std::milli>;

volatile std::sig_atomic_t mustReadShape = 1;

int checked(int result, const std::string& what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

struct Shape {
  Milliseconds delay{0};
  double loss = 0;  // 0 to 1
  double bitsPerMillisecond = 0;
  Milliseconds queue{0};
};

Shape readShape(const std::string& path) {
  std::ifstream file(path);
  double delay = 0;
  double lossPercent = 0;
  double megabits = 0;
  double queue = 0;
  if (!(file >> delay >> lossPercent >> megabits >> queue)) {
    throw std::runtime_error(path + " does not have four numbers");
  }
  return {Milliseconds(delay), lossPercent / 100, megabits * 1000, Milliseconds(queue)};
}

// The packets of an interface that is made in the namespace of that name.
int openInterface(const std::string& space, const std::string& name) {
  const int here = checked(open("/proc/self/ns/net", O_RDONLY | O_CLOEXEC), "own namespace");
  const int there = checked(open(("/run/netns/" + space).c_str(), O_RDONLY | O_CLOEXEC), space);
  checked(setns(there, CLONE_NEWNET), space);
  const int packets = checked(open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC), "tun");
  ifreq request{};
  request.ifr_flags = IFF_TAP | IFF_NO_PI;
  name.copy(request.ifr_name, IFNAMSIZ - 1);
  checked(ioctl(packets, TUNSETIFF, &request), name);
  checked(setns(here, CLONE_NEWNET), "own namespace");
  close(here);
  close(there);
  return packets;
}

// One direction of the wire.
class Direction {
 public:
  Direction(int from, int to, unsigned seed) : from_(from), to_(to), random_(seed) {}

  void takeWhatCame(const Shape& shape) {
    std::array<char, 65536> buffer{};
    for (;;) {
      const ssize_t size = read(from_, buffer.data(), buffer.size());
      if (size <= 0) return;
      take({buffer.data(), static_cast<std::size_t>(size)}, shape);
    }
  }

  void deliverWhatIsDue() {
    for (; !onItsWay_.empty() && onItsWay_.front().due <= Clock::now(); onItsWay_.pop_front()) {
      const std::vector<char>& bytes = onItsWay_.front().bytes;
      // An interface that is down loses what comes, as a real one does.
      if (write(to_, bytes.data(), bytes.size()) < 0 && errno != EIO && errno != EAGAIN) {
        checked(-1, "delivering");
      }
    }
  }

  [[nodiscard]] Clock::time_point nextDue(Clock::time_point atTheLatest) const {
    return onItsWay_.empty() ? atTheLatest : std::min(atTheLatest, onItsWay_.front().due);
  }

 private:
  struct Packet {
    Clock::time_point due;
    std::vector<char> bytes;
  };

  void take(std::span<const char> packet, const Shape& shape) {
    if (std::uniform_real_distribution<>()(random_) < shape.loss) return;
    const auto start = std::max(Clock::now(), freeFrom_);
    if (start - Clock::now() > shape.queue) return;
    freeFrom_ = start;
    if (shape.bitsPerMillisecond > 0) {
      const double bits = static_cast<double>(packet.size()) * 8;
      freeFrom_ += std::chrono::duration_cast<Clock::duration>(
          Milliseconds(bits / shape.bitsPerMillisecond));
    }
    const auto due = freeFrom_ + std::chrono::duration_cast<Clock::duration>(shape.delay);
    onItsWay_.push_back({due, {packet.begin(), packet.end()}});
  }

  int from_;
  int to_;
  std::mt19937 random_;
  Clock::time_point freeFrom_;
  std::deque<Packet> onItsWay_;
};

void awaitPackets(std::array<pollfd, 2>& ends, Clock::time_point until) {
  const auto left = std::max(Clock::duration::zero(), until - Clock::now());
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
  const timespec timeout{seconds.count(), std::chrono::nanoseconds(left - seconds).count()};
  ppoll(ends.data(), ends.size(), &timeout, nullptr);
}

[[noreturn]] void carry(int one, int other, const std::string& shapeFile, unsigned seed) {
  std::array<Direction, 2> directions{Direction(one, other, seed), Direction(other, one, ~seed)};
  std::array<pollfd, 2> ends{pollfd{one, POLLIN, 0}, pollfd{other, POLLIN, 0}};
  Shape shape;
  for (;;) {
    if (mustReadShape != 0) {
      mustReadShape = 0;
      shape = readShape(shapeFile);
    }
    for (Direction& direction : directions) {
      direction.takeWhatCame(shape);
      direction.deliverWhatIsDue();
    }
    auto next = Clock::now() + std::chrono::seconds(1);
    for (const Direction& direction : directions) next = direction.nextDue(next);
    awaitPackets(ends, next);
  }
}

}  // namespace

int main(int count, char** arguments) try {
  if (count != 7) throw std::runtime_error("two namespaces, each with an interface; shape; seed");
  std::signal(SIGUSR1, [](int) { mustReadShape = 1; });
  const int one = openInterface(arguments[1], arguments[2]);
  const int other = openInterface(arguments[3], arguments[4]);
  std::cout << "up" << std::endl;
  carry(one, other, arguments[5], static_cast<unsigned>(std::stoul(arguments[6])));
} catch (const std::exception& error) {
  std::cerr << "wire: " << error.what() << '\n';
  return 1;
}
