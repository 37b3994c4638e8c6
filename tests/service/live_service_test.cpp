#include "service_client.h"

#include "service/server/peer_policy.h"

#include <arpa/inet.h>
#include <atomic>
#include <csignal>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using ipc_wire::Frame;
using ipc_wire::Greeting;

/** A request to set node name 20:01:00:5e:00:53:01:01 of list 77. */
const std::vector<uint32_t> kNewName = {FCS_REC_NODE_NAME, 77, htonl(0x2001005E),
                                        htonl(0x00530101), 0,  0};

TEST_F(LiveService, AnswersOnEveryKindOfConnection) {
  Client exchange = connect(ipc_wire::kExchange);
  Client notification = connect(ipc_wire::kNotification);
  Client control = connect(ipc_wire::kControl);

  EXPECT_EQ(exchange.ask(FCS_MSG_REQUEST, FCS_OP_GETNEXT, {FCS_REC_DISCOVERY_STATUS, 1}), FCS_OK);
  EXPECT_EQ(exchange.first_word(), 100U);
  EXPECT_EQ(exchange.ask(FCS_MSG_REQUEST, FCS_OP_GET, {}), FCS_ERR_BAD_LENGTH);
  EXPECT_EQ(exchange.ask(FCS_CTL_STATUS, 0, {}), FCS_ERR_NO_SUCH_RECORD);

  EXPECT_EQ(control.ask(FCS_MSG_REQUEST, FCS_OP_GET, {FCS_REC_IE_COUNT}), FCS_ERR_NO_SUCH_RECORD);
  EXPECT_EQ(control.ask(FCS_CTL_STATUS, 0, {1}), FCS_ERR_BAD_LENGTH);
  EXPECT_EQ(control.ask(FCS_CTL_STATUS, 0, {}), FCS_OK);
  const std::string status = fcsctl({"status", "--json"}).output;
  for (const std::string &part :
       {"\"pid\":" + std::to_string(service_->pid()) + ",",
        std::string(R"("vsans":3,"elements":10,"ports":48,"platforms":17)"),
        std::string(R"("connections":{"exchange":1,"notification":1,"control":2})")}) {
    EXPECT_NE(status.find(part), std::string::npos) << status;
  }
  EXPECT_NE(fcsctl({"status"}).output.find("3 VSANs, 10 elements, 48 ports, 17 platforms"),
            std::string::npos);

  Frame frame{};
  notification.send(&frame, sizeof(frame.header));
  EXPECT_TRUE(notification.is_dropped());
  expect_alive();
}

TEST_F(LiveService, RefusesGreetingsThatDoNotMatch) {
  Greeting newer = ipc_wire::greeting_for(ipc_wire::kExchange);
  newer.version = 99;
  const std::pair<Greeting, std::string> kCases[] = {
      {newer, "protocol version mismatch: this end speaks 2, the other end 99"},
      {ipc_wire::greeting_for(static_cast<ipc_wire::Purpose>(77)), "unknown purpose 77"},
  };
  for (const auto &[greeting, fault] : kCases) {
    Client client(socket_);
    EXPECT_EQ(client.greet(greeting), "refused: " + fault);
    EXPECT_TRUE(client.is_dropped());
    EXPECT_TRUE(service_->logs("uid " + std::to_string(geteuid()) + " refused: " + fault));
  }
  Client client(socket_);
  const std::string too_long(2000, 'x');
  client.send(too_long.data(), too_long.size());
  EXPECT_EQ(client.greeting_reply(), "refused: greeting of 2000 octets instead of 20");
  expect_alive();
}

TEST_F(LiveService, DropsClientsThatMisbehaveAndServesTheOthers) {
  Client silent(socket_);
  const auto connected = std::chrono::steady_clock::now();

  Client half_open(socket_);
  shutdown(half_open.fd(), SHUT_WR);
  EXPECT_TRUE(half_open.is_dropped());

  Client short_frame = connect(ipc_wire::kExchange);
  short_frame.send("garbage", 7);
  EXPECT_TRUE(short_frame.is_dropped());

  Client long_frame = connect(ipc_wire::kExchange);
  const std::string garbage(sizeof(Frame) + 1, '\xFF');
  long_frame.send(garbage.data(), garbage.size());
  EXPECT_TRUE(long_frame.is_dropped());

  Client deaf = connect(ipc_wire::kExchange);
  Frame request{};
  request.header.opcode = FCS_MSG_REQUEST;
  EXPECT_TRUE(eventually([&] {
    while (deaf.send(&request, sizeof(request.header), MSG_DONTWAIT) > 0) {
    }
    return errno != EAGAIN;
  }));
  EXPECT_TRUE(service_->logs("does not read its answers"));
  expect_alive();

  EXPECT_EQ(silent.greeting_reply(), "refused: no greeting within 2000 ms");
  EXPECT_GE(std::chrono::steady_clock::now() - connected, std::chrono::milliseconds(1900));
  EXPECT_TRUE(silent.is_dropped());
}

