// The order repair: files change places by being copied, set aside, replaced and deleted, and
// whatever goes wrong no file is lost.
#include <cstdio>

#include "imagefiles/file_compare.h"
#include "imagefiles/file_order.h"
#include "imagefiles/measured_file.h"
#include "platform/fault.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

constexpr const char *kFirst = "\\P\\A.volPAK", *kLast = "\\P\\A";
constexpr std::uint64_t kBytes = 5000;  // 10 sectors, the last one not full

// A rename from or to a path, or a delete ("" to), that fails a number of times.
struct FailingStatement {
  std::string from, to;  // "*": any
  int times;
  int number = kPathFileAccessError;
};

class FailingFiles : public VirtualFiles {
 public:
  using VirtualFiles::VirtualFiles;
  void FileDelete(const std::string& path) override {
    Fail(path, "");
    VirtualFiles::FileDelete(path);
  }
  void FileRename(const std::string& from, const std::string& to) override {
    Fail(from, to);
    VirtualFiles::FileRename(from, to);
  }
  std::vector<FailingStatement> failing;

 private:
  void Fail(const std::string& from, const std::string& to) {
    for (FailingStatement& row : failing) {
      const bool hit = (row.from == "*" || row.from == from) && (row.to == "*" || row.to == to);
      if (hit && row.times-- > 0) throw MakeFault(row.number);
    }
  }
};

