/**
 * One message a request: the rows that the service has sent along for the SNMP request being served
 * answer the further exchanges of that request, and are forgotten with it. So nothing that is
 * answered is older than the request, and nothing is ever stale.
 */
#pragma once

#include "common/wire/ipc_wire.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

struct FcsKeyForm;

/** A request to read a row of the service: its operation, FCS_OP_GET or FCS_OP_GETNEXT, and key. */
struct RowQuestion {
  /**
   * \param opcode, operation, request As ipc_req_resp takes them.
   * \return nothing when the request is not one to read a row by its key.
   */
  static std::optional<RowQuestion> of(uint32_t opcode, uint32_t operation,
                                       std::span<const uint8_t> request);

  const FcsKeyForm *form;
  uint32_t operation;
  const uint8_t *key;
};

/** The answer to an exchange: its result, and the record unless that is a failure. */
struct RowAnswer {
  int32_t result;
  std::span<const uint8_t> record; ///< Valid until further rows are kept.
};

class RequestRows {
public:
  /** No SNMP request that may keep rows is being served. */
  static constexpr long kNone = -1;

  /** Tells which SNMP request is being served: the rows of any other are forgotten. */
  void serve(long request);

  /** The answer that is known without asking the service. */
  std::optional<RowAnswer> find(const RowQuestion &question);

  /**
   * How many rows to ask the service for, where the SNMP request has a use for `useful`. A role
   * that hides VSANs wastes what follows a visible one, so that behind a gap it is to be little
   * more than has been of use of the last reply, unless that is the first and tells nothing yet.
   */
  uint32_t rows_to_ask(const RowQuestion &question, uint32_t useful) const;

  /** Keeps the records of a reply, each of `length` octets, as far as they are in order. */
  void keep(const RowQuestion &question, const ipc_wire::Reply &reply, size_t length);

private:
  /** The rows of one reply, in ascending order, without a gap. */
  struct Batch {
    const FcsKeyForm *form;
    std::vector<uint8_t> from; ///< No row lies between this key and the first record.
    std::vector<uint8_t> records;
    size_t length; ///< Of a record.
    size_t size;   ///< Records.
    int32_t end;   ///< What follows the last record, if it is known: a failure.
    size_t used;   ///< Records up to the last one that was of use.

    const uint8_t *at(size_t number) const { return &records[number * length]; }
  };

  static std::optional<RowAnswer> find(Batch &batch, const RowQuestion &question);

  /** Reading so many rows in vain costs less than asking once more. */
  static constexpr size_t kSpareRows = 12;
  /** Bounds what a request with thousands of bindings keeps and searches. */
  static constexpr size_t kMostBatches = 64;

  long request_ = kNone;
  std::deque<Batch> batches_;
};
