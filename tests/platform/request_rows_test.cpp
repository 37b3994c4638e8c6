/** Rows that come along with a reply, against a table of its own that is asked directly. */
#include "platform/linux/messaging/request_rows.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

/** A platform table, whose keys are two words, and the messages that it has been sent. */
class PlatformTable {
public:
  std::set<std::array<uint32_t, 2>> rows;
  int messages = 0;
  uint32_t rows_sent = 0;

  RowAnswer ask(RequestRows &known, uint32_t operation, std::array<uint32_t, 2> key,
                uint32_t useful) {
    const std::array<uint32_t, 3> request = {FCS_REC_PLATFORM, key[0], key[1]};
    const auto question =
        RowQuestion::of(FCS_MSG_REQUEST, operation,
                        {reinterpret_cast<const uint8_t *>(request.data()), sizeof(request)});
    if (const auto answer = known.find(*question)) {
      return *answer;
    }
    const uint32_t asked = known.rows_to_ask(*question, useful);
    EXPECT_TRUE(asked >= 1 && asked <= useful);
    answer_with(operation, key, asked);
    known.keep(*question, reply_, kLength);
    return {reply_.header.result, {reply_.payload, reply_.header.result == 0 ? kLength : 0}};
  }

  /** What the table would answer now: the key, or nothing. */
  auto expected(uint32_t operation, const std::array<uint32_t, 2> &key) const {
    return operation == FCS_OP_GETNEXT ? rows.upper_bound(key) : rows.find(key);
  }

private:
  static constexpr size_t kLength = 12;

  void answer_with(uint32_t operation, const std::array<uint32_t, 2> &key, uint32_t asked) {
    ++messages;
    reply_.header = {};
    auto row = expected(operation, key);
    for (; row != rows.end() && reply_.header.rows < asked; ++row) {
      std::memcpy(reply_.payload + kLength * reply_.header.rows++, row->data(), sizeof(*row));
    }
    rows_sent += reply_.header.rows;
    reply_.header.result = reply_.header.rows == 0 ? FCS_ERR_NO_SUCH_ROW : 0;
    reply_.header.end =
        reply_.header.rows > 0 && reply_.header.rows < asked ? FCS_ERR_NO_SUCH_ROW : 0;
  }

  ipc_wire::Reply reply_{};
};

TEST(RequestRows, TellWhatTheServiceWouldTell) {
  std::mt19937 chance(1);
  const auto below = [&chance](uint32_t limit) { return static_cast<uint32_t>(chance() % limit); };
  const auto word = [&below] { return below(8) == 0 ? 0xFFFFFFF0U : below(8); };
  RequestRows known;
  PlatformTable table;
  for (long request = 0; request < 2000; ++request) {
    // Between requests the table may become another.
    const size_t size = below(20);
    for (table.rows.clear(); table.rows.size() < size;) {
      table.rows.insert({word(), word()});
    }
    known.serve(request);
    for (int i = 0; i < 20; ++i) {
      const uint32_t operation = below(4) == 0 ? FCS_OP_GET : FCS_OP_GETNEXT;
      const std::array<uint32_t, 2> key = {word(), word()};
      const RowAnswer answer = table.ask(known, operation, key, 1 + below(9));
      const auto expected = table.expected(operation, key);
      ASSERT_EQ(answer.result, expected == table.rows.end() ? FCS_ERR_NO_SUCH_ROW : FCS_OK);
      if (answer.result == FCS_OK) {
        ASSERT_EQ(std::memcmp(answer.record.data(), expected->data(), sizeof(*expected)), 0);
      }
    }
  }
}

TEST(RequestRows, OneMessageServesAWalkAndLittleIsAskedForBehindHiddenRows) {
  PlatformTable table;
  for (uint32_t vsan = 1; vsan <= 100; ++vsan) {
    table.rows.insert({vsan, 1});
    table.rows.insert({vsan, 2});
  }
  RequestRows known;
  known.serve(1);
  for (std::array<uint32_t, 2> key = {0, 0}; key < std::array<uint32_t, 2>{60, 0};) {
    const RowAnswer answer = table.ask(known, FCS_OP_GETNEXT, key, 200);
    std::memcpy(key.data(), answer.record.data(), sizeof(key));
  }
  EXPECT_EQ(table.messages, 1);

  // A role that shows each twentieth VSAN: a message for each, of little more than the last used.
  known.serve(2);
  table.messages = 0;
  table.rows_sent = 0;
  table.ask(known, FCS_OP_GETNEXT, {0, 0}, 30); // A hidden row.
  for (uint32_t vsan = 20; vsan <= 100; vsan += 20) {
    table.ask(known, FCS_OP_GETNEXT, {vsan, 0}, 30);
    table.ask(known, FCS_OP_GETNEXT, {vsan, 1}, 30);
    table.ask(known, FCS_OP_GETNEXT, {vsan, 2}, 30);
  }
  EXPECT_EQ(table.messages, 6);
  EXPECT_EQ(table.rows_sent, 30 + 30U + 3 * (2 * 3 + 12) + 2);
}

} // namespace
