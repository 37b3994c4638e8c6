#include "json_document.h"

#include <set>
#include <string>
#include <vector>

namespace fcs {

using nlohmann::json;

namespace {

constexpr size_t kDeepest = 16;
/** An entry is held in memory, at some 150 octets a value. A VSAN of 65,536 ports has 600,000. */
constexpr size_t kMostValues = 1'000'000;

/** The parser's text without the tag that it puts first, and not too long. */
std::string without_tag(std::string text) {
  constexpr size_t kLongest = 300;
  const size_t tag = text.find("] ");
  text.erase(0, tag == std::string::npos ? 0 : tag + 2);
  if (text.size() > kLongest) {
    text.replace(kLongest, std::string::npos, "...");
  }
  return text;
}

/** Receives the parser's events and builds one entry of the document at a time. */
class EntryBuilder {
public:
  explicit EntryBuilder(DocumentHandler &handler) : handler_(handler) {}

  bool null() { return scalar(nullptr); }
  bool boolean(bool value) { return scalar(value); }
  bool number_integer(json::number_integer_t value) { return scalar(value); }
  bool number_unsigned(json::number_unsigned_t value) { return scalar(value); }
  bool number_float(json::number_float_t value, const std::string & /*text*/) {
    return scalar(value);
  }
  bool string(std::string &value) { return scalar(std::move(value)); }
  bool binary(json::binary_t & /*value*/) { return false; }

  bool start_object(size_t /*elements*/) {
    if (!in_root_) {
      in_root_ = true;
    } else {
      open(json::object());
    }
    return true;
  }

  bool key(std::string &name) {
    if (open_.empty()) {
      section_ = name;
      if (!root_members_.insert(name).second) {
        throw DescriptionFault(root_member(name) + ": member given twice");
      }
      return true;
    }
    open_.back().key = name;
    if (open_.back().value->contains(name)) {
      throw DescriptionFault(place() + ": member given twice");
    }
    return true;
  }

  bool end_object() {
    if (!open_.empty()) {
      close();
    }
    return true;
  }

  bool start_array(size_t /*elements*/) {
    check_root();
    if (open_.empty() && !in_section_) {
      in_section_ = true;
      index_ = 0;
      handler_.begin_section(section_);
    } else {
      open(json::array());
    }
    return true;
  }

  bool end_array() {
    if (open_.empty()) {
      in_section_ = false;
    } else {
      close();
    }
    return true;
  }

  bool parse_error(size_t /*position*/, const std::string & /*token*/,
                   const json::exception &error) {
    constexpr std::string_view kSyntax = "parse error at ";
    const std::string text = without_tag(error.what());
    // A number that is too large is told without line and column.
    throw DescriptionFault(text.starts_with(kSyntax) ? text.substr(kSyntax.size())
                                                     : place() + ": " + text);
  }

private:
  struct Open {
    json *value;
    std::string key; ///< Of the member being read, when the value is an object.
  };

  void check_root() const {
    if (!in_root_) {
      throw DescriptionFault("the document must be an object");
    }
  }

  json *attach(json &&value) {
    if (++values_ > kMostValues) {
      throw DescriptionFault(place() + ": more than " + std::to_string(kMostValues) +
                             " values within " + entry_place());
    }
    if (open_.empty()) {
      entry_ = std::move(value);
      return &entry_;
    }
    Open &parent = open_.back();
    if (parent.value->is_array()) {
      parent.value->push_back(std::move(value));
      return &parent.value->back();
    }
    json &member = (*parent.value)[parent.key];
    member = std::move(value);
    return &member;
  }

  bool scalar(json value) {
    check_root();
    attach(std::move(value));
    complete();
    return true;
  }

  void open(json container) {
    if (open_.size() == kDeepest) {
      throw DescriptionFault(place() + ": nested too deeply");
    }
    open_.push_back({attach(std::move(container)), {}});
  }

  void close() {
    open_.pop_back();
    complete();
  }

  void complete() {
    if (!open_.empty()) {
      return;
    }
    if (in_section_) {
      handler_.entry(index_++, entry_);
    } else {
      handler_.member(section_, entry_);
    }
    entry_ = nullptr;
    values_ = 0;
  }

  std::string entry_place() const {
    return root_member(section_) + (in_section_ ? "[" + std::to_string(index_) + "]" : "");
  }

  /** Of the value that is being read. */
  std::string place() const {
    std::string text = entry_place();
    for (const Open &level : open_) {
      // An array holds the value being read already if that one is a container itself.
      const size_t next = level.value->size() - (&level == &open_.back() ? 0 : 1);
      text += level.value->is_array() ? "[" + std::to_string(next) + "]" : member_suffix(level.key);
    }
    return text;
  }

  DocumentHandler &handler_;
  std::set<std::string> root_members_;
  std::string section_;
  json entry_;
  std::vector<Open> open_;
  size_t values_ = 0; ///< Of the entry so far.
  size_t index_ = 0;
  bool in_root_ = false;
  bool in_section_ = false;
};

} // namespace

void read_document(std::istream &in, DocumentHandler &handler) {
  EntryBuilder builder(handler);
  json::sax_parse(in, &builder);
}

} // namespace fcs
