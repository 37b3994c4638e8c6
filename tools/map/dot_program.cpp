#include "dot_program.h"

#include "common/system/fd.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace fabric_map {

namespace {

[[noreturn]] void fail_without_dot() {
  throw std::runtime_error("drawing needs the program dot, which is not installed: install the "
                           "package graphviz, or write the graph with --format dot");
}

/** Starts dot with its standard output going to `output`. */
pid_t start_dot(const std::string &graph, const std::string &format, int output) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  std::string program = "dot";
  std::string option = "-T" + format;
  std::string input = graph;
  const std::array<char *, 4> argv = {program.data(), option.data(), input.data(), nullptr};
  pid_t pid = -1;
  const int fault = posix_spawnp(&pid, "dot", &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (fault == ENOENT) {
    fail_without_dot();
  }
  if (fault != 0) {
    throw std::runtime_error(std::string("cannot run dot: ") + std::strerror(fault));
  }
  return pid;
}

void copy_all(int fd, std::ostream &out) {
  std::array<char, 65536> buffer{};
  for (;;) {
    const ssize_t got = read(fd, buffer.data(), buffer.size());
    if (got > 0) {
      out.write(buffer.data(), got);
    } else if (got == 0) {
      return;
    } else if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "cannot read what dot draws");
    }
  }
}

} // namespace

void run_dot(const std::string &graph, const std::string &format, std::ostream &out) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  }
  const Fd output(ends[0]);
  Fd input(ends[1]);
  const pid_t pid = start_dot(graph, format, input.get());
  input = Fd();
  copy_all(output.get(), out);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  // Where a spawn cannot tell by itself that there is no such program, this status does.
  if (WIFEXITED(status) && WEXITSTATUS(status) == 127) {
    fail_without_dot();
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("dot could not draw the graph");
  }
}

} // namespace fabric_map
