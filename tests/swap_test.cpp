// The exchange of the first two table entries of a removable drive.
#include <algorithm>

#include "disk/sector_buffer.h"
#include "restore/partition_swap.h"
#include "tests/support.h"

namespace {

const BoxRow kAsk{"Make 2nd partition accessible on Removable drive?",
                  "OK to swap Partition 1 (type=0C hex) with Partition 2 (type=07 hex) on Drive 1?",
                  Buttons::OkCancel};
const UserAction kSwap = Click(Control::cmdSwitchPtns);

TEST(Swap, ExchangesTwoEntriesAndTwiceChangesNothing) {
  ProgramOnPc program;
  VirtualDisk& stick = program.world.stick;
  VirtualSector table = stick.Sector(0);
  demo::SetEntry(table, 3, false, 0x83, 23'000'000, 1000);
  demo::SetEntry(table, 4, false, 0x82, 24'000'000, 1000);
  stick.SetSector(0, table);
  const auto before = stick.Contents();
  const auto selected = [&] {
    const auto row = static_cast<std::size_t>(program.pc.toolkit.At(Control::Combo1).selected);
    return program.Rows(Control::Combo1)[row].substr(0, 2);
  };
  program.Boxes(Pick(Control::Combo1, "F:"));
  EXPECT_EQ(program.Boxes(kSwap, {Answer::Ok}), BoxRows{kAsk});
  auto expected = before;
  std::swap_ranges(expected[0].begin() + 446, expected[0].begin() + 462, expected[0].begin() + 462);
  EXPECT_EQ(stick.Contents(), expected);
  EXPECT_EQ(program.pc.machine.journal.Writes(),
            (std::vector<std::string>{"write PhysicalDrive1 lba=0 n=1 ok"}));
  EXPECT_EQ(selected(), "F:");  // the refresh selects E:, and SWITCH goes back
  EXPECT_EQ(MYDRIVE, "F:");

  EXPECT_EQ(program.Boxes(kSwap, {Answer::Ok})[0].text,
            "OK to swap Partition 1 (type=07 hex) with Partition 2 (type=0C hex) on Drive 1?");
  EXPECT_EQ(stick.Contents(), before);
  EXPECT_EQ(selected(), "F:");
}

TEST(Swap, LeavesTheSelectionOfTheRefreshWhereTheVolumeIsGone) {
  ProgramOnPc program;
  program.pc.machine.onlyFirstOfRemovable = true;
  program.pc.RenewTables();
  program.Boxes(kSwap, {Answer::Ok});
  ASSERT_EQ(program.Rows(Control::Combo1).size(), 1U);
  EXPECT_EQ(MYDRIVE, "F:");
  EXPECT_EQ(program.pc.toolkit.At(Control::Combo1).selected, 0);
}

// The same test enables the button and stands in front of the question.
TEST(Swap, IsForTwoSoundEntriesOfARemovableDrive) {
  const struct {
    const char* name;
    std::size_t at;  // of the byte that makes the table so
    std::uint8_t value;
    bool offered = false;
  } rows[] = {{"two partitions", 0, 3, true},
              {"small partition 1", 450, 0x21},
              {"small partition 2", 466, 0x21},
              {"no partition 1", 450, 0},
              {"no partition 2", 466, 0},
              {"bad boot byte 1", 446, 0x81},
              {"bad boot byte 2", 462, 1},
              {"second active too", 462, 0x80, true},
              {"no ending", 511, 0},
              {"a fixed drive", 0, 3}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ProgramOnPc program;
    program.world.stick.removable = std::string(row.name) != "a fixed drive";
    VirtualSector table = program.world.stick.Sector(0);
    table[row.at] = row.value;
    program.world.stick.SetSector(0, table);  // the letters stay: the table isn't read anew
    program.Start();
    EXPECT_EQ(program.Enabled(Control::cmdSwitchPtns), row.offered);
    if (row.offered) program.pc.toolkit.AnswerNext(Answer::Cancel);
    program.Call(cmdSwitchPtns_Click);
    EXPECT_EQ(program.TakeBoxes().size(), row.offered ? 1U : 0U);
  }
}

TEST(Swap, LeavesTheDiskAloneAtCancelAndWhereASectorFails) {
  struct Row {
    bool readable, writable;
    std::vector<Answer> answers;
    BoxRows boxes;
  };
  const Row kRows[] = {{true, true, {Answer::Cancel}, {kAsk}},
                       {false, true, {}, {ReadFailed(0)}},
                       {true, false, {Answer::Ok}, {kAsk, WriteFailed(0)}}};
  for (const Row& row : kRows) {
    ProgramOnPc program;
    program.Start();
    VirtualDisk& stick = program.world.stick;
    const auto before = stick.Contents();
    if (!row.readable) stick.unreadable = {0};
    if (!row.writable) stick.unwritable = {0};
    EXPECT_EQ(program.Boxes(kSwap, row.answers), row.boxes);
    EXPECT_EQ(stick.Contents(), before);
    EXPECT_TRUE(program.Lines(MaskOf(Op::RenewTable)).empty());
    EXPECT_EQ(program.Lines(MaskOf(Op::Lock, Op::Dismount)).empty(), row.writable);
  }
}

}  // namespace