TEST_F(LiveService, BoundsTheNumberOfClients) {
  std::vector<Client> clients;
  clients.reserve(64);
  for (int i = 0; i < 64; ++i) {
    clients.push_back(connect(ipc_wire::kExchange));
  }
  Client too_many(socket_);
  EXPECT_EQ(too_many.greet(ipc_wire::kExchange), "refused: the service has 64 clients already");
  clients.pop_back();
  EXPECT_TRUE(eventually([&] { return Client(socket_).greet(ipc_wire::kControl).empty(); }));
}

TEST_F(LiveService, StopsCleanlyAndStartsAnew) {
  struct stat file {};
  ASSERT_EQ(stat(socket_.c_str(), &file), 0);
  EXPECT_EQ(file.st_mode & 0777U, 0660U);
  EXPECT_EQ(service_->finish(SIGTERM), 0);
  EXPECT_FALSE(std::filesystem::exists(socket_));
  EXPECT_NE(service_->log().find("stopped\n"), std::string::npos);

  start();
  EXPECT_NE(service_->log().find("holds a fabric already"), std::string::npos);
  expect_alive();
}

TEST_F(LiveService, KeepsWhatItHasAcknowledged) {
  const std::string row = "user \"operator?2\": node name 20:01:00:5e:00:53:01:01 of list 77";
  EXPECT_EQ(connect(ipc_wire::kExchange).ask(FCS_MSG_REQUEST, FCS_OP_SET, kNewName), FCS_OK);
  EXPECT_EQ(service_->finish(SIGKILL), 128 + SIGKILL);
  EXPECT_TRUE(service_->logs(row + " created\n"));
  EXPECT_TRUE(std::filesystem::exists(socket_)) << "it could not tidy up";
  start();
  Client client = connect(ipc_wire::kExchange);
  EXPECT_EQ(client.ask(FCS_MSG_REQUEST, FCS_OP_GET, kNewName), FCS_OK);
  EXPECT_EQ(client.ask(FCS_MSG_REQUEST, FCS_OP_SET, kNewName), FCS_ERR_ROW_EXISTS);
  EXPECT_TRUE(service_->logs(row + " not created: the row exists already\n"));
}

TEST_F(LiveService, LeavesAStoppedButLivingServiceItsSocket) {
  kill(service_->pid(), SIGSTOP);
  const Outcome second = run(command());
  const Outcome status = fcsctl({"status"});
  kill(service_->pid(), SIGCONT);
  EXPECT_EQ(second.status, 1);
  EXPECT_NE(second.output.find("cannot use the socket " + socket_ + ": another service owns it\n"),
            std::string::npos);
  EXPECT_EQ(status.status, 1);
  EXPECT_EQ(status.output, "fcsctl: " + socket_ + ": the FCS service does not answer\n");
  expect_alive();
}

TEST_F(LiveService, HasItsStoreForItselfAndImports) {
  const std::string link = dir_.path("link.db");
  std::filesystem::create_symlink(store_, link);
  const Outcome second = run({FCSD, "--socket", dir_.path("other.sock"), "--store", link});
  EXPECT_EQ(second.status, 1);
  EXPECT_NE(second.output.find("cannot open the store " + link +
                               ": another service has it, process " +
                               std::to_string(service_->pid()) + "\n"),
            std::string::npos)
      << second.output;
  // However busily statuses change.
  std::atomic<bool> imported = false;
  std::atomic<int> changes = 0;
  std::thread manager([&] {
    Client client = connect(ipc_wire::kExchange);
    for (; !imported; ++changes) {
      const int32_t result = client.ask(FCS_MSG_INVALIDATE_CACHE, FCS_OP_SET, {1});
      EXPECT_TRUE(result == FCS_OK || result == FCS_ERR_STORE) << result;
    }
  });
  EXPECT_TRUE(eventually([&] { return changes > 100; }));
  const Outcome import = fcsctl({"import", SAMPLE_FABRIC});
  EXPECT_EQ(import.status, 0) << import.output;
  imported = true;
  manager.join();
}

