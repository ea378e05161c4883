#include "platform/linux/capture/PixelMemory.h"

#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

namespace {

Error outOfMemory() {
  return x11Error(X11ErrorCode::noResources,
                  "The system has no memory left for the pictures of the screen.");
}

PixelMemory map(std::size_t sizeBytes, int flags, int descriptor) {
  void* pages = mmap(nullptr, sizeBytes, PROT_READ | PROT_WRITE, flags, descriptor, 0);
  if (pages == MAP_FAILED) throw outOfMemory();
  return {static_cast<std::uint8_t*>(pages), [sizeBytes](std::uint8_t* mapped) {
            munmap(mapped, sizeBytes);
          }};
}

}  // namespace

PixelMemory allocatePixelMemory(std::size_t sizeBytes) {
  return map(sizeBytes, MAP_PRIVATE | MAP_ANONYMOUS, -1);
}

SharedPixelMemory allocateSharedPixelMemory(std::size_t sizeBytes) {
  FileDescriptor descriptor(memfd_create("screen-pixels", MFD_CLOEXEC));
  if (!descriptor.isOpen() || ftruncate(descriptor.get(), static_cast<off_t>(sizeBytes)) != 0) {
    throw outOfMemory();
  }
  PixelMemory memory = map(sizeBytes, MAP_SHARED, descriptor.get());
  return {std::move(memory), std::move(descriptor)};
}

SystemVPixelMemory::SystemVPixelMemory(std::size_t sizeBytes)
    : id(shmget(IPC_PRIVATE, sizeBytes, IPC_CREAT | S_IRUSR | S_IWUSR)) {
  if (id < 0) throw outOfMemory();
  void* attached = shmat(id, nullptr, 0);
  if (attached == reinterpret_cast<void*>(-1)) {  // NOLINT(performance-no-int-to-ptr)
    shmctl(id, IPC_RMID, nullptr);
    throw outOfMemory();
  }
  pages = PixelMemory(static_cast<std::uint8_t*>(attached),
                      [](std::uint8_t* address) { shmdt(address); });
}

SystemVPixelMemory::~SystemVPixelMemory() {
  shmctl(id, IPC_RMID, nullptr);
}

std::uint32_t SystemVPixelMemory::identifier() const {
  return static_cast<std::uint32_t>(id);
}

}  // namespace quorvin
