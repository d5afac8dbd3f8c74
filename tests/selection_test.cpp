// From the picked image to the files that become partitions: companion, fourth file, the limits of
// a table entry, and the order that UEFI booting needs. Told through the last question's report.
#include <algorithm>
#include <map>

#include "tests/support.h"
#include "text/text.h"

namespace {

constexpr const char* kQuestion = "Change partition table";
constexpr const char* kOrderQuestion = "Run MOVE_VOLPAK? (fix bad file order)";

// A stick with four volumes E: to H:, without the images of the ready-made one.
struct FourVolumes : ProgramOnPc {
  FourVolumes() {
    for (const auto& place : {demo::kMarkedImage, demo::kCompanion, demo::kFourth}) {
      world.e.Remove(place.path);
    }
    for (const char letter : {'G', 'H'}) {
      VirtualVolume& volume =
          pc.AddVolume(letter, world.stick, letter == 'G' ? 22'100'000 : 24'100'000, 1'900'000);
      volume.tiedToTable = false;
    }
    for (const char letter : {'E', 'F', 'G', 'H'}) next_[letter] = At(letter).firstSector + 900'000;
    pc.RenewTables();
  }

  VirtualVolume& At(char letter) {
    if (letter == 'E') return world.e;
    if (letter == 'F') return world.f;
    return *pc.machine.volumes[pc.machine.volumes.size() - (letter == 'G' ? 2 : 1)];
  }

  // Files of NTFS images, each behind the one before. The first one is the image.
  void AddFiles(const Texts& paths) {
    for (const std::string& path : paths) {
      Put(path, next_[path[0]]);
      next_[path[0]] += 1000;
    }
  }

  // The boxes of a double-click on the image, which may lie in any folder.
  BoxRows Select(const std::string& image, const std::vector<Answer>& answers = {Answer::Cancel}) {
    Start({Click(Control::Chk_ISO)});
    return Boxes(Open(image), answers);
  }

  VirtualFile& Put(const std::string& path, std::uint64_t lba, std::uint64_t sectors = 64) {
    VirtualFile& file = At(path[0]).AddFile(path.substr(2), sectors * 512, lba);
    world.stick.SetSector(lba, demo::NtfsBootRecord());
    return file;
  }

