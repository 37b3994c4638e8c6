#include "fixtures.h"

#include "service/discovery/discovery.h"
#include "service/protocol/fcs_control.h"
#include "service/protocol/message_dispatch.h"

#include <csignal>
#include <cstring>
#include <fstream>
#include <optional>
#include <sys/resource.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/** VSANs whose discoveries take 5, 600 and 2000 seconds; the last one is in progress. */
const char *const kFabric = R"({"vsans": [
  {"id": 5, "discovery": {"status": "localOnly", "takesSeconds": 5}},
  {"id": 6, "discovery": {"status": "localOnly", "takesSeconds": 600},
   "statistics": {"rejects": 4294967295}},
  {"id": 7, "discovery": {"status": "inProgress", "takesSeconds": 2000}}]})";

class DiscoveryTest : public ServedStore {
protected:
  DiscoveryTest() {
    start_service();
    EXPECT_EQ(import_text(store_, kFabric), "");
  }

  void start_service(double scale = 1) {
    const fcs::DiscoveryClock clock{
        [this] { return fcs::DiscoveryClock::Steady(now_); },
        [this] {
          return fcs::DiscoveryClock::TimeOfDay(
              std::chrono::duration_cast<std::chrono::system_clock::duration>(now_));
        }};
    discovery_.emplace(store_, notifications_, scale, clock);
  }

  void pass(std::chrono::nanoseconds time) {
    now_ += time;
    discovery_->run_due();
  }

  fcs_disc_status_record status(uint32_t vsan) {
    return record<fcs_disc_status_record>(ask(FCS_OP_GET, words({FCS_REC_DISCOVERY_STATUS, vsan})));
  }

  using Announced = std::vector<std::pair<uint32_t, uint32_t>>;

  /** What was announced since the last call: opcode and first word of each. */
  static Announced announced(fcs::NotificationQueue &notifications) {
    Announced all;
    for (; !notifications.empty(); notifications.pop()) {
      uint32_t word = 0;
      std::memcpy(&word, notifications.front().payload.data(), sizeof(word));
      all.emplace_back(notifications.front().opcode, word);
    }
    return all;
  }
  Announced announced() { return announced(notifications_); }

  /** What a service announces that starts now, should the one that runs be killed and the fabric
   * be replaced, if there is another one. */
  Announced announced_after_a_kill(const std::string &another_fabric = {}) {
    const TempDir left;
    std::filesystem::copy(dir_.path(""), left.path(""));
    std::ofstream(left.path("fabric.db-statuses"), std::ios::app) << "cut";
    fcs::FabricStore store(left.path("fabric.db"), milliseconds(100));
    if (!another_fabric.empty()) {
      EXPECT_EQ(import_text(store, another_fabric), "");
    }
    fcs::NotificationQueue notifications;
    const fcs::Discovery next(store, notifications);
    return announced(notifications);
  }

  /** Sends a message of the agent's, or one of a control connection's, whose opcodes are low. */
  int32_t send(uint32_t opcode, uint32_t flag, fcs::Octets payload) {
    const auto served = opcode > 1400 ? fcs::kAgentMessages : fcs::kControlMessages;
    ipc_wire::FrameHeader header{};
    header.opcode = opcode;
    header.flag = flag;
    return fcs::answer_message(served, {store_, *discovery_}, header, payload, room_).result;
  }

  std::chrono::nanoseconds now_ = seconds(1000) + std::chrono::microseconds(250);
  std::optional<fcs::Discovery> discovery_;
};

TEST_F(DiscoveryTest, CompletesAfterItsTimeOrTimesOut) {
  EXPECT_EQ(discovery_->set_timeout(300), FCS_OK);
  EXPECT_EQ(discovery_->start(6), FCS_OK);
  EXPECT_EQ(discovery_->start(5), FCS_OK);
  EXPECT_EQ(discovery_->set_timeout(1800), FCS_OK); // For those to come.
  EXPECT_EQ(status(5).status, FCS_DISCOVERY_IN_PROGRESS);
  EXPECT_EQ(discovery_->invalidate(5), FCS_ERR_IN_PROGRESS);
  pass(seconds(4));
  EXPECT_EQ(discovery_->start(5), FCS_OK); // Begins anew.
  pass(seconds(5) - milliseconds(1));
  EXPECT_EQ(announced(), Announced());
  pass(milliseconds(1));
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_DISC_COMP_ON_VSAN, 5}}));
  EXPECT_EQ(status(5).status, FCS_DISCOVERY_COMPLETED);
  EXPECT_EQ(status(5).completed_seconds, 1009);
  EXPECT_EQ(status(5).completed_microseconds, 250);

  pass(seconds(291) - milliseconds(1));
  EXPECT_EQ(status(6).status, FCS_DISCOVERY_IN_PROGRESS);
  pass(milliseconds(1));
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_TIMEOUT_ON_VSAN, 6}}));
  EXPECT_EQ(status(6).status, FCS_DISCOVERY_LOCAL_ONLY);

  EXPECT_EQ(discovery_->invalidate(5), FCS_OK);
  EXPECT_EQ(status(5).status, FCS_DISCOVERY_LOCAL_ONLY);
  EXPECT_EQ(status(5).completed_seconds, 1009);
  EXPECT_EQ(announced(), Announced());
}

