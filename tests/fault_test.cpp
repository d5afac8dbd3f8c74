// Every operation of every act fails, in every way it can fail: once, for a while, for good, and
// together with a second one.
#include <gtest/gtest.h>

#include <random>

#include "tests/invariants.h"
#include "tests/loops.h"

namespace {

struct Failing {
  const char* name;
  FaultKind kind;
  std::size_t times = 1, stride = 1;
  OpMask mask = kAnyOp;
};
const Failing kFailings[] = {
    {"refused", FaultKind::Refusal},
    {"throws", FaultKind::FaultThrown, 1, 1, kStatementOps},
    {"half done", FaultKind::ShortTransfer},
    {"acknowledged and lost", FaultKind::LostWrite},
    {"two lost", FaultKind::LostWrite, 2},
    {"three lost", FaultKind::LostWrite, 3},
    {"lost from here on", FaultKind::LostWrite, kForGood},
    {"refused for 2", FaultKind::Refusal, 2, 5},
    {"refused for 3", FaultKind::Refusal, 3, 5},
    {"refused for 5", FaultKind::Refusal, 5, 5},
    {"refused for 8", FaultKind::Refusal, 8, 5},
    {"refused for 13", FaultKind::Refusal, 13, 5},
    {"refused for 34", FaultKind::Refusal, 34, 5},
    {"refused from here on", FaultKind::Refusal, kForGood},
    {"throws from here on", FaultKind::FaultThrown, kForGood, 1, kStatementOps},
};

std::size_t TotalFailed = 0;

// Defends them all. False: the fault met nothing.
bool FailOnce(const Act& act, const FaultPlan& plan) {
  Stage stage(act);
  stage.pc.machine.plan = plan;
  const RunEnd end = stage.Perform();
  const std::size_t hits = stage.pc.machine.plan.hits;
  stage.pc.machine.plan = {};
  EXPECT_EQ(stage.Everything(end, hits > 1), Breaches());
  if (hits == 0) {
    EXPECT_TRUE(stage.IsDone()) << "without a fault it must succeed";
    return false;
  }
  ++TotalFailed;
  stage.RenameByHand();
  EXPECT_EQ(stage.PerformAgain(), "");
  return true;
}

}  // namespace

class EveryOperationFails : public ::testing::TestWithParam<Act> {};

TEST_P(EveryOperationFails, KeepsAllInvariantsAndTheSecondTrySucceeds) {
  for (const Failing& failing : kFailings) {
    std::size_t nth = 1;
    for (bool more = true; more && !HasFailure(); nth += Stride(failing.stride)) {
      SCOPED_TRACE(std::string(failing.name) + ", operation " + std::to_string(nth));
      more = FailOnce(
          GetParam(),
          {.kind = failing.kind, .nth = nth, .times = failing.times, .mask = failing.mask});
    }
    EXPECT_TRUE(nth > 100 || failing.kind != FaultKind::Refusal) << nth;
  }
  RecordProperty("operations failed", static_cast<int>(TotalFailed));
}

// The second failure strikes what the first one has brought about.
TEST_P(EveryOperationFails, AndOneMoreAfterIt) {
  std::minstd_rand random(1);
  std::size_t nth = 1;
  for (bool more = true; more && !HasFailure(); nth += Stride(2)) {
    for (const std::size_t reach : {4U, 40U, 400U}) {
      const std::size_t again = nth + 1 + random() % reach;
      SCOPED_TRACE("refused at " + std::to_string(nth) + " and " + std::to_string(again));
      more = FailOnce(GetParam(), {.kind = FaultKind::Refusal, .nth = nth, .again = again});
    }
  }
  RecordProperty("operations failed", static_cast<int>(TotalFailed));
}

INSTANTIATE_TEST_SUITE_P(Acts, EveryOperationFails, ::testing::ValuesIn(kActs),
                         [](const auto& act) { return NameOf(act.param); });
