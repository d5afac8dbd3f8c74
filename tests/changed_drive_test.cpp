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
       [](TwoSticks& p) { std::swap(p.world.stick.number, p.other.number); },
       Changed("Volume E: was on Drive 1 when it was selected, and is on Drive 2 now."), ""},
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

const BoxRow kOtherTable = Changed("Sector 0 of Drive 1 is not the one that was read before.");

// What another program or a person does while a question is open.
struct Change {
  const char* name;
  void (*act)(TwoSticks&);
  BoxRow box;
};
const Change kChanges[] = {
    {"writes another table", [](TwoSticks& p) { p.world.stick.Put(0, 470, "x"); }, kOtherTable},
    {"another stick takes the number",
     [](TwoSticks& p) {
       VirtualSector table = p.world.stick.Sector(0);
       table[440] ^= 1;
       p.world.stick.SetSector(0, table);
     },
     kOtherTable},
    {"the letters change places",
     [](TwoSticks& p) { std::swap(p.world.stick.number, p.other.number); },
     Changed("Volume E: was on Drive 1 when it was selected, and is on Drive 2 now.")},
    {"sector 0 becomes unreadable", [](TwoSticks& p) { p.world.stick.unreadable = {0}; },
     Changed("Sector 0 of Drive 1 can't be read any more.")},
};

// A question that leads to a write of LBA 0, and what is written before it.
struct Question {
  const char* title;  // its beginning
  void (*prepare)(TwoSticks&);
  UserAction action;
  const char* written;
};

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

const Question kQuestions[] = {
    {"Change partition table", [](TwoSticks&) {}, Open(kRescue), "60 30"},
    {"Run MOVE_VOLPAK?", PutCompanionFirst, Open(kMarked), "60 30"},
    {"Restore TSD partition table", [](TwoSticks& p) { SwitchTo(p, false); },
     Click(Control::cmdRestoreTSD), ""},
    {"Use MBR.BIN backup?", [](TwoSticks& p) { SwitchTo(p, true); }, Click(Control::cmdRestoreTSD),
     ""},
    {"Make 2nd partition accessible", [](TwoSticks&) {}, Click(Control::cmdSwitchPtns), ""},
};

TEST(ChangedDrive, IsSeenAfterEachQuestionBeforeAnythingIsWritten) {
  for (const Question& question : kQuestions) {
    for (const Change& change : kChanges) {
      SCOPED_TRACE(std::string(question.title) + ": " + change.name);
      TwoSticks program;
      question.prepare(program);
      program.Start();
      program.TakeBoxes();
      program.pc.machine.journal.Clear();
      std::map<std::uint64_t, VirtualSector> stick, other;
      program.pc.toolkit.onBox = [&](const Box& box) {
        if (!box.title.starts_with(question.title)) return Answer::Ok;
        change.act(program);
        stick = program.world.stick.Contents();
        other = program.other.Contents();
        return box.buttons == Buttons::YesNoCancel ? Answer::No : Answer::Ok;
      };
      program.Do(question.action);
      program.pc.toolkit.onBox = nullptr;
      const BoxRows boxes = program.TakeBoxes();
      // The order question comes long before the table is read again, and more is asked in between.
      BoxRow box = change.box;
      const bool repair = std::string(question.title).starts_with("Run");
      if (repair && !program.world.stick.unreadable.empty()) box = ReadFailed(0);
      if (repair && program.other.number == 1) {
        box = OnOther("E:\\_ISO\\DATA", "E: (Drive 2)", "E: (Drive 1)");
      }
      EXPECT_NE(std::find(boxes.begin(), boxes.end(), box), boxes.end())
          << testing::PrintToString(boxes);
      EXPECT_EQ(program.world.stick.Contents(), stick);
      EXPECT_EQ(program.other.Contents(), other);
      EXPECT_EQ(program.Written(), question.written);
    }
  }
}

TEST(ChangedDrive, AnImageThatMovesDuringTheQuestionIsLeftAlone) {
  TwoSticks program;
  program.Start();
  program.TakeBoxes();
  program.pc.toolkit.onBox = [&](const Box& box) {
    if (box.title == "Change partition table") {
      program.world.stick.SetSector(demo::kNtfsImage.lba, demo::Fat32BootRecord());
    }
    return Answer::Ok;
  };
  program.pc.machine.journal.Clear();
  program.Do(Open(kRescue));
  program.pc.toolkit.onBox = nullptr;
  EXPECT_EQ(program.TakeBoxes()[1],
            Changed("Sector 200000 of Drive 1 no longer holds what it held before."));
  EXPECT_EQ(program.Written(), "60 30");
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
    program.TakeBoxes();
    program.Do(Click(Control::cmdRestoreTSD));
    program.pc.toolkit.onBox = nullptr;
    const BoxRows boxes = program.TakeBoxes();
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
  program.TakeBoxes();
  program.pc.machine.journal.Clear();
  program.Do(Click(Control::cmdSwitchPtns));
  program.pc.toolkit.onBox = nullptr;
  EXPECT_EQ(program.TakeBoxes()[2],
            Changed("Sector 0 of Drive 0 is not the one that was read before."));
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
