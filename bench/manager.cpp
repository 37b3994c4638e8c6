/**
 * bench_manager: a manager that costs next to nothing, so that a walk's time is the agent's. One
 * request at a time, SNMPv2c on loopback.
 */
#include "common/program/program.h"
#include "library_walk.h"
#include "sample.h"
#include "snmp_message.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace {

using namespace bench;

struct Options {
  uint16_t port = 161;
  std::string community = "public";
  std::string root;
  std::string from;
  int32_t bulk = 0;
  double seconds = 0;
  double warm_up = 0;
  std::vector<std::string> processes;
  std::vector<std::string> bindings;
};

[[noreturn]] void fail(const std::string &what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/** An agent on loopback. */
class Agent {
public:
  Agent(uint16_t port, std::string community)
      : community_(std::move(community)), socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const timeval patience{100, 0}; // A start on thousands of VSANs takes its time.
    if (socket_ < 0 ||
        connect(socket_, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0 ||
        setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof(patience)) != 0) {
      fail("socket to the agent");
    }
  }
  ~Agent() { close(socket_); }
  Agent(const Agent &) = delete;
  Agent &operator=(const Agent &) = delete;

  /** The agent's answer, which stays valid until the next request. */
  const Response &ask(Tag type, int32_t max_repetitions, std::span<const Binding> bindings) {
    const Octets message =
        encode_request({type, community_, ++last_id_, max_repetitions}, bindings);
    if (send(socket_, message.data(), message.size(), 0) < 0) {
      fail("sending to the agent");
    }
    do {
      const ssize_t length = recv(socket_, received_.data(), received_.size(), 0);
      if (length < 0) {
        fail("no answer of the agent");
      }
      decode_response({received_.data(), static_cast<size_t>(length)}, response_);
    } while (response_.id != last_id_);
    if (response_.error_status != 0) {
      throw std::runtime_error("the agent answers error status " +
                               std::to_string(response_.error_status) + " for binding " +
                               std::to_string(response_.error_index));
    }
    return response_;
  }

private:
  std::string community_;
  int socket_;
  int32_t last_id_ = 0;
  std::array<uint8_t, 65536> received_{};
  Response response_;
};

/** A walk of a subtree, one request after the other, over and over. */
class Walk {
public:
  Walk(Agent &agent, const Options &options)
      : agent_(agent), bulk_(options.bulk), root_(encode_name(options.root)),
        start_(options.from.empty() ? root_ : encode_name(options.root + "." + options.from)),
        position_(start_) {}

  /** Hands the next varbinds to `visit`.
   *  \return false when the walk has ended; the next step begins it anew. */
  template <typename Visit> bool step(Visit visit) {
    const Binding asked{position_, kNull, {}};
    const Response &response =
        agent_.ask(bulk_ == 0 ? kGetNext : kGetBulk, bulk_, std::span(&asked, 1));
    for (const Binding &binding : response.bindings) {
      if (binding.type >= 0x80 || !is_within(binding.name)) {
        position_ = start_;
        return false;
      }
      visit(binding);
    }
    if (response.bindings.empty()) {
      throw std::runtime_error("the agent answers without a variable binding");
    }
    const OctetView last = response.bindings.back().name;
    if (std::equal(last.begin(), last.end(), position_.begin(), position_.end())) {
      throw std::runtime_error("the walk does not get beyond " + name_text(last));
    }
    position_.assign(last.begin(), last.end());
    return true;
  }

private:
  /** Encoded sub-identifiers are prefix-free, so octets compare like names. */
  bool is_within(OctetView name) const {
    return name.size() > root_.size() && std::equal(root_.begin(), root_.end(), name.begin());
  }

  Agent &agent_;
  int32_t bulk_;
  Octets root_;
  Octets start_;
  Octets position_;
};

Processes parse_processes(const std::vector<std::string> &arguments) {
  Processes processes;
  for (const std::string &argument : arguments) {
    const size_t equals = argument.find('=');
    if (equals == std::string::npos) {
      throw std::invalid_argument("'" + argument + "' is not NAME=PID");
    }
    processes[argument.substr(0, equals)] = std::stoi(argument.substr(equals + 1));
  }
  return processes;
}

void walk(const Options &options) {
  Agent agent(options.port, options.community);
  const auto ignore = [](const Binding &) {};
  const auto until = [](double seconds) {
    return Clock::now() +
           std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  };
  Walk warm_up(agent, options);
  for (const auto end = until(options.warm_up); Clock::now() < end;) {
    warm_up.step(ignore);
  }
  Walk walk(agent, options);
  Sample sample(parse_processes(options.processes));
  const auto deadline = until(options.seconds);
  bool more = true;
  while (more) {
    size_t varbinds = 0;
    const auto sent = Clock::now();
    const bool within = walk.step([&varbinds](const Binding &) { ++varbinds; });
    sample.add_request(sent);
    sample.add_varbinds(varbinds);
    more = options.seconds > 0 ? Clock::now() < deadline : within;
  }
  std::cout << sample.finish() << '\n';
}