// A stick where the file that is to be last lies at 100000 and the first one at 150000, and copies
// come to lie at given places.
struct WrongOrder : ProgramOnPc {
  explicit WrongOrder(const std::vector<std::uint64_t>& copies, const std::string& path = kLast)
      : last(path) {
    for (const std::uint64_t place : copies) world.e.placements.push_back({.lba = place});
    Add(kFirst, 150'000);
    Add(last, 100'000);
    Start();
    pc.machine.journal.Clear();
    Sys.files = &files;
  }

  void Add(const std::string& path, std::uint64_t lba) {
    world.e.AddFile(path, kBytes, lba, "begin " + path).lastWriteTime = 77;
    world.stick.Put(lba + 9, 0, "end " + path);
  }

  BoxRows Repair(const std::string& image = kFirst) {
    EXPECT_EQ(Call([&] { MoveFiles("E:" + std::string(kFirst), "E:" + last, "E:" + image); }),
              RunEnd::Returned);
    return TakeBoxes();
  }

  // "begin", "end" and the first sector of a file; "" where it isn't whole or isn't there.
  std::string Whole(const std::string& path, const std::string& name) {
    const VirtualFile* file = world.e.Find(name);
    if (file == nullptr || file->size != kBytes || file->lastWriteTime != 77) return "";
    const std::string text = world.e.Read(*file, 0, kBytes);
    const bool whole = text.starts_with("begin " + path + std::string(1, '\0')) &&
                       text.substr(9 * 512).starts_with("end " + path + std::string(1, '\0'));
    return whole ? std::to_string(file->extents[0].lba) : "";
  }

  // Where both files lie; "lost" for one that doesn't, and the names of what else is there.
  std::string Places() {
    std::string text;
    for (const std::string& path : {std::string(kFirst), last}) {
      const std::string place = Whole(path, path);
      text += (text.empty() ? "" : " ") + (place.empty() ? "lost" : place);
    }
    for (const VirtualFile* file : world.e.List(ParentOf(last))) {
      if (file->path != kFirst && file->path != last) text += " " + NameOf(file->path);
    }
    return text;
  }

  std::size_t Copies() const { return Lines(MaskOf(Op::ChildCopy)).size(); }

  std::string last;
  FailingFiles files{pc.machine};
};

const BoxRow kDone{"E:\\P\\A is now last", "OK - Files are now in correct order."};
const BoxRow kFailed{"ERROR:E:\\P\\A is first!",
                     "Sorry - failed to change the order. Run Defraggler to consolidate free "
                     "space.\r\n\r\nClick 'Cancel' on next question to try again."};
const BoxRow kPieces =
    Warning("More than one extent",
            "ERROR: File is not contiguous.\r\nPlease run \\PACK_FILES_TOGETHER.cmd or "
            "use Defraggler.\r\n\r\nE:\\P\\A");

TEST(OrderRepair, CopiesUntilTheOrderIsRight) {
  std::vector<std::uint64_t> many;
  for (std::uint64_t i = 0; i < 33; ++i) many.push_back(i == 21 ? 150'016 : 101'000 + 16 * i);
  std::vector<std::uint64_t> late(many.begin(), many.begin() + 20);
  late.insert(late.end(), {160'000, 140'000});
  struct Row {
    const char* name;
    std::vector<std::uint64_t> copies;  // where they come to lie, in order
    BoxRow box;
    const char* places;
  };
  const Row kRows[] = {
      {"at once", {160'000}, kDone, "150000 160000"},
      {"in round 3", {101'000, 102'000, 160'000}, kDone, "150000 160000"},
      {"back at its second place", {101'000, 102'000, 101'000, 160'000}, kDone, "150000 160000"},
      {"the first one has to move", {101'000, 100'000, 90'000}, kDone, "90000 100000"},
      {"and then the last", {101'000, 100'000, 140'000, 160'000}, kDone, "140000 160000"},
      {"in a circle", {101'000, 100'000, 140'000, 101'000, 100'000}, kFailed, "140000 100000"},
      {"behind it with the 21st copy", late, kDone, "140000 160000"},
      {"33 copies", many, kFailed, "150016 101512"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    WrongOrder program(row.copies);
    EXPECT_EQ(program.Repair(), BoxRows{row.box});
    EXPECT_EQ(program.Copies(), row.copies.size());
    EXPECT_EQ(program.Places(), row.places);
    // The fields describe the file that was moved; the place of the 33rd copy isn't looked at.
    const std::uint64_t place = program.world.e.Find(kLast)->extents[0].lba;
    EXPECT_EQ(Measured.FStartSectors.ToDecimal(),
              std::to_string(row.copies.size() == 33 ? many[31] : place));
  }
}

TEST(OrderRepair, DeletesTheOriginalOnlyAfterItsProvenCopyBearsTheName) {
  WrongOrder program({160'000});
  program.Repair();
  Texts steps;
  for (const std::string& line : program.Lines(MaskOf(Op::Shell, Op::ChildCopy, Op::Flush, Op::Read,
                                                      Op::Delete, Op::Rename, Op::Sleep))) {
    if (!Contains(line, "getFileExtents") && !Contains(line, "\\Temp\\")) steps.push_back(line);
  }
  EXPECT_EQ(steps,
            (Texts{"shell cmd.exe /c copy E:\\P\\A E:\\P\\Axxx style=0 ok",
                   "child-copy E:\\P\\A -> E:\\P\\Axxx ok", "sleep 100", "flush E:\\P\\Axxx ok",
                   "read E:\\P\\Axxx lba=0 n=16 ok", "read E:\\P\\A lba=0 n=16 ok",
                   "rename E:\\P\\A -> E:\\P\\Ayyy ok", "rename E:\\P\\Axxx -> E:\\P\\A ok",
                   "flush E:\\P\\A ok", "delete E:\\P\\Ayyy ok"}));
}

TEST(OrderRepair, LogsEachLookForAFile) {
  WrongOrder program({101'000, 100'000, 90'000});
  program.TurnLoggingOn();
  EXPECT_EQ(program.Repair(), BoxRows{kDone});
  Texts looks;
  for (const std::string& line : program.TakeLog()) {
    if (line.starts_with("FileExists ")) looks.push_back(line.substr(16));
  }
  EXPECT_EQ(looks, (Texts{"Axxx", "A.volPAKzzz", "Axxx", "Axxx", "A.volPAKzzz", "A.volPAK",
                          "A.volPAKzzz"}));
}

TEST(OrderRepair, CopiesNothingThatNeedsNoMoveOrIsInPieces) {
  struct Row {
    unsigned first, last;  // pieces
    BoxRow box;
  };
  BoxRow firstInPieces = kPieces;
  firstInPieces.text += ".volPAK";
  for (const Row& row : {Row{1, 1, kDone}, {1, 2, kPieces}, {2, 1, firstInPieces}}) {
    SCOPED_TRACE(row.box.text);
    WrongOrder program({});
    program.world.e.Find(kFirst)->extents = {{0, 70'000, 5}, {2560, 70'004U + row.first, 5}};
    program.world.e.Find(kLast)->extents = {{0, 80'000, 5}, {2560, 80'004U + row.last, 5}};
    EXPECT_EQ(program.Repair(), BoxRows{row.box});
    EXPECT_EQ(program.Copies(), 0U);
  }
  WrongOrder copyInPieces({});
  copyInPieces.world.e.placements = {{.lba = 101'000, .pieces = 2}};
  EXPECT_EQ(copyInPieces.Repair(), BoxRows{kPieces});
  EXPECT_EQ(copyInPieces.Copies(), 1U);
  EXPECT_EQ(copyInPieces.Places(), "150000 101000");
}

TEST(OrderRepair, EqualStartsAreNotInOrder) {
  WrongOrder program({});
  program.pc.processes.toolTexts[""] = "File offset 0 LBA: 186A0 Sectors: A\r\n";
  EXPECT_EQ(program.Repair(), BoxRows{kFailed});
  EXPECT_EQ(program.Copies(), 5U);  // both loops leave in their third round
  EXPECT_FALSE(Contains(program.Places(), "lost"));
}

// A copy that isn't whole is dropped, and the next one takes the file's place.
TEST(OrderRepair, TrustsNoCopyThatIsNotProven) {
  struct Row {
    const char* name;
    Placement first;
    OpMask refused;
    bool changes = false;  // the copy's last byte, once it is there
    FaultKind kind = FaultKind::Refusal;
  };
  const Row kRows[] = {
      {"cut in a sector", {.keepBytes = 4999, .lastWriteTime = 77}, 0},
      {"cut at the start", {.keepBytes = 0, .lastWriteTime = 77}, 0},
      {"another time", {.lastWriteTime = 78}, 0},
      {"another last byte", {}, 0, true},
      {"not flushed", {}, MaskOf(Op::Flush)},
      {"can't be read", {}, MaskOf(Op::Read)},
      {"not made", {}, MaskOf(Op::ChildCopy)},
      {"in the cache only", {}, MaskOf(Op::ChildCopy), false, FaultKind::LostWrite}};
  for (const Row& row : kRows) {
    for (const bool firstFile : {false, true}) {
      SCOPED_TRACE(std::string(row.name) + (firstFile ? ", first file" : ""));
      using Copies = std::vector<std::uint64_t>;
      WrongOrder program(firstFile ? Copies{101'000, 100'000} : Copies{});
      VirtualVolume& e = program.world.e;
      const bool made = row.refused != MaskOf(Op::ChildCopy) || row.kind == FaultKind::LostWrite;
      if (made) e.placements.push_back(row.first);
      e.placements.push_back({.lba = 160'000});
      bool changes = row.changes;
      program.pc.machine.beforeOperation = [&](std::size_t) {
        const VirtualFile* copy = e.Find(firstFile ? "\\P\\A.volPAKzzz" : "\\P\\Axxx");
        if (!changes || copy == nullptr) return;
        program.world.stick.Put(copy->extents[0].lba + 9, kBytes % 512 - 1, "?");
        changes = false;
      };
      // Two rounds before it make a flush each of copy and successor, and two reads.
      const std::size_t before = row.refused == MaskOf(Op::ChildCopy) ? 2 : 4;
      if (row.refused != 0) program.Plan(row.kind, row.refused, firstFile ? before + 1 : 1);
      program.files.failing = {{firstFile ? "E:\\P\\A.volPAKzzz" : "E:\\P\\Axxx", "", 1}};
      EXPECT_EQ(program.Repair(), BoxRows{kDone});
      EXPECT_EQ(program.Places(), "150000 160000");
      EXPECT_FALSE(changes);
    }
  }
}

TEST(OrderRepair, KeepsWhatAnotherProgramWritesMeanwhile) {
  // Before the copy is compared, and after that.
  for (const char* there : {"\\P\\Axxx", "\\P\\Ayyy"}) {
    SCOPED_TRACE(there);
    WrongOrder program({140'000, 160'000});
    bool written = false;
    program.pc.machine.beforeOperation = [&](std::size_t) {
      VirtualVolume& e = program.world.e;
      if (written || e.Find(there) == nullptr) return;
      VirtualFile& original = *e.Find(e.Find("\\P\\Ayyy") != nullptr ? "\\P\\Ayyy" : kLast);
      original.lastWriteTime = 78;
      program.world.stick.Put(original.extents[0].lba + 3, 0, "news");
      written = true;
    };
    EXPECT_EQ(program.Repair(), BoxRows{kDone});
    const VirtualFile& now = *program.world.e.Find(kLast);
    EXPECT_EQ(program.world.e.Read(now, 3 * 512, 4), "news");
    EXPECT_EQ(now.extents[0].lba, 160'000U);
    EXPECT_EQ(program.world.e.List("\\P").size(), 2U);
  }
}

TEST(OrderRepair, ComparesEveryByte) {
  constexpr std::uint64_t kChunk = 1 << 20, kSize = 2 * kChunk + 700;
  StartedPc program;
  VirtualVolume& e = program.world.e;
  e.AddFile("\\1", kSize, 1'000'000, "text");
  e.AddFile("\\2", kSize, 1'010'000, "text");
  e.AddFile("\\longer", kSize + 1, 1'020'000, "text");
  e.AddFile("\\short", 1, 1'030'000, "t");
  e.AddText("\\empty", "");
  const auto same = [](const char* one, const char* other) {
    return HoldSameBytes(std::string("E:\\") + one, std::string("E:\\") + other);
  };
  EXPECT_TRUE(same("1", "2"));
  EXPECT_TRUE(same("short", "short"));
  EXPECT_TRUE(same("empty", "empty"));
  EXPECT_FALSE(same("1", "longer"));
  EXPECT_FALSE(same("1", "none"));
  EXPECT_FALSE(same("none", "1"));
  for (const std::uint64_t at : {std::uint64_t{0}, kChunk - 1, kChunk, kSize - 1}) {
    const VirtualSector before = program.world.stick.Sector(1'010'000 + at / 512);
    program.world.stick.Put(1'010'000 + at / 512, at % 512, "?");
    EXPECT_FALSE(same("1", "2")) << at;
    program.world.stick.SetSector(1'010'000 + at / 512, before);
  }
  EXPECT_TRUE(same("1", "2"));
  program.Plan(FaultKind::ShortTransfer, MaskOf(Op::Read));
  EXPECT_FALSE(same("1", "2")) << "read short";
}

TEST(OrderRepair, LeavesAFileThatCannotBeCopiedWhereItIs) {
  struct Row {
    const char *name, *last;
    std::uint32_t attributes;
    bool full;
    char temporary;  // 'h': a hidden file, 'd': a folder, 'p': a deleted file has its name
  };
  const Row kRows[] = {{"no room", kLast, 0, true, ' '},
                       {"a blank", "\\P\\A b", 0, false, ' '},
                       {"a command", "\\P\\A&calc", 0, false, ' '},
                       {"read-only", kLast, 1, false, ' '},
                       {"hidden", kLast, kAttributeHidden, false, ' '},
                       {"system", kLast, kAttributeSystem, false, ' '},
                       {"a hidden file in the way", kLast, 0, false, 'h'},
                       {"a folder in the way", kLast, 0, false, 'd'},
                       {"a delete that waits", kLast, 0, false, 'p'}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    WrongOrder program({140'000}, row.last);  // the copy of the first file
    VirtualVolume& e = program.world.e;
    const std::string temporary = std::string(row.last) + "xxx";
    e.Find(row.last)->attributes = row.attributes;
    e.full = row.full;
    if (row.temporary == 'h') e.AddText(temporary, "").attributes = kAttributeHidden;
    if (row.temporary == 'd') e.AddFolder(temporary);
    if (row.temporary == 'p') {
      e.AddText(temporary, "old");
      e.Hold(temporary);
    }
    const BoxRows boxes = program.Repair();
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().title, "ERROR:E:" + std::string(row.last) + " is first!");
    EXPECT_EQ(program.Places(), std::string(row.full ? "150000" : "140000") + " 100000" +
                                    (row.temporary == ' ' ? "" : " Axxx"));
    EXPECT_TRUE(e.List(temporary).empty());
    EXPECT_TRUE(program.Lines(MaskOf(Op::Executed)).empty());
  }
}

TEST(OrderRepair, ClearsUpAfterARunThatWasStopped) {
  struct Row {
    const char *name, *file;
    Texts copies, others;  // endings of names that hold the file's bytes, or others
    bool stands;           // under its own name
    Texts steps;           // at the beginning; f stands for the file
    const char* left = "";
  };
  const std::string kSleep = "sleep 100";
  const Row kRows[] = {
      {"while copying", kLast, {}, {"xxx"}, true, {"delete fxxx", kSleep}},
      {"while copying the first", kFirst, {}, {"zzz"}, true, {"delete fzzz", kSleep}},
      {"by a version that deleted first", kLast, {"xxx"}, {}, false, {"rename fxxx -> f", kSleep}},
      {"the same, first file", kFirst, {"zzz"}, {}, false, {"rename fzzz -> f", kSleep}},
      {"between the renames",
       kLast,
       {"yyy", "xxx"},
       {},
       false,
       {"rename fyyy -> f", "delete fxxx", kSleep}},
      {"the same, first file",
       kFirst,
       {"yyy3", "zzz"},
       {},
       false,
       {"rename fyyy3 -> f", "delete fzzz", kSleep}},
      {"before the delete", kLast, {"yyy", "yyy2"}, {}, true, {"delete fyyy", "delete fyyy2"}},
      {"by nobody: another file", kLast, {}, {"yyy"}, true, {}, " Ayyy"},
      {"by nobody: no name of ours", kLast, {"yyyz", "yyy41"}, {}, true, {}, " Ayyy41 Ayyyz"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    WrongOrder program({180'000});
    VirtualVolume& e = program.world.e;
    std::uint64_t place = row.file == kFirst ? 170'000 : 90'000;
    for (const std::string& ending : row.copies) {
      program.Add(row.file + ending, place += 100);
      const VirtualFile& original = *e.Find(row.file);
      for (const std::uint64_t sector : {0U, 9U}) {
        program.world.stick.SetSector(place + sector,
                                      program.world.stick.Sector(original.extents[0].lba + sector));
      }
    }
    for (const std::string& ending : row.others) {
      program.Add(row.file + ending, place += 100);
    }
    if (!row.stands) e.Remove(row.file);
    EXPECT_EQ(program.Repair(), BoxRows{kDone});
    EXPECT_FALSE(Contains(program.Places(), "lost"));
    EXPECT_EQ(program.Places().substr(6), std::string(" 180000") + row.left);
    Texts steps;
    for (std::string step : row.steps) {
      for (std::size_t at = 0; (at = step.find(" f", at)) != std::string::npos; ++at) {
        step.replace(at, 2, " E:" + std::string(row.file));
      }
      steps.push_back(step + (step == kSleep ? "" : " ok"));
    }
    Texts lines = program.Lines(MaskOf(Op::Delete, Op::Rename, Op::Sleep));
    std::erase_if(lines, [](const std::string& line) { return Contains(line, "\\Temp\\"); });
    lines.resize(steps.size());
    EXPECT_EQ(lines, steps);
  }
}

// "7/75" for a failed statement: the step, the error's number.
std::string Short(const BoxRow& box) {
  if (box == kDone) return "done";
  if (box == kFailed) return "failed";
  int step = 0, number = 0;
  if (std::sscanf(box.text.c_str(), "@Line%d - Error # %d - ", &step, &number) != 2)
    return box.title;
  return std::to_string(step) + "/" + std::to_string(number);
}

TEST(OrderRepair, LosesNoFileToADeleteOrRenameThatFails) {
  const std::string first = "E:" + std::string(kFirst), last = "E:" + std::string(kLast);
  struct Row {
    const char* name;
    std::vector<FailingStatement> failing;
    std::vector<std::uint64_t> copies;
    std::string boxes, places;
  };
  const std::string kPlaces = "150000 160000", kNamed = "File has another name! ";
  const std::string kNoPlace = "getFileExtents failed ";
  const std::vector<std::uint64_t> kOnce{160'000}, kTwice{140'000, 160'000};
  const Row kRows[] = {
      {"set aside", {{last, "*", 1, kPermissionDenied}}, kTwice, "4/70 7/58 done ", kPlaces},
      {"given the name", {{"*", last, 1}}, kTwice, "7/75 done ", kPlaces},
      {"and the copy instead", {{"*", last, 2}}, kOnce, "7/75 done ", kPlaces},
      {"named at the end", {{"*", last, 3}}, kOnce, "7/75 failed ", "150000 100000"},
      {"by its copy", {{"*", last, 4}}, kOnce, "7/75 done ", kPlaces},
      {"after some seconds", {{"*", last, 99}}, kOnce, "7/75 failed ", "150000 100000"},
      {"never",
       {{"*", last, 999}},
       kOnce,
       "7/75 " + kNamed + kNoPlace + "failed ",
       "150000 lost Axxx Ayyy"},
      {"deleted", {{last + "yyy", "", 1}}, kOnce, "4/75 done ", kPlaces},
      {"deleted at the end", {{last + "yyy", "", 9}}, kOnce, "4/75 done ", kPlaces + " Ayyy"},
      {"first file",
       {{first, "*", 1}},
       {101'000, 100'000, 140'000, 160'000},
       "15/75 17/58 done ",
       kPlaces},
      {"first file, given the name",
       {{"*", first, 1}},
       {101'000, 100'000, 140'000, 160'000},
       "17/75 done ",
       kPlaces},
      {"first file, never",
       {{"*", first, 999}},
       {101'000, 100'000, 90'000},
       "17/75 " + kNamed + kNoPlace + "failed ",
       "lost 100000 A.volPAKyyy A.volPAKzzz"}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    WrongOrder program(row.copies);
    program.files.failing = row.failing;
    std::string boxes;
    for (const BoxRow& box : program.Repair()) boxes += Short(box) + " ";
    EXPECT_EQ(boxes, row.boxes);
    EXPECT_EQ(program.Places(), row.places);
    program.files.failing.clear();
    program.world.e.placements = {{.lba = 140'000}, {.lba = 170'000}};
    EXPECT_EQ(program.Repair().back(), kDone);
    EXPECT_FALSE(Contains(program.Places(), "lost"));
    EXPECT_EQ(program.world.e.List("\\P").size(), 2U);
  }
}

TEST(OrderRepair, SaysWhichNameHoldsTheFile) {
  WrongOrder program({160'000});
  program.files.failing = {{"*", "E:" + std::string(kLast), 999}};
  const BoxRows boxes = program.Repair();
  ASSERT_EQ(boxes.size(), 4U);
  EXPECT_EQ(boxes[1], Warning("File has another name!",
                              "ERROR: File E:\\P\\A is called E:\\P\\Ayyy now.\r\nClose other "
                              "programs and rename it before you do anything else."));
}

// A left-over that can't be removed has the place, the length and the time of a copy.
TEST(OrderRepair, MovesNothingThroughANameThatIsNotItsOwn) {
  struct Row {
    const char* name;
    Holder holder;
    std::string boxes;
  };
  for (const Row& row : {Row{"can't be deleted", {kShareReadWriteOnly}, "0/70 failed "},
                         Row{"deleted when let go", {}, "failed "},
                         Row{"let go in between", {.operations = 60}, "failed "}}) {
    SCOPED_TRACE(row.name);
    WrongOrder program({140'000});  // the copy of the first file
    program.Add("\\P\\Axxx", 170'000);
    program.world.e.Hold("\\P\\Axxx", row.holder);
    std::string boxes;
    for (const BoxRow& box : program.Repair()) boxes += Short(box) + " ";
    EXPECT_EQ(boxes, row.boxes);
    program.world.e.LetGo();
    EXPECT_FALSE(Contains(program.Places(), "lost")) << program.Places();
  }
}

TEST(OrderRepair, MovesNothingWhereATemporaryNameIsAFileOfTheRun) {
  struct Row {
    const char *image, *other;
  };
  for (const Row& row : {Row{"\\P\\A.volPAKX4Axxx", "\\P\\Axxx"},
                         {"\\P\\A.volpakx4aXXX", "\\P\\Axxx"},
                         {"\\P\\A.volPAKX4Ayyy", "\\P\\Ayyy"},
                         {"\\P\\A.volPAKX4Ayyy40", "\\P\\Ayyy40"},
                         {"\\P\\Axxx.volPAKX4A", "\\P\\Axxx"},
                         {"\\P\\A.volPAKzzz", "\\P\\A.volPAKzzz"}}) {
    SCOPED_TRACE(row.image);
    WrongOrder program({});
    program.Add(row.other, 170'000);
    EXPECT_EQ(program.Repair(row.image), BoxRows{kFailed});
    EXPECT_EQ(program.Copies(), 0U);
    EXPECT_EQ(program.Whole(row.other, row.other), "170000");
    EXPECT_EQ(program.Places(), "150000 100000 " + std::string(row.other + 3));
  }
  WrongOrder program({160'000});
  EXPECT_EQ(program.Repair("\\P\\A.volPAKX4Ax"), BoxRows{kDone}) << "no such name";
}

// Another program has both files and each copy open: all along, or for some operations.
TEST(OrderRepair, LosesNoFileThatIsHeldOpen) {
  for (const std::uint32_t share : {kShareAll, kShareReadWriteOnly}) {
    for (std::size_t operations = 0; operations < 400; operations += 1 + operations / 8) {
      SCOPED_TRACE(std::to_string(operations) + " operations, sharing " + std::to_string(share));
      WrongOrder program({120'000, 100'016, 140'000, 160'000});
      VirtualVolume& e = program.world.e;
      e.scanner = Holder{share, operations};
      e.Hold(kLast, *e.scanner);
      e.Hold(kFirst, *e.scanner);
      const BoxRows boxes = program.Repair();
      EXPECT_TRUE(boxes == BoxRows{kDone} || share != kShareAll);
      EXPECT_FALSE(Contains(program.Places(), "lost")) << program.Places();
      e.LetGo();
      EXPECT_FALSE(Contains(program.Places(), "lost")) << program.Places();
      EXPECT_TRUE(e.List("\\P").size() == 2 || share != kShareAll);
    }
  }
}

// Everything fails, or the stick is out, from operation n on for k operations. True: it was struck.
bool StruckFor(std::size_t n, std::size_t k, bool unplugged, bool movesFirst) {
  WrongOrder program(movesFirst ? std::vector<std::uint64_t>{90'000}
                                : std::vector<std::uint64_t>{120'000, 160'000});
  if (movesFirst) program.world.e.Find(kLast)->attributes = kAttributeReadOnly;
  if (k % 2 == 0) program.world.e.scanner = Holder{kShareAll, 40};
  Machine& machine = program.pc.machine;
  const std::size_t begin = machine.operations + n;
  if (!unplugged) machine.plan = {.kind = FaultKind::Refusal, .nth = n, .times = k};
  machine.beforeOperation = [&](std::size_t operation) {
    if (!unplugged) return;
    if (operation == begin) machine.SetPlugged(program.world.stick, false);
    if (operation == begin + k) machine.SetPlugged(program.world.stick, true);
  };
  const BoxRows boxes = program.Repair();
  const bool struck = machine.operations >= begin;
  machine.beforeOperation = nullptr;
  machine.SetPlugged(program.world.stick, true);
  program.world.e.LetGo();
  for (const std::string path : {kFirst, kLast}) {
    std::string name = path;
    for (const BoxRow& box : boxes) {
      const std::string begins = "ERROR: File E:" + path + " is called E:";
      if (!box.text.starts_with(begins)) continue;
      name = box.text.substr(begins.size(), box.text.find(" now.") - begins.size());
    }
    EXPECT_NE(program.Whole(path, name), "") << name << " " << program.Places();
  }
  return struck;
}

TEST(OrderRepair, LosesNoFileToAnOutage) {
#ifdef __SANITIZE_ADDRESS__
  constexpr std::size_t kStride = 7;
#else
  constexpr std::size_t kStride = 1;
#endif
  std::size_t runs = 0;
  for (const unsigned kind : {0U, 1U, 2U, 3U}) {
    for (std::size_t k = 1; k <= 8; ++k) {
      for (std::size_t n = 1; !HasFailure(); n += kStride, ++runs) {
        SCOPED_TRACE("kind " + std::to_string(kind) + ", operation " + std::to_string(n) +
                     ", for " + std::to_string(k));
        if (!StruckFor(n, k, (kind & 1) != 0, (kind & 2) != 0)) break;
      }
    }
  }
  EXPECT_GT(runs, 32 * 100 / kStride);
  RecordProperty("outages", static_cast<int>(runs));
}

}  // namespace
