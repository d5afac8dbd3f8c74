// The window: its small events, how the program ends, and that one action runs at a time.
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "shell/main_window.h"
#include "tests/support.h"

namespace {

const BoxRow kHelp{
    "Rotate_TSD for .volPAK files",
    "This 32-bit Windows utility can be used to replace the TSD partition with different "
    "partitions or switch back to the TSD partition without needing to boot to the TSD menu."
    "\r\n\r\nDouble-click on a .volPAK file to replace the TSD partition with the .volPAK "
    "partition image. The USB drive will then boot to the CSM Menu instead of the TSD Menu."
    "\r\n\r\nTo restore the TSD partition, click on the 'Restore TSD Partitions' button."};

bool ToolCopyIsThere(ProgramOnPc& p) {
  return p.world.c.Find("\\Temp\\getFileExtents.exe") != nullptr;
}

TEST(Window, HelpAndHomePage) {
  StartedPc p({Click(Control::cmdHelp), Click(Control::Label2)});
  EXPECT_EQ(p.TakeBoxes(), BoxRows{kHelp});
  EXPECT_EQ(p.Lines(MaskOf(Op::ShellExecute)),
            Texts{"shell-execute https://tesseldyn.example/ open [0] [0] 1 ok"});
  p.pc.processes.shellExecuteResult = 2;
  p.Do(Click(Control::Label2));
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

TEST(Window, KeepsItsSize) {
  StartedPc p;
  const float height = p.pc.toolkit.height, width = p.pc.toolkit.width;
  p.Do(Resize(15360, 20480));
  EXPECT_EQ(p.pc.toolkit.height, height);
  EXPECT_EQ(p.pc.toolkit.width, width);
  p.pc.toolkit.minimised = true;
  p.Do(Resize(0, 0));
  EXPECT_EQ(p.pc.toolkit.height, 0) << "minimising leaves it minimised";
}

TEST(Window, BothWaysOutTakeTheToolAway) {
  const struct {
    UserAction out;
    bool refused;  // the copy can't be deleted
    RunEnd end;
  } rows[] = {{CloseWindow(), false, RunEnd::Returned},
              {Click(Control::cmdExit), false, RunEnd::ProcessEnded},
              {Click(Control::cmdExit), true, RunEnd::ProcessEnded}};
  for (const auto& row : rows) {
    StartedPc p;
    if (row.end == RunEnd::ProcessEnded) Open_Physical_Disk_hDrive(1);
    if (row.refused) p.Plan(FaultKind::FaultThrown, MaskOf(Op::Delete));
    EXPECT_EQ(p.Do(row.out), row.end);
    EXPECT_EQ(p.pc.toolkit.unloaded, row.end == RunEnd::Returned) << "Exit ends the process first";
    EXPECT_EQ(ToolCopyIsThere(p), row.refused);
    EXPECT_EQ(p.TakeBoxes(), BoxRows());
  }
}

TEST(Window, DoubleClickBesideTheRowsDoesNothing) {
  StartedPc p;
  p.pc.machine.journal.Clear();
  OnUserEvent(UserEvent::List1_DblClick);
  EXPECT_EQ(p.Lines(kAnyOp), Texts());
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

TEST(Window, FailureAtTheTopOfARoutineIsReported) {
  StartedPc p;
  p.Plan(FaultKind::FaultThrown, MaskOf(Op::Fact));
  EXPECT_EQ(p.Do(Click(Control::cmdRefreshDrive)), RunEnd::Returned);
  EXPECT_EQ(p.TakeBoxes(), (BoxRows{{kTitle,
                                     "Err.Number=57 Err.Description=Device I/O error "
                                     "Me.Name=Form1.cmdRefreshDrive_Click Erl=0"}}));
  p.Do(Click(Control::cmdRefreshDrive));
  EXPECT_EQ(p.Rows(Control::Combo1).size(), 2U) << "the program goes on";
}

TEST(OneAction, WhatTheUserDoesMeanwhileIsDroppedAndUndone) {
  const UserAction meanwhile[] = {
      Click(Control::chkShowAll),      Click(Control::Chk_ISO),
      Click(Control::cmdRefreshDrive), Click(Control::cmdHelp),
      Click(Control::cmdSwitchPtns),   Click(Control::Label2),
      DoubleClick(Control::Label1),    Pick(Control::Combo1, "F:"),
      Open("E:\\_ISO\\Rescue"),        Pick(Control::List1, "E:\\_ISO\\Tools")};
  StartedPc calm;
  const std::size_t first = calm.pc.toolkit.doEventsCalls + 1;
  calm.pc.machine.journal.Clear();
  calm.Do(Pick(Control::Combo1, "E:"));
  const std::size_t last = calm.pc.toolkit.doEventsCalls;
  ASSERT_GT(last, first);
  for (const UserAction& action : meanwhile) {
    for (std::size_t call = first; call <= last; ++call) {
      SCOPED_TRACE(::testing::Message() << static_cast<int>(action.control) << " at " << call);
      StartedPc p;
      p.pc.machine.journal.Clear();
      p.pc.toolkit.atDoEvents[call] = action;
      p.Do(Pick(Control::Combo1, "E:"));
      EXPECT_EQ(p.TakeBoxes(), BoxRows());
      EXPECT_EQ(p.Lines(kAnyOp), calm.Lines(kAnyOp));
      EXPECT_FALSE(p.pc.toolkit.At(Control::chkShowAll).ticked);
      EXPECT_TRUE(p.pc.toolkit.At(Control::Chk_ISO).ticked);
      EXPECT_FALSE(ShowAllDrives);
      EXPECT_EQ(p.pc.toolkit.At(Control::Combo1).selected, 0);
      EXPECT_EQ(p.pc.toolkit.At(Control::List1).selected, -1);
      EXPECT_EQ(p.Rows(Control::List1).size(), 4U);
    }
  }
}

TEST(OneAction, ClosingWaitsForTheActionsEnd) {
  for (const bool exit : {true, false}) {
    SCOPED_TRACE(exit ? "Exit" : "close");
    StartedPc p;
    p.pc.machine.journal.Clear();
    const UserAction end = exit ? Click(Control::cmdExit) : CloseWindow();
    p.pc.toolkit.atDoEvents[p.pc.toolkit.doEventsCalls + 1] = end;
    EXPECT_EQ(p.Do(Click(Control::cmdRefreshDrive)),
              exit ? RunEnd::ProcessEnded : RunEnd::Returned);
    EXPECT_EQ(p.Rows(Control::Combo1).size(), 2U) << "the list was built to its end";
    EXPECT_EQ(p.Rows(Control::List1).size(), 4U);
    EXPECT_EQ(p.pc.toolkit.unloaded, !exit);
    EXPECT_FALSE(ToolCopyIsThere(p));
    const Texts lines = p.Lines(MaskOf(Op::PointerChange, Op::Delete));
    EXPECT_EQ(lines.back(), "delete C:\\Temp\\getFileExtents.exe ok");
    EXPECT_EQ(std::count(lines.begin(), lines.end(), lines.back()), 1);
  }
}

TEST(OneAction, ClosingDuringStartUp) {
  ProgramOnPc p;
  p.pc.toolkit.atDoEvents[1] = CloseWindow();
  EXPECT_EQ(p.Start(), RunEnd::Returned);
  EXPECT_TRUE(p.pc.toolkit.unloaded && !ToolCopyIsThere(p));
  EXPECT_EQ(p.Rows(Control::List1).size(), 4U);
}

TEST(OneAction, ClicksOfABlockedTimeAreDropped) {
  StartedPc p;
  p.pc.machine.journal.Clear();
  p.pc.toolkit.atDoEvents[p.pc.toolkit.doEventsCalls + 1] = Click(Control::cmdRefreshDrive);
  const std::size_t calls = p.pc.toolkit.doEventsCalls;
  p.Do(Click(Control::cmdHelp));
  EXPECT_EQ(p.pc.toolkit.doEventsCalls, calls + 1) << "events run at its end only";
  EXPECT_EQ(p.TakeBoxes(), BoxRows{kHelp});
  EXPECT_EQ(p.Lines(kAnyOp), Texts());
  p.Do(Click(Control::cmdRefreshDrive));
  EXPECT_NE(p.Lines(kAnyOp), Texts());
}

}  // namespace