 private:
  std::map<char, std::uint64_t> next_;
};

// The file of entry 3 or 4 in the report; "-" where there is none.
std::string FileOf(const std::string& report, int entry) {
  const std::size_t at = report.find("PTN" + std::to_string(entry) + ": ") + 6;
  if (report[at] == '-') return "-";
  const std::size_t file = report.find("\r\n", at) + 2;
  return report.substr(file, report.find("\r\n", file) - file);
}

// How the list tells a file that is found: one beside the image by its bare name, one elsewhere on
// its volume without the volume.
std::string Listed(const char* mark, const std::string& file) {
  if (file == "-") return "";
  if (file.starts_with("E:\\P\\")) return mark + file.substr(5);
  return mark + file.substr(file[0] == 'E' ? 2 : 0);
}

// The list and the switch look for them in the same places.
TEST(Selection, FindsCompanionAndFourthFileInTheirOrder) {
  const struct {
    const char* name;
    Texts files;  // the first one is the image
    const char* companion = "-";
    const char* fourth = "-";
  } rows[] = {
      {"nothing beside it", {"E:\\P\\A.volPAK"}},
      {"same folder first",
       {"E:\\P\\A.volPAK", "E:\\P\\A", "F:\\A", "F:\\_ISO\\A", "F:\\P\\A"},
       "F:\\P\\A"},
      {"same folder on the last volume",
       {"E:\\P\\A.volPAK", "F:\\A", "F:\\_ISO\\A", "H:\\P\\A"},
       "H:\\P\\A"},
      {"_ISO before root", {"E:\\P\\A.volPAK", "F:\\A", "G:\\_ISO\\A"}, "G:\\_ISO\\A"},
      {"root elsewhere before beside", {"E:\\P\\A.volPAK", "E:\\P\\A", "H:\\A"}, "H:\\A"},
      {"beside", {"E:\\P\\A.volPAK", "E:\\P\\A", "E:\\_ISO\\A"}, "E:\\P\\A"},
      {"not elsewhere on its own volume", {"E:\\P\\A.volPAK", "E:\\_ISO\\A", "E:\\A"}},
      {"dots in the name", {"E:\\P\\A.B.volPAK", "E:\\P\\A", "E:\\P\\A.B"}, "E:\\P\\A.B"},
      {"no base name", {"E:\\P\\.volPAK", "E:\\P\\A"}},
      {"fourth elsewhere",
       {"E:\\P\\A.volPAKX4D", "E:\\P\\D", "G:\\_ISO\\D", "H:\\_ISO\\D"},
       "-",
       "G:\\_ISO\\D"},
      {"fourth beside", {"E:\\P\\A.volPAKX4D", "E:\\P\\D", "E:\\_ISO\\D"}, "-", "E:\\P\\D"},
      {"fourth in _ISO", {"E:\\P\\A.volPAKX4D", "E:\\_ISO\\D"}, "-", "E:\\_ISO\\D"},
      {"fourth not in a root", {"E:\\P\\A.volPAKX4D", "F:\\D", "F:\\P\\D"}},
      {"both", {"E:\\P\\A.volPAK2X4D", "E:\\P\\A", "F:\\_ISO\\D"}, "E:\\P\\A", "F:\\_ISO\\D"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    const std::string image = row.files[0];
    program.AddFiles(row.files);
    const BoxRows boxes = program.Select(image);
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(FileOf(boxes[0].text, 1), image);
    EXPECT_EQ(FileOf(boxes[0].text, 3), row.companion);
    EXPECT_EQ(FileOf(boxes[0].text, 4), row.fourth);
    const Texts listed = program.Rows(Control::List1);
    const std::string line = image + Listed(" :&: ", row.companion) + Listed(" :&X4: ", row.fourth);
    EXPECT_EQ(std::count(listed.begin(), listed.end(), line), 1) << line;
  }
}

TEST(Selection, TakesOnlyFilesThatAProbeFinds) {
  const std::string image = "E:\\P\\A.volPAK", beside = "E:\\P\\A", elsewhere = "F:\\A";
  const struct {
    const char* name;
    std::uint32_t attributes;  // of what has the companion's name elsewhere
    bool probeFails;
    std::string companion;
  } rows[] = {{"a folder", kAttributeDirectory, false, beside},
              {"a hidden file", kAttributeHidden, false, elsewhere},
              {"a probe that fails", 0, true, beside}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    program.AddFiles({image, beside, elsewhere});
    program.world.f.Find("\\A")->attributes = row.attributes;
    program.Select(image);
    if (row.probeFails) {
      const auto searches = program.pc.machine.journal.Only(MaskOf(Op::Find));
      std::size_t nth = 1;
      while (searches[nth - 1].subject != elsewhere) ++nth;
      program.Plan(FaultKind::Refusal, MaskOf(Op::Find), nth);
    }
    EXPECT_EQ(FileOf(program.Boxes(Open(image), {Answer::Cancel})[0].text, 3), row.companion);
  }
}

constexpr const char *kImage = "E:\\P\\A.volPAKX4D", *kCompanion = "E:\\P\\A",
                     *kFourth = "E:\\P\\D";

BoxRow WrongOrder(const std::string& file) {
  return {kOrderQuestion,
          "WARNING: File " + file +
              " is in wrong order for UEFI booting.\r\n\r\nRe-order files? "
              "(it may take some time - PLEASE WAIT!)",
          Buttons::YesNoCancel};
}

TEST(FileOrder, IsAskedForEachFileBelowAnEarlierOne) {
  constexpr Answer kNo = Answer::No, kCancel = Answer::Cancel;
  const struct {
    const char* name;
    std::uint64_t companion, fourth;  // places, in thousands; 0: no such file
    std::vector<Answer> answers;
    Texts questions;  // about these files
  } rows[] = {{"in order", 5001, 5002, {}, {}},
              {"companion below, Cancel", 4000, 0, {kCancel}, {kCompanion}},
              {"companion below, No", 4000, 0, {kNo}, {kCompanion}},
              {"fourth below the image", 0, 4000, {kNo}, {kFourth}},
              {"fourth below the companion", 5002, 5001, {kNo}, {kFourth}},
              {"fourth below both", 5002, 4000, {kNo, kNo}, {kFourth, kFourth}},
              {"fourth below both, Cancel", 5002, 4000, {kCancel}, {kFourth}},
              {"Cancel at the second question", 5002, 4000, {kNo, kCancel}, {kFourth, kFourth}},
              {"by value, not as texts", 16'778, 0, {}, {}}};  // 1000350 and 4C4B40
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    program.Put(kImage, 5'000'000);
    if (row.companion != 0) program.Put(kCompanion, row.companion * 1000);
    if (row.fourth != 0) program.Put(kFourth, row.fourth * 1000);
    const bool goesOn = row.answers.empty() || row.answers.back() != kCancel;
    std::vector<Answer> answers = row.answers;
    if (goesOn) answers.push_back(kCancel);
    BoxRows boxes = program.Select(kImage, answers);
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().title, goesOn ? kQuestion : kOrderQuestion);
    if (goesOn) boxes.pop_back();
    BoxRows questions;
    for (const std::string& file : row.questions) questions.push_back(WrongOrder(file));
    EXPECT_EQ(boxes, questions);
    EXPECT_TRUE(program.Lines(MaskOf(Op::ChildCopy, Op::Rename)).empty());
  }
  FourVolumes equal;
  equal.AddFiles({kImage, kCompanion});
  equal.Start({Click(Control::Chk_ISO)});
  equal.pc.processes.toolTexts[""] = "File offset 0 LBA: DC3A0 Sectors: 40\r\n";
  EXPECT_EQ(equal.Boxes(Open(kImage), {Answer::Cancel})[0].title, kQuestion) << "equal starts pass";
}

TEST(FileOrder, ARepairAgreedToDecidesWhereTheEntriesPoint) {
  FourVolumes program;
  program.Put(kImage, 5'000'000);
  program.Put(kCompanion, 4'000'000);
  program.Put(kFourth, 5'500'000);
  program.world.e.placements = {{.lba = 6'000'000}};  // D is below the companion's new place
  const BoxRows boxes = program.Select(kImage, {Answer::Yes, Answer::No, Answer::Ok});
  ASSERT_EQ(boxes.size(), 4U);
  EXPECT_EQ(boxes[0], WrongOrder(kCompanion));
  EXPECT_EQ(boxes[1], (BoxRow{"E:\\P\\A is now last", "OK - Files are now in correct order."}));
  EXPECT_EQ(boxes[2], WrongOrder(kFourth));
  EXPECT_TRUE(Contains(boxes[3].text, "PTN3: Type=07 (NTFS)   Start=6000000 (0x5B8D80) \r\n"));
  const VirtualSector table = program.world.stick.Sector(0);
  EXPECT_EQ(EntryOf(table, 1), (TableEntry{true, 7, 5'000'000, 64}));
  EXPECT_EQ(EntryOf(table, 3), (TableEntry{false, 7, 6'000'000, 64}));
  EXPECT_EQ(EntryOf(table, 4), (TableEntry{false, 7, 5'500'000, 64}));
  EXPECT_EQ(program.world.stick.Sector(6'000'000), demo::NtfsBootRecord());
}

// The companion's copy would be called as the fourth file is.
TEST(FileOrder, ARepairKnowsTheNamesOfAllThreeFiles) {
  FourVolumes program;
  program.Put("E:\\P\\A.volPAKX4Azzz", 5'000'000);
  program.Put(kCompanion, 5'600'000);
  program.Put("E:\\P\\Azzz", 5'500'000);
  const BoxRows boxes = program.Select("E:\\P\\A.volPAKX4Azzz", {Answer::Yes, Answer::Cancel});
  ASSERT_EQ(boxes.size(), 3U);
  EXPECT_EQ(boxes[1].title, "ERROR:E:\\P\\Azzz is first!");
  EXPECT_TRUE(program.Lines(MaskOf(Op::ChildCopy, Op::Rename)).empty());
}

TEST(FileOrder, ARepairThatFailsGoesOnOnlyWithAFileThatCanBeMeasured) {
  const struct {
    const char* name;
    unsigned pieces;  // that the copy comes to lie in; 0: there is no room for one
    bool toolStops, goesOn;
  } rows[] = {{"no room", 0, false, true},
              {"the copy lies in pieces", 2, false, false},
              {"the tool stops", 0, true, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    program.Put(kImage, 5'000'000);
    program.Put(kCompanion, 4'000'000);
    program.world.e.full = row.pieces == 0;
    program.world.e.placements = {{.lba = 6'000'000, .pieces = row.pieces}};
    program.Start({Click(Control::Chk_ISO)});
    program.pc.processes.whileChildRuns = [&, runs = 0]() mutable {
      if (++runs == 3 && row.toolStops) program.pc.processes.toolTexts[""] = "";
    };
    std::vector<Answer> answers{Answer::Yes};
    if (row.goesOn) answers.push_back(Answer::Cancel);
    const BoxRows boxes = program.Boxes(Open(kImage), answers);
    EXPECT_EQ(
        boxes.back() == Warning("File invalid", std::string("ERROR: File ") + kCompanion +
                                                    " file is before " + kImage + " on the disk!"),
        !row.goesOn);
    EXPECT_EQ(boxes.back().title == kQuestion, row.goesOn);
    EXPECT_NE(program.world.e.Find("\\P\\A"), nullptr);
  }
}

}  // namespace
