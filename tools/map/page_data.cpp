#include "page_data.h"

#include "card_rows.h"
#include "lines.h"
#include "look.h"
#include "name_text.h"
#include "wiring.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

namespace fabric_map {

namespace {

using Json = nlohmann::json;

void write_json(const Json &json, std::ostream &out) {
  constexpr bool kAsciiOnly = true;
  const std::string text = json.dump(-1, ' ', kAsciiOnly);
  size_t begin = 0;
  for (size_t end = 0; (end = text.find('<', begin)) != std::string::npos; begin = end + 1) {
    out << std::string_view(text).substr(begin, end - begin) << "\\u003c"; // Only strings have any.
  }
  out << std::string_view(text).substr(begin);
}

/** Writes the items that `make` makes of the numbers below `count`, one at a time. */
template <typename Make> void write_list(std::ostream &out, size_t count, const Make &make) {
  for (size_t i = 0; i < count; ++i) {
    out << (i == 0 ? '[' : ',');
    write_json(make(i), out);
  }
  out << (count == 0 ? "[]" : "]");
}

size_t place_of(const Look &look, std::span<const Look> looks) {
  return static_cast<size_t>(&look - looks.data());
}

/** A world-wide name without its colons. */
std::string digits_of(std::string wwn) {
  std::erase(wwn, ':');
  return wwn;
}

class VsanWriter {
public:
  VsanWriter(const Vsan &vsan, std::ostream &out)
      : vsan_(vsan), out_(out), wiring_(find_wiring(vsan)), bundles_(bundle_lines(vsan, wiring_)),
        attachment_(wiring_.attachments.begin()) {
    arrange();
  }

  VsanFigures write() {
    out_ << "{\"elements\":";
    write_list(out_, vsan_.elements.size(), [this](size_t i) { return element(i); });
    out_ << ",\"platforms\":";
    write_list(out_, vsan_.platforms.size(), [this](size_t i) { return platform(i); });
    out_ << ",\"strangers\":";
    write_list(out_, wiring_.strangers.size(),
               [this](size_t i) { return digits_of(wiring_.strangers[i]); });
    out_ << ",\"links\":";
    write_list(out_, wiring_.links.size(), [this](size_t i) {
      const auto &[a, b] = wiring_.links[i];
      return Json{a.element, a.port, b.element, b.port};
    });
    out_ << ",\"bundles\":";
    write_list(out_, bundles_.size(), [this](size_t i) {
      const Line &line = bundles_[i];
      return Json{line.a.element, line.b.element, place_of(*line.state, kStateLooks), line.text};
    });
    out_ << ",\"words\":";
    write_list(out_, words_.size(), [this](size_t i) { return words_[i]; });
    out_ << '}';
    return {vsan_.id,
            vsan_.discovery,
            vsan_.elements.size(),
            wiring_.links.size(),
            vsan_.platforms.size(),
            std::move(ports_in_state_)};
  }

private:
  void arrange() {
    std::vector<std::pair<size_t, size_t>> links;
    for (const Line &bundle : bundles_) {
      links.emplace_back(bundle.a.element, bundle.b.element);
    }
    const CardRows rows = arrange_cards(vsan_.elements.size(), links);
    row_of_.resize(vsan_.elements.size());
    for (size_t row = 0; row < rows.size(); ++row) {
      for (const size_t element : rows[row]) {
        row_of_[element] = row;
      }
    }
  }

  Json element(size_t index) {
    const Element &element = vsan_.elements[index];
    Json ports = Json::array();
    for (size_t i = 0; i < element.ports.size(); ++i) {
      ports.push_back(port({index, i}));
    }
    return {digits_of(element.wwn), name_text(element.name),
            element.type,           place_of(look_of_element(element.type), kElementLooks),
            element.domain,         element.is_local,
            row_of_[index],         std::move(ports)};
  }

  /** To be asked for in the order of the ports. */
  Json port(PortPlace place) {
    const Port &port = vsan_.elements[place.element].ports[place.port];
    ++ports_in_state_[place_of(look_of_state(port.state), kStateLooks)];
    Json json{digits_of(port.wwn), port.number, number_of(port.type), number_of(port.state)};
    for (; attachment_ != wiring_.attachments.end() && attachment_->port == place; ++attachment_) {
      json.push_back(digits_of(port.attached[attachment_->name]));
      json.push_back(attachment_->device);
    }
    return json;
  }

  static Json platform(const Platform &platform) {
    Json names = Json::array();
    std::ranges::transform(platform.node_wwns, std::back_inserter(names), digits_of);
    return {name_text(platform.name), platform.type,
            place_of(look_of_platform(platform.type), kDeviceLooks), std::move(names)};
  }
  Json platform(size_t index) const { return platform(vsan_.platforms[index]); }

  /** Of a word that many ports share. */
  size_t number_of(const std::string &word) {
    const auto [known, is_new] = numbers_.emplace(word, words_.size());
    if (is_new) {
      words_.push_back(word);
    }
    return known->second;
  }

  const Vsan &vsan_;
  std::ostream &out_;
  Wiring wiring_;
  std::vector<Line> bundles_;
  std::vector<size_t> row_of_; ///< Of each element, where these are arranged from top to bottom.
  std::vector<Attachment>::const_iterator attachment_;
  std::vector<std::string> words_;
  std::map<std::string, size_t> numbers_;
  std::vector<size_t> ports_in_state_ = std::vector<size_t>(kStateLooks.size());
};

Json looks(std::span<const Look> table) {
  Json list = Json::array();
  for (const Look &look : table) {
    list.push_back({{"word", look.word}, {"fill", look.fill}, {"text", look.text}});
  }
  return list;
}

} // namespace

VsanFigures write_vsan(const Vsan &vsan, std::ostream &out) {
  return VsanWriter(vsan, out).write();
}

void write_fabric(const std::vector<VsanFigures> &vsans, std::ostream &out) {
  Json list = Json::array();
  for (const VsanFigures &vsan : vsans) {
    list.push_back({{"id", vsan.id},
                    {"discovery", vsan.discovery},
                    {"elements", vsan.elements},
                    {"links", vsan.links},
                    {"platforms", vsan.platforms},
                    {"ports", vsan.ports}});
  }
  write_json({{"vsans", std::move(list)},
              {"states", looks(kStateLooks)},
              {"elements", looks(kElementLooks)},
              {"devices", looks(kDeviceLooks)}},
             out);
}

} // namespace fabric_map
