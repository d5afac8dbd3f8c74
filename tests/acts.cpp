// The actions that everything is tried on.
#include <algorithm>
#include <ostream>

#include "tests/invariants.h"

namespace {

void Nothing(VirtualPc&, demo::World&) {
}

VirtualSector TableSwitchedTo(const VirtualSector& table, std::uint64_t lba,
                              std::uint64_t sectors) {
  return NewTable(table, ".volPAK",
                  {static_cast<std::uint32_t>(lba), static_cast<std::uint32_t>(sectors), 7}, {},
                  {});
}

// The stick as a switch to the first image leaves it.
void Switched(VirtualPc& pc, demo::World& world) {
  const VirtualSector table = world.stick.Sector(0);
  world.stick.SetSector(30, table);
  world.stick.SetSector(60, table);
  world.stick.SetSector(0, TableSwitchedTo(table, demo::kNtfsImage.lba, demo::kNtfsImage.sectors));
  pc.RenewTables();
}

// The saved table is in the file only.
void SwitchedWithFile(VirtualPc& pc, demo::World& world) {
  const VirtualSector table = world.stick.Sector(0);
  world.inner.AddText("\\tsd\\MBR.BIN", std::string(table.begin(), table.end()));
  Switched(pc, world);
  world.stick.SetSector(30, {});
  world.stick.SetSector(60, {});
}

// Switched to an image near the start, so that the checks pass, and signed anew by Windows since.
// The volume in the image holds one more image.
void SwitchedAndSigned(VirtualPc& pc, demo::World& world) {
  constexpr std::uint64_t kStart = 50'000;
  Switched(pc, world);
  world.inner.firstSector = kStart;
  VirtualSector table = TableSwitchedTo(world.stick.Sector(30), kStart, world.inner.sectors);
  table[440] = 0xEE;
  world.stick.SetSector(0, table);
  world.stick.SetSector(kStart, demo::NtfsBootRecord());
  demo::AddImage(world.inner, {"\\_ISO\\In.volPAK", kStart + 5000, 64}, demo::NtfsBootRecord());
  pc.RenewTables();
}

constexpr std::uint64_t kImageAt = 1'000'000, kCompanionAt = 950'000, kFreeFrom = 1'000'100;

// The companion lies before its image. What is copied comes to lie after both.
void WrongOrder(VirtualPc&, demo::World& world) {
  demo::AddImage(world.e, {"\\_ISO\\B.volPAK", kImageAt, 64}, demo::NtfsBootRecord());
  demo::AddImage(world.e, {"\\_ISO\\B", kCompanionAt, 64}, demo::Fat32BootRecord());
  world.e.reservedSectors = kFreeFrom - demo::kMainStart;
}

void WrongOrderTwoRounds(VirtualPc& pc, demo::World& world) {
  WrongOrder(pc, world);
  world.e.placements = {{.lba = 960'000}};
}

// The companion can't be moved, so the image is, to a place in front of it.
void WrongOrderReadOnly(VirtualPc& pc, demo::World& world) {
  WrongOrder(pc, world);
  world.e.Find("\\_ISO\\B")->attributes = 1;
  world.e.placements = {{.lba = 940'000}};
}

}  // namespace

const std::vector<Act> kActs{
    {"a plain switch", Act::Kind::Switch, Nothing, Open("E:\\_ISO\\Rescue"),
     "\\_ISO\\Rescue.volPAK"},
    {"with companion and fourth", Act::Kind::Switch, Nothing, Open("E:\\_ISO\\A.vol"),
     "\\_ISO\\A.volPAKX4DATA"},
    {"a repair in two rounds", Act::Kind::Switch, WrongOrderTwoRounds, Open("E:\\_ISO\\B.vol"),
     "\\_ISO\\B.volPAK"},
    {"a repair by moving the image", Act::Kind::Switch, WrongOrderReadOnly, Open("E:\\_ISO\\B.vol"),
     "\\_ISO\\B.volPAK"},
    {"of a switched stick", Act::Kind::Switch, SwitchedAndSigned, Open("E:\\_ISO\\In.vol"),
     "\\_ISO\\In.volPAK"},
    {"a restore", Act::Kind::Restore, Switched, Click(Control::cmdRestoreTSD)},
    {"a restore from the file", Act::Kind::Restore, SwitchedWithFile,
     Click(Control::cmdRestoreTSD)},
    {"a swap", Act::Kind::Swap, Nothing, Click(Control::cmdSwitchPtns)},
    {"a start", Act::Kind::StartUp, Nothing, CloseWindow()},
};

void PrintTo(const Act& act, std::ostream* out) {
  *out << act.name;
}

std::string NameOf(const Act& act) {
  std::string name = act.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
}
