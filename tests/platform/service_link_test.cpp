/** The life of a connection to the FCS service, and whatever the other end does to it. */
#include "agent.h"

#include "platform/linux/messaging/service_link.h"

#include <cerrno>
#include <sys/socket.h>

using testing::HasSubstr;
using testing::StartsWith;

namespace {

/** What the service says on a connection: a message with so many octets behind its header. */
struct Saying {
  uint32_t sequence = 0; ///< Beyond that of the exchange to come.
  size_t octets = 4;
  uint32_t rows = 0;
};

std::vector<std::string> received;
std::chrono::milliseconds receiving_takes;

class Link : public Agent {
protected:
  Link() {
    settings_for_change().exchange_timeout = 10ms;
    received.clear();
    receiving_takes = 0ms;
    service_peer::on_connection = [this](Fd peer) {
      ++connections_;
      if (refusal_ == 0) {
        peer_ = std::move(peer);
        if (greeting_length_ != 0) {
          service_peer::send_to_agent(peer_, &greeting_, greeting_length_);
        }
      }
      return refusal_;
    };
  }
  ~Link() override { link_.close(); }

  static void receive(const ipc_wire::Frame &frame, size_t length) {
    received.push_back(std::to_string(frame.header.opcode) + ":" + std::to_string(length));
    keep_busy(receiving_takes);
  }

  void say(const Saying &saying, uint32_t opcode = 0) const {
    ipc_wire::FrameHeader header{};
    header.sequence = exchanges_ + saying.sequence;
    header.opcode = opcode;
    header.rows = saying.rows;
    Agent::say(peer_, header, std::string(saying.octets, 'p'));
  }

  void say_octets(size_t octets) const {
    service_peer::send_to_agent(peer_, std::string(octets, 'x').data(), octets);
  }

  /** Makes an exchange whose reply may hold so many rows. \return 0 or the errno. */
  int exchange(uint32_t rows = 1) {
    ipc_wire::FrameHeader header{};
    header.rows = rows;
    errno = 0;
    const bool done = link_.exchange(header, "ask", 3, reply_, reply_length_);
    exchanges_ += errno != ENOTCONN ? 1 : 0;
    return done ? 0 : errno;
  }

  /** The next message that the agent has sent, or none. */
  std::string heard() const {
    char message[200];
    const ssize_t length = recv(peer_.get(), message, sizeof(message), MSG_DONTWAIT);
    return length > 0 ? std::string(message, static_cast<size_t>(length)) : "";
  }

  bool is_hung_up() const {
    char octet = 0;
    ssize_t length = 0;
    while ((length = recv(peer_.get(), &octet, 1, MSG_DONTWAIT)) > 0) {
    }
    return length == 0 || errno == ECONNRESET;
  }

  void connect_anew() {
    link_.open();
    pass(0ms);
    log();
    while (!heard().empty()) { // The greeting.
    }
  }

