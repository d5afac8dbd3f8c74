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
  const struct {
    UserAction action;
    const char* box;    // during which it fails; its beginning
    const char* label;  // in the report
  } rows[] = {{Click(Control::cmdHelp), "Rotate_TSD for", "cmdHelp_Click"},
              {Open("E:\\_ISO\\Rescue.volPAK"), "Change partition", "List1_DblClick()"},
              {Click(Control::cmdRestoreTSD), "Use MBR.BIN", "cmdRestoreTSD_Click"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.label);
    ProgramOnPc p;
    const VirtualSector table = p.world.stick.Sector(0);
    p.world.f.AddText("\\tsd\\MBR.BIN", std::string(table.begin(), table.end()));
    p.Start({Pick(Control::Combo1, row.action.row.empty() ? "F:" : "E:")});
    p.world.e.Remove("\\_ISO\\tsd\\grub\\tsd.cfg");
    p.world.e.Remove("\\tsd\\unifont.hex.gz");
    p.world.f.AddText("\\tsd\\unifont.hex.gz", "x");
    p.pc.toolkit.onBox = [&](const Box& box) -> Answer {
      if (box.title.starts_with(row.box)) throw std::runtime_error("no memory");
      return Answer::Ok;
    };
    EXPECT_EQ(p.Do(row.action), RunEnd::Returned);
    p.pc.toolkit.onBox = nullptr;
    EXPECT_EQ(p.TakeBoxes().back(),
              (BoxRow{kTitle,
                      "Err.Number=51 Err.Description=Internal error: no memory "
                      "Me.Name=Form1." +
                          std::string(row.label) + " Erl=0"}));
    p.Do(Click(Control::cmdRefreshDrive));
    EXPECT_EQ(p.Rows(Control::Combo1).size(), 2U) << "the program goes on";
  }
}

// A press and whether the box takes it.
struct Pressed {
  Press press;
  bool taken;
};

TEST(BoxGuard, TakesWhatWasPressedForThisBox) {
  constexpr std::uint8_t kMouse = 1, kEnter = 13, kSpace = 32, kBack = 8;
  // At so many milliseconds after the box opened.
  const auto down = [](std::uint8_t key, std::int32_t at, bool taken) {
    return Pressed{{Press::Kind::First, key, false, at}, taken};
  };
  const auto again = [](std::uint8_t key, std::int32_t at, bool taken) {
    return Pressed{{Press::Kind::Second, key, false, at}, taken};
  };
  const auto up = [](std::uint8_t key, std::int32_t at, bool taken) {
    return Pressed{{Press::Kind::Release, key, false, at}, taken};
  };
  const auto held = [](std::uint8_t key, std::int32_t at, bool taken, bool inField = false) {
    return Pressed{{Press::Kind::Repeat, key, inField, at}, taken};
  };
  const std::pair<const char*, std::vector<Pressed>> rows[] = {
      {"before the box", {down(kEnter, -1, false), up(kEnter, 10, false)}},
      {"too soon", {down(kEnter, 399, false), up(kEnter, 450, false)}},
      {"soon enough", {down(kEnter, 400, true), up(kEnter, 450, true)}},
      {"too soon, then again",
       {down(kEnter, 100, false), up(kEnter, 150, false), down(kEnter, 500, true),
        up(kEnter, 600, true)}},
      {"released only", {up(kSpace, 900, false)}},
      {"a click that began too soon", {down(kMouse, 390, false), up(kMouse, 800, false)}},
      {"second half of a double-click",
       {down(kMouse, 300, false), up(kMouse, 350, false), again(kMouse, 450, false),
        up(kMouse, 500, false)}},
      {"a double-click of its own",
       {down(kMouse, 700, true), up(kMouse, 750, true), again(kMouse, 850, true),
        up(kMouse, 900, true)}},
      {"held since before", {held(kEnter, -10, false), held(kEnter, 9000, false, true)}},
      {"held in a field",
       {{{Press::Kind::First, kBack, true, 500}, true}, held(kBack, 900, true, true)}},
      {"held on a button", {down(kEnter, 500, true), held(kEnter, 900, false)}},
      {"asked twice",
       {down(kEnter, 500, true), down(kEnter, 500, true), up(kEnter, 550, true),
        up(kEnter, 550, true)}},
      {"each key by itself", {down(kSpace, 500, true), up(kEnter, 550, false)}},
      {"after weeks", {down(kEnter, 0x7FFFFFFF, true), down(255, 400, true)}},
  };
  for (const auto& [name, presses] : rows) {
    SCOPED_TRACE(name);
    BoxGuard guard;
    for (const Pressed& row : presses) {
      EXPECT_EQ(guard.Takes(row.press), row.taken) << "at " << row.press.shownFor;
    }
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
  p.Do(Click(Control::cmdHelp));
  EXPECT_EQ(p.TakeBoxes(), BoxRows{kHelp});
  EXPECT_EQ(p.Lines(kAnyOp), Texts{"events"}) << "at its end only";
  p.Do(Click(Control::cmdRefreshDrive));
  EXPECT_NE(p.Lines(kAnyOp), Texts{"events"});
}

}  // namespace
