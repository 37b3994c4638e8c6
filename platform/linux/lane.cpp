#include "lane.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ipc_wire {

namespace {

using Word = std::atomic<uint32_t>;
static_assert(Word::is_always_lock_free && sizeof(Word) == 4);

/** What keeps the other end from taking the memory away from under this one. */
constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

} // namespace

/** The way of frames in one direction; each party's words have a cache line of their own. */
struct Lane::Slot {
  alignas(64) Word number; ///< Frames put in so far.
  Word length;             ///< Octets of the last one.
  Frame frame;
  alignas(64) Word watched; ///< 1 while the receiver looks for the next one.
};

struct LaneMemory {
  Word taken; ///< 1 once the service has taken the lane.
  Lane::Slot requests;
  Lane::Slot replies;
};

namespace {

LaneMemory *map(int fd) {
  void *memory = mmap(nullptr, sizeof(LaneMemory), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  return memory == MAP_FAILED ? nullptr : static_cast<LaneMemory *>(memory);
}

bool is_fit(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && status.st_size == sizeof(LaneMemory) &&
         (fcntl(fd, F_GET_SEALS) & kSeals) == kSeals;
}

} // namespace

Lane Lane::make() {
  Fd fd(memfd_create("fcs-lane", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  LaneMemory *memory = nullptr;
  if (fd && ftruncate(fd.get(), sizeof(LaneMemory)) == 0 &&
      fcntl(fd.get(), F_ADD_SEALS, kSeals) == 0) {
    memory = map(fd.get());
  }
  if (memory == nullptr) {
    return {};
  }
  return {std::move(fd), memory, &memory->requests, &memory->replies};
}

Lane Lane::take(int fd) {
  LaneMemory *memory = is_fit(fd) ? map(fd) : nullptr;
  if (memory == nullptr) {
    return {};
  }
  memory->taken.store(1);
  return {Fd(), memory, &memory->replies, &memory->requests};
}

void Lane::Unmap::operator()(LaneMemory *memory) const {
  munmap(memory, sizeof(LaneMemory));
}

bool Lane::is_taken() const {
  return memory_ != nullptr && memory_->taken.load() == 1;
}

bool Lane::peer_watches() const {
  return memory_ != nullptr && outgoing_->watched.load() == 1;
}

// Of a frame that is put in while its receiver ceases to watch, the sender learns that it has to
// wake the receiver, or the receiver that the frame is there: each writes its own word before it
// reads the other's, all in one order.

bool Lane::put(const FrameHeader &header, const void *payload, size_t length) {
  outgoing_->frame.header = header;
  if (length > 0) {
    memcpy(outgoing_->frame.payload, payload, length);
  }
  outgoing_->length.store(static_cast<uint32_t>(sizeof(header) + length));
  outgoing_->number.fetch_add(1);
  return outgoing_->watched.load() == 1;
}

void Lane::watch() {
  if (memory_ != nullptr) {
    incoming_->watched.store(1);
  }
}

bool Lane::stop_watching() {
  if (memory_ != nullptr) {
    incoming_->watched.store(0);
  }
  return has_frame();
}

bool Lane::has_frame() const {
  return memory_ != nullptr && incoming_->number.load() != taken_;
}

ssize_t Lane::look(Frame &frame) {
  if (!has_frame()) {
    errno = EAGAIN;
    return -1;
  }
  taken_ = incoming_->number.load();
  const size_t length = incoming_->length.load();
  memcpy(static_cast<void *>(&frame), &incoming_->frame, std::min(length, sizeof(frame)));
  return static_cast<ssize_t>(length);
}

} // namespace ipc_wire
