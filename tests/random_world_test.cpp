// Switches on sticks made at random, half of them with an operation that fails; the other half is
// held against the oracle of tables. ROTATE_WORLDS says how many, ROTATE_SEED where to begin.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/invariants.h"
#include "tests/loops.h"

namespace {

// Of the world under work; an Act's prepare takes no arguments of a test's own.
std::mt19937_64 Random;
std::string Image;

bool Chance(unsigned percent) {
  return Random() % 100 < percent;
}

template <class T>
T OneOf(std::initializer_list<T> choices) {
  return *(choices.begin() + Random() % choices.size());
}

VirtualSector SomeBackup(const VirtualSector& table) {
  VirtualSector old = table, foreign{}, ones;
  demo::SetEntry(old, 2, false, 7, 5'000'000, 1000);
  foreign[7] = 1;
  ones.fill(0xFF);
  return OneOf<VirtualSector>({{}, {}, ones, foreign, old, table});
}

void AddFile(VirtualVolume& volume, const std::string& path, std::uint64_t lba) {
  const std::uint64_t sectors = Chance(10) ? 1 + Random() % 40 : 64;
  demo::AddImage(
      volume, {path.c_str(), lba, sectors},
      OneOf({demo::NtfsBootRecord(), demo::Fat32BootRecord(), demo::ForeignBootRecord()}));
  VirtualFile& file = *volume.Find(path);
  file.attributes = Chance(80) ? 0 : OneOf<std::uint32_t>({1, kAttributeHidden, kAttributeSystem});
  if (sectors > 1 && Chance(4)) file.extents = {{0, lba, 1}, {512, lba + 100, sectors - 1}};
}

void MakeStick(VirtualPc& pc, demo::World& world) {
  VirtualSector table = world.stick.Sector(0);
  if (Chance(30)) table[466] = 0x21;
  if (Chance(30)) demo::SetEntry(table, 3, false, 0x83, 23'000'000, 1000);
  if (Chance(30)) demo::SetEntry(table, 4, true, 0x17, 24'000'000, 1000);
  world.stick.SetSector(0, table);
  if (Chance(50)) world.stick.SetSector(30, SomeBackup(table));
  if (Chance(50)) world.stick.SetSector(60, SomeBackup(table));
  std::uint64_t places[] = {900'000, 901'000, 902'000};
  std::shuffle(std::begin(places), std::end(places), Random);
  const std::string companion = Image.substr(0, Image.rfind('.'));
  AddFile(world.e, Image, places[0]);
  if (Chance(40)) AddFile(world.e, companion, places[1]);
  if (Chance(40)) AddFile(world.e, "\\_ISO\\BD", places[2]);
  if (Chance(20)) AddFile(world.f, companion, demo::kSecondStart + 5000);
  if (Chance(20)) AddFile(world.f, companion.substr(5), demo::kSecondStart + 6000);
  if (Chance(20)) AddFile(world.f, "\\_ISO\\BD", demo::kSecondStart + 7000);
  world.e.reservedSectors = Chance(80) ? 910'000 : 100'000;
  pc.toolkit.onBox = [](const Box& box) {
    if (box.buttons == Buttons::YesNoCancel && Chance(50)) return Answer::No;
    if (box.buttons == Buttons::YesNoCancel && Chance(80)) return Answer::Yes;
    return box.buttons == Buttons::Ok || Chance(90) ? Answer::Ok : Answer::Cancel;
  };
}

}  // namespace

TEST(RandomWorlds, KeepAllInvariantsAndComeBack) {
  const std::uint64_t count = Setting("ROTATE_WORLDS", 3000), first = Setting("ROTATE_SEED", 1);
  std::uint64_t switched = 0, exact = 0;
  for (std::uint64_t seed = first; seed < first + count; ++seed) {
    SCOPED_TRACE("ROTATE_WORLDS=1 ROTATE_SEED=" + std::to_string(seed) + " makes it again");
    Random.seed(seed);
    Image = "\\_ISO\\B23" +
            OneOf<std::string>({".volPAK", ".VOLPAK2", ".volpak23", ".volPAKauto", ".volPAKX4BD",
                                ".VOLpak2X4BD", ".volPAK23X4BD", ".volPAKX4", ".volPAK.x2"});
    const Act act{"random", Act::Kind::Switch, MakeStick, Open("E:" + Image), Image.c_str()};
    Stage stage(act);
    stage.unswitched = stage.before;
    const bool faultless = Chance(50);
    if (!faultless) {
      stage.pc.machine.plan = {
          .kind = OneOf({FaultKind::Refusal, FaultKind::FaultThrown, FaultKind::ShortTransfer}),
          .nth = 1 + Random() % 150};
    }
    const RunEnd end = stage.Perform();
    stage.pc.machine.plan = {};
    stage.pc.toolkit.onBox = nullptr;
    ASSERT_EQ(stage.Everything(end), Breaches());
    if (faultless && stage.Agreed()) {
      // All of the companion, the fourth file and the types as they were found.
      ASSERT_TRUE(stage.SectorIs(0, stage.NewTables(stage.before).back()));
      ++exact;
    }
    if (stage.SectorIs(0, stage.before)) continue;
    ++switched;
    ASSERT_EQ(stage.PerformAgain(), "");
  }
  const bool mixed = switched > count / 4 && switched < count - count / 4;
  EXPECT_TRUE((mixed && exact > count / 8) || count < 1000)
      << switched << " of " << count << " sticks were switched, " << exact << " without a fault";
}
