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

/** A table, whose keys are two words or, with 0 in place of the second, one; and the messages that
 *  it has been sent. */
class Table {
public:
  FcsRecordId record = FCS_REC_PLATFORM;
  std::set<std::array<uint32_t, 2>> rows;
  ipc_wire::ShownVsans shown{};
  int messages = 0;

  RowAnswer ask(RequestRows &known, uint32_t operation, std::array<uint32_t, 2> key,
                uint32_t useful) {
    const std::array<uint32_t, 3> request = {record, key[0], key[1]};
    auto question =
        RowQuestion::of(FCS_MSG_REQUEST, operation,
                        {reinterpret_cast<const uint8_t *>(request.data()), sizeof(request)});
    if (const auto answer = known.find(*question)) {
      return *answer;
    }
    question->shown = shown;
    answer_with(operation, key, useful);
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
    bool is_known = true;
    while (is_known && row != rows.end() && reply_.header.rows < asked) {
      const uint32_t vsan = row->front();
      std::memcpy(reply_.payload + kLength * reply_.header.rows++, row->data(), sizeof(*row));
      ++row;
      if (!shown.contain(vsan)) {
        is_known = shown.next(vsan) != 0;
        row = rows.lower_bound({shown.next(vsan), 0});
      }
    }
    const bool ends = is_known && reply_.header.rows < asked;
    reply_.header.result = reply_.header.rows == 0 ? FCS_ERR_NO_SUCH_ROW : 0;
    reply_.header.end = reply_.header.rows > 0 && ends ? FCS_ERR_NO_SUCH_ROW : 0;
  }

  ipc_wire::Reply reply_{};
};

TEST(RequestRows, TellWhatTheServiceWouldTell) {
  std::mt19937 chance(1);
  const auto below = [&chance](uint32_t limit) { return static_cast<uint32_t>(chance() % limit); };
  const auto word = [&below] { return below(8) == 0 ? 0xFFFFFFF0U : below(8); };
  RequestRows known;
  Table table;
  for (long request = 0; request < 2000; ++request) {
    // Between requests the table may become another.
    const size_t size = below(20);
    for (table.rows.clear(); table.rows.size() < size;) {
      table.rows.insert({word(), word()});
    }
    table.shown = {};
    if (below(2) == 0) {
      const auto first = static_cast<uint16_t>(1 + below(3));
      const auto second = static_cast<uint16_t>(first + 2 + below(3));
      table.shown.ranges[0] = {first, static_cast<uint16_t>(first + below(2))};
      table.shown.ranges[1] = {second, second};
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

TEST(RequestRows, OneMessageServesAWalkWhateverTheRoleHides) {
  Table table;
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

  known.serve(2);
  for (uint16_t i = 0; i < 5; ++i) {
    table.shown.ranges[i] = {static_cast<uint16_t>(20 * i + 20),
                             static_cast<uint16_t>(20 * i + 20)};
  }
  table.ask(known, FCS_OP_GETNEXT, {0, 0}, 16); // A hidden row.
  for (uint32_t vsan = 20; vsan <= 100; vsan += 20) {
    for (uint32_t index = 0; index < 2; ++index) {
      const RowAnswer answer = table.ask(known, FCS_OP_GETNEXT, {vsan, index}, 16);
      EXPECT_EQ(*reinterpret_cast<const uint32_t *>(answer.record.data()), vsan);
    }
    table.ask(known, FCS_OP_GETNEXT, {vsan, 2}, 16); // Hidden, too.
  }
  EXPECT_EQ(table.messages, 2);

  known.serve(3);
  table.record = FCS_REC_STATISTICS;
  table.rows.clear();
  for (uint32_t vsan = 1; vsan <= 100; ++vsan) {
    table.rows.insert({vsan, 0});
  }
  table.ask(known, FCS_OP_GETNEXT, {0, 0}, 11);
  for (uint32_t vsan = 20; vsan <= 100; vsan += 20) {
    const RowAnswer answer = table.ask(known, FCS_OP_GETNEXT, {vsan - 1, 0}, 11);
    EXPECT_EQ(*reinterpret_cast<const uint32_t *>(answer.record.data()), vsan);
    table.ask(known, FCS_OP_GETNEXT, {vsan, 0}, 11);
  }
  EXPECT_EQ(table.messages, 3);
}

} // namespace