TEST_F(LiveService, NoticesThatItsStoreIsGone) {
  Client client = connect(ipc_wire::kExchange);
  Client control = connect(ipc_wire::kControl);
  std::filesystem::remove(store_);
  EXPECT_EQ(client.ask(FCS_MSG_REQUEST, FCS_OP_SET, kNewName), FCS_ERR_STORE_GONE);
  EXPECT_EQ(client.ask(FCS_MSG_START_DISCOVERY, 0, {1, 0}), FCS_ERR_STORE_GONE);
  EXPECT_EQ(client.ask(FCS_MSG_SET_DISC_TIMEOUT, FCS_OP_SET, {300}), FCS_ERR_STORE_GONE);
  EXPECT_EQ(control.ask(FCS_CTL_REJECT, 0, {1, 9, 0}), FCS_ERR_STORE_GONE);
  EXPECT_NE(fcsctl({"status"})
                .output.find(
                    store_ +
                    " (deleted or replaced: changes are refused until the service is restarted)\n"),
            std::string::npos);
  EXPECT_TRUE(
      service_->logs("discovery cannot use the store " + store_ + ": it was deleted or replaced"));
  expect_alive();
  service_->finish(SIGTERM);
  start();
  EXPECT_EQ(connect(ipc_wire::kExchange).ask(FCS_MSG_REQUEST, FCS_OP_SET, kNewName), FCS_OK);
}

TEST_F(LiveService, TellsUsersWithoutARightWhy) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "only root can become another user";
  }
  // The file's mode would stop them first.
  const std::string directory = std::filesystem::path(socket_).parent_path();
  ASSERT_EQ(chmod(directory.c_str(), 0711), 0);
  ASSERT_EQ(chmod(socket_.c_str(), 0666), 0);
  const pid_t child = fork();
  if (child == 0) {
    const bool became = setgid(65534) == 0 && setuid(65534) == 0;
    Client client(socket_);
    const bool refused = client.greet(ipc_wire::kExchange) ==
                         "refused: user id 65534 may not connect to the FCS service";
    _exit(became && refused ? 0 : 1);
  }
  int status = -1;
  EXPECT_TRUE(eventually([&] { return waitpid(child, &status, WNOHANG) == child; }));
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(service_->logs("uid 65534 refused"));
}

TEST(PeerPolicy, LetsInRootTheServiceAndTheGroup) {
  const struct {
    fcs::Peer peer;
    fcs::PeerPolicy policy;
    bool welcome;
  } kCases[] = {
      {{1, 0, {0}}, {500, {}}, true},       {{1, 500, {500}}, {500, {}}, true},
      {{1, 501, {501}}, {500, {}}, false},  {{1, 501, {0}}, {500, {}}, false},
      {{1, 501, {7, 42}}, {500, 42}, true}, {{1, 501, {7, 43}}, {500, 42}, false},
      {{1, 501, {}}, {500, 0}, false},
  };
  for (const auto &[peer, policy, welcome] : kCases) {
    EXPECT_EQ(fcs::peer_fault(peer, policy).empty(), welcome) << peer.uid;
  }
}

TEST(ServiceStart, RefusesWhatItCannotUseOnOneLine) {
  const TempDir dir;
  std::ofstream(dir.path("file")) << "precious";
  std::ofstream(dir.path("bad.json")) << "{\"vsans\": [{\"id\": 0}]}";
  const std::pair<std::vector<std::string>, std::string> kCases[] = {
      {{"--socket", "none/s"},
       "cannot use the directory none for the socket: No such file or directory"},
      {{"--socket", "file"}, "cannot use the socket file: there is a file that is no socket"},
      {{"--socket", std::string(200, 'x')}, "a socket's path has 1 to 107 octets"},
      {{"--socket", "s", "--store", "file"}, "cannot open the store file: file is not a database"},
      {{"--socket", "s", "--group", "no-such-group"}, "unknown group no-such-group"},
      {{"--socket", "s", "--store", "db", "--fabric", "bad.json"},
       "bad.json: vsans[0].id: 0 is not within 1 to 4096"},
      {{"--socket", "s", "--store", "db", "--fabric", "none.json"},
       "none.json: cannot be opened: No such file or directory"},
  };
  for (const auto &[options, fault] : kCases) {
    const Outcome outcome = run({"/usr/bin/env", "-C", dir.path(""), FCSD}, options);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find(": " + fault + "\n"), std::string::npos) << outcome.output;
    EXPECT_EQ(std::ranges::count(outcome.output, '\n'), 1) << outcome.output;
    EXPECT_FALSE(std::filesystem::exists(dir.path("s"))) << fault;
  }
  EXPECT_EQ(run({FCSD, "--version"}).output, "fcsd " FCS_VERSION "\n");
  EXPECT_EQ(run({FCSD, "--bogus"}).status, 2);
}

} // namespace
