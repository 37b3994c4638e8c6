#include "fixtures.h"

#include "service/read_ahead.h"

#include <cstring>
#include <fstream>
#include <map>
#include <sstream>

namespace {

using Bytes = std::vector<uint8_t>;

/** The native words as they lie in memory. */
Bytes words(std::initializer_list<uint32_t> values) {
  Bytes bytes(values.size() * sizeof(uint32_t));
  std::memcpy(bytes.data(), values.begin(), bytes.size());
  return bytes;
}

class Dispatch : public ServedStore {
protected:
  Dispatch() {
    std::ostringstream sample;
    sample << std::ifstream(SAMPLE_FABRIC).rdbuf();
    EXPECT_EQ(import_text(store_, sample.str()), "");
  }
};

TEST_F(Dispatch, RefusesUnknownRecordsWrongOperationsAndWrongLengths) {
  // By record and operation, the length that is served.
  std::map<std::pair<uint32_t, uint32_t>, size_t> served;
  const auto serve = [&served](std::initializer_list<uint32_t> operations,
                               std::initializer_list<std::pair<uint32_t, size_t>> records) {
    for (const uint32_t operation : operations) {
      for (const auto &[id, length] : records) {
        served[{id, operation}] = length;
      }
    }
  };
  serve({1, 2},
        {{10, 4}, {20, 12}, {30, 272}, {40, 12}, {50, 12}, {60, 16}, {70, 8}, {80, 20}, {90, 4}});
  serve({1}, {{100, 0}, {110, 0}, {120, 0}, {130, 0}, {140, 0}, {150, 0}});
  serve({3, 4}, {{30, 272}, {70, 292}, {80, 20}});
  constexpr size_t kLengths[] = {0, 1, 4, 7, 8, 9, 11, 12, 13, 16, 17, 20, 21, 271, 272, 292, 293};
  for (uint32_t id = 0; id <= 160; ++id) {
    const bool known = served.contains({id, FCS_OP_GET});
    for (const uint32_t operation : {0U, 1U, 2U, 3U, 4U, 5U, 31U, 32U, 33U, 0xFFFFFFFFU}) {
      const auto found = served.find({id, operation});
      for (const size_t length : kLengths) {
        Bytes request = words({id});
        request.resize(request.size() + length, 0);
        const int32_t result = ask(operation, request).result;
        const std::string shown =
            std::to_string(id) + " " + std::to_string(operation) + " " + std::to_string(length);
        if (found == served.end()) {
          EXPECT_EQ(result, known ? FCS_ERR_BAD_OPERATION : FCS_ERR_NO_SUCH_RECORD) << shown;
        } else {
          EXPECT_EQ(result == FCS_ERR_BAD_LENGTH, length != found->second) << shown;
          EXPECT_NE(result, FCS_ERR_BAD_OPERATION) << shown;
          EXPECT_NE(result, FCS_ERR_NO_SUCH_RECORD) << shown;
        }
      }
    }
  }
  for (size_t length = 0; length < 4; ++length) {
    EXPECT_EQ(ask(FCS_OP_GET, Bytes(length, 0)).result, FCS_ERR_BAD_LENGTH);
  }
}

TEST_F(Dispatch, AnswersDiscoveryStatus) {
  const auto row = record<fcs_disc_status_record>(ask(FCS_OP_GET, words({10, 2100})));
  EXPECT_EQ(row.vsan, 2100U);
  EXPECT_EQ(row.status, FCS_DISCOVERY_COMPLETED);
  EXPECT_EQ(row.completed_seconds, 1714557605);
  EXPECT_EQ(row.completed_microseconds, 999999);
  EXPECT_EQ(ask(FCS_OP_GET, words({10, 2})).result, FCS_ERR_NO_SUCH_ROW);

  std::vector<uint32_t> walked;
  for (uint32_t vsan = 0; vsan != FCS_END_OF_TABLE && walked.size() < 9;) {
    vsan = record<fcs_disc_status_record>(ask(FCS_OP_GETNEXT, words({10, vsan}))).vsan;
    walked.push_back(vsan);
  }
  EXPECT_EQ(walked, (std::vector<uint32_t>{1, 100, 2100, FCS_END_OF_TABLE}));
  const auto end = record<fcs_disc_status_record>(ask(FCS_OP_GETNEXT, words({10, 0x80000000})));
  EXPECT_EQ(end.vsan, FCS_END_OF_TABLE);
  EXPECT_EQ(end.status, 0);
  EXPECT_EQ(end.completed_seconds, 0);
}

TEST_F(Dispatch, AnswersElementsWithEveryField) {
  Bytes request = words({20, 100});
  const std::string name = *fcs::from_hex("20:64:00:00:5e:00:53:01");
  request.insert(request.end(), name.begin(), name.end());
  const auto row = record<IeEntry>(ask(FCS_OP_GET, request));
  EXPECT_EQ(row.domain_id, 10U);
  EXPECT_EQ(fcs::to_hex(row.mgmt_id, ""), "00fffc0a");
  EXPECT_EQ(fcs::to_wwn(row.fabric_name), "20:64:00:00:5e:00:53:01");
  EXPECT_EQ(std::string(reinterpret_cast<const char *>(row.info_list)), "Zephrin");
  EXPECT_EQ(row.mgmt_addr_list_index, 11U);
  EXPECT_NE(row.port_list_index, 0U);
  request.back() = 0x77;
  EXPECT_EQ(ask(FCS_OP_GET, request).result, FCS_ERR_NO_SUCH_ROW);
}

TEST_F(Dispatch, AnswersStatistics) {
  const auto row = record<FcsStatsRecord>(ask(FCS_OP_GETNEXT, words({90, 0})));
  const FcsStatsRecord wanted = {1, 3000000001, 12, 418, 17, 4294967295, 3, 2147483648, 96, 5};
  EXPECT_EQ(std::memcmp(&row, &wanted, sizeof(row)), 0);
  EXPECT_EQ(record<FcsStatsRecord>(ask(FCS_OP_GET, words({90, 100}))).tx_rscns, 4000000000);
  EXPECT_EQ(ask(FCS_OP_GET, words({90, 99})).result, FCS_ERR_NO_SUCH_ROW);
  // This table ends by its result, not by a record.
  EXPECT_EQ(ask(FCS_OP_GETNEXT, words({90, 2100})).result, FCS_ERR_NO_SUCH_ROW);
}

TEST_F(Dispatch, AnswersTotals) {
  const std::pair<uint32_t, uint32_t> kTotals[] = {
      {100, 5U + 4294967290U}, {110, 10}, {120, 48}, {130, 17}};
  for (const auto &[id, total] : kTotals) {
    EXPECT_EQ(record<uint32_t>(ask(FCS_OP_GET, words({id}))), total) << id;
  }
}

TEST_F(Dispatch, TellsAFailureOfTheStore) {
  // Somebody damages the store behind the service's back.
  fcs::Database(dir_.path("fabric.db")).execute("ALTER TABLE vsan RENAME TO gone");
  EXPECT_EQ(ask(FCS_OP_GET, words({10, 1})).result, FCS_ERR_STORE);
  EXPECT_EQ(ask(FCS_OP_GET, words({100})).result, FCS_ERR_STORE);
}

TEST_F(Dispatch, ReadingAheadTellsWhatReadingTells) {
  const fcs::RequestContext context{store_, configuration_, "admin"};
  const std::map<uint32_t, size_t> key_lengths = {{10, 4},  {20, 12}, {30, 272}, {40, 12}, {50, 12},
                                                  {60, 16}, {70, 8},  {80, 20},  {90, 4}};
  std::array<uint8_t, FCS_MESSAGE_ROOM> room{};
  fcs::ReadAhead ahead;
  for (const auto &[id, length] : key_lengths) {
    SCOPED_TRACE(id);
    Bytes next = words({id});
    next.resize(next.size() + length, 0);
    for (int rows = 0; rows < 200; ++rows) {
      // The walk goes on, or somebody asks for something else first.
      const Bytes start = words({id, 0});
      for (const auto &[operation, request] :
           std::initializer_list<std::pair<uint32_t, Bytes>>{{FCS_OP_GETNEXT, next},
                                                             {FCS_OP_GET, next},
                                                             {FCS_OP_GETNEXT, start},
                                                             {FCS_OP_GETNEXT, next}}) {
        room.fill(0xAA);
        const fcs::Answer told = ahead.answer(context, operation, request, room);
        const fcs::Answer read = ask(operation, request);
        EXPECT_EQ(told.result, read.result);
        EXPECT_EQ(told.length, read.length);
        EXPECT_EQ(room, room_);
        ahead.prepare(context);
      }
      if (ask(FCS_OP_GETNEXT, next).result != FCS_OK ||
          std::memcmp(room_.data(), &FCS_END_OF_TABLE, sizeof(FCS_END_OF_TABLE)) == 0) {
        break;
      }
      std::copy_n(room_.begin(), length, next.begin() + 4);
    }
  }
  ahead.answer(context, FCS_OP_GETNEXT, words({10, 0}), room);
  ahead.prepare(context);
  ahead.forget();
  EXPECT_EQ(import_text(store_, R"({"vsans": []})"), "");
  ahead.answer(context, FCS_OP_GETNEXT, words({10, 1}), room);
  EXPECT_EQ(std::memcmp(room.data(), &FCS_END_OF_TABLE, sizeof(FCS_END_OF_TABLE)), 0);
}

} // namespace
