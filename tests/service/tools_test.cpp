#include "fixtures.h"

#include "common/history/event_history.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

class Fcsctl : public testing::Test {
protected:
  Outcome fcsctl(const std::vector<std::string> &arguments) const {
    return run({FCSCTL, "--socket", socket_, "--store", store_}, arguments);
  }

  TempDir dir_;
  std::string socket_ = dir_.path("s");
  std::string store_ = dir_.path("fabric.db");
};

TEST_F(Fcsctl, ImportsAndExports) {
  EXPECT_EQ(fcsctl({"export"}).output,
            "fcsctl: cannot open the store " + store_ + ": there is none\n");
  EXPECT_EQ(fcsctl({"import", SAMPLE_FABRIC}).output,
            "imported 3 VSANs, 10 elements, 48 ports, 17 platforms\n");
  EXPECT_EQ(fcsctl({"export"}).output, content(SAMPLE_FABRIC));

  const std::string file = dir_.path("out.json");
  std::ofstream(file) << "old";
  EXPECT_EQ(fcsctl({"export", file}).output, "");
  EXPECT_EQ(content(file), content(SAMPLE_FABRIC));
  Outcome outcome = fcsctl({"export", "/dev/full"});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output, "fcsctl: /dev/full: cannot be written: No space left on device\n");

  std::ofstream(file) << "{\"vsans\": [{\"id\": 1},\n\n{\"id\": }]}";
  outcome = fcsctl({"import", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.output.rfind("fcsctl: " + file + ": line 3, column 8: syntax error", 0), 0U)
      << outcome.output;
  EXPECT_EQ(fcsctl({"export"}).output, content(SAMPLE_FABRIC));
}

TEST_F(Fcsctl, TellsUsageErrorsAndWhereItLooksForTheService) {
  for (const std::vector<std::string> &wrong :
       {std::vector<std::string>{}, {"bogus"}, {"import"}, {"history", "--level", "loud"}}) {
    EXPECT_EQ(fcsctl(wrong).status, 2);
  }
  ASSERT_EQ(setenv("FCS_SOCKET", "/nowhere/s", 1), 0);
  EXPECT_EQ(run({FCSCTL, "status"}).output, "fcsctl: /nowhere/s: the FCS service is not running\n");
  unsetenv("FCS_SOCKET");
}

TEST_F(Fcsctl, ShowsTheHistory) {
  const std::string path = dir_.path("history");
  EventHistoryWriter writer(path);
  const std::pair<uint32_t, std::string> kRecords[] = {
      {100, "first\n"}, {101, "second\twith a tab\n"}, {100, "third"}};
  for (const auto &[level, text] : kRecords) {
    std::string record(reinterpret_cast<const char *>(&level), sizeof(level));
    record += text;
    ASSERT_TRUE(writer.append(1, record.data(), record.size()));
  }
  const auto texts = [&](const std::vector<std::string> &options) {
    std::istringstream output(run({FCSCTL, "history", "--history", path}, options).output);
    std::string text;
    for (std::string line; std::getline(output, line); text += "|") {
      text += line.substr(std::min(line.size(), sizeof("2024-05-01 12:00:00.000")));
    }
    return text;
  };
  EXPECT_EQ(texts({}), "event first|detail second\\x09with a tab|event third|");
  EXPECT_EQ(texts({"--lines", "1"}), "event third|");
  EXPECT_EQ(texts({"--level", "detail"}), "detail second\\x09with a tab|");

  EXPECT_EQ(fcsctl({"history", "--history", dir_.path("none")}).status, 1);
}

} // namespace