TEST_F(DiscoveryTest, RunsFasterByTheScale) {
  start_service(100);
  announced();
  EXPECT_EQ(discovery_->start(6), FCS_OK);
  EXPECT_EQ(discovery_->set_timeout(300), FCS_OK);
  EXPECT_EQ(discovery_->start(7), FCS_OK);
  pass(seconds(3));
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_TIMEOUT_ON_VSAN, 7}}));
  pass(seconds(3));
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_DISC_COMP_ON_VSAN, 6}}));
}

TEST_F(DiscoveryTest, TimesOutWhatAnEarlierServiceHasLeft) {
  EXPECT_EQ(discovery_->start(5), FCS_OK);
  EXPECT_EQ(discovery_->set_timeout(1234), FCS_OK);
  start_service();
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_TIMEOUT_ON_VSAN, 5}, {FCS_MSG_TIMEOUT_ON_VSAN, 7}}));
  EXPECT_EQ(status(5).status, FCS_DISCOVERY_LOCAL_ONLY);
  pass(seconds(3000));
  EXPECT_EQ(announced(), Announced());
  EXPECT_EQ(store_.settings().get(fcs::Setting::kDiscoveryTimeout), 1234U);
}

TEST_F(DiscoveryTest, TakesUpWhatAKilledServiceHasAcknowledged) {
  pass(seconds(1));
  EXPECT_EQ(discovery_->start(5), FCS_OK);
  EXPECT_EQ(discovery_->start(6), FCS_OK);
  const std::string exported = export_text(store_);
  EXPECT_EQ(exported.find("localOnly"), std::string::npos) << "a reader sees what has changed";
  constexpr uint32_t kTimeout = FCS_MSG_TIMEOUT_ON_VSAN;
  EXPECT_EQ(announced_after_a_kill(), (Announced{{kTimeout, 5}, {kTimeout, 6}, {kTimeout, 7}}));
  EXPECT_EQ(announced_after_a_kill(kFabric), (Announced{{kTimeout, 7}}));
  // A change that is not made takes none with it that is.
  EXPECT_EQ(discovery_->complete(7), FCS_OK);
  EXPECT_EQ(discovery_->invalidate(7), FCS_OK);
  rlimit room{};
  getrlimit(RLIMIT_FSIZE, &room);
  const rlimit none{0, room.rlim_max};
  signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &none);
  EXPECT_EQ(send(FCS_MSG_START_DISCOVERY, 0, words({7, 0})), FCS_ERR_STORE);
  setrlimit(RLIMIT_FSIZE, &room);
  EXPECT_EQ(announced_after_a_kill(), (Announced{{kTimeout, 5}, {kTimeout, 6}}));
  pass(fcs::Discovery::kCommitInterval);
  EXPECT_EQ(status(7).status, FCS_DISCOVERY_LOCAL_ONLY);
  EXPECT_EQ(status(5).status, FCS_DISCOVERY_IN_PROGRESS);
}

TEST_F(DiscoveryTest, FollowsAFabricThatAnotherProgramImports) {
  pass(seconds(2));
  EXPECT_EQ(discovery_->start(5), FCS_OK);
  EXPECT_EQ(discovery_->start(6), FCS_OK);
  EXPECT_EQ(discovery_->start(7), FCS_OK);
  pass(fcs::Discovery::kCommitInterval);
  fcs::FabricStore other(dir_.path("fabric.db"), milliseconds(100));
  EXPECT_EQ(import_text(other, R"({"vsans": [
    {"id": 5, "discovery": {"status": "completed", "completed": {"seconds": 77}}},
    {"id": 7, "discovery": {"status": "localOnly"}},
    {"id": 8, "discovery": {"status": "inProgress", "takesSeconds": 4}}]})"),
            "");
  pass(seconds(5));
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_DISC_COMP_ON_VSAN, 5},
                                    {FCS_MSG_TIMEOUT_ON_VSAN, 6},
                                    {FCS_MSG_TIMEOUT_ON_VSAN, 7}}));
  EXPECT_EQ(status(5).completed_seconds, 77);
  pass(seconds(4));
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_DISC_COMP_ON_VSAN, 8}}));
}

