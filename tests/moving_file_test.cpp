// A file that an order repair moves is never lost, whatever fails, holds it open or stops the
// repair.
#include "imagefiles/file_compare.h"
#include "tests/loops.h"
#include "tests/wrong_order.h"

namespace {

TEST(MovingFile, IsDeletedOnlyAfterItsProvenCopyBearsTheName) {
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

// A copy that isn't whole is dropped, and the next one takes the file's place.
TEST(MovingFile, TrustsNoCopyThatIsNotProven) {
  const auto arrives = [](const Placement& placement) {
    return [=](WrongOrder& program) { program.world.e.placements.push_front(placement); };
  };
  const auto fails = [&](Op op, FaultKind kind = FaultKind::Refusal) {
    return [=](WrongOrder& program) {
      if (op != Op::ChildCopy || kind == FaultKind::LostWrite) arrives({})(program);
      program.Plan(kind, MaskOf(op));
    };
  };
  const auto changes = [&](WrongOrder& program) {
    arrives({})(program);
    program.pc.machine.beforeOperation = [&program, done = false](std::size_t) mutable {
      const VirtualFile* copy = program.world.e.Find("\\P\\Axxx");
      if (done || copy == nullptr) return;
      program.world.stick.Put(copy->extents[0].lba + 9, kBytes % 512 - 1, "?");
      done = true;
    };
  };
  const struct {
    const char* name;
    std::function<void(WrongOrder&)> prepare;
  } rows[] = {{"cut in a sector", arrives({.keepBytes = 4999, .lastWriteTime = 77})},
              {"cut at the start", arrives({.keepBytes = 0, .lastWriteTime = 77})},
              {"of another time", arrives({.lastWriteTime = 78})},
              {"with another last byte", changes},
              {"not flushed", fails(Op::Flush)},
              {"can't be read", fails(Op::Read)},
              {"not made", fails(Op::ChildCopy)},
              {"in the cache only", fails(Op::ChildCopy, FaultKind::LostWrite)}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WrongOrder program({160'000});
    row.prepare(program);
    program.files.failing = {{.from = "E:\\P\\Axxx", .to = ""}};  // it isn't dropped at once
    EXPECT_EQ(program.Repair(), BoxRows{kDone});
    EXPECT_EQ(program.Places(), "150000 160000");
    EXPECT_EQ(program.Copied(), 2U);
  }
  // A cut copy of the first file, which is copied once, leaves that file where it is.
  WrongOrder program({101'000, 100'000});
  program.world.e.placements.push_back({.keepBytes = 4999, .lastWriteTime = 77});
  program.world.e.placements.push_back({.lba = 160'000});
  EXPECT_EQ(program.Repair(), BoxRows{kDone});
  EXPECT_EQ(program.Places(), "150000 160000");
}

TEST(MovingFile, KeepsWhatAnotherProgramWritesMeanwhile) {
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

TEST(MovingFile, IsComparedToTheLastByte) {
  constexpr std::uint64_t kChunk = 1 << 20, kSize = 2 * kChunk + 700;
  StartedPc program;
  VirtualVolume& e = program.world.e;
  e.AddFile("\\1", kSize, 1'000'000, "text");
  e.AddFile("\\2", kSize, 1'010'000, "text");
  e.AddFile("\\longer", kSize + 1, 1'020'000, "text");
  e.AddText("\\empty", "");
  const auto same = [](const char* one, const char* other) {
    return HoldSameBytes(std::string("E:\\") + one, std::string("E:\\") + other);
  };
  EXPECT_TRUE(same("1", "2") && same("empty", "empty"));
  EXPECT_FALSE(same("1", "longer") || same("1", "none") || same("none", "1"));
  for (const std::uint64_t at : {std::uint64_t{0}, kChunk - 1, kChunk, kSize - 1}) {
    const VirtualSector before = program.world.stick.Sector(1'010'000 + at / 512);
    program.world.stick.Put(1'010'000 + at / 512, at % 512, "?");
    EXPECT_FALSE(same("1", "2")) << at;
    program.world.stick.SetSector(1'010'000 + at / 512, before);
  }
  program.Plan(FaultKind::ShortTransfer, MaskOf(Op::Read));
  EXPECT_FALSE(same("1", "2")) << "read short";
}

TEST(MovingFile, IsFoundAgainAfterARunThatWasStopped) {
  const struct {
    const char *name, *file;
    bool stands;           // under its own name
    Texts copies, others;  // endings of names that hold the file's bytes, or others
    std::size_t pauses;    // one for a left-over copy, one for the copy that is made now
    const char* left = "";
  } rows[] = {
      {"while copying", kLast, true, {}, {"xxx"}, 2},
      {"by a version that deleted first", kLast, false, {"xxx"}, {}, 2},
      {"between the renames", kLast, false, {"yyy", "xxx"}, {}, 2},
      {"between the renames of the first", kFirst, false, {"yyy3", "zzz"}, {}, 2},
      {"before the delete", kLast, true, {"yyy", "yyy2"}, {}, 1},
      {"not at all: another file", kLast, true, {}, {"yyy"}, 1, " Ayyy"},
      {"not at all: no name of ours", kLast, true, {"yyyz", "yyy41"}, {}, 1, " Ayyy41 Ayyyz"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WrongOrder program({180'000});
    std::uint64_t place = row.file == kFirst ? 170'000 : 90'000;
    const std::uint64_t original = program.world.e.Find(row.file)->extents[0].lba;
    for (const std::string& ending : row.copies) {
      program.Add(row.file + ending, place += 100);
      program.world.stick.CopySectors(original, place, 10);
    }
    for (const std::string& ending : row.others) program.Add(row.file + ending, place += 100);
    if (!row.stands) program.world.e.Remove(row.file);
    EXPECT_EQ(program.Repair(), BoxRows{kDone});
    EXPECT_TRUE(program.NothingIsLost());
    EXPECT_EQ(program.Places().substr(6), std::string(" 180000") + row.left);
    EXPECT_EQ(program.Lines(MaskOf(Op::Sleep)).size(), row.pauses);
  }
}

BoxRow AtStep(int step, int number) {
  return Stop("Error in MOVE loop - make a note of this message!",
              "@Line" + std::to_string(step) + " - Error # " + std::to_string(number) + " - " +
                  MakeFault(number).description);
}
BoxRow Refused(int step) {
  return AtStep(step, kPathFileAccessError);
}
BoxRow Exists(int step) {
  return AtStep(step, kFileAlreadyExists);
}

BoxRow IsCalled(const std::string& path, const std::string& name) {
  return Warning("File has another name!",
                 "ERROR: File E:" + path + " is called E:" + name +
                     " now.\r\nClose other programs and rename it before you do anything else.");
}

BoxRow NotMeasured(const std::string& path) {
  return Warning("getFileExtents failed",
                 "ERROR GETTING START SECTOR FROM C:\\Temp\\GFE_Output.txt\r\n\r\n"
                 "\"C:\\Windows\\system32\\cmd.exe\" /c C:\"\\Temp\\getFileExtents.exe\" \"E:" +
                     path + "\" > \"C:\\Temp\\GFE_Output.txt\"\r\n");
}

TEST(MovingFile, IsNotLostToADeleteOrRenameThatFails) {
  const std::string first = "E:" + std::string(kFirst), last = "E:" + std::string(kLast);
  const std::string inOrder = "150000 160000", moved = "140000 160000";
  const Copies once{160'000}, twice{140'000, 160'000};
  const Copies both{101'000, 100'000, 140'000, 160'000};  // the third is of the first file
  const Copies again{101'000, 100'000, 140'000, 141'000, 160'000};
  const struct {
    const char* name;
    FailingStatement failing;
    Copies copies;
    BoxRows boxes;
    std::string places;
  } rows[] = {
      {"set aside", {last, "*"}, twice, {Refused(4), Exists(7), kDone}, inOrder},
      {"given the name", {"*", last}, twice, {Refused(7), kDone}, inOrder},
      {"given its name back", {"*", last, 2}, once, {Refused(7), kDone}, inOrder},
      {"after some seconds", {"*", last, 99}, once, {Refused(7), kFailed}, "150000 100000"},
      {"never",
       {"*", last, 999},
       once,
       {Refused(7), IsCalled(kLast, "\\P\\Ayyy"), NotMeasured(kLast), kFailed},
       "150000 lost Axxx Ayyy"},
      {"deleted", {last + "yyy", ""}, once, {Refused(4), kDone}, inOrder},
      {"deleted at the end", {last + "yyy", "", 9}, once, {Refused(4), kDone}, inOrder + " Ayyy"},
      {"first file set aside", {first, "*"}, both, {Refused(15), Exists(17), kDone}, inOrder},
      {"first file given the name", {"*", first}, both, {Refused(17), kDone}, inOrder},
      {"first file, never",
       {"*", first, 999},
       both,
       {Refused(17), IsCalled(kFirst, "\\P\\A.volPAKyyy"), NotMeasured(kFirst), kFailed},
       "lost 100000 A.volPAKyyy A.volPAKzzz"},
      {"second loop, set aside", {last, "*", 1, 2}, again, {Refused(24), Exists(27), kDone}, moved},
      {"second loop, given the name", {"*", last, 1, 2}, again, {Refused(27), kDone}, moved}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WrongOrder program(row.copies);
    program.files.failing = {row.failing};
    EXPECT_EQ(program.Repair(), row.boxes);
    EXPECT_EQ(program.Places(), row.places);
    program.files.failing.clear();
    program.world.e.placements = {{.lba = 140'000}, {.lba = 170'000}};
    EXPECT_EQ(program.Repair().back(), kDone);
    EXPECT_TRUE(program.NothingIsLost());
    EXPECT_EQ(program.world.e.List("\\P").size(), 2U);
  }
}

// A left-over that can't be removed has the place, the length and the time of a copy.
TEST(MovingFile, IsNotReplacedByWhatBearsTheCopysName) {
  const struct {
    const char* name;
    Holder holder;
    BoxRows boxes;
  } rows[] = {{"can't be deleted", {kShareReadWriteOnly}, {AtStep(0, kPermissionDenied), kFailed}},
              {"deleted when let go", {}, {kFailed}},
              {"let go in between", {.operations = 60}, {kFailed}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    WrongOrder program({140'000});  // the copy of the first file
    program.Add("\\P\\Axxx", 170'000);
    program.world.e.Hold("\\P\\Axxx", row.holder);
    EXPECT_EQ(program.Repair(), row.boxes);
    program.world.e.LetGo();
    EXPECT_TRUE(program.NothingIsLost()) << program.Places();
  }
}

// Another program has both files and each copy open: all along, or for some operations.
TEST(MovingFile, IsNotLostWhereItIsHeldOpen) {
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
      EXPECT_TRUE(program.NothingIsLost()) << program.Places();
      e.LetGo();
      EXPECT_TRUE(program.NothingIsLost()) << program.Places();
      EXPECT_TRUE(e.List("\\P").size() == 2 || share != kShareAll);
    }
  }
}

struct Outage {
  std::size_t begin, length;  // in operations of the repair
  bool unplugged;             // the stick is out; else everything is refused
  bool movesFirst;            // the last file can't be moved, so the first one is
};

// True: it struck.
bool StruckBy(const Outage& outage) {
  WrongOrder program(outage.movesFirst ? Copies{90'000} : Copies{120'000, 160'000});
  if (outage.movesFirst) program.world.e.Find(kLast)->attributes = kAttributeReadOnly;
  if (outage.length % 2 == 0) program.world.e.scanner = Holder{kShareAll, 40};
  Machine& machine = program.pc.machine;
  const std::size_t begin = machine.operations + outage.begin;
  if (outage.unplugged) {
    machine.beforeOperation = [&](std::size_t operation) {
      if (operation == begin) machine.SetPlugged(program.world.stick, false);
      if (operation == begin + outage.length) machine.SetPlugged(program.world.stick, true);
    };
  } else {
    machine.plan = {.kind = FaultKind::Refusal, .nth = outage.begin, .times = outage.length};
  }
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

TEST(MovingFile, IsNotLostToAnOutage) {
  std::size_t outages = 0;
  for (const bool unplugged : {false, true}) {
    for (const bool movesFirst : {false, true}) {
      for (std::size_t length = 1; length <= 8; ++length) {
        for (std::size_t begin = 1; !HasFailure(); begin += Stride(1), ++outages) {
          SCOPED_TRACE("operation " + std::to_string(begin) + ", for " + std::to_string(length) +
                       (unplugged ? ", unplugged" : "") + (movesFirst ? ", first file" : ""));
          if (!StruckBy({begin, length, unplugged, movesFirst})) break;
        }
      }
    }
  }
  EXPECT_GT(outages, 32 * 100 / Stride(1));
  RecordProperty("outages", static_cast<int>(outages));
}

}  // namespace
