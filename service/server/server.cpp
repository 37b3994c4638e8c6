#include "server.h"

#include "service/protocol/fcs_control.h"
#include "service/protocol/message_dispatch.h"
#include "service/reports/log.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>

namespace fcs {

namespace {

/** After which the service leaves an agent's processor. */
constexpr std::chrono::seconds kSilence{1};
/** Clients beyond the limit that are kept only until they can be told so. */
constexpr size_t kRefusedClients = 16;

const char *purpose_name(uint32_t purpose) {
  switch (purpose) {
  case ipc_wire::kExchange: return "exchange";
  case ipc_wire::kNotification: return "notification";
  case ipc_wire::kControl: return "control";
  default: return "new";
  }
}

/** Octets of the longest payload that one message of the socket can have behind a header. */
size_t reply_room_of(int socket) {
  constexpr size_t kOverhead = 32; // Of the kernel's: it refuses messages that leave less room.
  int buffer = 0;
  socklen_t length = sizeof(buffer);
  if (getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &buffer, &length) != 0) {
    return ipc_wire::kMessageRoom;
  }
  const auto room = static_cast<size_t>(buffer);
  const size_t taken = kOverhead + sizeof(ipc_wire::FrameHeader);
  return std::clamp<size_t>(room - std::min(room, taken), ipc_wire::kMessageRoom,
                            ipc_wire::kBatchRoom);
}

double seconds(std::chrono::nanoseconds duration) {
  return std::chrono::duration<double>(duration).count();
}

/** The user's name, which a client may have left without its NUL. */
std::string_view user_of(const ipc_wire::FrameHeader &header) {
  return {header.user, strnlen(header.user, sizeof(header.user))};
}

} // namespace

Server::Server(const Parts &parts, PeerPolicy policy)
    : listener_(parts.listener), store_(parts.store), discovery_(parts.discovery),
      configuration_(parts.configuration), notifications_(parts.notifications), policy_(policy),
      started_(Clock::now()), accept_again_(started_) {
  if (store_.watch().fd() >= 0) {
    discovery_.expect_to_be_told();
  }
}

void Server::run(int stop_fd) {
  for (;;) {
    polled_.clear();
    polled_.push_back({stop_fd, POLLIN, 0});
    const bool accepting = Clock::now() >= accept_again_;
    polled_.push_back({accepting ? listener_.fd() : -1, POLLIN, 0});
    polled_.push_back({store_.watch().fd(), POLLIN, 0});
    const size_t first_client = polled_.size();
    for (const Client &client : clients_) {
      const int events = client.outbox.empty() ? POLLIN : POLLIN | POLLOUT;
      polled_.push_back({client.fd.get(), static_cast<short>(events), 0});
    }
    const int ready = poll(polled_.data(), polled_.size(), poll_timeout());
    if (ready == 0) {
      processor_.release();
    }
    if (ready < 0) {
      if (errno == EINTR) {
        continue;
      }
      throw std::system_error(errno, std::generic_category(), "cannot wait for messages");
    }
    if (polled_[0].revents != 0) {
      return;
    }
    for (size_t i = 0; i < clients_.size(); ++i) {
      if (polled_[first_client + i].revents != 0) {
        serve(clients_[i]);
      }
    }
    if (polled_[2].revents != 0) {
      store_.watch().take();
      discovery_.store_may_have_changed();
    }
    drop_silent_clients();
    discovery_.run_due();
    manager_.run_due();
    distribute_notifications();
    std::erase_if(clients_, [](const Client &client) { return client.gone; });
    if (polled_[1].revents != 0) {
      accept_clients();
    }
  }
}

/** Until a client's time to greet is over, or discovery or the watchdog is due, or the agent that
 * the service has gone to has been silent for a while; milliseconds, -1 for as long as it takes. */
int Server::poll_timeout() const {
  const Clock::time_point now = Clock::now();
  Clock::time_point wake = std::min(discovery_.next_due(), manager_.next_due());
  if (now < accept_again_) {
    wake = std::min(wake, accept_again_);
  }
  for (const Client &client : clients_) {
    if (client.purpose == 0) {
      wake = std::min(wake, client.greet_by);
    }
  }
  if (processor_.number() >= 0) {
    wake = std::min(wake, now + kSilence);
  }
  if (wake == Clock::time_point::max()) {
    return -1;
  }
  const auto wait = std::chrono::ceil<std::chrono::milliseconds>(wake - now);
  return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(wait.count(), 0, INT_MAX));
}

void Server::drop_silent_clients() {
  const Clock::time_point now = Clock::now();
  for (Client &client : clients_) {
    if (!client.gone && client.purpose == 0 && client.greet_by <= now) {
      refuse(client, "no greeting within " + std::to_string(kGreetingTime.count()) + " ms");
    }
  }
}

