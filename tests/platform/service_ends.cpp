#include "service_ends.h"

#include "agent.h"
#include "tests/service_peer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>

std::string written_out(const std::string &text) {
  if (text.size() > 2 && text[1] == '*') {
    return std::string(std::stoul(text.substr(2)), text[0]);
  }
  return text == "-" ? "" : text;
}

std::string abbreviated(const std::string &text) {
  if (std::ranges::any_of(text, [](char octet) { return octet < ' '; })) {
    return std::to_string(text.size()) + " octets";
  }
  const bool is_row = text.size() > 4 && text.find_first_not_of(text[0]) == std::string::npos;
  return is_row ? text.substr(0, 1) + "*" + std::to_string(text.size()) : text;
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
         abbreviated(payload) +
         (is_usual ? ""
                   : " of " + abbreviated(header.user) + "/" + std::to_string(header.session)) +
         (header.rows == 1 ? "" : " for " + std::to_string(header.rows) + " rows") +
         (header.processor == 0 ? "" : " on a processor");
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

ServiceEnds::~ServiceEnds() {
  service_peer::on_connection = nullptr;
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
