// The order repair: files change places by being copied, deleted and renamed, and whatever goes
// wrong no file is lost and no temporary one is left.
#include <cstdio>

#include "imagefiles/file_order.h"
#include "platform/fault.h"
#include "shell/form1.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

using Texts = std::vector<std::string>;

constexpr const char *kFirst = "\\P\\A.volPAK", *kLast = "\\P\\A";
constexpr std::uint64_t kBytes = 5000;  // 10 sectors, the last one not full

// Statements on one path that fail a number of times.
class FailingFiles : public VirtualFiles {
 public:
  using VirtualFiles::VirtualFiles;
  void FileDelete(const std::string& path) override {
    if (path == failingPath && failures-- > 0) throw MakeFault(kPermissionDenied);
    VirtualFiles::FileDelete(path);
  }
  void FileRename(const std::string& from, const std::string& to) override {
    if (to == failingPath && renameFailures-- > 0) throw MakeFault(kPathFileAccessError);
    VirtualFiles::FileRename(from, to);
  }
  std::string failingPath;
  int failures = 0, renameFailures = 0;
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

  BoxRows Repair() {
    EXPECT_EQ(Call([&] {
                MoveFiles("E:" + std::string(kFirst), "E:" + last, "E:" + std::string(kFirst));
              }),
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
    EXPECT_EQ(Form1.FStartSectors.ToDecimal(),
              std::to_string(row.copies.size() == 33 ? many[31] : place));
  }
}

TEST(OrderRepair, DeletesTheOriginalOnlyBehindAFlushedCopy) {
  WrongOrder program({160'000});
  program.Repair();
  Texts steps;
  for (const std::string& line : program.Lines(
           MaskOf(Op::Shell, Op::ChildCopy, Op::Flush, Op::Delete, Op::Rename, Op::Sleep))) {
    if (!Contains(line, "getFileExtents") && !Contains(line, "\\Temp\\")) steps.push_back(line);
  }
  EXPECT_EQ(steps,
            (Texts{"shell cmd.exe /c copy E:\\P\\A E:\\P\\Axxx style=0 ok",
                   "child-copy E:\\P\\A -> E:\\P\\Axxx ok", "sleep 100", "flush E:\\P\\Axxx ok",
                   "delete E:\\P\\A ok", "rename E:\\P\\Axxx -> E:\\P\\A ok"}));
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
  };
  const Row kRows[] = {{"cut in a sector", {.keepBytes = 4999, .lastWriteTime = 77}, 0},
                       {"cut at the start", {.keepBytes = 0, .lastWriteTime = 77}, 0},
                       {"another time", {.lastWriteTime = 78}, 0},
                       {"not flushed", {}, MaskOf(Op::Flush)},
                       {"not made", {}, MaskOf(Op::ChildCopy)}};
  for (const Row& row : kRows) {
    for (const bool firstFile : {false, true}) {
      SCOPED_TRACE(std::string(row.name) + (firstFile ? ", first file" : ""));
      using Copies = std::vector<std::uint64_t>;
      WrongOrder program(firstFile ? Copies{101'000, 100'000} : Copies{});
      auto& placements = program.world.e.placements;
      if (row.refused != MaskOf(Op::ChildCopy)) placements.push_back(row.first);
      placements.push_back({.lba = 160'000});
      if (row.refused != 0) program.Plan(FaultKind::Refusal, row.refused, firstFile ? 3 : 1);
      EXPECT_EQ(program.Repair(), BoxRows{kDone});
      EXPECT_EQ(program.Places(), "150000 160000");
    }
  }
}

TEST(OrderRepair, LeavesAFileThatCannotBeCopiedWhereItIs) {
  struct Row {
    const char *name, *last;
    std::uint32_t attributes;
    bool full;
    char temporary;  // 'h': a hidden file, 'd': a folder has the temporary name
  };
  const Row kRows[] = {{"no room", kLast, 0, true, ' '},
                       {"a blank", "\\P\\A b", 0, false, ' '},
                       {"a command", "\\P\\A&calc", 0, false, ' '},
                       {"read-only", kLast, 1, false, ' '},
                       {"hidden", kLast, kAttributeHidden, false, ' '},
                       {"system", kLast, kAttributeSystem, false, ' '},
                       {"a hidden file in the way", kLast, 0, false, 'h'},
                       {"a folder in the way", kLast, 0, false, 'd'}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.name);
    WrongOrder program({140'000}, row.last);  // the copy of the first file
    VirtualVolume& e = program.world.e;
    const std::string temporary = std::string(row.last) + "xxx";
    e.Find(row.last)->attributes = row.attributes;
    e.full = row.full;
    if (row.temporary == 'h') e.AddText(temporary, "").attributes = kAttributeHidden;
    if (row.temporary == 'd') e.AddFolder(temporary);
    const BoxRows boxes = program.Repair();
    ASSERT_FALSE(boxes.empty());
    EXPECT_EQ(boxes.back().title, "ERROR:E:" + std::string(row.last) + " is first!");
    EXPECT_EQ(program.Places(), std::string(row.full ? "150000" : "140000") + " 100000" +
                                    (row.temporary == ' ' ? "" : " Axxx"));
    EXPECT_TRUE(e.List(temporary).empty());
    EXPECT_TRUE(program.Lines(MaskOf(Op::Executed)).empty());
  }
}

TEST(OrderRepair, ClearsUpBehindARunThatWasStopped) {
  for (const std::string file : {kLast, kFirst}) {
    for (const bool original : {true, false}) {
      SCOPED_TRACE(file + (original ? " is there" : " has only its temporary name"));
      WrongOrder program({160'000});
      const std::string temporary = file + (file == kLast ? "xxx" : "zzz");
      if (original) {
        program.world.e.AddText(temporary, "half a cop");
      } else {
        program.world.e.Move(file, temporary);
      }
      EXPECT_EQ(program.Repair(), BoxRows{kDone});
      EXPECT_EQ(program.Places(), "150000 160000");
      const Texts lines = program.Lines(MaskOf(Op::Delete, Op::Rename, Op::Sleep));
      EXPECT_EQ(lines[0], original ? "delete E:" + temporary + " ok"
                                   : "rename E:" + temporary + " -> E:" + file + " ok");
      EXPECT_EQ(lines[1], "sleep 100");
    }
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
  struct Row {
    const char* path;
    int deletes, renames;  // that fail
    std::vector<std::uint64_t> copies;
    std::string boxes, places, afterAnother;  // repair
  };
  const std::string kPlaces = "150000 160000";
  const std::vector<std::uint64_t> kOnce{160'000}, kFirstToo{101'000, 100'000, 90'000};
  const Row kRows[] = {
      {kLast, 0, 1, kOnce, "7/75 done ", kPlaces, kPlaces},
      {kLast, 0, 2, kOnce, "7/75 failed ", kPlaces, kPlaces},
      {kLast, 0, 3, kOnce, "7/75 getFileExtents failed failed ", "150000 lost Axxx", kPlaces},
      {kFirst, 0, 1, kFirstToo, "17/75 done ", "90000 100000", "90000 100000"},
      {kFirst, 0, 3, kFirstToo, "17/75 failed ", "lost 100000 A.volPAKzzz", "90000 100000"},
      {kLast, 1, 0, {101'000, 160'000}, "4/70 7/58 done ", kPlaces, kPlaces},
      {kFirst, 1, 0, {101'000, 100'000, 90'000, 160'000}, "15/70 17/58 done ", kPlaces, kPlaces}};
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.boxes + row.path);
    WrongOrder program(row.copies);
    program.files.failingPath = "E:" + std::string(row.path);
    program.files.failures = row.deletes;
    program.files.renameFailures = row.renames;
    std::string boxes;
    for (const BoxRow& box : program.Repair()) boxes += Short(box) + " ";
    EXPECT_EQ(boxes, row.boxes);
    EXPECT_EQ(program.Places(), row.places);
    EXPECT_EQ(program.Repair(), BoxRows{kDone});
    EXPECT_EQ(program.Places(), row.afterAnother);
  }
}

TEST(OrderRepair, CountsItsStepsAnewInEachRun) {
  WrongOrder program({160'000});
  program.Repair();
  program.world.e.AddText("\\P\\Axxx", "half a cop");
  program.files.failingPath = "E:\\P\\Axxx";
  program.files.failures = 1;
  EXPECT_EQ(program.Repair(), (BoxRows{Stop("Error in MOVE loop - make a note of this message!",
                                            "@Line0 - Error # 70 - Permission denied"),
                                       kDone}));
}

}  // namespace
