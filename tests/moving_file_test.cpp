// A file that an order repair moves is never lost, whatever happens at whichever operation: loops
// over all of them. tests/cases/moving_file.txt and order.txt have the rest.
#include "imagefiles/file_compare.h"
#include "imagefiles/file_order.h"
#include "platform/platform.h"
#include "tests/loops.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

constexpr const char *kFirst = "\\P\\A.volPAK", *kLast = "\\P\\A";
constexpr std::uint64_t kBytes = 5000;  // 10 sectors, the last one not full

// Where copies come to lie, in order.
using Copies = std::vector<std::uint64_t>;

// The file that is to be last lies at 100000 and the first one at 150000.
struct WrongOrder : ProgramOnPc {
  explicit WrongOrder(const Copies& copies) {
    for (const std::uint64_t place : copies) world.e.placements.push_back({.lba = place});
    Add(kFirst, 150'000);
    Add(kLast, 100'000);
    Start();
    pc.machine.journal.Clear();
  }

  void Add(const std::string& path, std::uint64_t lba) {
    world.e.AddFile(path, kBytes, lba, "begin " + path).lastWriteTime = 77;
    world.stick.Put(lba + 9, 0, "end " + path);
  }

  BoxRows Repair() {
    const std::string first = "E:" + std::string(kFirst), last = "E:" + std::string(kLast);
    EXPECT_EQ(Call([&] { MoveFiles(first, last, first); }), RunEnd::Returned);
    return TakeBoxes();
  }

  // The first sector of the file that was made as path and is now called name; "" where it isn't
  // whole or isn't there.
  std::string Whole(const std::string& path, const std::string& name) {
    const VirtualFile* file = world.e.Find(name);
    if (file == nullptr || file->size != kBytes || file->lastWriteTime != 77) return "";
    const std::string text = world.e.Read(*file, 0, kBytes);
    const bool whole = text.starts_with("begin " + path + std::string(1, '\0')) &&
                       text.substr(9 * 512).starts_with("end " + path + std::string(1, '\0'));
    return whole ? std::to_string(file->extents[0].lba) : "";
  }
  std::string Places() { return Whole(kFirst, kFirst) + " " + Whole(kLast, kLast); }
  bool NothingIsLost() { return Whole(kFirst, kFirst) != "" && Whole(kLast, kLast) != ""; }
};

const BoxRow kDone{"E:\\P\\A is now last", "OK - Files are now in correct order."};

TEST(OrderRepair, HasALimitForEachLoop) {
  Copies many;
  for (std::uint64_t i = 0; i < 33; ++i) many.push_back(i == 21 ? 150'016 : 101'000 + 16 * i);
  Copies late(many.begin(), many.begin() + 20);
  late.insert(late.end(), {160'000, 140'000});
  for (const auto& [copies, places] :
       {std::pair{late, "140000 160000"}, std::pair{many, "150016 101512"}}) {
    WrongOrder program(copies);
    EXPECT_EQ(program.Repair() == BoxRows{kDone}, copies == late);
    EXPECT_EQ(program.Places(), places);
    EXPECT_EQ(program.Lines(MaskOf(Op::ChildCopy)).size(), copies.size());
    // One a copy of the first loop, one for the first file, none after it.
    EXPECT_EQ(program.Lines(MaskOf(Op::Sleep)), Texts(22, "sleep 100"));
  }
}

// Before the copy is compared, and after that.
TEST(MovingFile, KeepsWhatAnotherProgramWritesMeanwhile) {
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
