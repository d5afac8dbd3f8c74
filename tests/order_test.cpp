// The order repair: how it looks for the right order, what it copies, and what it leaves alone.
#include "imagefiles/measured_file.h"
#include "tests/wrong_order.h"

namespace {

BoxRow InPieces(const std::string& file) {
  return Warning("More than one extent",
                 "ERROR: File is not contiguous.\r\nPlease run \\PACK_FILES_TOGETHER.cmd or use "
                 "Defraggler.\r\n\r\nE:" +
                     file);
}

TEST(OrderRepair, CopiesUntilTheOrderIsRight) {
  Copies many;
  for (std::uint64_t i = 0; i < 33; ++i) many.push_back(i == 21 ? 150'016 : 101'000 + 16 * i);
  Copies late(many.begin(), many.begin() + 20);
  late.insert(late.end(), {160'000, 140'000});
  const struct {
    const char* name;
    Copies copies;
    BoxRow box;
    const char* places;
    std::size_t pauses;  // one a copy of the first loop, one for the first file, none after it
  } rows[] = {
      {"at once", {160'000}, kDone, "150000 160000", 1},
      {"in round 3", {101'000, 102'000, 160'000}, kDone, "150000 160000", 3},
      {"back at its second place", {101'000, 102'000, 101'000, 160'000}, kDone, "150000 160000", 4},
      {"the first one has to move", {101'000, 100'000, 90'000}, kDone, "90000 100000", 3},
      {"then the last", {101'000, 100'000, 140'000, 160'000}, kDone, "140000 160000", 3},
      {"in a circle", {101'000, 100'000, 140'000, 101'000, 100'000}, kFailed, "140000 100000", 3},
      {"right with the 21st copy", late, kDone, "140000 160000", 22},
      {"33 copies", many, kFailed, "150016 101512", 22}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WrongOrder program(row.copies);
    EXPECT_EQ(program.Repair(), BoxRows{row.box});
    EXPECT_EQ(program.Copied(), row.copies.size());
    EXPECT_EQ(program.Places(), row.places);
    EXPECT_EQ(program.Lines(MaskOf(Op::Sleep)), Texts(row.pauses, "sleep 100"));
    // The fields describe the file that was moved; the place of the 33rd copy isn't looked at.
    const std::uint64_t place = program.world.e.Find(kLast)->extents[0].lba;
    EXPECT_EQ(Measured.FStartSectors.ToDecimal(),
              std::to_string(row.copies.size() == 33 ? many[31] : place));
  }
}

TEST(OrderRepair, CopiesNothingThatNeedsNoMoveOrIsInPieces) {
  const struct {
    unsigned firstPieces, lastPieces;
    BoxRow box;
  } rows[] = {{1, 1, kDone}, {1, 2, InPieces(kLast)}, {2, 1, InPieces(kFirst)}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.box.text);
    WrongOrder program({});
    program.world.e.Find(kFirst)->extents = {{0, 70'000, 5}, {2560, 70'004U + row.firstPieces, 5}};
    program.world.e.Find(kLast)->extents = {{0, 80'000, 5}, {2560, 80'004U + row.lastPieces, 5}};
    EXPECT_EQ(program.Repair(), BoxRows{row.box});
    EXPECT_EQ(program.Copied(), 0U);
  }
  WrongOrder copyInPieces({});
  copyInPieces.world.e.placements = {{.lba = 101'000, .pieces = 2}};
  EXPECT_EQ(copyInPieces.Repair(), BoxRows{InPieces(kLast)});
  EXPECT_EQ(copyInPieces.Copied(), 1U);
  EXPECT_EQ(copyInPieces.Places(), "150000 101000");
}

TEST(OrderRepair, EqualStartsAreNotInOrder) {
  WrongOrder program({});
  program.pc.processes.toolTexts[""] = "File offset 0 LBA: 186A0 Sectors: A\r\n";
  EXPECT_EQ(program.Repair(), BoxRows{kFailed});
  EXPECT_EQ(program.Copied(), 5U);  // both loops leave in their third round
  EXPECT_TRUE(program.NothingIsLost());
}

TEST(OrderRepair, LeavesAFileThatCannotBeCopiedWhereItIs) {
  const auto withAttributes = [](std::uint32_t attributes) {
    return [=](WrongOrder& program) { program.world.e.Find(kLast)->attributes = attributes; };
  };
  const struct {
    const char *name, *last;
    std::function<void(WrongOrder&)> prepare;
    const char* places = "140000 100000";
  } rows[] = {{"no room", kLast, [](auto& p) { p.world.e.full = true; }, "150000 100000"},
              {"a blank in its name", "\\P\\A b", [](auto&) {}},
              {"a command in its name", "\\P\\A&calc", [](auto&) {}},
              {"read-only", kLast, withAttributes(kAttributeReadOnly)},
              {"hidden", kLast, withAttributes(kAttributeHidden)},
              {"system", kLast, withAttributes(kAttributeSystem)},
              {"a hidden file has the copy's name", kLast,
               [](auto& p) { p.world.e.AddText("\\P\\Axxx", "").attributes = kAttributeHidden; },
               "140000 100000 Axxx"},
              {"a folder has it", kLast, [](auto& p) { p.world.e.AddFolder("\\P\\Axxx"); },
               "140000 100000 Axxx"},
              {"a deleted file that is held open has it", kLast,
               [](auto& p) {
                 p.world.e.AddText("\\P\\Axxx", "old");
                 p.world.e.Hold("\\P\\Axxx");
               },
               "140000 100000 Axxx"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WrongOrder program({140'000}, row.last);  // the copy of the first file
    row.prepare(program);
    const BoxRows boxes = program.Repair();
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().title, "ERROR:E:" + std::string(row.last) + " is first!");
    EXPECT_EQ(program.Places(), row.places);
    EXPECT_TRUE(program.world.e.List("\\P\\Axxx").empty()) << "nothing was copied into the folder";
    EXPECT_TRUE(program.Lines(MaskOf(Op::Executed)).empty());
  }
}

TEST(OrderRepair, MovesNothingWhereATemporaryNameIsAFileOfTheRun) {
  const std::pair<const char*, const char*> rows[] = {
      {"\\P\\A.volPAKX4Axxx", "\\P\\Axxx"}, {"\\P\\A.volpakx4aXXX", "\\P\\Axxx"},
      {"\\P\\A.volPAKX4Ayyy", "\\P\\Ayyy"}, {"\\P\\A.volPAKX4Ayyy40", "\\P\\Ayyy40"},
      {"\\P\\Axxx.volPAKX4A", "\\P\\Axxx"}, {"\\P\\A.volPAKzzz", "\\P\\A.volPAKzzz"}};
  for (const auto& [image, other] : rows) {
    SCOPED_TRACE(image);
    WrongOrder program({});
    program.Add(other, 170'000);
    EXPECT_EQ(program.Repair(image), BoxRows{kFailed});
    EXPECT_EQ(program.Copied(), 0U);
    EXPECT_EQ(program.Whole(other, other), "170000");
    EXPECT_EQ(program.Places(), "150000 100000 " + NameOf(other));
  }
  WrongOrder program({160'000});
  EXPECT_EQ(program.Repair("\\P\\A.volPAKX4Ax"), BoxRows{kDone}) << "no such name";
}

}  // namespace
