// The exchange of the first two table entries of a removable drive.
#include <algorithm>

#include "disk/sector_buffer.h"
#include "restore/partition_swap.h"
#include "tests/support.h"

namespace {

constexpr const char* kTitleOfQuestion = "Make 2nd partition accessible on Removable drive?";
const BoxRow kAsk{kTitleOfQuestion,
                  "OK to swap Partition 1 (type=0C hex) with Partition 2 (type=07 hex) on Drive 1?",
                  Buttons::OkCancel};

TEST(Swap, ExchangesTwoEntriesAndTwiceChangesNothing) {
  ProgramOnPc program;
  VirtualDisk& stick = program.world.stick;
  VirtualSector table = stick.Sector(0);
  demo::SetEntry(table, 3, false, 0x83, 23'000'000, 1000);
  demo::SetEntry(table, 4, false, 0x82, 24'000'000, 1000);
  stick.SetSector(0, table);
  const auto before = stick.Contents();
  program.pc.toolkit.AnswerNext(Answer::Ok);
  program.pc.toolkit.AnswerNext(Answer::Ok);
  program.Start({Pick(Control::Combo1, "F:"), Click(Control::cmdSwitchPtns)});

  EXPECT_EQ(program.TakeBoxes(), BoxRows{kAsk});
  auto expected = before;
  std::swap_ranges(expected[0].begin() + 446, expected[0].begin() + 462, expected[0].begin() + 462);
  EXPECT_EQ(stick.Contents(), expected);
  EXPECT_EQ(program.pc.machine.journal.Writes(),
            (std::vector<std::string>{"write PhysicalDrive1 lba=0 n=1 ok"}));
  const auto selected = [&] {
    return program
        .Rows(Control::Combo1)[static_cast<std::size_t>(
            program.pc.toolkit.At(Control::Combo1).selected)]
        .substr(0, 2);
  };
  EXPECT_EQ(selected(), "F:");  // the refresh selects E:, and SWITCH goes back
  EXPECT_EQ(MYDRIVE, "F:");

  program.Do(Click(Control::cmdSwitchPtns));
  EXPECT_EQ(program.TakeBoxes()[0].text,
            "OK to swap Partition 1 (type=07 hex) with Partition 2 (type=0C hex) on Drive 1?");
  EXPECT_EQ(stick.Contents(), before);
  EXPECT_EQ(selected(), "F:");
}

TEST(Swap, LeavesTheSelectionOfTheRefreshWhereTheVolumeIsGone) {
  ProgramOnPc program;
  program.pc.machine.onlyFirstOfRemovable = true;
  program.pc.RenewTables();
  program.pc.toolkit.AnswerNext(Answer::Ok);
  program.Start({Click(Control::cmdSwitchPtns)});
  ASSERT_EQ(program.Rows(Control::Combo1).size(), 1U);
  EXPECT_EQ(MYDRIVE, "F:");
  EXPECT_EQ(program.pc.toolkit.At(Control::Combo1).selected, 0);
}

TEST(Swap, CancelLeavesTheDiskAlone) {
  ProgramOnPc program;
  const auto before = program.world.stick.Contents();
  program.pc.toolkit.AnswerNext(Answer::Cancel);
  program.Start({Click(Control::cmdSwitchPtns)});
  EXPECT_EQ(program.TakeBoxes(), BoxRows{kAsk});
  EXPECT_EQ(program.world.stick.Contents(), before);
  EXPECT_TRUE(program.Lines(MaskOf(Op::Write, Op::Lock, Op::Dismount, Op::RenewTable)).empty());
}

// The same test enables the button and stands in front of the question.
TEST(Swap, IsForTwoSoundEntriesOfARemovableDrive) {
  struct Row {
    const char* name;
    std::size_t at;  // of the byte that makes the table so
    std::uint8_t value;
    bool removable, offered;
  };
  const Row kRows[] = {
      {"two partitions", 0, 3, true, true},          {"a fixed drive", 0, 3, false, false},
      {"small partition 1", 450, 0x21, true, false}, {"small partition 2", 466, 0x21, true, false},
      {"no partition 1", 450, 0, true, false},       {"no partition 2", 466, 0, true, false},
      {"bad boot byte 1", 446, 0x81, true, false},   {"bad boot byte 2", 462, 1, true, false},
      {"second active too", 462, 0x80, true, true},  {"no ending", 511, 0, true, false}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    ProgramOnPc program;
    program.world.stick.removable = row.removable;
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

TEST(Swap, TellsOfASectorThatCannotBeReadOrWritten) {
  for (const bool reading : {true, false}) {
    ProgramOnPc program;
    program.Start();
    const auto before = program.world.stick.Contents();
    (reading ? program.world.stick.unreadable : program.world.stick.unwritable) = {0};
    if (!reading) program.pc.toolkit.AnswerNext(Answer::Ok);
    program.Do(Click(Control::cmdSwitchPtns));
    const BoxRow kRead{"SECTOR READ FAILED", "READ SECTOR 0 from DRIVE 1 FAILED!", Buttons::Ok,
                       Icon::Stop};
    const BoxRow kWrite{"SECTOR WRITE FAILED", "WRITE SECTOR 0 to DRIVE 1 FAILED!", Buttons::Ok,
                        Icon::Stop};
    EXPECT_EQ(program.TakeBoxes(), reading ? BoxRows{kRead} : (BoxRows{kAsk, kWrite}));
    EXPECT_EQ(program.world.stick.Contents(), before);
    EXPECT_TRUE(program.Lines(MaskOf(Op::RenewTable)).empty());
  }
}

}  // namespace
