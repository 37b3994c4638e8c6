#include "service_link.h"

#include "platform/linux/settings/settings.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/library/fd_event_manager.h>

using namespace std::chrono_literals;

namespace {

/** How often a link that is not up is looked after. */
constexpr auto kRetryInterval = 250ms;
/** How long a connection may leave its greeting unanswered before another one is tried. */
constexpr auto kGreetingPatience = 5s;
/** How long a connection must have been up for its next failure to be news. */
constexpr auto kSteadyAfter = 5s;
/** Doublings of the retry interval while the service takes connections and answers no request. */
constexpr int kMostDoublings = 5;
/** Messages taken in one turn of the select loop, so that a talkative service starves nobody. */
constexpr int kMessagesPerTurn = 16;
/** A turn that takes longer has made the agent's requests wait. */
constexpr auto kShortTurn = 10ms;

/** How a connection ended on which recv returned `result`, 0 or -1. */
std::string ending(ssize_t result) {
  return result == 0 ? "the service closed the connection"
                     : "the connection failed: " + std::string(strerror(errno));
}

/** Whether a message of `octets` holds as many records of the same length as it says, none of them
 * too long, and no more than `most`. */
bool is_whole(const ipc_wire::FrameHeader &header, size_t octets, uint32_t most) {
  if (octets < sizeof(header)) {
    return false;
  }
  const size_t payload = octets - sizeof(header);
  const uint32_t rows = ipc_wire::rows_of(header);
  return rows <= most && payload % rows == 0 && payload / rows <= ipc_wire::kMessageRoom &&
         payload <= ipc_wire::kBatchRoom;
}

timeval to_timeval(std::chrono::microseconds duration) {
  return {static_cast<time_t>(duration.count() / 1'000'000),
          static_cast<suseconds_t>(duration.count() % 1'000'000)};
}

} // namespace

void ServiceLink::open() {
  leave();
  last_fault_.clear();
  announced_ = false;
  doublings_ = 0;
  retry_at_ = {};
  connect();
}

void ServiceLink::close() {
  leave();
  exchanges_ = failures_ = 0;
  waited_ = {};
}

void ServiceLink::leave() {
  stop_trying();
  disconnect();
  log_health();
}

void ServiceLink::await_up(std::chrono::milliseconds timeout) {
  const auto deadline = Clock::now() + timeout;
  while (state_ == State::kGreeting) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd readable{fd_, POLLIN, 0};
    if (left <= 0ms || poll(&readable, 1, static_cast<int>(left.count())) <= 0) {
      return;
    }
    on_readable(fd_, this);
  }
}

void ServiceLink::connect() {
  keep_trying();
  fd_ = ipc_wire::connect_to(settings().service_socket, SOCK_NONBLOCK);
  if (fd_ < 0) {
    fail("cannot connect: " + std::string(strerror(errno)));
    return;
  }
  if (!peer_is_trusted()) {
    return;
  }
  const ipc_wire::Greeting greeting = ipc_wire::greeting_for(purpose_);
  if (::send(fd_, &greeting, sizeof(greeting), MSG_NOSIGNAL) != sizeof(greeting)) {
    fail("cannot greet: " + std::string(strerror(errno)));
    return;
  }
  if (!listen()) {
    return;
  }
  greeted_at_ = Clock::now();
  state_ = State::kGreeting;
}

/** Has the agent's select loop watch the connection. */
bool ServiceLink::listen() {
  if (register_readfd(fd_, on_readable, this) != FD_REGISTERED_OK) {
    fail("the agent's select loop takes no further descriptor");
    return false;
  }
  return true;
}

