#include "service_ends.h"

#include "agent.h"
#include "tests/service_peer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>

std::string readable(const std::string &octets) {
  const bool is_text = std::ranges::none_of(octets, [](char octet) { return octet < ' '; });
  return is_text ? octets : std::to_string(octets.size()) + " octets";
}

static std::string text_of(const ipc_wire::Frame &frame, size_t length, ipc_wire::Purpose purpose) {
  const ipc_wire::Greeting greeting = ipc_wire::greeting_for(purpose);
  if (length == sizeof(greeting) && memcmp(&frame, &greeting, length) == 0) {
    return "greeted";
  }
  const ipc_wire::FrameHeader &header = frame.header;
  last_sequence = header.sequence;
  const std::string payload(reinterpret_cast<const char *>(frame.payload), length - sizeof(header));
  const bool is_usual = strcmp(header.user, "olga") == 0 && header.session == 9;
  return "sent " + std::to_string(header.opcode) + "/" + std::to_string(header.flag) + " " +
         readable(payload) +
         (is_usual ? "" : " of " + readable(header.user) + "/" + std::to_string(header.session)) +
         (header.rows == 1 ? "" : " for " + std::to_string(header.rows) + " rows");
}

ServiceEnds::ServiceEnds() {
  service_peer::on_connection = [this](Fd peer) {
    hear();
    End &end = exchanges.peer ? notifications : exchanges;
    if (refusal == 0) {
      end.peer = std::move(peer);
      greet(end);
    } else {
      Agent::tell(end.name + "refused");
    }
    return refusal;
  };
}

void ServiceEnds::greet(const End &end) const {
  const bool is_scripted = end.purpose == ipc_wire::kExchange;
  const auto reply = is_scripted ? greeting : ipc_wire::reply_to_greeting("");
  end.say({reinterpret_cast<const char *>(&reply), is_scripted ? greeting_length : sizeof(reply)});
}

void ServiceEnds::hear() {
  if (!is_deaf) {
    exchanges.hear();
    notifications.hear();
  }
}

void ServiceEnds::End::hear() {
  while (peer) {
    ipc_wire::Frame frame{};
    const ssize_t length = recv(peer.get(), &frame, sizeof(frame), MSG_DONTWAIT);
    if (length < 0 && errno == EAGAIN) {
      return;
    }
    Agent::tell(name +
                (length <= 0 ? "hung up" : text_of(frame, static_cast<size_t>(length), purpose)));
    peer = length <= 0 ? Fd() : std::move(peer);
  }
}

void ServiceEnds::End::say(const std::string &octets) const {
  if (!octets.empty()) {
    service_peer::send_to_agent(peer, octets.data(), octets.size());
  }
}

void ServiceEnds::End::say(const ipc_wire::FrameHeader &header, const std::string &payload) const {
  say(std::string(reinterpret_cast<const char *>(&header), sizeof(header)) + payload);
}
