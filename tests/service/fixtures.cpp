#include "fixtures.h"

#include "service/description/fabric_json.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

Bytes words(std::initializer_list<uint32_t> values) {
  Bytes bytes(values.size() * sizeof(uint32_t));
  std::memcpy(bytes.data(), values.begin(), bytes.size());
  return bytes;
}

TempDir::TempDir() {
  std::string name = (std::filesystem::temp_directory_path() / "fcs-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::runtime_error("cannot make " + name);
  }
  path_ = name;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string content(const std::string &path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

std::string import_text(fcs::FabricStore &store, const std::string &description) {
  std::istringstream in(description);
  try {
    fcs::import_fabric(store, in, "x.json");
  } catch (const std::runtime_error &error) {
    return error.what();
  }
  return {};
}

std::string export_text(fcs::FabricStore &store) {
  std::ostringstream out;
  fcs::export_fabric(store, out);
  return out.str();
}

Process::Process(const std::vector<std::string> &arguments, std::string log)
    : log_(std::move(log)) {
  std::vector<char *> argv;
  argv.reserve(arguments.size() + 1);
  for (const std::string &argument : arguments) {
    argv.push_back(const_cast<char *>(argument.c_str()));
  }
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    const int fd = open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(fd, STDOUT_FILENO);
    dup2(fd, STDERR_FILENO);
    execv(argv[0], argv.data());
    _exit(127);
  }
}

Process::~Process() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
}

int Process::finish(int signal) {
  if (signal != 0) {
    kill(pid_, signal);
  }
  int status = 0;
  if (!eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; })) {
    return -1;
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string Process::log() const {
  return content(log_);
}

bool Process::logs(const std::string &text) const {
  bool is_logged = false;
  (void)eventually([&] {
    siginfo_t ended{};
    waitid(P_PID, static_cast<id_t>(pid_), &ended, WEXITED | WNOHANG | WNOWAIT);
    is_logged = log().find(text) != std::string::npos;
    return is_logged || ended.si_pid == pid_; // A dead one says no more.
  });
  return is_logged;
}

bool eventually(const std::function<bool()> &condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

Outcome run(std::vector<std::string> command, const std::vector<std::string> &options) {
  command.insert(command.end(), options.begin(), options.end());
  const TempDir dir;
  Process process(command, dir.path("output"));
  const int status = process.finish();
  return {status, process.log()};
}
