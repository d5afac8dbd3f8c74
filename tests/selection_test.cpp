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

  // Files of NTFS images, each behind the one before; a path that ends in "\" is a folder, one
  // that begins with "?" is hidden.
  void AddFiles(const std::vector<std::string>& paths) {
    for (std::string path : paths) {
      const bool hidden = path[0] == '?';
      if (hidden) path.erase(0, 1);
      if (path.back() == '\\') {
        path.pop_back();
        At(path[0]).AddFolder(path.substr(2));
      } else {
        Put(path, next_[path[0]]).attributes = hidden ? kAttributeHidden : 0;
        next_[path[0]] += 1000;
      }
    }
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

// "E:~A F:\\A" as two paths; "~" is the folder of the images.
std::vector<std::string> Paths(std::string text) {
  std::vector<std::string> paths(1);
  for (const char c : text) {
    if (c == ' ') {
      paths.emplace_back();
    } else {
      paths.back() += c == '~' ? "\\_ISO\\P\\" : std::string(1, c);
    }
  }
  return paths;
}

// How the list tells a file that is found: one beside the image by its bare name, one elsewhere on
// its volume without the volume.
std::string Listed(const char* mark, const std::string& file) {
  const std::string beside = "E:\\_ISO\\P\\";
  if (file == "-") return "";
  if (file.starts_with(beside)) return mark + file.substr(beside.size());
  return mark + file.substr(file[0] == 'E' ? 2 : 0);
}

// The list and the switch look for them in the same places.
TEST(Selection, FindsCompanionAndFourthFileInTheirOrder) {
  struct Row {
    const char *name, *files;  // the first one is the image
    const char *companion, *fourth;
  };
  const Row kRows[] = {
      {"nothing beside it", "E:~A.volPAK", "-", "-"},
      {"same folder first", "E:~A.volPAK E:~A F:\\A F:\\_ISO\\A F:~A", "F:~A", "-"},
      {"same folder on the last volume", "E:~A.volPAK F:\\A F:\\_ISO\\A H:~A", "H:~A", "-"},
      {"image folder before root", "E:~A.volPAK F:\\A G:\\_ISO\\A", "G:\\_ISO\\A", "-"},
      {"root elsewhere before beside", "E:~A.volPAK E:~A H:\\A", "H:\\A", "-"},
      {"beside", "E:~A.volPAK E:~A E:\\_ISO\\A", "E:~A", "-"},
      {"not elsewhere on its own volume", "E:~A.volPAK E:\\_ISO\\A E:\\A", "-", "-"},
      {"a folder is no companion", "E:~A.volPAK F:\\A\\ E:~A\\", "-", "-"},
      {"a hidden file is one", "E:~A.volPAK ?F:\\A", "F:\\A", "-"},
      {"dots in the name", "E:~A.B.volPAK E:~A E:~A.B", "E:~A.B", "-"},
      {"no base name", "E:~.volPAK E:~A", "-", "-"},
      {"fourth elsewhere", "E:~A.volPAKX4D E:~D G:\\_ISO\\D H:\\_ISO\\D", "-", "G:\\_ISO\\D"},
      {"fourth beside", "E:~A.volPAKX4D E:~D E:\\_ISO\\D", "-", "E:~D"},
      {"fourth in the image folder", "E:~A.volPAKX4D E:\\_ISO\\D", "-", "E:\\_ISO\\D"},
      {"fourth not in a root", "E:~A.volPAKX4D F:\\D F:~D", "-", "-"},
      {"the mark in lower case", "E:~A.volPAKx4d E:~d", "-", "E:~d"},
      {"the first of two marks", "E:~A.volPAKX4aX4b E:~b E:~aX4b", "-", "E:~aX4b"},
      {"the mark without a name", "E:~A.volPAKX4 E:~A", "E:~A", "-"},
      {"the mark in front of the extension", "E:~AX4D.volPAK E:~D", "-", "-"},
      {"both", "E:~A.volPAK2X4D E:~A F:\\_ISO\\D", "E:~A", "F:\\_ISO\\D"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    const std::string image = Paths(row.files)[0];
    program.AddFiles(Paths(row.files));
    const BoxRows boxes = program.Boxes(Open(image), {Answer::Cancel});
    const std::string companion = Paths(row.companion)[0], fourth = Paths(row.fourth)[0];
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(FileOf(boxes[0].text, 1), image);
    EXPECT_EQ(FileOf(boxes[0].text, 3), companion);
    EXPECT_EQ(FileOf(boxes[0].text, 4), fourth);
    const Texts rows = program.Rows(Control::List1);
    const std::string line = image + Listed(" :&: ", companion) + Listed(" :&X4: ", fourth);
    EXPECT_EQ(std::count(rows.begin(), rows.end(), line), 1) << line;
  }
}

TEST(Selection, AProbeThatFailsIsAFileNotFound) {
  FourVolumes program;
  const auto paths = Paths("E:~A.volPAK E:~A F:~A");
  program.AddFiles(paths);
  program.Boxes(Open(paths[0]), {Answer::Cancel});
  const auto searches = program.pc.machine.journal.Only(MaskOf(Op::Find));
  std::size_t nth = 1;
  while (searches[nth - 1].subject != paths[2]) ++nth;
  program.Plan(FaultKind::Refusal, MaskOf(Op::Find), nth);
  const BoxRows boxes = program.Boxes(Open(paths[0]), {Answer::Cancel});
  ASSERT_EQ(boxes.size(), 1U);
  EXPECT_EQ(FileOf(boxes[0].text, 3), paths[1]);
}

BoxRow WrongOrder(const std::string& file) {
  return {kOrderQuestion,
          "WARNING: File " + file +
              " is in wrong order for UEFI booting.\r\n\r\nRe-order files? "
              "(it may take some time - PLEASE WAIT!)",
          Buttons::YesNoCancel};
}

TEST(FileOrder, IsAskedForEachFileBelowAnEarlierOne) {
  struct Row {
    const char* name;
    std::uint64_t companion, fourth;  // places, in thousands; 0: no such file
    std::vector<Answer> answers;
    std::string questions;  // A: about the companion, D: about the fourth file
  };
  constexpr Answer kNo = Answer::No, kCancel = Answer::Cancel;
  const Row kRows[] = {{"in order", 5001, 5002, {}, ""},
                       {"companion below, Cancel", 4000, 0, {kCancel}, "A"},
                       {"companion below, No", 4000, 0, {kNo}, "A"},
                       {"fourth below the image", 0, 4000, {kNo}, "D"},
                       {"fourth below the companion", 5002, 5001, {kNo}, "D"},
                       {"fourth below both", 5002, 4000, {kNo, kNo}, "DD"},
                       {"fourth below both, Cancel", 5002, 4000, {kCancel}, "D"},
                       {"Cancel at the second question", 5002, 4000, {kNo, kCancel}, "DD"},
                       {"all the wrong way round", 4000, 3000, {kNo, kNo, kNo}, "ADD"},
                       {"by value, not as texts", 16'778, 0, {}, ""}};  // 1000350 and 4C4B40
  const std::string image = Paths("E:~A.volPAKX4D")[0];
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    program.Put(image, 5'000'000);
    if (row.companion != 0) program.Put(Paths("E:~A")[0], row.companion * 1000);
    if (row.fourth != 0) program.Put(Paths("E:~D")[0], row.fourth * 1000);
    const bool goesOn = row.answers.empty() || row.answers.back() != kCancel;
    std::vector<Answer> answers = row.answers;
    if (goesOn) answers.push_back(kCancel);
    const BoxRows boxes = program.Boxes(Open(image), answers);
    ASSERT_EQ(boxes.size(), row.questions.size() + (goesOn ? 1 : 0));
    for (std::size_t i = 0; i < row.questions.size(); ++i) {
      EXPECT_EQ(boxes[i], WrongOrder(Paths(std::string("E:~") + row.questions[i])[0]));
    }
    EXPECT_EQ(boxes.back().title, goesOn ? kQuestion : kOrderQuestion);
    EXPECT_TRUE(program.Lines(MaskOf(Op::ChildCopy, Op::Rename)).empty());
  }
}

TEST(FileOrder, EqualStartsPass) {
  FourVolumes program;
  program.AddFiles(Paths("E:~A.volPAK E:~A"));
  program.Start();
  program.pc.processes.toolTexts[""] = "File offset 0 LBA: DC3A0 Sectors: 40\r\n";
  const BoxRows boxes = program.Boxes(Open(Paths("E:~A.volPAK")[0]), {Answer::Cancel});
  ASSERT_EQ(boxes.size(), 1U);
  EXPECT_EQ(boxes[0].title, kQuestion);
}

TEST(FileOrder, ARepairAgreedToDecidesWhereTheEntriesPoint) {
  FourVolumes program;
  const std::string image = Paths("E:~A.volPAKX4D")[0], companion = Paths("E:~A")[0];
  program.Put(image, 5'000'000);
  program.Put(companion, 4'000'000);
  program.Put(Paths("E:~D")[0], 5'500'000);
  program.world.e.placements = {{.lba = 6'000'000}};
  // D is below the companion's new place.
  const BoxRows boxes = program.Boxes(Open(image), {Answer::Yes, Answer::No, Answer::Ok});
  ASSERT_EQ(boxes.size(), 4U);
  EXPECT_EQ(boxes[0], WrongOrder(companion));
  EXPECT_EQ(boxes[1], (BoxRow{companion + " is now last", "OK - Files are now in correct order."}));
  EXPECT_EQ(boxes[2], WrongOrder(Paths("E:~D")[0]));
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
  const std::string image = Paths("E:~A.volPAKX4Azzz")[0], fourth = Paths("E:~Azzz")[0];
  program.Put(image, 5'000'000);
  program.Put(Paths("E:~A")[0], 5'600'000);
  program.Put(fourth, 5'500'000);
  const BoxRows boxes = program.Boxes(Open(image), {Answer::Yes, Answer::Cancel});
  ASSERT_EQ(boxes.size(), 3U);
  EXPECT_EQ(boxes[1].title, "ERROR:" + fourth + " is first!");
  EXPECT_TRUE(program.Lines(MaskOf(Op::ChildCopy, Op::Rename)).empty());
}

TEST(FileOrder, ARepairThatFailsGoesOnOnlyWithAFileThatCanBeMeasured) {
  const auto paths = Paths("E:~A.volPAK E:~A");
  const BoxRow kInvalid = Warning(
      "File invalid", "ERROR: File " + paths[1] + " file is before " + paths[0] + " on the disk!");
  struct Row {
    const char* name;
    unsigned pieces;  // that the copy comes to lie in; 0: there is no room for one
    bool toolStops, goesOn;
  };
  const Row kRows[] = {{"no room", 0, false, true},
                       {"the copy lies in pieces", 2, false, false},
                       {"the tool stops", 0, true, false}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    program.Put(paths[0], 5'000'000);
    program.Put(paths[1], 4'000'000);
    program.world.e.full = row.pieces == 0;
    program.world.e.placements = {{.lba = 6'000'000, .pieces = row.pieces}};
    program.Start();
    int runs = 0;
    program.pc.processes.whileChildRuns = [&] {
      if (++runs == 3 && row.toolStops) program.pc.processes.toolTexts[""] = "";
    };
    std::vector<Answer> answers{Answer::Yes};
    if (row.goesOn) answers.push_back(Answer::Cancel);
    const BoxRows boxes = program.Boxes(Open(paths[0]), answers);
    EXPECT_EQ(boxes.back() == kInvalid, !row.goesOn);
    EXPECT_EQ(boxes.back().title == kQuestion, row.goesOn);
    EXPECT_NE(program.world.e.Find("\\_ISO\\P\\A"), nullptr);
  }
}

}  // namespace
