#include "scripted_service.h"

#include <cerrno>

/** What compares as the key of a record does. */
static std::vector<uint32_t> key_of(uint32_t record_id, const Bytes &record) {
  const FcsKeyForm *form = fcs_key_form(record_id);
  std::vector<uint32_t> key(form == nullptr ? 0 : form->words);
  std::copy_n(record.data(), key.size() * sizeof(uint32_t),
              reinterpret_cast<uint8_t *>(key.data()));
  if (form != nullptr) {
    const uint8_t *name = record.data() + key.size() * sizeof(uint32_t);
    key.insert(key.end(), name, name + form->name_octets);
  }
  return key;
}

void ScriptedService::add_row(uint32_t record_id, const Bytes &row) {
  rows_[record_id][key_of(record_id, row)] = row;
}

void ScriptedService::add_answer(const std::string &beginning, const Reply &reply) {
  answers_.insert(answers_.begin(), {beginning, reply});
}

Reply ScriptedService::operator()(const Request &request) {
  const std::string asked = text_of(request) + " ";
  for (const auto &[beginning, reply] : answers_) {
    const bool whole_words = asked.find_first_of(" /", beginning.size()) == beginning.size();
    if (asked.starts_with(beginning) && whole_words) {
      errno = ECONNRESET;
      return reply;
    }
  }
  if (request.opcode != FCS_MSG_REQUEST || request.flag > FCS_OP_GETNEXT) {
    return {FCS_OK, {}};
  }
  const auto key = key_of(request.record_id, request.payload);
  const auto &rows = rows_[request.record_id];
  const auto row = request.flag == FCS_OP_GET ? rows.find(key) : rows.upper_bound(key);
  return row == rows.end() ? Reply{FCS_ERR_NO_SUCH_ROW, {}} : Reply{FCS_OK, row->second};
}
