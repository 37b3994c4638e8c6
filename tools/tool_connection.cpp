#include "tool_connection.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>

namespace fcsctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{2};

/** Whether the descriptor becomes readable before the deadline. */
bool wait_until_readable(int fd, Clock::time_point deadline) {
  pollfd polled{fd, POLLIN, 0};
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    ready = poll(&polled, 1, std::max(0, static_cast<int>(left.count())));
  } while (ready < 0 && errno == EINTR);
  return ready > 0;
}

} // namespace

ToolConnection::ToolConnection(const std::string &path, ipc_wire::Purpose purpose)
    : path_(path), fd_(ipc_wire::connect_to(path, SOCK_NONBLOCK)) {
  if (fd_) {
    greet(purpose);
    return;
  }
  const int error = errno;
  if (error == ECONNREFUSED && !std::filesystem::is_socket(path)) {
    fail(std::filesystem::is_regular_file(path) ? "a regular file, not a socket" : "not a socket");
  }
  if (error == ENOENT || error == ECONNREFUSED) {
    fail("the FCS service is not running");
  }
  fail(error == EAGAIN ? "the FCS service takes no connections"
                       : std::string("cannot connect: ") + std::strerror(error));
}

void ToolConnection::greet(ipc_wire::Purpose purpose) {
  const ipc_wire::Greeting greeting = ipc_wire::greeting_for(purpose);
  send(&greeting, sizeof(greeting));
  ipc_wire::GreetingReply reply{};
  const size_t length = receive(&reply, sizeof(reply));
  const std::string fault = ipc_wire::greeting_reply_fault(&reply, length);
  if (!fault.empty()) {
    fail(fault);
  }
}

void ToolConnection::send(const void *message, size_t length) {
  if (::send(fd_.get(), message, length, MSG_NOSIGNAL) < 0) {
    fail(std::string("cannot send: ") + std::strerror(errno));
  }
}

size_t ToolConnection::receive(void *room, size_t length) {
  if (!wait_until_readable(fd_.get(), Clock::now() + kPatience)) {
    fail("the FCS service does not answer");
  }
  const ssize_t got = recv(fd_.get(), room, length, 0);
  if (got <= 0) {
    fail("the FCS service has closed the connection");
  }
  return static_cast<size_t>(got);
}

size_t ToolConnection::receive_patiently(void *room, size_t length) {
  while (!wait_until_readable(fd_.get(), Clock::now() + std::chrono::hours(1))) {
  }
  return receive(room, length);
}

void ToolConnection::fail(const std::string &fault) const {
  throw std::runtime_error(path_ + ": " + fault);
}

} // namespace fcsctl
