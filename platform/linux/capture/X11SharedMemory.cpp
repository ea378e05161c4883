#include "platform/linux/capture/X11SharedMemory.h"

#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xcb/shm.h>

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

// A System V segment, which goes away by itself once everybody has detached from it.
class SystemVPixelMemory {
 public:
  explicit SystemVPixelMemory(std::size_t sizeBytes)
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
  SystemVPixelMemory(const SystemVPixelMemory&) = delete;
  SystemVPixelMemory& operator=(const SystemVPixelMemory&) = delete;
  // Forbids further attaching by marking the segment for removal.
  ~SystemVPixelMemory() { shmctl(id, IPC_RMID, nullptr); }

  [[nodiscard]] std::uint32_t identifier() const { return static_cast<std::uint32_t>(id); }
  [[nodiscard]] const PixelMemory& memory() const { return pages; }

 private:
  int id;
  PixelMemory pages;
};

constexpr std::uint8_t writable = 0;

void attach(X11Connection& connection, PixelImage& image, xcb_void_cookie_t request,
            xcb_shm_seg_t segment) {
  if (!connection.succeeded(request)) {
    throw x11Error(X11ErrorCode::noResources,
                   "The X server does not share memory with this program.");
  }
  image.segment = segment;
  image.attachment = std::shared_ptr<const void>(
      &connection, [segment](X11Connection* server) { xcb_shm_detach(server->get(), segment); });
}

void shareByDescriptor(X11Connection& connection, PixelImage& image, std::size_t sizeBytes) {
  SharedPixelMemory shared = allocateSharedPixelMemory(sizeBytes);
  image.memory = std::move(shared.memory);
  const xcb_shm_seg_t segment = xcb_generate_id(connection.get());
  // libxcb closes the descriptor once it has been sent.
  attach(
      connection, image,
      xcb_shm_attach_fd_checked(connection.get(), segment, shared.descriptor.release(), writable),
      segment);
}

void shareBySystemV(X11Connection& connection, PixelImage& image, std::size_t sizeBytes) {
  const SystemVPixelMemory shared(sizeBytes);
  image.memory = shared.memory();
  const xcb_shm_seg_t segment = xcb_generate_id(connection.get());
  attach(connection, image,
         xcb_shm_attach_checked(connection.get(), segment, shared.identifier(), writable), segment);
}

bool works(X11Connection& connection, X11Transport transport) {
  try {
    [[maybe_unused]] const PixelImage trial = makeSharedImage(connection, transport, {16, 16});
    return true;
  } catch (const Error&) {
    return false;
  }
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

X11Transport chooseTransport(X11Connection& connection, const X11Extensions& extensions) {
  // A segment number means something else, or nothing, to a server on another machine.
  if (!extensions.sharedMemory || !connection.isLocal()) return X11Transport::replies;
  if (extensions.sharedMemoryByDescriptor && works(connection, X11Transport::descriptor)) {
    return X11Transport::descriptor;
  }
  return works(connection, X11Transport::systemV) ? X11Transport::systemV : X11Transport::replies;
}

PixelImage makeSharedImage(X11Connection& connection, X11Transport transport, PixelSize size) {
  PixelImage image;
  image.size = size;
  const std::size_t sizeBytes = image.offsetBytes(0, size.height);
  switch (transport) {
    case X11Transport::descriptor:
      shareByDescriptor(connection, image, sizeBytes);
      break;
    case X11Transport::systemV:
      shareBySystemV(connection, image, sizeBytes);
      break;
    case X11Transport::replies:
      image.memory = allocatePixelMemory(sizeBytes);
      break;
  }
  return image;
}

}  // namespace quorvin
