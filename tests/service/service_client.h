/**
 * The running service and a client of it, for tests.
 */
#pragma once

#include "fixtures.h"

#include "common/system/fd.h"
#include "common/wire/ipc_wire.h"
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "service/protocol/fcs_control.h"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <memory>
#include <span>
#include <sys/socket.h>
#include <sys/time.h>

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
  /** One that is welcome. */
  Client(const std::string &path, ipc_wire::Purpose purpose) : Client(path) {
    EXPECT_EQ(greet(purpose), "");
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
    receive();
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

  /** The next notification as its opcode and words. */
  std::vector<uint32_t> notification() {
    std::vector<uint32_t> words(receive() / sizeof(uint32_t) + 1, reply_.header.opcode);
    EXPECT_EQ(reply_.header.sequence, 0U);
    std::memcpy(words.data() + 1, reply_.payload, (words.size() - 1) * sizeof(uint32_t));
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
  /** Takes a frame, gives the length of its payload. */
  size_t receive() {
    reply_ = {};
    constexpr ssize_t kHeader = sizeof(reply_.header);
    const ssize_t got = recv(fd_.get(), &reply_, sizeof(reply_), 0);
    EXPECT_GE(got, kHeader);
    return static_cast<size_t>(std::max(got, kHeader) - kHeader);
  }

  Fd fd_;
  uint32_t sequence_ = 0;
  ipc_wire::Frame reply_{};
};

/** A service of the sample fabric that runs; a discovery takes milliseconds. */
class LiveService : public testing::Test {
protected:
  LiveService() { start(); }
  ~LiveService() override {
    if (HasFailure()) {
      std::cerr << "the service's log:\n" << service_->log();
    }
  }

  std::vector<std::string> command() const {
    return {FCSD,       "--socket",    socket_,        "--store", store_,
            "--fabric", SAMPLE_FABRIC, "--time-scale", "1000"};
  }
  /** Starts the service, anew with a log of its own. */
  void start() {
    service_ = std::make_unique<Process>(command(), dir_.path("log" + std::to_string(++log_)));
    EXPECT_TRUE(service_->logs("ready: ")) << service_->log();
  }

  Outcome fcsctl(const std::vector<std::string> &arguments) const {
    return run({FCSCTL, "--socket", socket_, "--store", store_}, arguments);
  }

  Client connect(ipc_wire::Purpose purpose) const { return {socket_, purpose}; }

  /** The service answers. */
  void expect_alive() const {
    Client client = connect(ipc_wire::kExchange);
    EXPECT_EQ(client.ask(FCS_MSG_REQUEST, FCS_OP_GET, {FCS_REC_PORT_COUNT}), FCS_OK);
    EXPECT_EQ(client.first_word(), 48U);
  }

  TempDir dir_;
  std::string socket_ = dir_.path("fcsd.sock");
  std::string store_ = dir_.path("fabric.db");
  std::unique_ptr<Process> service_;
  int log_ = 0;
};