bool ServiceLink::peer_is_trusted() {
  ucred peer{};
  socklen_t length = sizeof(peer);
  if (getsockopt(fd_, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0) {
    fail("the other end's user is unknown: " + std::string(strerror(errno)));
    return false;
  }
  const std::optional<uid_t> expected = settings().service_uid;
  const bool trusted = expected ? peer.uid == *expected : peer.uid == 0 || peer.uid == geteuid();
  if (!trusted) {
    fail("the other end runs as user id " + std::to_string(peer.uid) + ", not as " +
         (expected ? "the user of fcsServiceUser" : "root or the agent's user"));
  }
  return trusted;
}

void ServiceLink::on_alarm(unsigned int /*alarm*/, void *link) {
  auto *self = static_cast<ServiceLink *>(link);
  if (self->state_ == State::kGreeting && Clock::now() - self->greeted_at_ > kGreetingPatience) {
    self->fail("no answer to the greeting");
  }
  if (self->state_ == State::kDown && Clock::now() >= self->retry_at_) {
    self->connect();
  }
}

void ServiceLink::on_readable(int /*fd*/, void *link) {
  auto *self = static_cast<ServiceLink *>(link);
  switch (self->state_) {
  case State::kDown: break;
  case State::kGreeting: self->read_greeting_reply(); break;
  case State::kUp: self->read_unasked(); break;
  }
}

void ServiceLink::read_greeting_reply() {
  char message[sizeof(ipc_wire::GreetingReply) + 1];
  const ssize_t length = recv(fd_, message, sizeof(message), MSG_DONTWAIT);
  if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
    return;
  }
  if (length <= 0) {
    fail("the service closed the connection during the handshake");
    return;
  }
  const std::string fault = ipc_wire::greeting_reply_fault(message, static_cast<size_t>(length));
  if (!fault.empty()) {
    fail(fault);
    return;
  }
  state_ = State::kUp;
  up_since_ = Clock::now();
  stop_trying();
  if (!announced_) {
    announced_ = true;
    snmp_log(LOG_INFO, "fcs: %s: connected to the FCS service at %s\n", label_,
             settings().service_socket.c_str());
    log_health();
  }
}

/** Says how the exchanges have gone, once there were some. */
void ServiceLink::log_health() const {
  if (exchanges_ > 0) {
    snmp_log(LOG_INFO, "fcs: %s: %" PRIu64 " since the start, %" PRIu64 " failed, %.3f s waited\n",
             label_, exchanges_, failures_, std::chrono::duration<double>(waited_).count());
  }
}

/** What arrives outside of an exchange: the connection's end, or the service's own messages. */
void ServiceLink::read_unasked() {
  const auto began = Clock::now();
  for (int i = 0; i < kMessagesPerTurn && state_ == State::kUp; ++i) {
    ipc_wire::Frame frame{};
    const ssize_t length = recv(fd_, &frame, sizeof(frame), MSG_DONTWAIT | MSG_TRUNC);
    if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
      return;
    }
    if (length <= 0) {
      fail(ending(length));
    } else if (receiver_ == nullptr || static_cast<size_t>(length) < sizeof(frame.header) ||
               static_cast<size_t>(length) > sizeof(frame)) {
      fail("the service sent a message that nobody asked for, of " + std::to_string(length) +
           " octets");
    } else {
      receiver_(frame, static_cast<size_t>(length) - sizeof(frame.header));
    }
    if (const auto taken = Clock::now() - began; taken > kShortTurn && state_ == State::kUp) {
      rest(std::chrono::duration_cast<std::chrono::microseconds>(taken));
      return;
    }
  }
}

/** Leaves alone what arrives next: requests have the agent for as long as they had to wait. */
void ServiceLink::rest(std::chrono::microseconds duration) {
  unregister_readfd(fd_);
  rest_alarm_ = snmp_alarm_register_hr(to_timeval(duration), 0, on_rested, this);
}

void ServiceLink::on_rested(unsigned int /*alarm*/, void *link) {
  auto *self = static_cast<ServiceLink *>(link);
  self->rest_alarm_ = 0;
  self->listen();
}

bool ServiceLink::exchange(ipc_wire::FrameHeader &header, const void *payload, size_t length,
                           ipc_wire::Reply &reply, size_t &reply_length) {
  if (state_ != State::kUp) {
    errno = ENOTCONN;
    return false;
  }
  const auto began = Clock::now();
  const bool answered = ask(header, payload, length, reply, reply_length);
  waited_ += Clock::now() - began;
  ++exchanges_;
  failures_ += answered ? 0 : 1;
  return answered;
}