void walk_as_library(const Options &options) {
  std::cout << walk_with_library({options.port, options.community, options.root, options.bulk,
                                  options.warm_up, options.seconds,
                                  parse_processes(options.processes)})
            << '\n';
}

/** A value as one word: a number, or octets in hexadecimal, "-" for none. */
std::string value_text(const Binding &binding) {
  if (binding.type != kOctetString) {
    return std::to_string(integer_value(binding));
  }
  std::string text;
  for (const uint8_t octet : binding.value) {
    char digits[3];
    (void)std::snprintf(digits, sizeof(digits), "%02x", octet);
    text += digits;
  }
  return text.empty() ? "-" : text;
}

void print_rows(const Options &options) {
  Agent agent(options.port, options.community);
  Walk walk(agent, options);
  const size_t root_length = options.root.size() + 1;
  while (walk.step([root_length](const Binding &binding) {
    std::cout << name_text(binding.name).substr(root_length) << ' '
              << static_cast<unsigned>(binding.type) << ' ' << value_text(binding) << '\n';
  })) {
  }
}

struct Assignment {
  Octets name;
  uint8_t type;
  Octets value;
};

/** "OID=i:NUMBER" (0 to 127) or "OID=x:HEX". */
Assignment parse_assignment(const std::string &argument) {
  const size_t equals = argument.find('=');
  const std::string value = equals == std::string::npos ? "" : argument.substr(equals + 1);
  if (value.rfind("i:", 0) == 0) {
    return {encode_name(argument.substr(0, equals)),
            kInteger,
            {static_cast<uint8_t>(std::stoi(value.substr(2)) & 0x7F)}};
  }
  if (value.rfind("x:", 0) != 0) {
    throw std::invalid_argument("'" + argument + "' is neither OID=i:NUMBER nor OID=x:HEX");
  }
  Octets octets;
  for (size_t at = 2; at + 1 < value.size(); at += 2) {
    octets.push_back(static_cast<uint8_t>(std::stoi(value.substr(at, 2), nullptr, 16)));
  }
  return {encode_name(argument.substr(0, equals)), kOctetString, octets};
}

/** Each binding is a SET of its own. */
void set(const Options &options) {
  Agent agent(options.port, options.community);
  std::vector<Assignment> assignments;
  std::transform(options.bindings.begin(), options.bindings.end(), std::back_inserter(assignments),
                 parse_assignment);
  Sample sample(parse_processes(options.processes));
  for (const Assignment &assignment : assignments) {
    const Binding binding{assignment.name, assignment.type, assignment.value};
    const auto sent = Clock::now();
    (void)agent.ask(kSet, 0, std::span(&binding, 1));
    sample.add_request(sent);
    sample.add_varbinds(1);
  }
  std::cout << sample.finish() << '\n';
}

struct WalkCommand {
  const char *name;
  void (*action)(const Options &options);
  const char *help;
};

constexpr WalkCommand kWalkCommands[] = {
    {"walk", walk, "Walks a subtree over and over"},
    {"library-walk", walk_as_library, "Does so with Net-SNMP's library"},
    {"rows", print_rows, "Prints a subtree: INDEX TYPE VALUE"},
};

void describe(CLI::App &app) {
  static Options options;
  app.require_subcommand(1);
  app.fallthrough();
  app.add_option("--port", options.port, "UDP port of the agent on loopback")->required();
  app.add_option("--community", options.community, "Community, v2c");
  app.add_option("--process", options.processes, "NAME=PID: tell the CPU time of this process")
      ->allow_extra_args(false);
  for (const WalkCommand &walker : kWalkCommands) {
    CLI::App *command = app.add_subcommand(walker.name, walker.help);
    command->add_option("--root", options.root, "Root of the subtree")->required();
    command->add_option("--from", options.from, "Sub-identifiers behind the root to start behind");
    command->add_option("--bulk", options.bulk, "Repetitions of a GETBULK; 0 for GETNEXT");
    command->add_option("--seconds", options.seconds, "How long; 0 for one walk");
    command->add_option("--warm-up", options.warm_up, "Seconds of walking before that");
    command->callback([action = walker.action] { action(options); });
  }
  CLI::App *command = app.add_subcommand("set", "Sends a SET for each binding");
  command->add_option("bindings", options.bindings, "OID=i:NUMBER or OID=x:HEX")->required();
  command->callback([] { set(options); });
}

} // namespace

int main(int argc, char **argv) {
  return run_program({"bench_manager", "Walks and sets, and tells what it took as JSON.", describe},
                     argc, argv);
}
