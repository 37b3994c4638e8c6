#include "tools/control_client.h"

#include "feature/fabric_conf_server/fcs_protocol.h"
#include "platform/linux/ipc_wire.h"
#include "service/fd.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>

namespace fcsctl {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kPatience{2};

/** A connection whose waiting ends at one deadline. */
class Connection {
public:
  explicit Connection(const std::string &path) : path_(path), deadline_(Clock::now() + kPatience) {
    fd_ = fcs::Fd(ipc_wire::connect_to(path, SOCK_NONBLOCK));
    if (fd_) {
      return;
    }
    if (errno == ENOENT || errno == ECONNREFUSED) {
      fail("the FCS service is not running");
    }
    fail(errno == EAGAIN ? "the FCS service takes no connections"
                         : std::string("cannot connect: ") + std::strerror(errno));
  }

  void send(const void *message, size_t length) {
    if (::send(fd_.get(), message, length, MSG_NOSIGNAL) < 0) {
      fail(std::string("cannot send: ") + std::strerror(errno));
    }
  }

  size_t receive(void *room, size_t length) {
    pollfd polled{fd_.get(), POLLIN, 0};
    int ready = 0;
    do {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline_ - Clock::now());
      ready = poll(&polled, 1, std::max(0, static_cast<int>(left.count())));
    } while (ready < 0 && errno == EINTR);
    if (ready == 0) {
      fail("the FCS service does not answer");
    }
    const ssize_t got = recv(fd_.get(), room, length, 0);
    if (got <= 0) {
      fail("the FCS service has closed the connection");
    }
    return static_cast<size_t>(got);
  }

  [[noreturn]] void fail(const std::string &fault) const {
    throw std::runtime_error(path_ + ": " + fault);
  }

private:
  std::string path_;
  Clock::time_point deadline_;
  fcs::Fd fd_;
};

void greet(Connection &connection) {
  const ipc_wire::Greeting greeting = ipc_wire::greeting_for(ipc_wire::kControl);
  connection.send(&greeting, sizeof(greeting));
  ipc_wire::GreetingReply reply{};
  const size_t length = connection.receive(&reply, sizeof(reply));
  const std::string fault = ipc_wire::greeting_reply_fault(&reply, length);
  if (!fault.empty()) {
    connection.fail(fault);
  }
}

std::string result_text(int32_t result) {
  switch (result) {
  case FCS_ERR_NO_SUCH_RECORD: return "the FCS service does not know this request";
  case FCS_ERR_STORE: return "the FCS service cannot use its store, see its log";
  default: return "the FCS service answers with the error " + std::to_string(result);
  }
}

} // namespace

std::string control_request(const std::string &socket, FcsControlMessage opcode,
                            std::string_view payload) {
  Connection connection(socket);
  greet(connection);
  ipc_wire::Frame frame{};
  frame.header.sequence = 1;
  frame.header.opcode = opcode;
  if (payload.size() > sizeof(frame.payload)) {
    connection.fail("the request is too long");
  }
  std::copy(payload.begin(), payload.end(), frame.payload);
  connection.send(&frame, sizeof(frame.header) + payload.size());
  const size_t length = connection.receive(&frame, sizeof(frame));
  if (length < sizeof(frame.header) || frame.header.sequence != 1) {
    connection.fail("the FCS service's answer makes no sense");
  }
  if (frame.header.result != FCS_OK) {
    connection.fail(result_text(frame.header.result));
  }
  return {reinterpret_cast<const char *>(frame.payload), length - sizeof(frame.header)};
}

} // namespace fcsctl
