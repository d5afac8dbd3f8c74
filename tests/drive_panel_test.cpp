// The list of drives, the drive under work, its images and the two buttons.
#include "shell/drive_panel.h"

#include <algorithm>
#include <functional>

#include "disk/drive_discovery.h"
#include "disk/sector_buffer.h"
#include "shell/drive_inventory.h"
#include "tests/support.h"

namespace {

using Preparation = std::function<void(ProgramOnPc&)>;

// 14 GiB is what 1945 cylinders of the stick come to.
const std::string kE = "E: DRIVE 1  TSD      14GiB Tessel USB Stick               ";
const std::string kF = "F: DRIVE 1  (no label)      14GiB Tessel USB Stick               ";
const std::string kC = "C: DRIVE 0  System     238GiB ATA System SSD                 ";

BoxRow ReadFailed(const std::string& drive) {
  return Stop("SECTOR READ FAILED", "READ SECTOR 0 from DRIVE " + drive + " FAILED!");
}

const BoxRow kShowAll{kTitle, "WARNING: Lists all drives containing grub4dos MBR!",
                      Buttons::OkCancel};

void GiveBootCode(VirtualDisk& disk) {
  VirtualSector mbr = disk.Sector(0);
  const std::string mark = "Missing hel";
  std::copy(mark.begin(), mark.end(), mbr.begin() + 300);
  disk.SetSector(0, mbr);
}

TEST(DrivePanel, DrivesOnOffer) {
  const Texts both{kE, kF}, none;
  const auto onDrive = [](const std::string& number) {
    return Texts{"E: DRIVE " + number + kE.substr(10), "F: DRIVE " + number + kF.substr(10)};
  };
  const auto asDrive = [](int number, int furtherLetters) {
    return [=](ProgramOnPc& p) {
      p.world.stick.number = number;
      p.pc.facts.furtherDrives = furtherLetters;
    };
  };
  const auto secondStick = [](auto& p) {
    p.world.systemDisk.bus = kBusUsb;
    GiveBootCode(p.world.systemDisk);
    p.world.c.letter = 'Z';
  };
  const struct {
    const char* name;
    Preparation prepare;
    Texts rows;
  } rows[] = {
      {"stick with two volumes", [](auto&) {}, both},
      {"system disk has it", [](auto& p) { GiveBootCode(p.world.systemDisk); }, both},
      {"not on USB", [](auto& p) { p.world.stick.bus = kBusSata; }, none},
      {"no boot code", [](auto& p) { p.world.stick.Put(0, demo::kBootCodeMark, "x"); }, none},
      {"unreadable", [](auto& p) { p.world.stick.unreadable.insert(0); }, none},
      {"no volumes", [](auto& p) { p.world.e.present = p.world.f.present = false; }, none},
      {"no size", [](auto& p) { p.world.stick.bytes = 8'225'279; }, none},
      {"number 4 of 4 letters", asDrive(4, 0), none},
      {"number 4 of 5 letters", asDrive(4, 1), onDrive("4")},
      {"number 12 of 13 letters", asDrive(12, 9), onDrive("12")},
      {"label not told",
       [](auto& p) { p.world.e.label = "14 characters."; },
       {"E: DRIVE 1  " + kE.substr(15), kF}},
      {"label of blanks", [](auto& p) { p.world.f.label = "  "; }, both},
      {"letters sort, not numbers", secondStick, {kE, kF, "Z" + kC.substr(1)}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    StartedPc p;
    row.prepare(p);
    p.TakeBoxes();
    p.Do(Click(Control::cmdRefreshDrive));
    EXPECT_EQ(p.Rows(Control::Combo1), row.rows);
    EXPECT_EQ(p.pc.toolkit.At(Control::Combo1).selected, row.rows.empty() ? -1 : 0);
    EXPECT_EQ(p.Rows(Control::List1).size(), row.rows.empty() ? 0U : 4U);
    EXPECT_EQ(p.TakeBoxes(),
              row.name == std::string("unreadable") ? BoxRows{ReadFailed("1")} : BoxRows());
    EXPECT_TRUE(p.Enabled(Control::cmdSwitchPtns)) << "nothing selected changes nothing";
  }
}

TEST(DrivePanel, ADiskWithoutAnInquiryShowsNothingOfTheOneBefore) {
  ProgramOnPc p;
  p.world.systemDisk.bus = kBusUsb;
  GiveBootCode(p.world.systemDisk);
  p.world.stick.answersInquiry = false;
  p.Start();
  EXPECT_EQ(p.Rows(Control::Combo1)[1], kE.substr(0, kE.find("Tessel")) + std::string(31, ' '));
  EXPECT_FALSE(p.Enabled(Control::cmdSwitchPtns)) << "not known to be removable";
}

TEST(DrivePanel, FirstRowIsSelectedAnew) {
  StartedPc p({Pick(Control::Combo1, "F:")});
  EXPECT_EQ(MYDRIVE + std::to_string(Physical_Drive_no), "F:1");
  EXPECT_EQ(p.Rows(Control::List1), Texts()) << "no images on the second volume";
  EXPECT_TRUE(p.Enabled(Control::cmdRestoreTSD));
  p.Do(Click(Control::cmdRefreshDrive));
  EXPECT_EQ(MYDRIVE, "E:");
  EXPECT_FALSE(p.Enabled(Control::cmdRestoreTSD));
}

TEST(DrivePanel, ShowingAllDrives) {
  ProgramOnPc p;
  GiveBootCode(p.world.systemDisk);
  p.Start();
  const struct {
    const char* name;
    BoxRows boxes;
    Answer answer;
    bool all;
  } rows[] = {{"cancelled", {kShowAll}, Answer::Cancel, false},
              {"confirmed", {kShowAll}, Answer::Ok, true},
              {"tick taken away, which asks nothing", {}, Answer::Ok, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    if (!row.boxes.empty()) p.pc.toolkit.AnswerNext(row.answer);
    p.Do(Click(Control::chkShowAll));
    EXPECT_EQ(p.TakeBoxes(), row.boxes);
    EXPECT_EQ(p.pc.toolkit.At(Control::chkShowAll).ticked, row.all);
    EXPECT_EQ(ShowAllDrives, row.all);
    EXPECT_EQ(p.Rows(Control::Combo1), row.all ? (Texts{kC, kE, kF}) : (Texts{kE, kF}));
    EXPECT_EQ(MYDRIVE, row.all ? "C:" : "E:");
  }
}

TEST(DrivePanel, SelectingADriveThatCannotBeReadOrHasNoBootCode) {
  StartedPc p;
  p.world.stick.unreadable.insert(0);
  p.Do(Pick(Control::Combo1, "F:"));
  EXPECT_EQ(p.TakeBoxes(), BoxRows{ReadFailed("1")});
  EXPECT_EQ(p.Rows(Control::List1).size(), 4U) << "list and buttons stay";
  EXPECT_FALSE(p.Enabled(Control::cmdRestoreTSD));
  p.world.stick.unreadable.clear();
  p.world.stick.Put(0, demo::kBootCodeMark, "x");
  p.Do(Pick(Control::Combo1, "E:"));
  EXPECT_EQ(p.Rows(Control::List1), Texts());
  EXPECT_TRUE(p.Enabled(Control::cmdRestoreTSD));
  EXPECT_TRUE(p.Enabled(Control::cmdSwitchPtns));
}

TEST(DrivePanel, SearchFolderTick) {
  ProgramOnPc p;
  p.world.e.AddText("\\root.volPAK", "x");
  p.Start({Click(Control::Chk_ISO)});
  EXPECT_EQ(p.Rows(Control::List1).size(), 5U);
  p.Do(Click(Control::Chk_ISO));
  EXPECT_EQ(p.Rows(Control::List1),
            (Texts{"E:\\_ISO\\A.volPAKX4DATA :&: A :&X4: DATA", "E:\\_ISO\\Linux.volPAK",
                   "E:\\_ISO\\Rescue.volPAK", "E:\\_ISO\\Tools.volPAK"}));

  ProgramOnPc none;
  none.world.stick.plugged = false;
  none.Start({Click(Control::Chk_ISO)});
  EXPECT_EQ(none.TakeBoxes(), BoxRows{ReadFailed("99")});
  EXPECT_EQ(MYDRIVE + std::to_string(Physical_Drive_no), ":99");
}

TEST(DrivePanel, ListScrollsAsFarAsItsWidestRow) {
  const struct {
    std::size_t name;  // length of an image's name; a character is 6 pixels wide
    bool companion;
    std::vector<std::intptr_t> extents;
  } rows[] = {{81, false, {6}}, {82, false, {6, 90 * 6 + 6}}, {220, true, {6, 32767 / 15 + 6}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ProgramOnPc p;
    const std::string stem(row.name - 7, 'n');
    p.world.e.AddText("\\_ISO\\" + stem + ".volPAK", "x");
    if (row.companion) p.world.f.AddText("\\_ISO\\" + stem, "x");
    p.Start();
    std::vector<std::intptr_t> extents;
    for (const auto& sent : p.pc.toolkit.sent) {
      EXPECT_TRUE(sent.control == Control::List1 && sent.message == 0x194U);
      extents.push_back(sent.wParam);
    }
    EXPECT_EQ(extents, row.extents);
  }
}

}  // namespace
