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

/** A request to read a row of the service: its operation, FCS_OP_GET or FCS_OP_GETNEXT, and key;
 *  and the VSANs that its user may see. */
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
  ipc_wire::ShownVsans shown{};

  /** The VSAN that the key begins with. */
  uint32_t vsan() const;
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

  /** Keeps the records of a reply, each of `length` octets, as far as they are in order. */
  void keep(const RowQuestion &question, const ipc_wire::Reply &reply, size_t length);

private:
  /** The rows of one reply, in ascending order, without a gap but for that behind the first row of
   *  a hidden VSAN. */
  struct Batch {
    const FcsKeyForm *form;
    ipc_wire::ShownVsans shown;
    std::vector<uint8_t> from; ///< No row lies between this key and the first record.
    std::vector<uint8_t> records;
    size_t length;   ///< Of a record.
    size_t size = 0; ///< Records.
    int32_t end = 0; ///< What follows the last record, if it is known: a failure.

    const uint8_t *at(size_t number) const { return &records[number * length]; }
    /** Whether what follows the key may be missing in front of that record. */
    bool has_gap(const uint8_t *key, size_t number) const;
  };

  static std::optional<RowAnswer> find(const Batch &batch, const RowQuestion &question);

  /** Bounds what a request with thousands of bindings keeps and searches. */
  static constexpr size_t kMostBatches = 64;

  long request_ = kNone;
  std::deque<Batch> batches_;
};
