/**
 * Transcripts: the platform's tests as pages to read. "== NAME" begins a test, "#" a remark. A line
 * is a step, or several with " ; " between them, and behind "=>" all that comes of it in order,
 * " | " between two events. What a step does is found in steps.cpp under its first word. "let
 * NAME = TEXT" in front of the tests lets a name stand for a text in the events.
 *
 * With FCS_WRITE_TRANSCRIPTS in the environment those that differ are written anew, for a person
 * to review.
 */
#include "steps.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

struct Page {
  std::string file;
  std::string name;
  std::vector<std::pair<std::string, std::string>> texts; ///< And what stands for them.
  std::string text;
};

/** How GoogleTest names a test that fails. */
void PrintTo(const Page &page, std::ostream *out) {
  *out << page.file;
}

void read_pages(const std::filesystem::path &file, std::vector<Page> &pages) {
  Page page{file, "", {}, ""};
  std::ifstream in(file);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("let ")) {
      const size_t middle = line.find(" = ");
      page.texts.emplace_back(line.substr(middle + 3), line.substr(4, middle - 4));
    } else if (line.starts_with("== ")) {
      page.name = file.stem().string() + "_" + line.substr(3);
      pages.push_back(page);
    }
    if (!page.name.empty()) {
      pages.back().text += line + "\n";
    }
  }
}

std::vector<Page> all_pages() {
  std::vector<Page> pages;
  for (const auto &entry : std::filesystem::directory_iterator(FCS_TRANSCRIPTS)) {
    if (entry.path().extension() == ".transcript") {
      read_pages(entry.path(), pages);
    }
  }
  return pages;
}

/** A line of steps with its events, on as many lines as these need. */
std::string written(std::string line, const std::vector<std::string> &events) {
  constexpr size_t kWidth = 120;
  std::string text;
  line += events.empty() ? "" : " =>";
  for (auto event = events.begin(); event != events.end();) {
    const auto other =
        std::find_if(event, events.end(), [&](auto &each) { return each != *event; });
    const auto times = other - event;
    const std::string word = (times == 1 ? " " : " " + std::to_string(times) + " x ") + *event +
                             (other == events.end() ? "" : " |");
    if (line.size() + word.size() > kWidth) {
      text += std::exchange(line, "   ") + "\n";
    }
    line += word;
    event = other;
  }
  return text + line + "\n";
}

/** What comes of a line of steps. */
std::vector<std::string> events_of(const Page &page, const Stage &take, std::string line) {
  std::vector<std::string> events;
  for (size_t end = 0; end != std::string::npos; line.erase(0, end + 3)) {
    end = line.find(" ; ");
    std::ranges::move(take(line.substr(0, end)), std::back_inserter(events));
  }
  for (std::string &event : events) {
    for (const auto &[text, name] : page.texts) {
      event = with(event, text, name);
    }
  }
  return events;
}

/** The text of a page as it would have to be for what the platform does. */
std::string play(const Page &page) {
  const Stage take = new_stage();
  std::string played;
  std::istringstream lines(page.text);
  for (std::string line; std::getline(lines, line);) {
    const std::string steps = line.substr(0, line.find(" =>"));
    if (line.empty() || line.find_first_of("#=") == 0) {
      played += line + "\n";
    } else if (line[0] != ' ') {
      played += written(steps, events_of(page, take, steps));
    }
  }
  return played;
}

class Transcript : public testing::TestWithParam<Page> {};

TEST_P(Transcript, IsWhatHappens) {
  const Page &page = GetParam();
#ifdef EMULATED
  if (page.name.find("Truncated") != std::string::npos) {
    GTEST_SKIP() << "QEMU swaps the words of the address that a signal handler is told";
  }
#endif
  const std::string played = play(page);
  EXPECT_EQ(page.text, played);
  if (played != page.text && getenv("FCS_WRITE_TRANSCRIPTS") != nullptr) {
    std::ostringstream whole;
    whole << std::ifstream(page.file).rdbuf();
    std::ofstream(page.file) << with(whole.str(), page.text, played);
  }
}

INSTANTIATE_TEST_SUITE_P(Platform, Transcript, testing::ValuesIn(all_pages()),
                         [](const auto &each) { return each.param.name; });

} // namespace
