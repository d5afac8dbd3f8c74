// Worlds at random. ROTATE_WORLDS says how many, ROTATE_SEED where to begin.
#include "tests/random_world.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
  const char* text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

}  // namespace

TEST(RandomWorlds, GoAsTheRulesSay) {
  const std::uint64_t count = Setting("ROTATE_WORLDS", 4000);
  const std::uint64_t first = Setting("ROTATE_SEED", 1);
  int wrong = 0;
  for (std::uint64_t seed = first; seed < first + count && wrong < 5; ++seed) {
    const std::string what = RandomWorld(seed).Play();
    EXPECT_EQ(what, "") << "ROTATE_WORLDS=1 ROTATE_SEED=" << seed << " plays it again";
    wrong += what.empty() ? 0 : 1;
  }
  const RandomWorld::Tally& tally = RandomWorld::tally;
  RecordProperty("switches", tally.switches);
  RecordProperty("restores", tally.restores);
  if (count < 1000) return;
  for (const int kind : {tally.switches, tally.repaired, tally.refused, tally.swaps, tally.restores,
                         tally.alreadySwitched}) {
    EXPECT_GT(kind, 10) << "the worlds are too much alike";
  }
}