void Server::accept_clients() {
  for (;;) {
    Fd fd(accept4(listener_.fd(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (fd) {
      add_client(std::move(fd));
    } else if (errno == EAGAIN) {
      return;
    } else if (errno != EINTR && errno != ECONNABORTED) {
      // Out of descriptors or memory: the waiting client would wake the loop again and again.
      log_line("cannot accept a connection: %s", std::strerror(errno));
      accept_again_ = Clock::now() + std::chrono::milliseconds(200);
      return;
    }
  }
}

void Server::add_client(Fd fd) {
  if (clients_.size() >= kMaxClients + kRefusedClients) {
    log_line("connection dropped: far too many clients");
    return;
  }
  try {
    Peer peer = peer_of(fd.get(), policy_);
    std::string refusal = peer_fault(peer, policy_);
    if (refusal.empty() && clients_.size() >= kMaxClients) {
      refusal = "the service has " + std::to_string(kMaxClients) + " clients already";
    }
    const size_t reply_room = reply_room_of(fd.get());
    clients_.push_back({std::move(fd), std::move(peer), 0, Clock::now() + kGreetingTime,
                        std::move(refusal), false, reply_room});
  } catch (const std::system_error &error) {
    log_line("connection dropped: %s", error.what());
  }
}

/** Takes one message, so that a busy client does not starve the others. */
void Server::serve(Client &client) {
  const ssize_t got = recv(client.fd.get(), &request_, sizeof(request_), MSG_DONTWAIT | MSG_TRUNC);
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
    return;
  }
  if (got <= 0) {
    end(client, got == 0 ? "closed by the client" : std::strerror(errno));
    return;
  }
  const auto length = static_cast<size_t>(got);
  if (client.purpose == 0) {
    greet(client, length);
  } else {
    answer_frame(client, length);
  }
}

void Server::greet(Client &client, size_t length) {
  // The client's own right to be here is judged first: its greeting is of no interest without it.
  const std::string fault =
      client.refusal.empty() ? ipc_wire::greeting_fault(&request_, length) : client.refusal;
  if (!fault.empty()) {
    refuse(client, fault);
    return;
  }
  ipc_wire::Greeting greeting{};
  std::memcpy(&greeting, &request_, sizeof(greeting));
  const ipc_wire::GreetingReply reply = ipc_wire::reply_to_greeting(fault);
  if (!send_message(client, &reply, sizeof(reply))) {
    drop(client, "cannot be answered");
    return;
  }
  client.purpose = greeting.purpose;
  log_line("%s connection from pid %d, uid %u", purpose_name(client.purpose), client.peer.pid,
           client.peer.uid);
}

void Server::refuse(Client &client, const std::string &fault) {
  log_line("connection from pid %d, uid %u refused: %s", client.peer.pid, client.peer.uid,
           fault.c_str());
  const ipc_wire::GreetingReply reply = ipc_wire::reply_to_greeting(fault);
  send_message(client, &reply, sizeof(reply));
  client.gone = true;
  ++refused_;
}

void Server::answer_frame(Client &client, size_t length) {
  if (length < sizeof(request_.header) || length > sizeof(request_)) {
    drop(client, "sent what is no message");
    return;
  }
  if (client.purpose == ipc_wire::kNotification) {
    drop(client, "sent a message on a connection for notifications");
    return;
  }
  const Clock::time_point began = Clock::now();
  const Answer made = answer(client, {request_.payload, length - sizeof(request_.header)});
  if (client.purpose == ipc_wire::kExchange) {
    count_request(made.result, Clock::now() - began);
  }
  reply_.header = {};
  reply_.header.sequence = request_.header.sequence;
  reply_.header.opcode = request_.header.opcode;
  reply_.header.result = made.result;
  reply_.header.rows = made.rows;
  reply_.header.end = made.end;
  if (!send_message(client, &reply_, sizeof(reply_.header) + made.length)) {
    drop(client, "does not read its answers");
  }
  if (client.purpose == ipc_wire::kExchange) {
    follow(request_.header.processor);
  }
}

Answer Server::answer(const Client &client, Octets payload) {
  const std::span<uint8_t> room(reply_.payload, client.reply_room);
  if (client.purpose == ipc_wire::kControl) {
    processor_.release();
    return answer_control(payload);
  }
  if (request_.header.opcode == FCS_MSG_REQUEST) {
    return answers_.answer({store_, configuration_, user_of(request_.header),
                            ipc_wire::rows_of(request_.header), request_.header.shown},
                           request_.header.flag, payload, room);
  }
  return answer_message(kAgentMessages, {store_, discovery_}, request_.header, payload, room);
}

void Server::count_request(int32_t result, Clock::duration took) {
  ++requests_;
  if (result != FCS_OK && result != FCS_ERR_NO_SUCH_ROW) {
    ++failed_;
  }
  busy_ += took;
  longest_ = std::max(longest_, took);
}

/** Goes where the next request will come from, for which the agent has to stay somewhere. */
void Server::follow(uint32_t processor) {
  const auto there = static_cast<int>(processor - 1);
  if (there < 0) {
    processor_.release();
  } else if (there != processor_.number() && there == agents_processor_) {
    processor_.hold(there);
  }
  agents_processor_ = there;
}

Answer Server::answer_control(Octets payload) {
  if (request_.header.opcode != FCS_CTL_STATUS) {
    return answer_message(kControlMessages, {store_, discovery_}, request_.header, payload,
                          reply_.payload);
  }
  if (!payload.empty()) {
    return {FCS_ERR_BAD_LENGTH, 0};
  }
  try {
    const std::string text = status_text();
    std::memcpy(reply_.payload, text.data(), text.size());
    return {FCS_OK, static_cast<uint32_t>(text.size())};
  } catch (const SqliteError &error) {
    log_line("cannot read the store %s for the status: %s", store_.path().c_str(), error.what());
    return {result_of(error), 0};
  }
}

std::string Server::status_text() {
  const FabricTotals totals = store_.totals();
  const auto uptime = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - started_);
  size_t waiting = notifications_.size();
  for (const Client &client : clients_) {
    waiting += client.outbox.size();
  }
  nlohmann::ordered_json status{{"pid", getpid()},
                                {"uptimeSeconds", uptime.count()},
                                {"requests", requests_},
                                {"failedRequests", failed_},
                                {"busySeconds", seconds(busy_)},
                                {"longestSeconds", seconds(longest_)},
                                {"refusedConnections", refused_},
                                {"droppedConnections", dropped_},
                                {"waitingNotifications", waiting},
                                {"store", store_.path()},
                                {"storeInPlace", store_.in_place()},
                                {"vsans", totals.vsans},
                                {"elements", totals.elements},
                                {"ports", totals.ports},
                                {"platforms", totals.platforms},
                                {"connections", nlohmann::ordered_json::object()}};
  for (const uint32_t purpose :
       {ipc_wire::kExchange, ipc_wire::kNotification, ipc_wire::kControl}) {
    status["connections"][purpose_name(purpose)] =
        std::ranges::count(clients_, purpose, &Client::purpose);
  }
  constexpr auto kReplace = nlohmann::ordered_json::error_handler_t::replace;
  std::string text = status.dump(-1, ' ', false, kReplace);
  if (text.size() > ipc_wire::kMessageRoom) {
    status.erase("store");
    text = status.dump();
  }
  return text;
}

bool Server::has_notification_client() const {
  return std::ranges::any_of(clients_, [](const Client &client) {
    return client.purpose == ipc_wire::kNotification && !client.gone;
  });
}

void Server::distribute_notifications() {
  for (Client &client : clients_) {
    send_notifications(client);
  }
  while (!notifications_.empty() && has_notification_client()) {
    const Notification notification = notifications_.front();
    notifications_.pop();
    for (Client &client : clients_) {
      if (client.purpose == ipc_wire::kNotification && !client.gone) {
        client.outbox.push(notification);
      }
    }
    for (Client &client : clients_) {
      send_notifications(client);
    }
  }
}

void Server::send_notifications(Client &client) {
  while (!client.outbox.empty() && !client.gone) {
    const Notification &next = client.outbox.front();
    ipc_wire::Frame frame{};
    frame.header.opcode = next.opcode;
    std::ranges::copy(next.payload, frame.payload);
    if (!send_message(client, &frame, sizeof(frame.header) + next.payload.size())) {
      if (errno == EAGAIN && client.outbox.full()) {
        drop(client, "does not read its notifications");
      } else if (errno != EAGAIN && errno != EINTR) {
        drop(client, std::strerror(errno));
      }
      return;
    }
    client.outbox.pop();
  }
}

void Server::drop(Client &client, const char *reason) {
  ++dropped_;
  end(client, reason);
}

void Server::end(Client &client, const char *reason) {
  log_line("%s connection of pid %d, uid %u ends: %s", purpose_name(client.purpose),
           client.peer.pid, client.peer.uid, reason);
  client.gone = true;
  // Others have had the same; the last one leaves what it did not take to the next.
  if (!has_notification_client()) {
    notifications_.put_back(client.outbox);
  }
}

/** False when the client's socket is full or broken. */
bool Server::send_message(const Client &client, const void *message, size_t length) {
  const ssize_t sent = send(client.fd.get(), message, length, MSG_DONTWAIT | MSG_NOSIGNAL);
  return sent == static_cast<ssize_t>(length);
}

} // namespace fcs
