/**
 * A client of the running service, for tests.
 */
#pragma once

#include "platform/linux/ipc_wire.h"
#include "platform/linux/fd.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <span>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <vector>

/** A client of the service. Receiving has a deadline of five seconds. */
class Client {
public:
  /** Who asks: somebody who tries to start a line of their own in the log. */
  static constexpr char kUser[64] = "operator\n2";

  explicit Client(const std::string &path) : fd_(ipc_wire::connect_to(path, 0)) {
    EXPECT_TRUE(fd_) << std::strerror(errno);
    const timeval patience{5, 0};
    setsockopt(fd_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience));
  }

  int fd() const { return fd_.get(); }

  ssize_t send(const void *message, size_t length, int flags = 0) {
    return ::send(fd_.get(), message, length, MSG_NOSIGNAL | flags);
  }

  /** Greets, and tells why it was refused; empty if it was not. */
  std::string greet(const ipc_wire::Greeting &greeting) {
    send(&greeting, sizeof(greeting));
    return greeting_reply();
  }
  std::string greet(ipc_wire::Purpose purpose) { return greet(ipc_wire::greeting_for(purpose)); }

  std::string greeting_reply() {
    ipc_wire::GreetingReply reply{};
    const ssize_t got = recv(fd_.get(), &reply, sizeof(reply), 0);
    return ipc_wire::greeting_reply_fault(&reply, got < 0 ? 0 : static_cast<size_t>(got));
  }

  /** Sends a request, gives its reply's result. */
  int32_t ask(uint32_t opcode, uint32_t flag, const std::vector<uint32_t> &payload) {
    ipc_wire::Frame frame{};
    frame.header.sequence = ++sequence_;
    frame.header.opcode = opcode;
    frame.header.flag = flag;
    std::memcpy(frame.header.user, kUser, sizeof(kUser));
    std::ranges::copy(std::as_bytes(std::span(payload)),
                      reinterpret_cast<std::byte *>(frame.payload));
    send(&frame, sizeof(frame.header) + payload.size() * 4);
    reply_ = {};
    const ssize_t got = recv(fd_.get(), &reply_, sizeof(reply_), 0);
    EXPECT_GE(got, static_cast<ssize_t>(sizeof(reply_.header)));
    EXPECT_EQ(reply_.header.sequence, sequence_);
    EXPECT_EQ(reply_.header.opcode, opcode);
    return reply_.header.result;
  }
  uint32_t first_word() const {
    uint32_t word = 0;
    std::memcpy(&word, reply_.payload, sizeof(word));
    return word;
  }
  std::string text() const { return reinterpret_cast<const char *>(reply_.payload); }

  /** The next notification as its opcode and words; empty if none comes. */
  std::vector<uint32_t> notification() {
    reply_ = {};
    const ssize_t got = recv(fd_.get(), &reply_, sizeof(reply_), 0);
    if (got < static_cast<ssize_t>(sizeof(reply_.header)) || reply_.header.sequence != 0) {
      return {};
    }
    std::vector<uint32_t> words((static_cast<size_t>(got) - sizeof(reply_.header)) / 4 + 1);
    words[0] = reply_.header.opcode;
    std::memcpy(words.data() + 1, reply_.payload, (words.size() - 1) * 4);
    return words;
  }

  /** Whether the service ends the connection. */
  bool is_dropped() {
    char octet = 0;
    ssize_t got = 0;
    while ((got = recv(fd_.get(), &octet, 1, 0)) > 0) {
    }
    return got == 0 || errno == ECONNRESET;
  }

private:
  Fd fd_;
  uint32_t sequence_ = 0;
  ipc_wire::Frame reply_{};
};
