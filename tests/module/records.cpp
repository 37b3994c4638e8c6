#include "records.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <stdexcept>

namespace {

constexpr size_t kShortestRun = 4;
constexpr size_t kCountedText = 255;

size_t run_at(Bytes::const_iterator first, Bytes::const_iterator end) {
  return static_cast<size_t>(
      std::find_if(first, end, [&](uint8_t octet) { return octet != *first; }) - first);
}

std::string text_of_part(const Bytes &octets, size_t shortest_text) {
  const bool is_text = std::ranges::all_of(
      octets, [](uint8_t c) { return c >= ' ' && c <= '~' && c != '"' && c != '{'; });
  if (is_text && octets.size() >= shortest_text) {
    return '"' + std::string(octets.begin(), octets.end()) + '"';
  }
  std::string digits;
  for (const uint8_t octet : octets) {
    digits += {"0123456789abcdef"[octet >> 4], "0123456789abcdef"[octet & 15]};
  }
  return digits;
}

/** Octets of a field, of which `left` are there at most. */
size_t field_length(const std::string &field, size_t left) {
  return field == "w" || field == "i" ? sizeof(uint32_t)
         : field == "s"               ? 1 + kCountedText
         : field == "*"               ? left
                                      : std::stoul(field);
}

std::string text_of_field(const std::string &field, Bytes octets) {
  if (field == "w" || field == "i") {
    uint32_t word = 0;
    memcpy(&word, octets.data(), std::min(octets.size(), sizeof(word)));
    return field == "w" ? std::to_string(word) : std::to_string(static_cast<int32_t>(word));
  }
  if (field == "s") {
    const size_t length = octets.front();
    const bool clean = std::all_of(octets.begin() + 1 + static_cast<ptrdiff_t>(length),
                                   octets.end(), [](uint8_t octet) { return octet == 0; });
    octets = Bytes(octets.begin() + 1,
                   clean ? octets.begin() + 1 + static_cast<ptrdiff_t>(length) : octets.end());
  }
  return text_of_octets(octets, field == "s" ? 1 : 3);
}

} // namespace

std::string text_of_octets(const Bytes &octets, size_t shortest_text) {
  Lines parts;
  for (auto first = octets.begin(); first != octets.end();) {
    auto end = first; // Of a run, or of what lies in front of the next one.
    while (end != octets.end() && run_at(end, octets.end()) < kShortestRun) {
      ++end;
    }
    const size_t run = end == first ? run_at(first, octets.end()) : 1;
    parts.push_back(
        text_of_part(run > 1 ? Bytes{*first} : Bytes(first, end), run > 1 ? 1 : shortest_text));
    parts.back() += run > 1 ? "*" + std::to_string(run) : "";
    first = run > 1 ? first + static_cast<ptrdiff_t>(run) : end;
  }
  return parts.empty() ? "\"\"" : joined(parts, ".");
}

Bytes octets_of_text(const std::string &text) {
  Bytes octets;
  for (const std::string &part : words_of(text, '.')) {
    Bytes once;
    const size_t end = part[0] == '"' ? part.rfind('"') + 1 : part.find('*');
    const std::string value = part.substr(0, end);
    if (value[0] == '"') {
      once.assign(value.begin() + 1, value.end() - 1);
    } else {
      for (size_t i = 0; i < value.size(); i += 2) {
        once.push_back(static_cast<uint8_t>(std::stoul(value.substr(i, 2), nullptr, 16)));
      }
    }
    const size_t star = part.find('*', value.size());
    const size_t times = star == std::string::npos ? 1 : std::stoul(part.substr(star + 1));
    for (size_t i = 0; i < times; ++i) {
      octets.insert(octets.end(), once.begin(), once.end());
    }
  }
  return octets;
}

std::string form_of(uint32_t id) {
  static const std::map<uint32_t, std::string> kForms = {
      {FCS_REC_DISCOVERY_STATUS, "w w w w"},
      {FCS_REC_IE, "w 8 w w 4 8 s w 256 w"},
      {FCS_REC_MGMT_ADDR, "w w s w w"},
      {FCS_REC_PORT_LIST, "w 8"},
      {FCS_REC_PORT, "w 8 w w w w w w"},
      {FCS_REC_ATTACH_PORT, "w 12"},
      {FCS_REC_PLATFORM, "w w s w w w w w w w"},
      {FCS_REC_NODE_NAME, "w 8 w w"},
      {FCS_REC_STATISTICS, "w w w w w w w w w w"},
      {FCS_MSG_START_DISCOVERY, "w w"},
      {FCS_MSG_REG_REQ_REJ, "w w"},
      {FCS_MSG_DISC_COMPLETE, "*"},
      {FCS_MSG_IP_ADDR_CHANGE, "w 8"},
  };
  const auto form = kForms.find(id);
  return form == kForms.end() ? "w" : form->second;
}

std::string text_of_record(const std::string &form, const Bytes &octets) {
  std::string text;
  auto at = octets.begin();
  for (const std::string &field : words_of(form)) {
    const auto left = static_cast<size_t>(octets.end() - at);
    if (left == 0) {
      return text;
    }
    const auto end = at + static_cast<ptrdiff_t>(std::min(field_length(field, left), left));
    text += (text.empty() ? "" : " ") + text_of_field(field, Bytes(at, end));
    at = end;
  }
  return text + (at == octets.end() ? "" : " +" + std::to_string(octets.end() - at));
}

Bytes record_of_text(const std::string &form, const Lines &fields) {
  Bytes record;
  size_t given = 0;
  for (const std::string &field : words_of(form)) {
    const std::string text = given < fields.size() ? fields[given++] : "";
    Bytes octets;
    if (field == "w") {
      const auto word = static_cast<uint32_t>(text.empty() ? 0 : std::stoll(text));
      octets.resize(sizeof(word));
      memcpy(octets.data(), &word, sizeof(word));
    } else {
      octets = octets_of_text(text);
      if (field == "s") {
        octets.insert(octets.begin(), static_cast<uint8_t>(octets.size()));
      }
      octets.resize(field_length(field, octets.size()));
    }
    record.insert(record.end(), octets.begin(), octets.end());
  }
  if (given < fields.size()) {
    throw std::invalid_argument("too many fields for the form " + form);
  }
  return record;
}

Lines words_of(const std::string &line, char separator) {
  Lines words;
  bool inside = false;
  bool open = false;
  for (const char c : line) {
    inside = inside != (c == '"');
    if (c == separator && !inside) {
      open = false;
    } else {
      if (!open) {
        words.emplace_back();
      }
      open = true;
      words.back() += c;
    }
  }
  return words;
}

std::string joined(const Lines &parts, const std::string &separator) {
  std::string text;
  for (const std::string &part : parts) {
    text += (text.empty() ? "" : separator) + part;
  }
  return text;
}

void replace_all(std::string &text, const std::string &old, const std::string &by) {
  for (size_t at = text.find(old); at != std::string::npos; at = text.find(old, at + by.size())) {
    text.replace(at, old.size(), by);
  }
}
