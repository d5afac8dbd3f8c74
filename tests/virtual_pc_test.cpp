// The virtual PC's own truths: where it must be wrong in the same ways as Windows.
#include <gtest/gtest.h>

#include <set>

#include "platform/virtual/demo_world.h"
#include "platform/virtual/wildcard.h"
#include "report/box_guard.h"
#include "tests/support.h"

namespace {

struct VirtualPcTest : testing::Test {
  VirtualPc pc;
  demo::World world = demo::Make(pc);

  Handle OpenDisk() {
    return pc.devices.CreateFile("\\\\.\\PhysicalDrive1", kGenericReadWrite, kShareReadWrite,
                                 kOpenExisting, 0);
  }
  Handle OpenVolume(const std::string& name, std::uint32_t access = kGenericReadWrite) {
    return pc.devices.CreateFile("\\\\.\\" + name, access, kShareReadWrite, kOpenExisting, 0);
  }
  bool Control(Handle handle, std::uint32_t code) {
    std::uint32_t returned = 0;
    return pc.devices.DeviceIoControl(handle, code, nullptr, 0, nullptr, 0, returned);
  }
  Answer Ask(const char* title) {
    BoxGuard guard;
    pc.toolkit.DropInput();
    return pc.toolkit.MsgBox({title, "?", Buttons::OkCancel}, guard);
  }
  bool WriteAt(std::uint64_t lba, std::uint8_t filler = 0x5A) {
    const Handle disk = OpenDisk();
    const VirtualSector sector = FilledSector(filler);
    std::uint32_t moved = 0;
    const bool written = pc.devices.SetFilePointerEx(disk, lba * 512) &&
                         pc.devices.WriteFile(disk, sector.data(), 512, moved) && moved == 512;
    pc.devices.CloseHandle(disk);
    return written;
  }
};

TEST_F(VirtualPcTest, GuardsMountedVolumesAgainstWritesThroughTheDisk) {
  const std::uint64_t inside = demo::kNtfsImage.lba;
  EXPECT_TRUE(WriteAt(0));
  EXPECT_TRUE(WriteAt(30));
  EXPECT_FALSE(WriteAt(inside));
  EXPECT_EQ(pc.machine.lastError, kErrorAccessDenied);

  const Handle volume = OpenVolume("E:");
  EXPECT_TRUE(Control(volume, kFsctlLockVolume));
  EXPECT_TRUE(WriteAt(inside)) << "this process holds the lock";
  EXPECT_EQ(OpenVolume("E:"), kInvalidHandle) << "locked";
  EXPECT_GT(OpenVolume("E:", 0), 0) << "the bare device opens all the same";
  EXPECT_TRUE(Control(volume, kFsctlUnlockVolume));
  EXPECT_FALSE(WriteAt(inside));
  EXPECT_TRUE(Control(volume, kFsctlDismountVolume));
  EXPECT_TRUE(WriteAt(inside)) << "dismounted";
  EXPECT_NE(pc.files.GetFileAttributes("E:\\_ISO"), kInvalidAttributes);
  EXPECT_FALSE(WriteAt(inside)) << "the look at a file mounted it again";

  pc.machine.guardsMountedVolumes = false;
  EXPECT_TRUE(WriteAt(inside)) << "Windows XP";
}

TEST_F(VirtualPcTest, MatchesNamesAsADirectorySearchDoes) {
  std::string stars;
  for (int star = 0; star < 40; ++star) stars += "*a";
  const struct {
    std::string pattern, name;
    bool matches;
  } rows[] = {{"*.volpak*", "A.b.VOLPAK23", true},
              {"*.volpak*", "a.volpa.k", false},
              {"*ab*ab", "ab.abab", true},
              {"a.*", "a", true},
              {"a?.b", "a.b", true},
              {"?a", "", false},
              {stars + "b", std::string(200, 'a'), false}};  // at once, not in years
  for (const auto& row : rows) {
    EXPECT_EQ(WildcardMatches(row.pattern, row.name), row.matches) << row.pattern << row.name;
  }
}

TEST_F(VirtualPcTest, CopyFollowsTheInterpretersRules) {
  const struct {
    const char *name, *arguments;
    bool made;  // E:\new is there afterwards
    const char* executed = "";
    int window = kWindowHidden;
  } rows[] = {{"plain", "E:\\a.txt E:\\new", true},
              {"blank in a path", "E:\\a b.txt E:\\new", false},
              {"comma splits", "E:\\a,b.txt E:\\new", false},
              {"quoted blank", "\"E:\\a b.txt\" E:\\new", true},
              {.name = "overwriting asks",
               .arguments = "E:\\a.txt E:\\old",
               .made = false,
               .window = kWindowNormal},
              {"plus joins", "E:\\a.txt+E:\\old E:\\new", true},
              {"ampersand runs", "E:\\a&b.txt E:\\new", false, "b.txt E:\\new"},
              {"redirection", "E:\\a>E:\\new", true, "> E:\\new"},
              {"caret vanishes", "E:\\a^b.txt E:\\new", false},
              {"percent expands", "E:\\a%TEMP%b.txt E:\\new", false, "%TEMP%"},
              {"made up as well", "E:\\a%date%b.txt E:\\new", false, "%date%"},
              {"no such variable", "E:\\a%20%b.txt E:\\new", true},
              {"exclamation marks stay", "E:\\a!b!.txt E:\\new", true},
              {"hidden is passed over", "E:\\hidden.txt E:\\new", false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    VirtualPc own;
    VirtualVolume& e = demo::Make(own).e;
    own.facts.environment["TEMP"] = "C:\\Temp";
    for (const char* path : {"\\a.txt", "\\a b.txt", "\\a,b.txt", "\\a^b.txt", "\\a&b.txt", "\\old",
                             "\\a%TEMP%b.txt", "\\a%20%b.txt", "\\a!b!.txt"}) {
      e.AddText(path, path);
    }
    e.AddText("\\hidden.txt", "h").attributes = kAttributeHidden;
    own.processes.Shell("C:\\Windows\\system32\\cmd.exe",
                        "cmd.exe /c copy " + std::string(row.arguments), row.window);
    EXPECT_EQ(e.Find("\\new") != nullptr, row.made);
    EXPECT_EQ(own.processes.StillRunning().empty(), row.window == kWindowHidden) << "it asks";
    std::string executed;
    for (const JournalEntry& entry : own.machine.journal.Only(MaskOf(Op::Executed))) {
      executed += entry.subject;
    }
    EXPECT_EQ(executed, row.executed);
  }
}

TEST_F(VirtualPcTest, PowerCutKeepsWhatWasWrittenAndForgetsTheRest) {
  OpenVolume("E:");
  pc.machine.plan = {.kind = FaultKind::CutTorn, .nth = 2};
  EXPECT_EQ(pc.Run([&] {
    WriteAt(30);
    WriteAt(31);
    WriteAt(32);
  }),
            RunEnd::PowerCut);
  EXPECT_EQ(OpenDisk(), kInvalidHandle) << "nothing works until it is switched on";
  pc.Reboot();
  EXPECT_TRUE(pc.OpenHandles().empty());
  EXPECT_EQ(world.stick.Sector(30)[511], 0x5A);
  EXPECT_EQ(world.stick.Sector(31)[255], 0x5A);
  EXPECT_EQ(world.stick.Sector(31)[256], 0);
  EXPECT_EQ(world.stick.Sector(32)[0], 0);
}

TEST_F(VirtualPcTest, UnflushedWritesAreKeptDroppedOrTornInEveryCombination) {
  std::set<std::vector<int>> seen;  // the first and last byte of each sector
  for (std::uint64_t fates = 0; fates < 27; ++fates) {
    VirtualDisk disk;
    disk.writeBack = true;
    disk.WriteThroughHandle(0, FilledSector(1));
    disk.Flush();
    for (const std::uint64_t lba : {1U, 2U, 3U}) disk.WriteThroughHandle(lba, FilledSector(1));
    std::uint64_t digits = fates;
    EXPECT_EQ(disk.LosePower(digits), 3U);
    EXPECT_EQ(disk.Sector(0), FilledSector(1)) << "flushed";
    std::vector<int> found;
    for (const std::uint64_t lba : {1U, 2U, 3U}) {
      found.insert(found.end(), {disk.Sector(lba)[0], disk.Sector(lba)[511]});
    }
    seen.insert(found);
  }
  EXPECT_EQ(seen.size(), 27U);
}

TEST_F(VirtualPcTest, LostWritesAreAcknowledgedAndACopyShowsThroughTheCacheOnly) {
  world.stick.forgetful = {30};
  EXPECT_TRUE(WriteAt(30) && WriteAt(31));
  EXPECT_EQ(world.stick.Sector(30), VirtualSector{});
  EXPECT_EQ(world.stick.Sector(31), FilledSector(0x5A));

  pc.machine.plan = {.kind = FaultKind::LostWrite};
  pc.processes.Shell("C:\\Windows\\system32\\cmd.exe", "cmd.exe /c copy E:\\_ISO\\A E:\\copy",
                     kWindowHidden);
  for (const std::uint32_t flags : {0U, kFlagNoBuffering}) {
    const Handle copy =
        pc.devices.CreateFile("E:\\copy", kGenericRead, kShareRead, kOpenExisting, flags);
    VirtualSector first = FilledSector(1);
    std::uint32_t moved = 0;
    EXPECT_TRUE(pc.devices.ReadFile(copy, first.data(), 512, moved));
    EXPECT_EQ(first == VirtualSector{}, flags == kFlagNoBuffering);
    EXPECT_EQ(pc.devices.ReadFile(copy, first.data(), 100, moved), flags == 0)
        << "part of a sector";
  }
}

TEST_F(VirtualPcTest, AnswersOnlyIntoABufferThatIsLargeEnough) {
  std::uint8_t answer[12];
  std::uint32_t returned = 0;
  const Handle volume = OpenVolume("E:", 0);
  for (const std::uint32_t size : {12U, 11U}) {
    EXPECT_EQ(pc.devices.DeviceIoControl(volume, kIoctlStorageGetDeviceNumber, nullptr, 0, answer,
                                         size, returned),
              size == 12);
    EXPECT_EQ(returned, size == 12 ? 12U : 0U);
  }
}

// What makes every other test fail where a box came that it didn't expect.
TEST_F(VirtualPcTest, BoxWithoutAnAnswerAndAnswerWithoutABoxAreFailures) {
  pc.toolkit.AnswerNext(Answer::Cancel, "Change");
  EXPECT_EQ(pc.toolkit.ScriptFailures().size(), 1U);
  EXPECT_EQ(Ask("Change it"), Answer::Cancel);
  EXPECT_TRUE(pc.toolkit.ScriptFailures().empty());
  EXPECT_EQ(Ask("Again"), Answer::Ok);
  EXPECT_EQ(pc.toolkit.ScriptFailures().size(), 1U);
}

// What makes every other test fail where a box could be answered unseen.
TEST_F(VirtualPcTest, PressesAheadAnswerABoxThatLetsThem) {
  struct Constant : PressFilter {
    explicit Constant(bool taken) : takes(taken) {}
    bool Takes(const Press&) override { return takes; }
    bool takes;
  } all(true), none(false);
  BoxGuard guard;
  const std::string unseen = "a key pressed ahead answered the box Change";
  const struct {
    const char* name;
    PressFilter* filter;
    bool drops, worksOn;  // worksOn: between the drop and the box
    std::string failure;
  } rows[] = {
      {.name = "no drop", .filter = &guard, .drops = false, .worksOn = false, .failure = unseen},
      {.name = "drop too early",
       .filter = &guard,
       .drops = true,
       .worksOn = true,
       .failure = unseen},
      {.name = "no deaf time", .filter = &all, .drops = true, .worksOn = false, .failure = unseen},
      {.name = "deaf for good",
       .filter = &none,
       .drops = true,
       .worksOn = false,
       .failure = "no key answers the box Change"},
      {.name = "guarded", .filter = &guard, .drops = true, .worksOn = false, .failure = ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    pc.toolkit.Reset();
    pc.toolkit.defaultsAllowed = true;
    pc.toolkit.onBox = [](const Box&) { return Answer::Cancel; };
    if (row.drops) pc.toolkit.DropInput();
    if (row.worksOn) pc.platform().clock->Sleep(1);
    EXPECT_EQ(pc.toolkit.MsgBox({"Change", "?", Buttons::OkCancel}, *row.filter),
              row.failure == unseen ? Answer::Ok : Answer::Cancel);
    std::vector<std::string> failures = pc.toolkit.ScriptFailures();
    failures.resize(1);
    EXPECT_EQ(failures[0], row.failure);
  }
}

}  // namespace
