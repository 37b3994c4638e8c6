#include "kept_answers.h"

#include <algorithm>
#include <optional>

namespace fcs {

namespace {

/** Octets that an answer takes besides its records and its question. */
constexpr size_t kOverhead = 160;

template <typename Value> void append(std::string &text, const Value &value) {
  text.append(reinterpret_cast<const char *>(&value), sizeof(value));
}

/** All that an answer depends on, but for the store. */
std::string question_of(const RequestContext &context, uint32_t operation, Octets request,
                        size_t room) {
  std::string question(reinterpret_cast<const char *>(request.data()), request.size());
  append(question, operation);
  append(question, context.rows);
  append(question, context.shown);
  append(question, room);
  return question;
}

} // namespace

Answer KeptAnswers::answer(const RequestContext &context, uint32_t operation, Octets request,
                           std::span<uint8_t> room) {
  const bool is_read = operation == FCS_OP_GET || operation == FCS_OP_GETNEXT;
  if (!is_read || !are_of_now(context.store)) {
    return answer_request(context, operation, request, room);
  }
  const std::string question = question_of(context, operation, request, room.size());
  if (const auto known = answers_.find(question); known != answers_.end()) {
    std::ranges::copy(known->second.records, room.begin());
    return known->second.answer;
  }
  const Answer answer = answer_request(context, operation, request, room);
  if (answer.result == FCS_OK || answer.result == FCS_ERR_NO_SUCH_ROW) {
    keep(question, answer, room.first(answer.length));
  }
  return answer;
}

/** False where that is not known: while the service itself changes the store, or it fails. */
bool KeptAnswers::are_of_now(FabricStore &store) {
  std::optional<StoreVersion> version;
  try {
    version = store.version();
  } catch (const SqliteError &) {
    return false; // Answering will fail as well, and say so.
  }
  if (version && *version != version_) {
    forget();
    version_ = *version;
  }
  return version.has_value();
}

void KeptAnswers::forget() {
  answers_.clear();
  size_ = 0;
}

void KeptAnswers::keep(const std::string &question, const Answer &answer, Octets records) {
  const size_t size = kOverhead + question.size() + records.size();
  if (size_ + size > kRoom) {
    forget();
  }
  size_ += size;
  answers_.insert_or_assign(question, Kept{answer, {records.begin(), records.end()}});
}

} // namespace fcs
