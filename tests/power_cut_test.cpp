// Power is cut at every change of every act, and inside the one sector that matters.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/invariants.h"

namespace {

struct Cut {
  const char* name;
  FaultKind kind;
  bool writeBack = false;  // the device holds writes back until a flush
};
constexpr Cut kCuts[] = {
    {"before", FaultKind::CutBefore},
    {"in the middle", FaultKind::CutTorn},
    {"after", FaultKind::CutAfter},
    {"before, writes held back", FaultKind::CutBefore, true},
    {"after, writes held back", FaultKind::CutAfter, true},
};

// Each of the things held back is kept, dropped or torn, in every combination of up to five.
constexpr std::uint64_t kMostFates = 243;

int TotalCuts = 0;

// A sector of which the first bytes, or the others, were written.
VirtualSector Torn(const VirtualSector& old, const VirtualSector& written, std::size_t at,
                   bool firstBytes) {
  VirtualSector sector = firstBytes ? old : written;
  std::copy_n((firstBytes ? written : old).begin(), at, sector.begin());
  return sector;
}

// Windows gives a letter to what an entry describes inside the disk, with or without files on it.
bool ShowTornVolume(Stage& stage) {
  const VirtualSector table = stage.world.stick.Sector(0);
  bool any = false;
  for (std::size_t at = 446; at < 510; at += 16) {
    const std::uint64_t start = Word32(table, at + 8);
    const std::uint64_t end = start + Word32(table, at + 12);
    if (table[at + 4] == 0 || start == 0 || end > stage.world.stick.SectorCount()) continue;
    any = true;
    if (at == 446 && start != stage.world.e.firstSector) {
      stage.world.inner.firstSector = start;
      if (start != demo::kNtfsImage.lba) stage.world.inner.fileSystem = "";
    }
  }
  stage.pc.Reboot();
  return any;
}

}  // namespace

class PowerIsCut : public ::testing::TestWithParam<Act> {};

// Defends 1 to 4 on the disk alone; then a fresh program goes on. False: there is no such change.
bool CutAt(const Act& act, const Cut& cut, std::size_t nth, std::uint64_t fate,
           std::uint64_t& fates) {
  Stage stage(act);
  stage.world.stick.writeBack = cut.writeBack;
  stage.pc.machine.cutFate = fate;
  stage.pc.machine.plan = {.kind = cut.kind, .nth = nth};
  const RunEnd end = stage.Perform();
  if (stage.pc.machine.plan.hits == 0) return false;
  for (fates = 1; stage.pc.machine.heldBack > 0 && fates < kMostFates; fates *= 3) {
    --stage.pc.machine.heldBack;
  }
  ++TotalCuts;
  EXPECT_EQ(end, RunEnd::PowerCut);
  EXPECT_EQ(stage.OnDisk(true), Breaches());
  stage.world.stick.writeBack = false;
  stage.pc.Reboot();
  stage.RenameByHand();
  EXPECT_EQ(stage.Start(), RunEnd::Returned);
  EXPECT_EQ(stage.PerformAgain(), "");
  return true;
}

TEST_P(PowerIsCut, KeepsTheDiskWholeAndAFreshProgramGoesOn) {
  for (const Cut& cut : kCuts) {
    std::size_t nth = 1;
    for (bool more = true; more; ++nth) {
      std::uint64_t fates = 1;
      for (std::uint64_t fate = 0; fate < fates; ++fate) {
        SCOPED_TRACE(std::string(cut.name) + ", change " + std::to_string(nth) + ", fate " +
                     std::to_string(fate));
        more = CutAt(GetParam(), cut, nth, fate, fates);
      }
    }
    EXPECT_GT(nth, 2U) << "nothing was cut";
  }
  RecordProperty("cuts", TotalCuts);
}

INSTANTIATE_TEST_SUITE_P(Acts, PowerIsCut, ::testing::ValuesIn(kActs));

// Defends 3 inside the write of LBA 0, for each byte at which it can tear, from both ends.
TEST(PowerCut, ATornTableIsRestoredOrDiffersFromTheOldOneWhereNothingIsLost) {
  const Act& act = kActs[0];
  for (const bool firstBytes : {true, false}) {
    for (std::size_t at = 1; at < 512; ++at) {
      SCOPED_TRACE((firstBytes ? "first " : "all but the first ") + std::to_string(at));
      Stage stage(act);
      ASSERT_EQ(stage.Perform(), RunEnd::Returned);
      const VirtualSector written = stage.world.stick.Sector(0);
      const VirtualSector torn = Torn(stage.before, written, at, firstBytes);
      stage.world.stick.SetSector(0, torn);
      ASSERT_TRUE(ShowTornVolume(stage));
      ASSERT_EQ(stage.Start(), RunEnd::Returned);
      ASSERT_FALSE(stage.pc.toolkit.At(Control::Combo1).rows.empty()) << "the stick is not listed";
      if (stage.pc.toolkit.Do(Click(Control::cmdRestoreTSD))) {
        EXPECT_TRUE(stage.SectorIs(0, stage.unswitched));
        continue;
      }
      // The main volume shows its images, so the place of entry 1 is the old one.
      EXPECT_TRUE(std::equal(&torn[454], &torn[458], &stage.before[454]));
      EXPECT_FALSE(stage.pc.toolkit.At(Control::List1).rows.empty());
      EXPECT_TRUE(stage.SectorIs(30, stage.unswitched) && stage.SectorIs(60, stage.unswitched));
    }
  }
}

// Two of these in a row, and the stick takes no backup any more until somebody blanks the sectors.
TEST(PowerCut, ATornFirstBackupIsForeignUntilTheBootCodeMarkIsIn) {
  for (std::size_t at = 1; at < 512; ++at) {
    Stage stage(kActs[0]);
    const VirtualSector blank{};
    stage.world.stick.SetSector(60, Torn(blank, stage.before, at, true));
    ASSERT_EQ(stage.Perform(), RunEnd::Returned);
    const bool rewritten = stage.SectorIs(60, stage.unswitched);
    EXPECT_EQ(rewritten, at >= demo::kBootCodeMark + 15) << at;
    EXPECT_EQ(stage.Everything(RunEnd::Returned), Breaches()) << at;
    EXPECT_TRUE(stage.SectorIs(30, stage.unswitched)) << at;
  }
}
