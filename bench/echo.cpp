/**
 * bench_echo: what the transport of an exchange costs by itself. Two processes, a SOCK_SEQPACKET
 * socket between them, both block; the records are as long as those of an exchange.
 */
#include "common/program/program.h"
#include "sample.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstdint>
#include <iostream>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace {

struct Options {
  size_t request = 100;
  size_t reply = 636;
  double seconds = 1;
};

[[noreturn]] void fail(const char *what) {
  throw std::system_error(errno, std::generic_category(), what);
}

/** Answers until the other end closes. */
void serve(int socket, size_t reply_octets) {
  std::vector<uint8_t> request(2048);
  const std::vector<uint8_t> reply(reply_octets);
  while (recv(socket, request.data(), request.size(), 0) > 0 &&
         send(socket, reply.data(), reply.size(), MSG_NOSIGNAL) > 0) {
  }
}

void exchange(int socket, const Options &options, pid_t server) {
  const std::vector<uint8_t> request(options.request);
  std::vector<uint8_t> reply(2048);
  bench::Sample sample({{"agent", getpid()}, {"service", server}});
  const auto deadline = bench::Clock::now() + std::chrono::duration_cast<bench::Clock::duration>(
                                                  std::chrono::duration<double>(options.seconds));
  for (auto sent = bench::Clock::now(); sent < deadline; sent = bench::Clock::now()) {
    if (send(socket, request.data(), request.size(), MSG_NOSIGNAL) < 0 ||
        recv(socket, reply.data(), reply.size(), 0) <= 0) {
      fail("exchange");
    }
    sample.add_request(sent);
    sample.add_varbinds(1);
  }
  std::cout << sample.finish() << '\n';
}

void measure(const Options &options) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) != 0) {
    fail("socketpair");
  }
  const pid_t server = fork();
  if (server < 0) {
    fail("fork");
  }
  if (server == 0) {
    close(ends[0]);
    serve(ends[1], options.reply);
    _exit(0);
  }
  close(ends[1]);
  exchange(ends[0], options, server);
  close(ends[0]);
  waitpid(server, nullptr, 0);
}

void describe(CLI::App &app) {
  static Options options;
  app.add_option("--request", options.request, "Octets of a request");
  app.add_option("--reply", options.reply, "Octets of a reply");
  app.add_option("--seconds", options.seconds, "How long");
  app.callback([] { measure(options); });
}

} // namespace

int main(int argc, char **argv) {
  return run_program(
      {"bench_echo", "Exchanges records over a socket, and tells what it took as JSON.", describe},
      argc, argv);
}
