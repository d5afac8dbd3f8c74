// Every operation of every act fails once, in every way it can fail.
#include <gtest/gtest.h>

#include "tests/invariants.h"

namespace {

struct Failing {
  const char* name;
  FaultKind kind;
  bool forGood = false;
};
constexpr Failing kFailings[] = {
    {"refused", FaultKind::Refusal},
    {"throws", FaultKind::FaultThrown},
    {"half done", FaultKind::ShortTransfer},
    {"refused from here on", FaultKind::Refusal, true},
    {"throws from here on", FaultKind::FaultThrown, true},
};

// The sanitizers look for other faults, and take a hundred times as long.
#ifdef __SANITIZE_ADDRESS__
constexpr std::size_t kStride = 5;
#else
constexpr std::size_t kStride = 1;
#endif

std::size_t TotalFailed = 0;

}  // namespace

class EveryOperationFails : public ::testing::TestWithParam<Act> {};

TEST_P(EveryOperationFails, KeepsAllInvariantsAndTheSecondTrySucceeds) {
  for (const Failing& failing : kFailings) {
    for (std::size_t nth = 1;; nth += kStride) {
      Stage stage(GetParam());
      stage.pc.machine.plan = {.kind = failing.kind, .nth = nth, .forGood = failing.forGood};
      const RunEnd end = stage.Perform();
      const bool hit = stage.pc.machine.plan.hits > 0;
      stage.pc.machine.plan = {};
      SCOPED_TRACE(std::string(failing.name) + ", operation " + std::to_string(nth));
      ASSERT_EQ(stage.Everything(end, failing.forGood), Breaches());
      if (!hit) {
        EXPECT_FALSE(stage.SectorIs(0, stage.before)) << "without a fault it must succeed";
        EXPECT_GT(nth, failing.kind == FaultKind::ShortTransfer ? 5U : 100U);
        break;
      }
      ++TotalFailed;
      stage.RenameByHand();
      ASSERT_EQ(stage.PerformAgain(), "");
    }
  }
  RecordProperty("operations failed", static_cast<int>(TotalFailed));
}

INSTANTIATE_TEST_SUITE_P(Acts, EveryOperationFails, ::testing::ValuesIn(kActs),
                         [](const auto& act) {
                           std::string name = act.param.name;
                           for (char& c : name) c = c == ' ' ? '_' : c;
                           return name;
                         });
