// Any 512 bytes as sector 0, 30 and 60: the list of drives, a switch, a swap, a restore.
#include <algorithm>

#include "tests/fuzz/fuzz.h"
#include "tests/invariants.h"

namespace {

VirtualSector SectorFrom(const std::uint8_t*& data, std::size_t& size) {
  VirtualSector sector{};
  const std::size_t count = std::min<std::size_t>(size, sector.size());
  std::copy_n(data, count, sector.begin());
  data += count;
  size -= count;
  return sector;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Stage stage(kActs[0]);
  demo::World& world = stage.world;
  const VirtualSector table = SectorFrom(data, size);
  world.e.tiedToTable = world.f.tiedToTable = false;  // the letters stay, whatever the table says
  world.stick.SetSector(0, table);
  for (const std::uint64_t lba : {30U, 60U}) {
    if (size > 0) world.stick.SetSector(lba, SectorFrom(data, size));
  }
  const VirtualSector old30 = world.stick.Sector(30), old60 = world.stick.Sector(60);
  stage.BeginWithThis();
  const auto work = [&](const UserAction& action) {
    return stage.pc.Run([&] {
      stage.pc.toolkit.Do(Click(Control::cmdRefreshDrive));
      // Where the stick isn't listed, the second one is what is picked.
      if (stage.pc.toolkit.Do(Pick(Control::Combo1, "E:"))) stage.pc.toolkit.Do(action);
    });
  };
  const Breaches breaches = stage.Everything(work(kActs[0].action));
  // A table whose own signature looks switched keeps the saved one in place of itself.
  const bool keptOld = IsSound(old30) || IsSound(old60);
  for (const std::string& breach : breaches) {
    const bool kept = keptOld && world.stick.Sector(30) == old30 && world.stick.Sector(60) == old60;
    Require((breach[0] == '3' || breach[0] == '9') && kept, breach);
  }
  for (const UserAction& action : {Click(Control::cmdSwitchPtns), Click(Control::cmdRestoreTSD)}) {
    Require(work(action) == RunEnd::Returned, "an act came to no end");
  }
  for (const JournalEntry& write : stage.pc.machine.journal.Only(MaskOf(Op::Write))) {
    Require(write.subject == "PhysicalDrive1", write.Text());
  }
  return 0;
}