bool ServiceLink::ask(ipc_wire::FrameHeader &header, const void *payload, size_t length,
                      ipc_wire::Reply &reply, size_t &reply_length) {
  header.sequence = ++sequence_;
  const auto deadline = Clock::now() + settings().exchange_timeout;
  if (!send(header, payload, length)) {
    const int error = errno;
    fail("cannot send a request: " + std::string(strerror(error)));
    errno = error;
    return false;
  }
  return await_reply(header, deadline, reply, reply_length);
}

bool ServiceLink::send(const ipc_wire::FrameHeader &header, const void *payload, size_t length) {
  iovec parts[] = {{const_cast<ipc_wire::FrameHeader *>(&header), sizeof(header)},
                   {const_cast<void *>(payload), length}};
  msghdr message{};
  message.msg_iov = parts;
  message.msg_iovlen = 2;
  return sendmsg(fd_, &message, MSG_NOSIGNAL) >= 0;
}

/** Receives the next message, as recv does; -1 with errno ETIMEDOUT when none comes in time. */
ssize_t ServiceLink::receive(Clock::time_point deadline, ipc_wire::Reply &reply) {
  const auto left = deadline - Clock::now();
  const timespec timeout = {
      static_cast<time_t>(std::chrono::floor<std::chrono::seconds>(left).count()),
      static_cast<long>((left % 1s).count())};
  pollfd readable{fd_, POLLIN, 0};
  const int ready = left <= 0ns ? 0 : ppoll(&readable, 1, &timeout, nullptr);
  if (ready == 0) {
    errno = ETIMEDOUT;
  }
  return ready <= 0 ? -1 : recv(fd_, &reply, sizeof(reply), MSG_TRUNC);
}

bool ServiceLink::await_reply(const ipc_wire::FrameHeader &request, Clock::time_point deadline,
                              ipc_wire::Reply &reply, size_t &reply_length) {
  while (true) {
    const ssize_t length = receive(deadline, reply);
    if (length < 0 && errno == ETIMEDOUT) {
      fail("no answer within " + std::to_string(settings().exchange_timeout.count()) + " ms");
      retry_at_ = Clock::now() + kRetryInterval * (1 << doublings_);
      doublings_ = std::min(doublings_ + 1, kMostDoublings);
      errno = ETIMEDOUT;
      return false;
    }
    if (length < 0 && (errno == EINTR || errno == EAGAIN)) {
      continue;
    }
    if (length <= 0) {
      const int error = length == 0 ? ECONNRESET : errno;
      fail(ending(length));
      errno = error;
      return false;
    }
    const auto octets = static_cast<size_t>(length);
    if (octets >= sizeof(reply.header) && reply.header.sequence != request.sequence) {
      continue; // Not the answer to this request: passed over, within the same deadline.
    }
    if (!is_whole(reply.header, octets, ipc_wire::rows_of(request))) {
      fail("the service sent a reply of " + std::to_string(octets) + " octets");
      errno = EPROTO;
      return false;
    }
    reply_length = octets - sizeof(reply.header);
    doublings_ = 0;
    return true;
  }
}

void ServiceLink::fail(const std::string &why) {
  const bool was_steady = state_ == State::kUp && Clock::now() - up_since_ > kSteadyAfter;
  disconnect();
  keep_trying();
  if (was_steady || why != last_fault_) {
    last_fault_ = why;
    announced_ = false;
    snmp_log(LOG_ERR, "fcs: %s: FCS service at %s: %s\n", label_, settings().service_socket.c_str(),
             why.c_str());
  }
}

void ServiceLink::disconnect() {
  if (rest_alarm_ != 0) {
    snmp_alarm_unregister(rest_alarm_);
    rest_alarm_ = 0;
  }
  if (fd_ >= 0) {
    unregister_readfd(fd_);
    ::close(fd_);
    fd_ = -1;
  }
  state_ = State::kDown;
}

void ServiceLink::keep_trying() {
  if (alarm_ == 0) {
    alarm_ = snmp_alarm_register_hr(to_timeval(kRetryInterval), SA_REPEAT, on_alarm, this);
  }
}

void ServiceLink::stop_trying() {
  if (alarm_ != 0) {
    snmp_alarm_unregister(alarm_);
    alarm_ = 0;
  }
}
