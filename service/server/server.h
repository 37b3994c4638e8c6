/**
 * The service's connections: one thread, one poll loop, and no client that can hold it up.
 */
#pragma once

#include "common/wire/ipc_wire.h"
#include "common/wire/processor_pin.h"
#include "listener.h"
#include "peer_policy.h"
#include "service/configuration/configuration.h"
#include "service/discovery/discovery.h"
#include "service/protocol/kept_answers.h"
#include "service/reports/notification_queue.h"
#include "service/store/fabric_store.h"
#include "service_manager.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <poll.h>
#include <string>
#include <vector>

namespace fcs {

class Server {
public:
  /** How many clients are served at the same time. */
  static constexpr size_t kMaxClients = 64;
  /** How long a client may take to greet. */
  static constexpr std::chrono::milliseconds kGreetingTime{2000};

  /** What the server serves; all of it has to outlive the server. */
  struct Parts {
    Listener &listener;
    FabricStore &store;
    Discovery &discovery;
    Configuration &configuration;
    NotificationQueue &notifications; ///< Wait here for as long as no client takes them.
  };

  Server(const Parts &parts, PeerPolicy policy);

  /** Serves until `stop_fd` becomes readable. */
  void run(int stop_fd);

private:
  using Clock = std::chrono::steady_clock;

  struct Client {
    Fd fd;
    Peer peer;
    uint32_t purpose; ///< ipc_wire::Purpose; 0 until the client has greeted.
    Clock::time_point greet_by;
    std::string refusal;        ///< Why its greeting will be refused, if it will.
    bool gone;                  ///< To be forgotten after this round.
    size_t reply_room;          ///< Octets of the longest payload that its socket takes.
    NotificationQueue outbox{}; ///< What a notification client's socket has no room for yet.
  };

  int poll_timeout() const;
  void drop_silent_clients();
  void accept_clients();
  void add_client(Fd fd);
  void serve(Client &client);
  void greet(Client &client, size_t length);
  void refuse(Client &client, const std::string &fault);
  void answer_frame(Client &client, size_t length);
  Answer answer(const Client &client, Octets payload);
  void count_request(int32_t result, Clock::duration took);
  void follow(uint32_t processor);
  Answer answer_control(Octets payload);
  std::string status_text();
  bool has_notification_client() const;
  void distribute_notifications();
  void send_notifications(Client &client);
  void drop(Client &client, const char *reason);
  void end(Client &client, const char *reason);
  static bool send_message(const Client &client, const void *message, size_t length);

  Listener &listener_;
  FabricStore &store_;
  Discovery &discovery_;
  Configuration &configuration_;
  NotificationQueue &notifications_;
  KeptAnswers answers_;
  PeerPolicy policy_;
  Clock::time_point started_;
  Clock::time_point accept_again_;
  ProcessorPin processor_;
  int agents_processor_ = -1; ///< Number of that of the last request; -1 when unknown.
  ServiceManager manager_;
  uint64_t requests_ = 0;  ///< Of the agent, answered.
  uint64_t failed_ = 0;    ///< Of these, with an error; that there is no row is none.
  Clock::duration busy_{}; ///< That it took to answer them.
  Clock::duration longest_{};
  uint64_t refused_ = 0; ///< Connections.
  uint64_t dropped_ = 0; ///< Connections that the service itself ended.
  std::vector<Client> clients_;
  std::vector<pollfd> polled_;
  ipc_wire::Frame request_{};
  ipc_wire::Reply reply_{};
};

} // namespace fcs
