// Any text as what the extents tool prints: a whole switch on it.
#include "tests/fuzz/fuzz.h"
#include "tests/invariants.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Stage stage(kActs[1]);
  stage.pc.processes.toolTexts[""] = AsText(data, size);
  const RunEnd end = stage.Perform();
  Require(end == RunEnd::Returned, "the switch came to no end");
  const VirtualSector table = stage.world.stick.Sector(0);
  if (table == stage.before) return 0;
  // Then the text said where, with 32 bits for it, and the way back is there.
  Require(AsText(data, size).rfind("File offset 0 LBA: ", 0) == 0, "switched on another text");
  Require(stage.SectorIs(30, stage.before) && stage.SectorIs(60, stage.before), "no way back");
  const std::uint64_t start = Word32(table, 454);
  const std::uint64_t stated = std::strtoull(AsText(data, size).substr(19).c_str(), nullptr, 16);
  Require(stated == start && start >= 32, "another start than the one stated");
  for (const JournalEntry& write : stage.pc.machine.journal.Only(MaskOf(Op::Write))) {
    const bool place = write.lba == 0 || write.lba == 30 || write.lba == 60 || write.lba == start;
    Require(write.subject == "PhysicalDrive1" && place, write.Text());
  }
  return 0;
}
