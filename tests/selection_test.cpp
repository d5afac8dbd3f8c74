// From the picked image to the files that become partitions: companion, fourth file, the limits of
// a table entry, and the order that UEFI booting needs. Told through the last question's report.
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
      {"the mark without a name", "E:~A.volPAKX4 E:~A", "E:~A", "-"},
      {"the mark in front of the extension", "E:~AX4D.volPAK E:~D", "-", "-"},
      {"both", "E:~A.volPAK2X4D E:~A F:\\_ISO\\D", "E:~A", "F:\\_ISO\\D"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    FourVolumes program;
    const std::string image = Paths(row.files)[0];
    program.AddFiles(Paths(row.files));
    program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
    program.Start({Open(image)});
    const BoxRows boxes = program.TakeBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(FileOf(boxes[0].text, 1), image);
    EXPECT_EQ(FileOf(boxes[0].text, 3), Paths(row.companion)[0]);
    EXPECT_EQ(FileOf(boxes[0].text, 4), Paths(row.fourth)[0]);
  }
}

TEST(Selection, AProbeThatFailsIsAFileNotFound) {
  for (const FaultKind kind : {FaultKind::Refusal, FaultKind::FaultThrown}) {
    FourVolumes program;
    program.AddFiles({"E:\\_ISO\\P\\A.volPAK", "E:\\_ISO\\P\\A", "F:\\_ISO\\P\\A"});
    program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
    program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
    program.Start({Open("E:\\_ISO\\P\\A.volPAK")});
    const auto searches = program.pc.machine.journal.Only(MaskOf(Op::Find));
    std::size_t nth = 1;
    while (searches[nth - 1].subject != "F:\\_ISO\\P\\A") ++nth;
    program.TakeBoxes();
    program.Plan(kind, MaskOf(Op::Find), nth);
    program.Do(Open("E:\\_ISO\\P\\A.volPAK"));
    const BoxRows boxes = program.TakeBoxes();
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(FileOf(boxes[0].text, 3), "E:\\_ISO\\P\\A");
  }
}

// What the tool prints, or how long the file is, in place of the truth.
struct Measure {
  const char* file;
  const char* output = nullptr;
  std::uint64_t bytes = 0;
};

BoxRow Refusal(const char* title, const std::string& text) {
  return {title, "ERROR: " + text, Buttons::Ok, Icon::Exclamation};
}

BoxRow Invalid(const std::string& file) {
  return Refusal("File invalid", "File " + file +
                                     " is too small, not accessible/contiguous or not an NTFS "
                                     "drive!");
}

