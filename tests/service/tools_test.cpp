#include "fixtures.h"

#include "platform/linux/event_history.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace {

class Fcsctl : public testing::Test {
protected:
  Outcome fcsctl(const std::vector<std::string> &arguments) const {
    return run({FCSCTL, "--socket", socket_, "--store", store_}, arguments);
  }

  void append(EventHistoryWriter &writer, uint32_t level, const std::string &text) const {
    std::string record(sizeof(level), '\0');
    std::memcpy(record.data(), &level, sizeof(level));
    record += text;
    writer.append(1, record.data(), record.size());
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

TEST_F(Fcsctl, ARunningServiceSeesAnImportAtOnce) {
  Process service({FCSD, "--socket", socket_, "--store", store_}, dir_.path("log"));
  ASSERT_TRUE(service.logs("ready: "));
  EXPECT_NE(fcsctl({"status", "--json"}).output.find("\"ports\":0"), std::string::npos);
  EXPECT_EQ(fcsctl({"import", SAMPLE_FABRIC}).status, 0);
  EXPECT_NE(fcsctl({"status", "--json"}).output.find("\"ports\":48"), std::string::npos);
  const std::string status = fcsctl({"status"}).output;
  EXPECT_NE(status.find("pid " + std::to_string(service.pid())), std::string::npos);
  EXPECT_NE(status.find("3 VSANs, 10 elements, 48 ports, 17 platforms"), std::string::npos);
  EXPECT_EQ(service.finish(SIGTERM), 0);
}

TEST_F(Fcsctl, UsageErrorsAndHelp) {
  for (const std::vector<std::string> &wrong :
       {std::vector<std::string>{}, {"bogus"}, {"import"}, {"history", "--level", "loud"}}) {
    EXPECT_EQ(fcsctl(wrong).status, 2);
  }
  for (const char *command : {"import", "export", "generate", "map", "status", "history"}) {
    EXPECT_NE(fcsctl({command, "--help"}).output.find("Usage: fcsctl " + std::string(command)),
              std::string::npos);
  }
  ASSERT_EQ(setenv("FCS_SOCKET", "/nowhere/s", 1), 0);
  EXPECT_EQ(run({FCSCTL, "status"}).output, "fcsctl: /nowhere/s: the FCS service is not running\n");
  unsetenv("FCS_SOCKET");
}

TEST_F(Fcsctl, HistoryShowsAndFollows) {
  const std::string path = dir_.path("history");
  EventHistoryWriter writer(path);
  append(writer, 100, "first\n");
  append(writer, 101, "second\twith a tab\n");
  append(writer, 100, "third");
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

  Process follower({FCSCTL, "--history", path, "history", "--follow", "-n", "0"}, dir_.path("log"));
  // It may not have read the past yet, so records come until the first one shows.
  EXPECT_TRUE(eventually([&] {
    append(writer, 100, "news\n");
    return follower.log().find("event news\n") != std::string::npos;
  }));
  EXPECT_EQ(follower.log().find("third"), std::string::npos);
  EXPECT_EQ(fcsctl({"history", "--history", dir_.path("none")}).status, 1);
}

} // namespace
