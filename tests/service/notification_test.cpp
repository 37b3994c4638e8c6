#include "service_client.h"

#include <arpa/inet.h>
#include <csignal>

namespace {

using Words = std::vector<uint32_t>;
using Notifications = LiveService;

TEST_F(Notifications, ReachEveryClientAndWaitForTheFirst) {
  Client exchange = connect(ipc_wire::kExchange);
  EXPECT_EQ(fcsctl({"event", "reject", "--vsan", "1", "--explanation", "97"}).output, "");
  EXPECT_EQ(fcsctl({"event", "address", "--vsan", "100", "--address", "192.0.2.7"}).output, "");
  EXPECT_EQ(exchange.ask(FCS_MSG_START_DISCOVERY, 0, {1, 0}), FCS_OK);
  EXPECT_TRUE(service_->logs("discovery of VSAN 1 is complete"));

  Client first = connect(ipc_wire::kNotification);
  EXPECT_EQ(first.notification(), (Words{FCS_MSG_REG_REQ_REJ, 9, 97}));
  EXPECT_EQ(first.notification(), (Words{FCS_MSG_IP_ADDR_CHANGE, 100, htonl(0xC0000207), 0}));
  EXPECT_EQ(first.notification(), (Words{FCS_MSG_DISC_COMP_ON_VSAN, 1}));
  Client second = connect(ipc_wire::kNotification);
  EXPECT_EQ(fcsctl({"event", "timeout", "--vsan", "2100"}).output, "");
  for (Client *client : {&first, &second}) {
    EXPECT_EQ(client->notification(), (Words{FCS_MSG_TIMEOUT_ON_VSAN, 2100}));
  }
  EXPECT_EQ(exchange.ask(FCS_MSG_REQUEST, FCS_OP_GET, {FCS_REC_TOTAL_REJECTS}), FCS_OK);
  EXPECT_EQ(exchange.first_word(), 0U); // 5 + 1 + 4294967290, modulo 2^32.
}

TEST_F(Notifications, DropAClientThatDoesNotRead) {
  Client control = connect(ipc_wire::kControl);
  Client deaf = connect(ipc_wire::kNotification);
  uint32_t reading = 0;
  Client reader = connect(ipc_wire::kNotification);
  for (uint32_t i = 0; i < 10000; ++i) {
    ASSERT_EQ(control.ask(FCS_CTL_CHANGE_ADDRESS, 0, {1, i, 0}), FCS_OK);
    reading += reader.notification() == Words{FCS_MSG_IP_ADDR_CHANGE, 1, i, 0} ? 1U : 0U;
  }
  EXPECT_EQ(reading, 10000U);
  EXPECT_TRUE(service_->logs("does not read its notifications"));
  EXPECT_EQ(control.ask(FCS_CTL_STATUS, 0, {}), FCS_OK);
  EXPECT_NE(control.text().find("\"notification\":1,"), std::string::npos) << control.text();
}

TEST_F(Notifications, ArePrintedByWatch) {
  Process watch({FCSCTL, "--socket", socket_, "watch"}, dir_.path("watch"));
  EXPECT_TRUE(service_->logs("notification connection"));
  fcsctl({"event", "reject", "--vsan", "1", "--reason", "3", "--explanation", "16"});
  fcsctl({"event", "complete", "--vsan", "100"});
  fcsctl({"event", "timeout", "--vsan", "1"});
  fcsctl({"event", "address", "--vsan", "1", "--address", "20010DB8000000FF"});
  EXPECT_TRUE(watch.logs(" reject reason 3, explanation 16\n"));
  EXPECT_TRUE(watch.logs(" complete VSAN 100\n"));
  EXPECT_TRUE(watch.logs(" timeout VSAN 1\n"));
  EXPECT_TRUE(watch.logs(" address VSAN 1, address 20:01:0d:b8:00:00:00:ff\n")) << watch.log();

  const std::string at = "fcsctl: VSAN 9: " + socket_ + ": ";
  EXPECT_EQ(fcsctl({"event", "complete", "--vsan", "9"}).output,
            at + "the fabric has no such VSAN\n");
  EXPECT_EQ(fcsctl({"event", "address", "--vsan", "1", "--address", "1.2.3"}).output,
            "fcsctl: --address: 1.2.3 is neither an IPv4 address nor 16 hexadecimal digits\n");
  EXPECT_EQ(fcsctl({"event", "wanted", "--rejects", "0"}).output,
            "rejects     not wanted\ncompletions wanted\n");
  service_->finish(SIGTERM);
  EXPECT_EQ(watch.finish(), 1);
}

} // namespace
