/** Plays the transcripts. With FCS_WRITE_TRANSCRIPTS in the environment those that differ are
 * written anew, for a person to review. */
#include "transcript.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

/** How GoogleTest names a test that fails. */
static void PrintTo(const TranscriptTest &test, std::ostream *out) {
  *out << test.file;
}

namespace {

std::string contents_of(const std::string &file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

class Transcript : public testing::TestWithParam<TranscriptTest> {};

TEST_P(Transcript, IsWhatHappens) {
  const TranscriptTest &test = GetParam();
  const std::string played = play(test);
  EXPECT_EQ(test.text, played);
  if (played != test.text && getenv("FCS_WRITE_TRANSCRIPTS") != nullptr) {
    std::string whole = contents_of(test.file);
    whole.replace(whole.find(test.text), test.text.size(), played);
    std::ofstream(test.file) << whole;
  }
}

INSTANTIATE_TEST_SUITE_P(Module, Transcript, testing::ValuesIn(read_transcripts(FCS_TRANSCRIPTS)),
                         [](const auto &each) { return each.param.name; });

} // namespace