TEST(Selection, RefusesWhatATableEntryCannotHold) {
  constexpr std::uint64_t kBeyond2TB = 0x100000000ULL * 512;
  constexpr const char* kFar = "File offset 0 LBA: 123456789 Sectors: 40\r\n";
  constexpr const char* kPieces =
      "File offset 0 LBA: 9 Sectors: 8\r\nFile offset 1000 LBA: 99 "
      "Sectors: 8\r\n";
  constexpr const char *kA = "E:\\_ISO\\P\\A.VOLPAKX4D", *kB = "E:\\_ISO\\P\\A",
                       *kD = "E:\\_ISO\\P\\D";
  const BoxRow kPiecesBox = {"More than one extent", "", Buttons::Ok, Icon::Exclamation};
  const BoxRow kToolBox = {"getFileExtents failed", "", Buttons::Ok, Icon::Exclamation};
  struct Row {
    Measure measure;
    BoxRows boxes;  // a box with an empty text is one of the measuring's own
  };
  const Row kRows[] = {
      {{kA, kFar, kBeyond2TB}, {Refusal("File beyond 2TB", "File is beyond 2TB on disk!")}},
      {{kA, nullptr, kBeyond2TB}, {Refusal("File too large", "File is larger than 2TB!")}},
      {{kA, ""}, {kToolBox, Invalid("E:\\_ISO\\P\\A.volPAKX4D")}},
      {{kA, kPieces}, {kPiecesBox, Invalid("E:\\_ISO\\P\\A.volPAKX4D")}},
      {{kB, kFar}, {Refusal("File beyond 2TB", "File E:\\_ISO\\P\\A is beyond 2TB on disk!")}},
      {{kB, kFar, kBeyond2TB},
       {Refusal("File too large", "File E:\\_ISO\\P\\A is larger than 2TB!")}},
      {{kB, ""}, {kToolBox, Invalid(kB)}},
      {{kB, kPieces}, {kPiecesBox, Invalid(kB)}},
      {{kD, kFar}, {Refusal("File beyond 2TB", "File E:\\_ISO\\P\\D is beyond 2TB on disk!")}},
      {{kD, kFar, kBeyond2TB},
       {Refusal("File too large", "File E:\\_ISO\\P\\D is larger than 2TB!")}},
      {{kD, ""}, {kToolBox, Invalid(kD)}},
      {{kD, "File offset 0 LBA: FFFFFFFF Sectors: 40\r\n", kBeyond2TB - 512},
       {{kQuestion, "", Buttons::OkCancel}}}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(std::string(row.measure.file) + " " + row.boxes.back().text);
    FourVolumes program;
    program.AddFiles({"E:\\_ISO\\P\\A.volPAKX4D", "E:\\_ISO\\P\\A", "E:\\_ISO\\P\\D"});
    program.Start();
    if (row.measure.output != nullptr) {
      program.pc.processes.toolTexts[row.measure.file] = row.measure.output;
    }
    if (row.measure.bytes != 0) {
      program.world.e.Find(std::string(row.measure.file).substr(2))->size = row.measure.bytes;
    }
    if (row.boxes[0].title == kQuestion) program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
    program.Do(Open("E:\\_ISO\\P\\A.volPAKX4D"));
    BoxRows shown = program.TakeBoxes();
    ASSERT_EQ(shown.size(), row.boxes.size());
    for (std::size_t i = 0; i < shown.size(); ++i) {
      if (row.boxes[i].text.empty()) shown[i].text.clear();
    }
    EXPECT_EQ(shown, row.boxes);
  }
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
    for (const Answer answer : row.answers) program.pc.toolkit.AnswerNext(answer, kOrderQuestion);
    const bool goesOn = row.answers.empty() || row.answers.back() != kCancel;
    if (goesOn) program.pc.toolkit.AnswerNext(kCancel, kQuestion);
    program.Start({Open(image)});
    BoxRows boxes = program.TakeBoxes();
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
  program.AddFiles({"E:\\_ISO\\P\\A.volPAK", "E:\\_ISO\\P\\A"});
  program.Start();
  for (const char* file : {"E:\\_ISO\\P\\A.VOLPAK", "E:\\_ISO\\P\\A"}) {
    program.pc.processes.toolTexts[file] = "File offset 0 LBA: 4C4B40 Sectors: 40\r\n";
  }
  program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
  program.Do(Open("E:\\_ISO\\P\\A.volPAK"));
  EXPECT_EQ(program.TakeBoxes().size(), 1U);
}

TEST(FileOrder, ARepairAgreedToDecidesWhereTheEntriesPoint) {
  FourVolumes program;
  const std::string image = Paths("E:~A.volPAKX4D")[0], companion = Paths("E:~A")[0];
  program.Put(image, 5'000'000);
  program.Put(companion, 4'000'000);
  program.Put(Paths("E:~D")[0], 5'500'000);
  program.world.e.placements = {{.lba = 6'000'000}};
  program.pc.toolkit.AnswerNext(Answer::Yes, kOrderQuestion);
  program.pc.toolkit.AnswerNext(Answer::No,
                                kOrderQuestion);  // D is below the companion's new place
  program.pc.toolkit.AnswerNext(Answer::Ok, kQuestion);
  program.Start({Open(image)});
  const BoxRows boxes = program.TakeBoxes();
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

TEST(FileOrder, ARepairThatFailsGoesOnOnlyWithAFileThatCanBeMeasured) {
  const BoxRow kInvalid = Refusal(
      "File invalid", "File E:\\_ISO\\P\\A file is before E:\\_ISO\\P\\A.volPAK on the disk!");
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
    program.Put("E:\\_ISO\\P\\A.volPAK", 5'000'000);
    program.Put("E:\\_ISO\\P\\A", 4'000'000);
    program.world.e.full = row.pieces == 0;
    program.world.e.placements = {{.lba = 6'000'000, .pieces = row.pieces}};
    program.Start();
    program.pc.toolkit.AnswerNext(Answer::Yes, kOrderQuestion);
    if (row.goesOn) program.pc.toolkit.AnswerNext(Answer::Cancel, kQuestion);
    int runs = 0;
    program.pc.processes.whileChildRuns = [&] {
      if (++runs == 3 && row.toolStops) program.pc.processes.toolTexts[""] = "";
    };
    program.Do(Open("E:\\_ISO\\P\\A.volPAK"));
    const BoxRows boxes = program.TakeBoxes();
    EXPECT_EQ(boxes.back() == kInvalid, !row.goesOn);
    EXPECT_EQ(boxes.back().title == kQuestion, row.goesOn);
    EXPECT_NE(program.world.e.Find("\\_ISO\\P\\A"), nullptr);
  }
}

}  // namespace