TEST_F(DiscoveryTest, EndsLaterWhenTheStoreIsLocked) {
  EXPECT_EQ(discovery_->start(5), FCS_OK);
  pass(fcs::Discovery::kCommitInterval);
  fcs::FabricStore other(dir_.path("fabric.db"), milliseconds(100));
  {
    const fcs::WriteTransaction writing(other.database());
    EXPECT_EQ(send(FCS_MSG_START_DISCOVERY, 0, words({6, 0})), FCS_ERR_STORE);
    pass(seconds(5));
    EXPECT_EQ(announced(), Announced());
    EXPECT_GT(discovery_->next_due(), fcs::DiscoveryClock::Steady(now_));
  }
  EXPECT_EQ(status(5).status, FCS_DISCOVERY_IN_PROGRESS);
  EXPECT_EQ(status(6).status, FCS_DISCOVERY_LOCAL_ONLY);
  pass(seconds(1));
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_DISC_COMP_ON_VSAN, 5}}));
}

TEST_F(DiscoveryTest, RefusesMessagesThatMakeNoSense) {
  const struct {
    uint32_t opcode;
    uint32_t flag;
    Bytes good;
    Bytes bad;
    int32_t fault;
  } kMessages[] = {
      {1405, 0, words({5, 0}), words({4, 0}), FCS_ERR_UNKNOWN_VSAN},
      {1405, 0, words({5, 0}), words({5, 1}), FCS_ERR_BAD_VALUE},
      {1410, 3, words({300}), words({299}), FCS_ERR_BAD_VALUE},
      {1410, 3, words({1800}), words({1801}), FCS_ERR_BAD_VALUE},
      {1412, 3, words({6}), words({0xFFFFFFFF}), FCS_ERR_UNKNOWN_VSAN},
      {FCS_CTL_REJECT, 0, words({6, 9, 0}), words({4, 9, 0}), FCS_ERR_UNKNOWN_VSAN},
      {FCS_CTL_CHANGE_ADDRESS, 0, words({6, 1, 2}), words({4, 1, 2}), FCS_ERR_UNKNOWN_VSAN},
      {FCS_CTL_COMPLETE, 0, words({6}), words({4}), FCS_ERR_UNKNOWN_VSAN},
      {FCS_CTL_TIME_OUT, 0, words({6}), words({0}), FCS_ERR_UNKNOWN_VSAN},
      {FCS_CTL_WANT, 0, words({0, 2}), words({1, 3}), FCS_ERR_BAD_VALUE},
  };
  const std::string before = export_text(store_);
  for (const auto &[opcode, flag, good, bad, fault] : kMessages) {
    SCOPED_TRACE(opcode);
    Bytes longer = good;
    longer.push_back(0);
    for (const fcs::Octets wrong :
         {fcs::Octets(), fcs::Octets(good).first(good.size() - 1), fcs::Octets(longer)}) {
      EXPECT_EQ(send(opcode, flag, wrong), FCS_ERR_BAD_LENGTH);
    }
    EXPECT_EQ(send(opcode, flag ^ 3, good), FCS_ERR_BAD_OPERATION);
    EXPECT_EQ(send(opcode, flag, bad), fault);
  }
  EXPECT_EQ(send(1408, 0, words({5})), FCS_ERR_NO_SUCH_RECORD);
  EXPECT_EQ(export_text(store_), before);
  EXPECT_EQ(announced(), Announced());
  for (const auto &message : kMessages) {
    EXPECT_EQ(send(message.opcode, message.flag, message.good), FCS_OK);
  }
  EXPECT_EQ(announced(), (Announced{{FCS_MSG_REG_REQ_REJ, 9},
                                    {FCS_MSG_IP_ADDR_CHANGE, 6},
                                    {FCS_MSG_DISC_COMP_ON_VSAN, 6},
                                    {FCS_MSG_TIMEOUT_ON_VSAN, 6}}));
  EXPECT_EQ(store_.total_rejects(), 0U); // The counter wraps.
  EXPECT_EQ(store_.wants_reject_notifications(), 0U);
  EXPECT_EQ(store_.wants_complete_notifications(), 1U);
}

TEST(NotificationQueueTest, KeepsTheNewestInOrder) {
  fcs::NotificationQueue queue(3);
  fcs::NotificationQueue undelivered(3);
  undelivered.push({FCS_MSG_REQUEST, "1"});
  undelivered.push({FCS_MSG_REQUEST, "2"});
  queue.push({FCS_MSG_REQUEST, "3"});
  queue.push({FCS_MSG_REQUEST, "4"});
  queue.put_back(undelivered);
  EXPECT_TRUE(undelivered.empty());
  EXPECT_TRUE(queue.full());
  std::string left;
  for (; !queue.empty(); queue.pop()) {
    left += queue.front().payload;
  }
  EXPECT_EQ(left, "234");
}

} // namespace
