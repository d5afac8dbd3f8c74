// Two sticks, and others who change a drive while the program asks: no table is replaced but the
// one that the new one was made from, on the drive that was picked.
#include <algorithm>
#include <functional>
#include <map>

#include "disk/picked_drive.h"
#include "tests/support.h"

namespace {

constexpr const char* kRescue = "E:\\_ISO\\Rescue.volPAK";
constexpr const char* kMarked = "E:\\_ISO\\A.volPAKX4DATA";

// A second stick, disk 2 with G:.
struct TwoSticks : ProgramOnPc {
  TwoSticks() {
    VirtualSector table = demo::Grub4dosMbr();
    demo::SetEntry(table, 1, true, 7, 2048, 1'000'000);
    other.SetSector(0, table);
    demo::AddImage(g, {"\\_ISO\\Other.volPAK", 100'000, 64}, demo::NtfsBootRecord());
    pc.RenewTables();
  }
  VirtualDisk& other = pc.AddDisk(2, 8'000'000'000);
  VirtualVolume& g = pc.AddVolume('G', other, 2048, 1'000'000);
};

BoxRow Changed(const std::string& what) {
  return Warning("Drive has changed!", "ERROR: " + what +
                                           "\r\nThe partition table was not changed. Click "
                                           "'Refresh' and try again.");
}

const BoxRow kOtherTable = Changed("Sector 0 of Drive 1 is not the one that was read before.");
const BoxRow kOtherLetter =
    Changed("Volume E: was on Drive 1 when it was selected, and is on Drive 2 now.");

BoxRow OnOther(const std::string& file, const std::string& where, const std::string& picked) {
  return Warning("File is on another drive!",
                 "ERROR: File " + file + " is on " + where + ", but the selected drive is " +
                     picked +
                     ".\r\nThe partition table was not changed. Click 'Refresh' and select the "
                     "drive again.");
}

TEST(TwoSticks, AFileOfOneNeverGoesIntoTheTableOfTheOther) {
  const std::string kA = "E:\\_ISO\\A", kData = "F:\\_ISO\\DATA";
  const struct {
    const char* name;
    const char* image;
    std::function<void(TwoSticks&)> prepare;
    BoxRow box;
    const char* written;
  } rows[] = {
      {"the picked stick couldn't be read", kRescue,
       [](TwoSticks& p) {
         p.other.unreadable = {0};
         p.Boxes(Pick(Control::Combo1, "G:"));
         p.other.unreadable.clear();
       },
       OnOther(kRescue, "E: (Drive 1)", "G: (Drive 2)"), ""},
      {"the letter has moved to another disk", kRescue,
       [](TwoSticks& p) { std::swap(p.world.stick.number, p.other.number); }, kOtherLetter, ""},
      {"a companion on another stick", kMarked,
       [](TwoSticks& p) {
         p.world.f.disk = &p.other;
         p.world.f.tiedToTable = false;
         p.world.f.AddText("\\_ISO\\A", "a companion");
       },
       OnOther("F:\\_ISO\\A", "F: (Drive 2)", "E: (Drive 1)"), "60 30"},
      {"a companion whose letter moves after it was chosen", kMarked,
       [](TwoSticks& p) {
         p.world.e.Remove("\\_ISO\\DATA");
         demo::AddImage(p.world.f, {"\\_ISO\\A", demo::kSecondStart + 5000, 64},
                        demo::NtfsBootRecord());
         p.pc.processes.whileChildRuns = [&p, run = 0]() mutable {
           if (++run != 3) return;  // the image is measured for its entry
           p.world.f.disk = &p.other;
           p.world.f.tiedToTable = false;
         };
       },
       OnOther("F:\\_ISO\\A", "F: (Drive 2)", "E: (Drive 1)"), "60 30"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    TwoSticks program;
    program.Start();
    row.prepare(program);
    const auto other = program.other.Contents();
    EXPECT_EQ(program.Boxes(Open(row.image)), BoxRows{row.box});
    EXPECT_EQ(program.Written(), row.written);
    EXPECT_EQ(program.other.Contents(), other);
  }
}

// Start-up looks at the second stick last, and lists the images of the first one.
TEST(TwoSticks, ARowShowsNoFileOfTheOtherOne) {
  TwoSticks program;
  program.world.e.Remove("\\_ISO\\A");
  program.g.AddText("\\_ISO\\A", "not a companion");
  program.Start();
  EXPECT_EQ(program.Rows(Control::List1)[0], std::string(kMarked) + " :&X4: DATA");
}

// What another program or a person does while a question is open.
using Change = void (*)(TwoSticks&);
void WriteAnotherTable(TwoSticks& p) {
  p.world.stick.Put(0, 470, "x");
}
void ExchangeLetters(TwoSticks& p) {
  std::swap(p.world.stick.number, p.other.number);
}

void PutCompanionFirst(TwoSticks& p) {
  p.world.e.Remove("\\_ISO\\A");
  demo::AddImage(p.world.e, {"\\_ISO\\A", 550'000, 64}, demo::NtfsBootRecord());
}

// E: is the image, as after a switch; the saved table is on LBA 30 or in the file.
void SwitchTo(TwoSticks& p, bool savedInFile) {
  const VirtualSector saved = p.world.stick.Sector(0);
  if (savedInFile) {
    p.world.inner.AddText("\\tsd\\MBR.BIN", std::string(saved.begin(), saved.end()));
  } else {
    p.world.stick.SetSector(30, saved);
  }
  VirtualSector table = demo::Grub4dosMbr();
  demo::SetEntry(table, 1, true, 7, demo::kNtfsImage.lba, demo::kNtfsImage.sectors);
  p.world.stick.SetSector(0, table);
  p.pc.RenewTables();
}

// Each question that leads to a write of LBA 0.
TEST(ChangedDrive, IsSeenAfterEachQuestionBeforeAnythingIsWritten) {
  const auto nothing = [](TwoSticks&) {};
  const auto switched = [](TwoSticks& p) { SwitchTo(p, false); };
  const char *commit = "Change partition table", *restore = "Restore TSD partition table";
  const UserAction click = Click(Control::cmdRestoreTSD);
  const BoxRow otherRecord =
      Changed("Sector 200000 of Drive 1 no longer holds what it held before.");
  const struct {
    const char* question;  // its title's beginning
    void (*prepare)(TwoSticks&);
    UserAction action;
    Change change;
    BoxRow box;
    const char* written = "";
  } rows[] = {
      {commit, nothing, Open(kRescue), WriteAnotherTable, kOtherTable, "60 30"},
      {commit, nothing, Open(kRescue), ExchangeLetters, kOtherLetter, "60 30"},
      {commit, nothing, Open(kRescue), [](TwoSticks& p) { p.world.stick.unreadable = {0}; },
       Changed("Sector 0 of Drive 1 can't be read any more."), "60 30"},
      {commit, nothing, Open(kRescue),
       [](TwoSticks& p) { p.world.stick.SetSector(demo::kNtfsImage.lba, demo::Fat32BootRecord()); },
       otherRecord, "60 30"},
      {"Run MOVE_VOLPAK?", PutCompanionFirst, Open(kMarked), WriteAnotherTable, kOtherTable,
       "60 30"},
      {"Run MOVE_VOLPAK?", PutCompanionFirst, Open(kMarked),
       [](TwoSticks& p) { p.world.stick.unreadable = {0}; }, ReadFailed(0), "60 30"},
      {restore, switched, click, WriteAnotherTable, kOtherTable},
      {restore, switched, click, ExchangeLetters, kOtherLetter},
      {"Use MBR.BIN", [](TwoSticks& p) { SwitchTo(p, true); }, click, WriteAnotherTable,
       kOtherTable},
      {"Make 2nd", nothing, Click(Control::cmdSwitchPtns), WriteAnotherTable, kOtherTable},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.question) + ": " + row.box.text);
    TwoSticks program;
    row.prepare(program);
    program.Start();
    std::map<std::uint64_t, VirtualSector> stick, other;
    program.pc.toolkit.onBox = [&](const Box& box) {
      if (!box.title.starts_with(row.question)) return Answer::Ok;
      row.change(program);
      stick = program.world.stick.Contents();
      other = program.other.Contents();
      return box.buttons == Buttons::YesNoCancel ? Answer::No : Answer::Ok;
    };
    const BoxRows boxes = program.Boxes(row.action);
    program.pc.toolkit.onBox = nullptr;
    EXPECT_NE(std::find(boxes.begin(), boxes.end(), row.box), boxes.end())
        << testing::PrintToString(boxes);
    EXPECT_EQ(program.world.stick.Contents(), stick);
    EXPECT_EQ(program.other.Contents(), other);
    EXPECT_EQ(program.Written(), row.written);
  }
}

// Mending a sector 0 that can't be read is what a restore is for. Then the saved table tells
// whether the stick is still the same.
TEST(ChangedDrive, ARestoreMendsASectorThatCouldNotBeReadBefore) {
  for (const bool swapped : {false, true}) {
    TwoSticks program;
    SwitchTo(program, false);
    program.Start();
    VirtualDisk& stick = program.world.stick;
    stick.unreadable = {0};
    program.pc.toolkit.onBox = [&](const Box&) {
      if (swapped) stick.Put(30, 0, "another");
      return Answer::Ok;
    };
    const BoxRows boxes = program.Boxes(Click(Control::cmdRestoreTSD));
    program.pc.toolkit.onBox = nullptr;
    ASSERT_GE(boxes.size(), 2U);
    EXPECT_EQ(boxes[1], swapped
                            ? Changed("Sector 30 of Drive 1 is not the one that was read before.")
                            : WriteFailed(0));  // it can't be read back either
    EXPECT_EQ(stick.Sector(0) == stick.Sector(30), !swapped);
  }
}

TEST(ChangedDrive, IsSeenAfterTheWarningOfDrive0) {
  TwoSticks program;
  program.world.systemDisk.number = 3;
  program.world.stick.number = 0;
  program.world.stick.bus = kBusSata;
  program.Start();
  program.pc.toolkit.onBox = [&](const Box& box) {
    if (box.title.starts_with("WARNING: Writing")) program.world.stick.Put(0, 470, "x");
    return Answer::Ok;
  };
  program.Do(Click(Control::chkShowAll));
  program.Do(Pick(Control::Combo1, "E:"));
  const BoxRows boxes = program.Boxes(Click(Control::cmdSwitchPtns));
  program.pc.toolkit.onBox = nullptr;
  EXPECT_EQ(boxes[2], Changed("Sector 0 of Drive 0 is not the one that was read before."));
  EXPECT_EQ(program.Written(), "");
}

// A GPT's entries lie where the old table would be saved.
TEST(Gpt, IsNeitherSwitchedNorRestoredNorExchanged) {
  const BoxRow kGpt =
      Warning("Drive has a GPT!",
              "ERROR: Drive 1 has a GUID partition table, which uses the sectors where this "
              "program saves the old table.\r\nThe drive was not changed.");
  const struct {
    UserAction action;
    bool switched;
    std::size_t entry;
  } rows[] = {{Open(kRescue), false, 3},
              {Click(Control::cmdRestoreTSD), true, 4},
              {Click(Control::cmdSwitchPtns), false, 2}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.entry);
    TwoSticks program;
    if (row.switched) SwitchTo(program, false);
    program.Start();
    VirtualSector table = program.world.stick.Sector(0);
    table[446 + 16 * (row.entry - 1) + 4] = 0xEE;
    program.world.stick.SetSector(0, table);
    EXPECT_EQ(program.Boxes(row.action), BoxRows{kGpt});
    EXPECT_EQ(program.Written(), "");
  }
}

}  // namespace
