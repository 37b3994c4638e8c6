#include "transcript.h"

#include "module_steps.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

// ---- Playing

/** What came of an alternative, or of a line without alternatives. */
struct Outcome {
  std::string label;
  Lines events;
  bool operator==(const Outcome &) const = default;
};

class Player {
public:
  /** What comes of a line, for every alternative. */
  std::vector<Outcome> take(std::string line) {
    if (line.starts_with("let ")) {
      texts_["$" + words_of(line).at(1)] = line.substr(line.find("= ") + 2);
      return {};
    }
    for (const auto &[name, text] : texts_) {
      if (text.find('{') != std::string::npos) {
        replace_all(line, name, text);
      }
    }
    std::vector<Outcome> outcomes = alternatives(line);
    history_.push_back(last_);
    return outcomes;
  }

private:
  std::vector<Outcome> alternatives(const std::string &line) {
    const size_t open = line.find('{');
    if (open == std::string::npos) {
      last_ = line;
      for (const auto &[name, text] : texts_) {
        replace_all(last_, name, text);
      }
      return {{"", from_the_beginning(last_)}};
    }
    const size_t close = line.find('}', open);
    std::vector<Outcome> first;
    std::vector<Outcome> merged;
    bool all_same = true;
    for (const std::string &each : words_of(line.substr(open + 1, close - open - 1), ',')) {
      const auto outcomes = alternatives(line.substr(0, open) + each + line.substr(close + 1));
      first = merged.empty() ? outcomes : first;
      all_same = all_same && outcomes == first;
      for (const auto &[sub_label, events] : outcomes) {
        const std::string label = sub_label.empty() ? each : joined({each, sub_label}, " ");
        const auto same = std::ranges::find(merged, events, &Outcome::events);
        if (same == merged.end()) {
          merged.push_back({label, events});
        } else {
          same->label += "," + label;
        }
      }
    }
    return all_same ? first : merged;
  }

  Lines from_the_beginning(const std::string &line) {
    steps_.start();
    Lines events;
    Lines all = history_;
    all.push_back(line);
    for (std::string commands : all) {
      events.clear();
      replace_all(commands, " ; ", "\n");
      for (const std::string &command : words_of(commands, '\n')) {
        std::ranges::copy(steps_.take(command), std::back_inserter(events));
      }
    }
    return events;
  }

  ModuleSteps steps_;
  /** Longer names first, as one may begin with another. */
  std::map<std::string, std::string, std::greater<>> texts_;
  Lines history_;
  std::string last_;
};

// ---- Pages

constexpr size_t kWidth = 120;

/** Events on as many lines as they need; `indent` is that of the further ones. */
std::string text_of(const std::string &label, const Lines &events, const std::string &indent) {
  std::string text;
  std::string line = label;
  for (size_t i = 0; i < events.size(); ++i) {
    const std::string event = " " + events[i] + (i + 1 == events.size() ? "" : " |");
    if (line.size() + event.size() > kWidth && line.size() > indent.size()) {
      text += line + "\n";
      line = indent;
    }
    line += event;
  }
  return text + line + (events.empty() ? " nothing" : "");
}

/** Takes the events that all outcomes begin with, or end with behind those. */
Lines take_common(std::vector<Outcome> &outcomes, bool at_end) {
  Lines common;
  const auto place = [&](Lines &events) { return at_end ? events.end() - 1 : events.begin(); };
  while (std::ranges::all_of(outcomes, [&](Outcome &each) {
    return !each.events.empty() && *place(each.events) == *place(outcomes[0].events);
  })) {
    common.insert(at_end ? common.begin() : common.end(), *place(outcomes[0].events));
    for (Outcome &each : outcomes) {
      each.events.erase(place(each.events));
    }
  }
  return common;
}

/** What is common to all outcomes, then what is each one's own; several on a line where they fit.
 */
std::string page_of(std::vector<Outcome> outcomes) {
  if (outcomes.size() == 1) {
    return text_of(" ", outcomes[0].events, " ") + "\n";
  }
  const std::vector<Outcome> whole = outcomes;
  Lines common = take_common(outcomes, false);
  common.emplace_back("*");
  std::ranges::copy(take_common(outcomes, true), std::back_inserter(common));
  const bool worthwhile = common.size() > 2;
  std::string page = worthwhile ? text_of(" ", common, " ") + "\n" : "";
  std::string line;
  for (const auto &[label, events] : worthwhile ? outcomes : whole) {
    const std::string text = text_of("  * " + label + ":", events, "   ");
    const bool fits = line.size() + text.size() <= kWidth && text.find('\n') == std::string::npos;
    if (!fits && !line.empty()) {
      page.append(line).append("\n");
    }
    line = fits && !line.empty() ? line.append(text, 1) : text;
  }
  return page + line + "\n";
}

/** Whether the last thing that a line does is to ask something of the module. */
bool asks(const std::string &line) {
  const size_t end = line.rfind(" ; ");
  const std::string last = end == std::string::npos ? line : line.substr(end + 3);
  return last.starts_with("get ") || last.starts_with("next ") || last.starts_with("set") ||
         last.starts_with("notify ");
}

} // namespace

std::vector<TranscriptTest> read_transcripts(const std::string &directory) {
  std::vector<TranscriptTest> tests;
  for (const auto &entry : std::filesystem::directory_iterator(directory)) {
    std::ifstream in(entry.path());
    TranscriptTest test{entry.path(), {}, {}, {}};
    for (std::string line; entry.path().extension() == ".transcript" && std::getline(in, line);) {
      if (line.starts_with("== ")) {
        if (!test.name.empty()) {
          tests.push_back(test);
        }
        test.name = entry.path().stem().string() + "_" + line.substr(3);
        test.text.clear();
      }
      (test.name.empty() ? test.preamble : test.text) += line + "\n";
    }
    if (!test.name.empty()) {
      tests.push_back(test);
    }
  }
  return tests;
}

std::string play(const TranscriptTest &test) {
  Player player;
  std::string page;
  std::istringstream lines(test.preamble + test.text);
  for (std::string line; std::getline(lines, line);) {
    page = line.starts_with("== ") ? "" : page; // The preamble is no part of it.
    if (!line.starts_with("  ")) {
      page += line + "\n";
    }
    if (!line.empty() && line.find_first_of("#= ") != 0) {
      const std::vector<Outcome> outcomes = player.take(line);
      page += asks(line) ? page_of(outcomes) : "";
    }
  }
  return page;
}
