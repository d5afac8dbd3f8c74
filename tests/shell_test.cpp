// The window: its size, which presses a box takes, and that one action runs at a time.
// tests/cases/window.txt has the rest.
#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "report/box_guard.h"
#include "shell/main_window.h"
#include "tests/support.h"

namespace {

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

TEST(Window, ExitClosesTheDisk) {
  StartedPc p;
  Open_Physical_Disk_hDrive(1);
  EXPECT_EQ(p.Do(Click(Control::cmdExit)), RunEnd::ProcessEnded);
}

TEST(Window, DoubleClickBesideTheRowsDoesNothing) {
  StartedPc p;
  p.pc.machine.journal.Clear();
  OnUserEvent(UserEvent::List1_DblClick);
  EXPECT_EQ(p.Lines(kAnyOp), Texts());
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

TEST(BoxGuard, TakesWhatWasPressedForThisBox) {
  enum Key : std::uint8_t { Mouse = 1, Back = 8, Enter = 13, Space = 32, Last = 255 };
  using enum Press::Kind;
  constexpr bool kTaken = true, kNot = false;
  // What is done to a key, at so many milliseconds after the box opened.
  struct Pressed {
    Press::Kind what;
    Key key;
    std::int32_t at;
    bool taken, inField = false;
  };
  const std::pair<const char*, std::vector<Pressed>> rows[] = {
      {"before the box", {{First, Enter, -1, kNot}, {Release, Enter, 10, kNot}}},
      {"too soon", {{First, Enter, 399, kNot}, {Release, Enter, 450, kNot}}},
      {"soon enough", {{First, Enter, 400, kTaken}, {Release, Enter, 450, kTaken}}},
      {"too soon, then again",
       {{First, Enter, 100, kNot},
        {Release, Enter, 150, kNot},
        {First, Enter, 500, kTaken},
        {Release, Enter, 600, kTaken}}},
      {"released only", {{Release, Space, 900, kNot}}},
      {"a click that began too soon", {{First, Mouse, 390, kNot}, {Release, Mouse, 800, kNot}}},
      {"second half of a double-click",
       {{First, Mouse, 300, kNot},
        {Release, Mouse, 350, kNot},
        {Second, Mouse, 450, kNot},
        {Release, Mouse, 500, kNot}}},
      {"a double-click of its own",
       {{First, Mouse, 700, kTaken},
        {Release, Mouse, 750, kTaken},
        {Second, Mouse, 850, kTaken},
        {Release, Mouse, 900, kTaken}}},
      {"held since before", {{Repeat, Enter, -10, kNot}, {Repeat, Enter, 9000, kNot, true}}},
      {"held in a field", {{First, Back, 500, kTaken, true}, {Repeat, Back, 900, kTaken, true}}},
      {"held on a button", {{First, Enter, 500, kTaken}, {Repeat, Enter, 900, kNot}}},
      {"asked twice",
       {{First, Enter, 500, kTaken},
        {First, Enter, 500, kTaken},
        {Release, Enter, 550, kTaken},
        {Release, Enter, 550, kTaken}}},
      {"each key by itself", {{First, Space, 500, kTaken}, {Release, Enter, 550, kNot}}},
      {"after weeks", {{First, Enter, 0x7FFFFFFF, kTaken}, {First, Last, 400, kTaken}}},
  };
  for (const auto& [name, presses] : rows) {
    SCOPED_TRACE(name);
    BoxGuard guard;
    for (const Pressed& row : presses) {
      EXPECT_EQ(guard.Takes({row.what, row.key, row.inField, row.at}), row.taken) << row.at;
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

TEST(OneAction, EndOfTheSessionWaitsForNoBox) {
  StartedPc p;
  bool copyIsThere = true;
  p.pc.toolkit.onBox = [&](const Box&) {
    OnUserEvent(UserEvent::Form_EndSession);
    copyIsThere = p.world.c.Find("\\Temp\\getFileExtents.exe") != nullptr;
    return Answer::Ok;
  };
  p.Do(Click(Control::cmdHelp));
  EXPECT_FALSE(copyIsThere);
}

}  // namespace
