#include "request_rows.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <algorithm>
#include <cstring>

namespace {

uint32_t word_at(const uint8_t *octets, size_t number) {
  uint32_t word = 0;
  memcpy(&word, octets + number * sizeof(word), sizeof(word));
  return word;
}

/** Whether one key lies in front of another. */
bool is_before(const FcsKeyForm &form, const uint8_t *key, const uint8_t *other) {
  for (size_t i = 0; i < form.words; ++i) {
    if (word_at(key, i) != word_at(other, i)) {
      return word_at(key, i) < word_at(other, i);
    }
  }
  const size_t name = form.words * sizeof(uint32_t);
  return memcmp(key + name, other + name, form.name_octets) < 0;
}

/** A record that tells the end of its table is no row, whatever its key is. */
bool is_row(const uint8_t *record) {
  return word_at(record, 0) != FCS_END_OF_TABLE;
}

/** How many records of a reply answer the question and what follows, one behind the other. */
size_t rows_in_order(const RowQuestion &question, const ipc_wire::Reply &reply, size_t length) {
  const FcsKeyForm &form = *question.form;
  const uint8_t *record = reply.payload;
  if (length < form.length() ||
      (question.operation == FCS_OP_GETNEXT ? !is_before(form, question.key, record)
                                            : memcmp(question.key, record, form.length()) != 0)) {
    return 0;
  }
  size_t rows = 1;
  while (rows < ipc_wire::rows_of(reply.header) && is_row(record) &&
         is_before(form, record, record + length)) {
    record += length;
    ++rows;
  }
  return rows;
}

} // namespace

std::optional<RowQuestion> RowQuestion::of(uint32_t opcode, uint32_t operation,
                                           std::span<const uint8_t> request) {
  if (opcode != FCS_MSG_REQUEST || (operation != FCS_OP_GET && operation != FCS_OP_GETNEXT) ||
      request.size() <= sizeof(uint32_t)) {
    return std::nullopt;
  }
  const FcsKeyForm *form = fcs_key_form(word_at(request.data(), 0));
  if (form == nullptr || request.size() < sizeof(uint32_t) + form->length()) {
    return std::nullopt;
  }
  return RowQuestion{form, operation, &request[sizeof(uint32_t)]};
}

uint32_t RowQuestion::vsan() const {
  return word_at(key, 0);
}

void RequestRows::serve(long request) {
  if (request != request_) {
    request_ = request;
    batches_.clear();
  }
}

std::optional<RowAnswer> RequestRows::find(const RowQuestion &question) {
  for (const Batch &batch : batches_) {
    if (batch.form == question.form) {
      if (const auto answer = find(batch, question)) {
        return answer;
      }
    }
  }
  return std::nullopt;
}

bool RequestRows::Batch::has_gap(const uint8_t *key, size_t number) const {
  if (number == 0 || shown.contain(word_at(at(number - 1), 0))) {
    return false;
  }
  // Behind a key of one word lies the next VSAN.
  const uint64_t behind = uint64_t{word_at(key, 0)} + (form->length() == sizeof(uint32_t) ? 1 : 0);
  return behind < shown.next(word_at(at(number - 1), 0));
}

std::optional<RowAnswer> RequestRows::find(const Batch &batch, const RowQuestion &question) {
  const FcsKeyForm &form = *batch.form;
  if (is_before(form, question.key, batch.from.data())) {
    return std::nullopt;
  }
  const bool next = question.operation == FCS_OP_GETNEXT;
  size_t low = 0;
  for (size_t high = batch.size; low < high;) {
    const size_t middle = (low + high) / 2;
    const bool is_answer = next ? is_before(form, question.key, batch.at(middle))
                                : !is_before(form, batch.at(middle), question.key);
    (is_answer ? high : low) = is_answer ? middle : middle + 1;
  }
  if (batch.has_gap(question.key, low)) {
    return std::nullopt;
  }
  if (low == batch.size) {
    return next && batch.end != 0 ? std::optional(RowAnswer{batch.end, {}}) : std::nullopt;
  }
  const uint8_t *record = batch.at(low);
  if (!next && (is_before(form, question.key, record) || !is_row(record))) {
    return std::nullopt;
  }
  return RowAnswer{FCS_OK, {record, batch.length}};
}

void RequestRows::keep(const RowQuestion &question, const ipc_wire::Reply &reply, size_t length) {
  const FcsKeyForm &form = *question.form;
  const bool next = question.operation == FCS_OP_GETNEXT;
  Batch batch{.form = &form,
              .shown = question.shown,
              .from = {question.key, question.key + form.length()},
              .records = {},
              .length = length};
  if (reply.header.result != FCS_OK) {
    batch.end = reply.header.result;
    if (!next || batch.end != FCS_ERR_NO_SUCH_ROW) {
      return;
    }
  } else {
    batch.size = rows_in_order(question, reply, length);
    batch.records = {reply.payload, reply.payload + batch.size * length};
    batch.end = batch.size == ipc_wire::rows_of(reply.header) ? reply.header.end : 0;
    if (batch.size == 0) {
      return;
    }
  }
  if (batches_.size() == kMostBatches) {
    batches_.pop_front();
  }
  batches_.push_back(std::move(batch));
}
