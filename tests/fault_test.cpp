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
    {.name = "refused", .kind = FaultKind::Refusal},
    {.name = "throws", .kind = FaultKind::FaultThrown, .mask = kStatementOps},
    {.name = "half done", .kind = FaultKind::ShortTransfer},
    {.name = "acknowledged and lost", .kind = FaultKind::LostWrite},
    {.name = "two lost", .kind = FaultKind::LostWrite, .times = 2},
    {.name = "three lost", .kind = FaultKind::LostWrite, .times = 3},
    {.name = "lost from here on", .kind = FaultKind::LostWrite, .times = kForGood},
    {.name = "refused for 2", .kind = FaultKind::Refusal, .times = 2, .stride = 5},
    {.name = "refused for 3", .kind = FaultKind::Refusal, .times = 3, .stride = 5},
    {.name = "refused for 5", .kind = FaultKind::Refusal, .times = 5, .stride = 5},
    {.name = "refused for 8", .kind = FaultKind::Refusal, .times = 8, .stride = 5},
    {.name = "refused for 13", .kind = FaultKind::Refusal, .times = 13, .stride = 5},
    {.name = "refused for 34", .kind = FaultKind::Refusal, .times = 34, .stride = 5},
    {.name = "refused from here on", .kind = FaultKind::Refusal, .times = kForGood},
    {.name = "throws from here on",
     .kind = FaultKind::FaultThrown,
     .times = kForGood,
     .mask = kStatementOps},
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
