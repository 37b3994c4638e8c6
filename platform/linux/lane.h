/**
 * Memory that both ends of a connection share, for what they exchange while both are awake: a frame
 * through a socket costs two system calls and the kernel's buffers, through a lane it costs none.
 *
 * The client makes the lane and offers its descriptor with the greeting; the service takes it or
 * leaves it. The socket remains what a connection lives by: whoever does not watch the lane is sent
 * frames, or woken, through the socket, and its end is the end of the lane.
 */
#pragma once

#include "fd.h"
#include "ipc_wire.h"

#include <cstddef>
#include <memory>
#include <sys/types.h>
#include <utility>

namespace ipc_wire {

struct LaneMemory;

/** One end of a lane. Without a lane nothing is ever watched and no frame is ever there. */
class Lane {
public:
  Lane() = default;

  /** A new lane, seen from the client; none when there is no memory for it. */
  static Lane make();

  /** The lane that a client offers, seen from the service; none when it is not fit for one. */
  static Lane take(int fd);

  explicit operator bool() const { return memory_ != nullptr; }

  /** What the client offers. */
  int fd() const { return fd_.get(); }

  /** Whether the service has taken what the client offered. */
  bool is_taken() const;

  /** Whether the other end watches: only then may frames be put in. */
  bool peer_watches() const;

  /**
   * Puts a frame in. The one before must have been answered.
   * \return false when the other end has just ceased to watch and has to be woken.
   */
  bool put(const FrameHeader &header, const void *payload, size_t length);

  /** Declares that this end looks for frames from now on. */
  void watch();

  /** The contrary. \return whether a frame has come in time all the same. */
  bool stop_watching();

  /** Whether there is a frame that has not been taken. */
  bool has_frame() const;

  /**
   * Takes the frame that is there, as recv does with MSG_DONTWAIT and MSG_TRUNC.
   * \return its octets, as the other end says: only sizeof(Frame) of more are taken; -1 with errno
   * EAGAIN without a frame.
   */
  ssize_t look(Frame &frame);

private:
  struct Slot;
  friend struct LaneMemory;
  struct Unmap {
    void operator()(LaneMemory *memory) const;
  };

  Lane(Fd fd, LaneMemory *memory, Slot *outgoing, Slot *incoming)
      : fd_(std::move(fd)), memory_(memory), outgoing_(outgoing), incoming_(incoming) {}

  Fd fd_; ///< The client's only.
  std::unique_ptr<LaneMemory, Unmap> memory_;
  Slot *outgoing_ = nullptr;
  Slot *incoming_ = nullptr;
  uint32_t taken_ = 0; ///< Number of the last frame taken.
};

/** The opcode of a frame without payload that wakes the other end to look at the lane. */
constexpr uint32_t kLookAtLane = 0;
constexpr FrameHeader kWakeUp = {.opcode = kLookAtLane};

/** Whether the `length` octets received through the socket are such a frame. */
inline bool is_wake_up(const Frame &frame, ssize_t length) {
  return length == sizeof(frame.header) && frame.header.opcode == kLookAtLane;
}

} // namespace ipc_wire
