/**
 * One connection of the agent to the FCS service, for its whole life: connecting, the handshake,
 * use, failure, and trying again. Nothing here makes the agent wait but exchange(), and that only
 * as long as its deadline; a link that is down fails at once.
 *
 * The service proves itself alive by answering the greeting of a new connection. That is tried from
 * the agent's alarm loop and noticed by its select loop, never by a request.
 */
#pragma once

#include "common/wire/ipc_wire.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

class ServiceLink {
public:
  /** Takes a frame that the service sent by itself, with `length` octets of payload. */
  using Receiver = void (*)(const ipc_wire::Frame &frame, size_t length);

  /** \param receiver Null when the service is to send nothing unasked on this link. */
  ServiceLink(const char *label, ipc_wire::Purpose purpose, Receiver receiver)
      : label_(label), purpose_(purpose), receiver_(receiver) {}

  /** Begins to connect, with the settings in force. An open link is closed first. */
  void open();

  /** Closes the connection and stops trying. */
  void close();

  /** Waits until the link is up, at most for `timeout`. */
  void await_up(std::chrono::milliseconds timeout);

  /**
   * Sends a request and waits for its reply until the deadline of the settings.
   * \param header   The request's; the link fills in the sequence number.
   * \param reply    Receives the reply: as many records as the request has use for, at most, and
   *                 none longer than kMessageRoom.
   * \param reply_length Receives the octets of its payload.
   * \return false when the exchange failed, with errno telling why. The link is then down.
   */
  bool exchange(ipc_wire::FrameHeader &header, const void *payload, size_t length,
                ipc_wire::Reply &reply, size_t &reply_length);

private:
  enum class State { kDown, kGreeting, kUp };
  using Clock = std::chrono::steady_clock;

  static void on_alarm(unsigned int alarm, void *link);
  static void on_readable(int fd, void *link);
  static void on_rested(unsigned int alarm, void *link);

  void connect();
  bool listen();
  bool peer_is_trusted();
  void read_greeting_reply();
  void read_unasked();
  void rest(std::chrono::microseconds duration);
  bool ask(ipc_wire::FrameHeader &header, const void *payload, size_t length,
           ipc_wire::Reply &reply, size_t &reply_length);
  bool send(const ipc_wire::FrameHeader &header, const void *payload, size_t length);
  ssize_t receive(Clock::time_point deadline, ipc_wire::Reply &reply);
  bool await_reply(const ipc_wire::FrameHeader &request, Clock::time_point deadline,
                   ipc_wire::Reply &reply, size_t &reply_length);
  void fail(const std::string &why);
  void log_health() const;
  void leave();
  void disconnect();
  void keep_trying();
  void stop_trying();

  const char *label_;
  ipc_wire::Purpose purpose_;
  Receiver receiver_;
  State state_ = State::kDown;
  int fd_ = -1;
  unsigned int alarm_ = 0;
  unsigned int rest_alarm_ = 0; ///< While the select loop does not watch an open connection.
  uint32_t sequence_ = 0;
  Clock::time_point greeted_at_;
  Clock::time_point up_since_;
  Clock::time_point retry_at_;
  int doublings_ = 0;      ///< Exchanges without an answer since the last one with an answer.
  std::string last_fault_; ///< Reported already: a lasting fault is logged once.
  uint64_t exchanges_ = 0; ///< Since the start.
  uint64_t failures_ = 0;  ///< Of these, without an answer.
  Clock::duration waited_{};
  bool announced_ = false; ///< Whether the connection has been reported since the last fault.
};
