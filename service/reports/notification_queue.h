/**
 * Notifications on their way to the clients.
 */
#pragma once

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "service/fabric/fabric.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

namespace fcs {

/** One notification: its opcode and payload. */
struct Notification {
  FcsMessage opcode;
  std::string payload;
};

/** The notification with this payload. */
template <typename Payload> Notification notification(FcsMessage opcode, const Payload &payload) {
  return {opcode, {reinterpret_cast<const char *>(&payload), sizeof(payload)}};
}

/** Keeps notifications in their order until somebody takes them; the oldest go when it is full. */
class NotificationQueue {
public:
  /** Room for two of each VSAN, as all discoveries of a fabric may end at the same time. */
  static constexpr size_t kLimit = 2 * size_t{FCS_MAX_VSAN};

  explicit NotificationQueue(size_t limit = kLimit) : limit_(limit) {}

  size_t size() const { return waiting_.size(); }
  bool empty() const { return waiting_.empty(); }
  bool full() const { return waiting_.size() >= limit_; }
  const Notification &front() const { return waiting_.front(); }
  void pop() { waiting_.pop_front(); }
  /** Adds the newest one; logs the oldest one when that has to go. */
  void push(Notification notification);
  /** Takes back what another queue could not deliver, which is older than all that waits here. */
  void put_back(NotificationQueue &undelivered);

private:
  void trim();

  size_t limit_;
  std::deque<Notification> waiting_;
};

} // namespace fcs
