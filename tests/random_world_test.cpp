// Switches on sticks made at random: with operations that fail, with another program at work, from
// a list that is another stick's; the others are held against the oracle of tables. ROTATE_WORLDS
// says how many, ROTATE_SEED where to begin.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/invariants.h"
#include "tests/loops.h"

namespace {

// Of the world under work; an Act's prepare takes no arguments of a test's own.
std::mt19937_64 Random;
std::string Image;

std::uint64_t Spacing;  // between the files, in sectors

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
  // Boot code of another maker, with a table, that ends as a boot sector does.
  VirtualSector loader = table;
  std::fill_n(loader.begin(), 440, std::uint8_t{0x90});
  return OneOf<VirtualSector>({{}, {}, ones, foreign, loader, old, table});
}

void AddFile(VirtualVolume& volume, const std::string& path, std::uint64_t lba) {
  std::uint64_t sectors = Chance(10) ? 1 + Random() % 40 : 64;
  // The top byte of a length counts from 8 GiB on.
  if (Spacing > 1'000'000 && Chance(40)) sectors = 16'777'216 + Random() % 1'000'000'000;
  demo::AddImage(
      volume, {path.c_str(), lba, sectors},
      OneOf({demo::NtfsBootRecord(), demo::Fat32BootRecord(), demo::ForeignBootRecord()}));
  VirtualFile& file = *volume.Find(path);
  file.attributes = Chance(80) ? 0 : OneOf<std::uint32_t>({1, kAttributeHidden, kAttributeSystem});
  if (sectors > 1 && Chance(4)) file.extents = {{0, lba, 1}, {512, lba + 100, sectors - 1}};
}

// A stick of 2 TB. There is room for small copies only.
std::uint64_t MakeBig(demo::World& world, VirtualSector& table) {
  world.stick.bytes = 4'200'000'000 * 512;
  world.e.sectors = 4'000'000'000;
  world.f.firstSector = world.e.firstSector + world.e.sectors;
  demo::SetEntry(table, 1, true, 7, demo::kMainStart, 4'000'000'000);
  demo::SetEntry(table, 2, false, 12, static_cast<std::uint32_t>(world.f.firstSector),
                 demo::kSecondSectors);
  world.e.reservedSectors = 3'999'990'000;
  Spacing = 1'200'000'000;
  return 500'000'000;
}

void MakeStick(VirtualPc& pc, demo::World& world) {
  VirtualSector table = world.stick.Sector(0);
  Spacing = 1000;
  std::uint64_t first = OneOf({900'000U, 900'000U, 17'500'000U});  // also above 8 GiB
  world.e.reservedSectors = Chance(80) ? first + 10'000 : 100'000;
  if (Chance(20)) first = MakeBig(world, table);
  if (Chance(30)) table[466] = 0x21;
  if (Chance(30)) demo::SetEntry(table, 3, false, 0x83, 23'000'000, 1000);
  if (Chance(30)) demo::SetEntry(table, 4, true, 0x17, 24'000'000, 1000);
  world.stick.SetSector(0, table);
  if (Chance(50)) world.stick.SetSector(30, SomeBackup(table));
  if (Chance(50)) world.stick.SetSector(60, SomeBackup(table));
  std::uint64_t places[] = {first, first + Spacing, first + 2 * Spacing};
  std::shuffle(std::begin(places), std::end(places), Random);
  const std::string companion = Image.substr(0, Image.rfind('.'));
  AddFile(world.e, Image, places[0]);
  if (Chance(40)) AddFile(world.e, companion, places[1]);
  if (Chance(40)) AddFile(world.e, "\\_ISO\\BD", places[2]);
  Spacing = 0;
  if (Chance(20)) AddFile(world.f, companion, world.f.firstSector + 5000);
  if (Chance(20)) AddFile(world.f, companion.substr(5), world.f.firstSector + 6000);
  if (Chance(20)) AddFile(world.f, "\\_ISO\\BD", world.f.firstSector + 7000);
  pc.RenewTables();
  pc.toolkit.onBox = [](const Box& box) {
    if (box.buttons == Buttons::YesNoCancel && Chance(50)) return Answer::No;
    if (box.buttons == Buttons::YesNoCancel && Chance(80)) return Answer::Yes;
    return box.buttons == Buttons::Ok || Chance(90) ? Answer::Ok : Answer::Cancel;
  };
}

FaultPlan SomeFault() {
  const FaultKind kind = OneOf({FaultKind::Refusal, FaultKind::Refusal, FaultKind::FaultThrown,
                                FaultKind::ShortTransfer, FaultKind::LostWrite});
  const std::size_t nth = 1 + Random() % (kind == FaultKind::LostWrite ? 5 : 300);
  return {.kind = kind,
          .nth = nth,
          .times = OneOf<std::size_t>({1, 1, 1, 2, 5, 20}),
          .again = Chance(20) ? nth + 1 + Random() % 100 : 0,
          .mask = kind == FaultKind::FaultThrown ? kStatementOps : kAnyOp};
}

// The list stays the first stick's where the second one can't be read.
void PickSecondStickInVain(Stage& stage) {
  stage.other.disk.unreadable = {0};
  stage.pc.Run([&] { stage.pc.toolkit.Do(Pick(Control::Combo1, "G:")); });
  stage.other.disk.unreadable.clear();
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
    const bool faultless = Chance(50), stale = !faultless && Chance(10);
    if (stale) {
      PickSecondStickInVain(stage);
    } else if (!faultless && Chance(30)) {
      stage.Interfere(OneOf({Other::WritesTable, Other::SwapsSticks, Other::MovesLetter,
                             Other::MovesImage, Other::GrowsImage}),
                      1 + Random() % 400);
    } else if (!faultless) {
      stage.pc.machine.plan = SomeFault();
    }
    const RunEnd end = stage.Perform();
    const bool lasting = stage.pc.machine.plan.hits > 1 || stage.HasActed();
    stage.pc.machine.plan = {};
    stage.pc.toolkit.onBox = nullptr;
    ASSERT_EQ(stage.Everything(end, lasting), Breaches());
    if (stale) {
      ASSERT_EQ(stage.pc.machine.journal.Writes(), std::vector<std::string>());
    }
    if (faultless && stage.Agreed()) {
      // All of the companion, the fourth file and the types as they were found.
      ASSERT_TRUE(stage.SectorIs(0, stage.NewTables(stage.before).back()));
      ++exact;
    }
    if (stage.SectorIs(0, stage.before) || stage.HasActed()) continue;
    ++switched;
    ASSERT_EQ(stage.PerformAgain(), "");
  }
  const bool mixed = switched > count / 4 && switched < count - count / 4;
  EXPECT_TRUE((mixed && exact > count / 8) || count < 1000)
      << switched << " of " << count << " sticks were switched, " << exact << " without a fault";
}
