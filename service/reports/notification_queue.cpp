#include "notification_queue.h"

#include "log.h"

#include <iterator>
#include <utility>

namespace fcs {

void NotificationQueue::push(Notification notification) {
  waiting_.push_back(std::move(notification));
  trim();
}

void NotificationQueue::put_back(NotificationQueue &undelivered) {
  waiting_.insert(waiting_.begin(), std::make_move_iterator(undelivered.waiting_.begin()),
                  std::make_move_iterator(undelivered.waiting_.end()));
  undelivered.waiting_.clear();
  trim();
}

void NotificationQueue::trim() {
  while (waiting_.size() > limit_) {
    log_line("notification %d is lost: %zu others wait for a client already",
             waiting_.front().opcode, limit_);
    waiting_.pop_front();
  }
}

} // namespace fcs
