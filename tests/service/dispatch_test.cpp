#include "fixtures.h"

#include <cstring>

namespace {

class Dispatch : public ServedStore {
protected:
  Dispatch() { EXPECT_EQ(import_text(store_, content(SAMPLE_FABRIC)), ""); }
};

/** What is served with a key: the lengths of requests that read and that write, 0 for not so. */
constexpr struct {
  uint32_t id;
  size_t read;
  size_t written;
} kKeyed[] = {{10, 4, 0},  {20, 12, 0},  {30, 272, 272}, {40, 12, 0}, {50, 12, 0},
              {60, 16, 0}, {70, 8, 292}, {80, 20, 20},   {90, 4, 0}};

TEST_F(Dispatch, RefusesUnknownRecordsWrongOperationsAndWrongLengths) {
  const auto result = [this](uint32_t id, uint32_t operation, size_t length) {
    Bytes request = words({id});
    request.resize(request.size() + length, 0);
    return ask(operation, request).result;
  };
  for (const auto &[id, read, written] : kKeyed) {
    for (const uint32_t operation : {0U, 1U, 2U, 3U, 4U, 5U, 31U, 32U, 33U, 0xFFFFFFFFU}) {
      const size_t served = operation == 1 || operation == 2   ? read
                            : operation == 3 || operation == 4 ? written
                                                               : 0;
      if (served == 0) {
        EXPECT_EQ(result(id, operation, read), FCS_ERR_BAD_OPERATION) << id << " " << operation;
        continue;
      }
      for (const size_t length : {size_t{0}, served - 1, served + 1}) {
        EXPECT_EQ(result(id, operation, length), FCS_ERR_BAD_LENGTH) << id << " " << operation;
      }
    }
    EXPECT_EQ(result(id + 5, FCS_OP_GET, read), FCS_ERR_NO_SUCH_RECORD);
  }
  for (const uint32_t id : {100U, 110U, 120U, 130U, 140U, 150U}) {
    EXPECT_EQ(result(id, FCS_OP_GET, 0), FCS_OK);
    EXPECT_EQ(result(id, FCS_OP_GET, 4), FCS_ERR_BAD_LENGTH);
    EXPECT_EQ(result(id, FCS_OP_GETNEXT, 0), FCS_ERR_BAD_OPERATION);
  }
  EXPECT_EQ(ask(FCS_OP_GET, Bytes(3, 0)).result, FCS_ERR_BAD_LENGTH);
}

TEST_F(Dispatch, TellsAFailureOfTheStore) {
  // Somebody damages the store behind the service's back.
  fcs::Database(dir_.path("fabric.db")).execute("ALTER TABLE vsan RENAME TO gone");
  EXPECT_EQ(ask(FCS_OP_GET, words({10, 1})).result, FCS_ERR_STORE);
  EXPECT_EQ(ask(FCS_OP_GET, words({100})).result, FCS_ERR_STORE);
}

} // namespace
