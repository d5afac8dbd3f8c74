// The window: its small events, how the program ends, and that one action runs at a time.
#include <algorithm>
#include <stdexcept>

#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "report/box_guard.h"
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
  p.pc.toolkit.onBox = [&p](const Box&) -> Answer {
    p.pc.toolkit.onBox = nullptr;
    throw std::runtime_error("no memory");
  };
  EXPECT_EQ(p.Do(Click(Control::cmdHelp)), RunEnd::Returned);
  const BoxRows boxes = p.TakeBoxes();
  ASSERT_EQ(boxes.size(), 2U);
  EXPECT_EQ(boxes[1].text,
            "Err.Number=51 Err.Description=Internal error: no memory "
            "Me.Name=Form1.cmdHelp_Click Erl=0");
  p.Do(Click(Control::cmdRefreshDrive));
  EXPECT_EQ(p.Rows(Control::Combo1).size(), 2U) << "the program goes on";
}

TEST(BoxGuard, TakesWhatWasPressedForThisBox) {
  using enum Press::Kind;
  constexpr std::uint8_t kMouse = 1, kEnter = 13, kSpace = 32, kBack = 8;
  const struct {
    const char* name;
    std::vector<Press> presses;
    const char* taken;
  } rows[] = {
      {"before the box", {{First, kEnter, false, -1}, {Release, kEnter, false, 10}}, "--"},
      {"too soon", {{First, kEnter, false, 399}, {Release, kEnter, false, 450}}, "--"},
      {"soon enough", {{First, kEnter, false, 400}, {Release, kEnter, false, 450}}, "++"},
      {"too soon, then again",
       {{First, kEnter, false, 100},
        {Release, kEnter, false, 150},
        {First, kEnter, false, 500},
        {Release, kEnter, false, 600}},
       "--++"},
      {"released only", {{Release, kSpace, false, 900}}, "-"},
      {"a click that began too soon",
       {{First, kMouse, false, 390}, {Release, kMouse, false, 800}},
       "--"},
      {"second half of a double-click",
       {{First, kMouse, false, 300},
        {Release, kMouse, false, 350},
        {Second, kMouse, false, 450},
        {Release, kMouse, false, 500}},
       "----"},
      {"a double-click of its own",
       {{First, kMouse, false, 700},
        {Release, kMouse, false, 750},
        {Second, kMouse, false, 850},
        {Release, kMouse, false, 900}},
       "++++"},
      {"held since before", {{Repeat, kEnter, false, -10}, {Repeat, kEnter, true, 9000}}, "--"},
      {"held in a field", {{First, kBack, true, 500}, {Repeat, kBack, true, 900}}, "++"},
      {"held on a button", {{First, kEnter, false, 500}, {Repeat, kEnter, false, 900}}, "+-"},
      {"asked twice",
       {{First, kEnter, false, 500},
        {First, kEnter, false, 500},
        {Release, kEnter, false, 550},
        {Release, kEnter, false, 550}},
       "++++"},
      {"each key by itself", {{First, kSpace, false, 500}, {Release, kEnter, false, 550}}, "+-"},
      {"after weeks", {{First, kEnter, false, 0x7FFFFFFF}, {First, 255, false, 400}}, "++"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    BoxGuard guard;
    std::string taken;
    for (const Press& press : row.presses) taken += guard.Takes(press) ? '+' : '-';
    EXPECT_EQ(taken, row.taken);
  }
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

TEST(OneAction, EndOfTheSessionWaitsForNoBox) {
  StartedPc p;
  bool copyIsThere = true;
  p.pc.toolkit.onBox = [&](const Box&) {
    OnUserEvent(UserEvent::Form_EndSession);
    copyIsThere = ToolCopyIsThere(p);
    return Answer::Ok;
  };
  p.Do(Click(Control::cmdHelp));
  EXPECT_FALSE(copyIsThere);
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