  ServiceLink link_{"exchanges", ipc_wire::kExchange, nullptr};
  Fd peer_;
  int connections_ = 0;
  int refusal_ = 0;
  ipc_wire::GreetingReply greeting_ = ipc_wire::reply_to_greeting("");
  size_t greeting_length_ = sizeof(greeting_);
  uint32_t exchanges_ = 1; ///< The sequence number of the exchange to come.
  ipc_wire::Reply reply_{};
  size_t reply_length_ = 0;
};

TEST_F(Link, ConnectsGreetsAndIsAnnouncedOnce) {
  EXPECT_EQ(exchange(), ENOTCONN);
  link_.open();
  const ipc_wire::Greeting expected = ipc_wire::greeting_for(ipc_wire::kExchange);
  EXPECT_EQ(heard(), std::string(reinterpret_cast<const char *>(&expected), sizeof(expected)));
  EXPECT_EQ(exchange(), ENOTCONN) << "the greeting's answer is still to be read";
  EXPECT_EQ(log(), "");
  pass(0ms);
  EXPECT_EQ(log(), "fcs: exchanges: connected to the FCS service at /run/fcsd/fcsd.sock\n");
  pass(1h);
  EXPECT_EQ(connections_, 1);
  for (int again = 0; again < 2; ++again) {
    say({});
    EXPECT_EQ(exchange(), 0);
    ipc_wire::FrameHeader header{};
    memcpy(&header, heard().data(), sizeof(header));
    EXPECT_EQ(header.sequence, exchanges_ - 1);
  }
  link_.open();
  EXPECT_EQ(connections_, 2);
  link_.close();
  EXPECT_TRUE(is_hung_up());
  refusal_ = ECONNREFUSED;
  link_.open();
  link_.close();
  pass(1h);
  EXPECT_EQ(connections_, 3) << "a closed link tries no more";
}

TEST_F(Link, AwaitsTheGreetingForAWhile) {
  link_.open();
  link_.await_up(1h);
  say({});
  EXPECT_EQ(exchange(), 0);
  greeting_length_ = 0;
  link_.open();
  link_.await_up(20ms);
  EXPECT_EQ(exchange(), ENOTCONN);
}

TEST_F(Link, WhateverTheServiceAnswers) {
  const struct {
    const char *what;
    std::vector<Saying> says;
    uint32_t rows;
    int error;
    const char *said;
  } cases[] = {
      {"an answer", {{}}, 1, 0, ""},
      {"none but the header", {{0, 0}}, 1, 0, ""},
      {"behind others", {{1}, {uint32_t(-1), 2000}, {0}}, 1, 0, ""},
      {"as long as can be", {{0, 1024}}, 1, 0, ""},
      {"rows", {{0, 8, 2}}, 2, 0, ""},
      {"as many rows as fit", {{0, 65536, 64}}, 80, 0, ""},
      {"no answer", {}, 1, ETIMEDOUT, "no answer within 10 ms"},
      {"others' answers", {{1}, {2}, {3}}, 1, ETIMEDOUT, "no answer within 10 ms"},
      {"too long", {{0, 1025}}, 1, EPROTO, "the service sent a reply of 1121 octets"},
      {"uneven rows", {{0, 9, 2}}, 2, EPROTO, "the service sent a reply of 105 octets"},
      {"unwanted rows", {{0, 9, 3}}, 2, EPROTO, "the service sent a reply of 105 octets"},
      {"more rows than fit",
       {{0, 66560, 65}},
       80,
       EPROTO,
       "the service sent a reply of 66656 octets"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.what);
    connect_anew();
    for (const Saying &saying : c.says) {
      say(saying);
    }
    EXPECT_EQ(exchange(c.rows), c.error);
    if (c.error == 0) {
      EXPECT_EQ(reply_length_, c.says.back().octets);
      EXPECT_EQ(log(), "");
    } else {
      EXPECT_EQ(log(), std::string("fcs: exchanges: FCS service at /run/fcsd/fcsd.sock: ") +
                           c.said + "\n");
      EXPECT_EQ(exchange(), ENOTCONN);
    }
  }
  connect_anew();
  say_octets(5);
  EXPECT_EQ(exchange(), EPROTO);
  EXPECT_THAT(log(), HasSubstr("a reply of 5 octets"));
  connect_anew();
  shutdown(peer_.get(), SHUT_WR);
  EXPECT_EQ(exchange(), ECONNRESET);
  EXPECT_THAT(log(), HasSubstr("the service closed the connection"));
  connect_anew();
  peer_ = Fd();
  EXPECT_EQ(exchange(), EPIPE);
  EXPECT_THAT(log(), HasSubstr("cannot send a request: Broken pipe"));
}

TEST_F(Link, IsTriedAgainFourTimesASecond) {
  refusal_ = ECONNREFUSED;
  link_.open();
  EXPECT_THAT(log(), HasSubstr("cannot connect: Connection refused"));
  for (int attempts = 2; attempts < 5; ++attempts) {
    pass(249ms);
    EXPECT_EQ(connections_, attempts - 1);
    pass(1ms);
    EXPECT_EQ(connections_, attempts);
  }
  refusal_ = 0;
  pass(250ms);
  EXPECT_THAT(log(), StartsWith("fcs: exchanges: connected to")) << "and a lasting fault but once";
  for (const auto &[up, is_news] : {std::pair(1s, true), {1s, false}, {6s, true}}) {
    keep_busy(up);
    peer_ = Fd();
    pass(0ms);
    EXPECT_EQ(log().find("the connection failed: Connection reset by peer") != std::string::npos,
              is_news);
    pass(250ms);
    log();
  }
}

TEST_F(Link, AGreetingMayTakeFiveSeconds) {
  greeting_length_ = 0;
  link_.open();
  for (int i = 0; i < 19; ++i) {
    pass(250ms);
  }
  EXPECT_EQ(log(), "");
  EXPECT_EQ(connections_, 1);
  pass(251ms);
  EXPECT_THAT(log(), HasSubstr("no answer to the greeting"));
  EXPECT_EQ(connections_, 2) << "at once, as it has waited";
}

TEST_F(Link, AServiceThatTakesConnectionsAndAnswersNothingIsAskedLessAndLess) {
  connect_anew();
  for (const auto &pause : {250ms, 500ms, 1000ms, 2000ms, 4000ms, 8000ms, 8000ms}) {
    const int before = connections_;
    EXPECT_EQ(exchange(), ETIMEDOUT);
    for (auto waited = 0ms; waited < pause - 10ms; waited += 250ms) {
      EXPECT_EQ(connections_, before);
      pass(250ms);
    }
    pass(250ms);
    EXPECT_EQ(connections_, before + 1);
  }
  say({});
  EXPECT_EQ(exchange(), 0);
  EXPECT_EQ(exchange(), ETIMEDOUT);
  const int before = connections_;
  pass(500ms);
  EXPECT_EQ(connections_, before + 1);
}

TEST_F(Link, StrangersAreNotListenedTo) {
  const auto fault_of = [this](auto change) {
    greeting_ = ipc_wire::reply_to_greeting("");
    change();
    link_.open();
    pass(0ms);
    EXPECT_EQ(exchange(), ENOTCONN);
    return log();
  };
  EXPECT_THAT(fault_of([&] { greeting_.version = 9; }),
              HasSubstr("protocol version mismatch: this end speaks 2, the other end 9"));
  EXPECT_THAT(fault_of([&] { greeting_.byte_order = 0x04030201; }),
              HasSubstr("the other end runs with another byte order"));
  EXPECT_THAT(fault_of([&] { greeting_.magic[0] = 'f'; }),
              HasSubstr("the other end does not speak the FCS messaging protocol"));
  EXPECT_THAT(fault_of([&] { greeting_ = ipc_wire::reply_to_greeting("user 7 may not"); }),
              HasSubstr("refused: user 7 may not"));
  EXPECT_THAT(fault_of([&] { greeting_length_ = 127; }),
              HasSubstr("greeting reply of 127 octets instead of 128"));
  const std::string user = std::to_string(geteuid());
  EXPECT_THAT(fault_of([&] { settings_for_change().service_uid = kNobody; }),
              HasSubstr("runs as user id " + user + ", not as the user of fcsServiceUser"));
  settings_for_change().service_uid = geteuid();
  greeting_length_ = 0;
  link_.open();
  peer_ = Fd();
  pass(0ms);
  EXPECT_THAT(log(), HasSubstr("the service closed the connection during the handshake"));
}

TEST_F(Link, WhatNobodyAskedFor) {
  connect_anew();
  say({});
  pass(0ms);
  EXPECT_THAT(log(), HasSubstr("a message that nobody asked for, of 100 octets"));
  EXPECT_TRUE(is_hung_up());

  link_.close();
  link_ = ServiceLink("notifications", ipc_wire::kNotification, receive);
  for (const size_t octets : {size_t{5}, sizeof(ipc_wire::Frame) + 1}) {
    connect_anew();
    say_octets(octets);
    pass(0ms);
    EXPECT_THAT(log(), HasSubstr("nobody asked for, of " + std::to_string(octets) + " octets"));
  }
  connect_anew();
  say({0, 0}, 1);
  say({0, 1024}, 2);
  for (uint32_t i = 3; i <= 20; ++i) {
    say({}, i);
  }
  pass(0ms);
  EXPECT_EQ(received.size(), 16U) << "others have their turns";
  EXPECT_EQ(received[0], "1:0");
  EXPECT_EQ(received[1], "2:1024");
  pass(0ms);
  EXPECT_EQ(received.size(), 20U);
  EXPECT_EQ(received[19], "20:4");
}

TEST_F(Link, NotificationsThatTakeLongRestAsLong) {
  link_ = ServiceLink("notifications", ipc_wire::kNotification, receive);
  connect_anew();
  receiving_takes = 40ms;
  for (uint32_t i = 1; i <= 3; ++i) {
    say({}, i);
  }
  for (size_t taken = 1; taken <= 3; ++taken) {
    pass(0ms);
    EXPECT_EQ(received.size(), taken);
    pass(35ms);
    EXPECT_EQ(received.size(), taken) << "requests have as much time as they had to wait";
    keep_busy(10ms);
    run_alarms();
  }
  receiving_takes = 9ms;
  say({}, 4);
  say({}, 5);
  pass(0ms);
  EXPECT_EQ(received.size(), 5U);
  link_.close();
  pass(1h);
  EXPECT_EQ(log(), "");
}

} // namespace
