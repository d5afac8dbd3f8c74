// The cases in tests/cases: each command brings about what stands after it there.
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "rehearsal/player.h"

namespace {

class Cases : public ::testing::TestWithParam<const char*> {};

TEST_P(Cases, ArePlayedAsWritten) {
  std::ifstream file(std::string(ROTATE_TESTS "/cases/") + GetParam() + ".txt");
  const std::string written{std::istreambuf_iterator<char>(file), {}};
  ASSERT_NE(written, "");
  const std::string played = rehearsal::Play(written);
  EXPECT_EQ(played, written);
  EXPECT_EQ(played.find("  ?? "), std::string::npos) << "a command that can't be";
}

constexpr const char* kFiles[] = {ROTATE_CASES};
INSTANTIATE_TEST_SUITE_P(, Cases, ::testing::ValuesIn(kFiles),
                         [](const auto& file) { return std::string(file.param); });

}  // namespace
