// The virtual PC's own truths: where it must be wrong in the same ways as Windows.
#include <gtest/gtest.h>

#include "platform/virtual/demo_world.h"
#include "shell/window_design.h"

namespace {

struct VirtualPcTest : testing::Test {
  VirtualPc pc;
  demo::World world = demo::Make(pc);

  Handle OpenDisk() {
    return pc.devices.CreateFileA("\\\\.\\PhysicalDrive1", kGenericReadWrite, kShareReadWrite,
                                  kOpenExisting, 0);
  }
  Handle OpenVolume(const std::string& name, std::uint32_t access = kGenericReadWrite) {
    return pc.devices.CreateFileA("\\\\.\\" + name, access, kShareReadWrite, kOpenExisting, 0);
  }
  bool Control(Handle handle, std::uint32_t code) {
    std::uint32_t returned = 0;
    return pc.devices.DeviceIoControl(handle, code, nullptr, 0, nullptr, 0, returned);
  }
  bool WriteAt(std::uint64_t lba, std::uint8_t filler = 0x5A) {
    const Handle disk = OpenDisk();
    VirtualSector sector;
    sector.fill(filler);
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
  EXPECT_NE(pc.files.GetFileAttributesA("E:\\_ISO"), kInvalidAttributes);
  EXPECT_FALSE(WriteAt(inside)) << "the look at a file mounted it again";

  pc.machine.guardsMountedVolumes = false;
  EXPECT_TRUE(WriteAt(inside)) << "Windows XP";
}

TEST_F(VirtualPcTest, LockIsRefusedWhileSomethingIsOpenAndEndsWithItsHandle) {
  FindData found;
  const Handle search = pc.files.FindFirstFileA("E:\\*", found);
  const Handle volume = OpenVolume("E:");
  EXPECT_FALSE(Control(volume, kFsctlLockVolume));
  pc.files.FindClose(search);
  world.e.busy = true;
  EXPECT_FALSE(Control(volume, kFsctlLockVolume));
  EXPECT_TRUE(Control(volume, kFsctlDismountVolume)) << "needs no lock";
  world.e.busy = false;
  EXPECT_TRUE(Control(volume, kFsctlLockVolume));
  EXPECT_EQ(pc.HeldLocks(), std::vector<std::string>{"E:"});
  pc.devices.CloseHandle(volume);
  EXPECT_TRUE(pc.HeldLocks().empty());
}

TEST_F(VirtualPcTest, LettersFollowTheTableWhenItIsReadAnew) {
  VirtualSector table = demo::Grub4dosMbr();
  demo::SetEntry(table, 1, true, 7, demo::kNtfsImage.lba, demo::kNtfsImage.sectors);
  world.stick.SetSector(0, table);
  EXPECT_NE(pc.files.GetFileAttributesA("E:\\_ISO"), kInvalidAttributes) << "not read yet";
  const Handle disk = OpenDisk();
  EXPECT_TRUE(Control(disk, kIoctlDiskUpdateProperties));
  EXPECT_EQ(pc.files.GetFileAttributesA("E:\\_ISO"), kInvalidAttributes);
  EXPECT_NE(pc.files.GetFileAttributesA("E:\\grldr"), kInvalidAttributes) << "the image's volume";
  EXPECT_EQ(OpenVolume("F:"), kInvalidHandle);
  pc.machine.SetPlugged(world.stick, false);
  EXPECT_EQ(OpenVolume("E:", 0), kInvalidHandle);
  EXPECT_EQ(OpenDisk(), kInvalidHandle);
  EXPECT_FALSE(Control(disk, kIoctlDiskUpdateProperties));
  EXPECT_NE(OpenVolume("C:", 0), kInvalidHandle);
}

TEST_F(VirtualPcTest, DiskAnswersItsControlCodes) {
  const Handle disk = OpenDisk();
  std::uint8_t out[512] = {};
  const std::uint8_t query[12] = {};
  std::uint32_t returned = 0;
  Devices& d = pc.devices;
  ASSERT_TRUE(d.DeviceIoControl(disk, kIoctlStorageQueryProperty, query, 12, out, 512, returned));
  EXPECT_EQ(out[28], kBusUsb);
  EXPECT_FALSE(d.DeviceIoControl(disk, kIoctlDiskGetLengthInfo, nullptr, 0, out, 4, returned));
  EXPECT_EQ(returned, 0U);
  ASSERT_TRUE(d.DeviceIoControl(disk, kIoctlDiskGetLengthInfo, nullptr, 0, out, 8, returned));
  EXPECT_EQ(out[4], demo::kStickBytes >> 32);
  EXPECT_GT(d.CreateFileA("\\\\.\\PhysicalDrive1", 0, 0, kOpenExisting, 0), 0)
      << "access 0 collides with nobody's sharing";
  const Handle cd = OpenVolume("D:", 0);
  ASSERT_TRUE(d.DeviceIoControl(cd, kIoctlStorageGetDeviceNumber, nullptr, 0, out, 12, returned));
  EXPECT_EQ(out[0], kDeviceTypeCd);
}

TEST_F(VirtualPcTest, CopyFollowsTheInterpretersRules) {
  struct Case {
    const char* name;
    const char* arguments;
    const char* expected;  // file that is there afterwards; "" for none
    const char* executed;  // what else ran
    bool hangs;
  };
  const Case cases[] = {
      {"plain", "E:\\a.txt E:\\new", "E:\\new", "", false},
      {"blank in a path", "E:\\a b.txt E:\\new", "", "", false},
      {"comma splits", "E:\\a,b.txt E:\\new", "", "", false},
      {"quoted blank", "\"E:\\a b.txt\" E:\\new", "E:\\new", "", false},
      {"overwriting asks", "E:\\a.txt E:\\old", "", "", true},
      {"plus joins", "E:\\a.txt+E:\\old E:\\new", "E:\\new", "", false},
      {"ampersand runs", "E:\\a&b.txt E:\\new", "", "b.txt E:\\new", false},
      {"redirection", "E:\\a>E:\\new", "E:\\new", "> E:\\new", false},
      {"caret vanishes", "E:\\a^b.txt E:\\new", "", "", false},
      {"percent expands", "E:\\a%TEMP%b.txt E:\\new", "", "%TEMP%", false},
      {"hidden is passed over", "E:\\hidden.txt E:\\new", "", "", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    VirtualPc own;
    demo::World there = demo::Make(own);
    own.facts.environment["TEMP"] = "C:\\Temp";
    for (const char* path : {"\\a.txt", "\\a b.txt", "\\a,b.txt", "\\a^b.txt", "\\a&b.txt", "\\old",
                             "\\a%TEMP%b.txt"}) {
      there.e.AddText(path, path);
    }
    there.e.AddText("\\hidden.txt", "h").attributes = kAttributeHidden;
    own.processes.Shell("cmd.exe /c copy " + std::string(c.arguments), kWindowHidden);
    const bool made = own.files.GetFileAttributesA("E:\\new") != kInvalidAttributes;
    EXPECT_EQ(made, *c.expected != '\0');
    EXPECT_EQ(!own.processes.StillRunning().empty(), c.hangs);
    std::string executed;
    for (const JournalEntry& e : own.machine.journal.Only(MaskOf(Op::Executed))) {
      executed += e.subject;
    }
    EXPECT_EQ(executed, c.executed);
  }
}

TEST_F(VirtualPcTest, FaultPlanStrikesTheNthOperationOnce) {
  const auto plan = [&](FaultKind kind, std::size_t nth, OpMask mask) {
    pc.machine.plan = {.kind = kind, .nth = nth, .mask = mask};
  };
  plan(FaultKind::Refusal, 2, MaskOf(Op::Write));
  EXPECT_TRUE(WriteAt(30));
  EXPECT_FALSE(WriteAt(31));
  EXPECT_TRUE(WriteAt(32));
  EXPECT_EQ(pc.machine.plan.hits, 1U);

  plan(FaultKind::ShortTransfer, 1, kAnyOp);
  EXPECT_FALSE(WriteAt(33)) << "success, with too few bytes";
  EXPECT_EQ(pc.machine.journal.Only(MaskOf(Op::Write)).back().ok, true);
  EXPECT_EQ(world.stick.Sector(33), VirtualSector{});

  plan(FaultKind::FaultThrown, 1, MaskOf(Op::Attributes));
  EXPECT_THROW(pc.files.GetFileAttributesA("E:\\x"), Fault);
  EXPECT_EQ(pc.files.GetFileAttributesA("E:\\x"), kInvalidAttributes);
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
  EXPECT_THROW(OpenDisk(), PowerCut) << "nothing works until it is switched on";
  pc.Reboot();
  EXPECT_TRUE(pc.OpenHandles().empty());
  EXPECT_EQ(world.stick.Sector(30)[511], 0x5A);
  EXPECT_EQ(world.stick.Sector(31)[255], 0x5A);
  EXPECT_EQ(world.stick.Sector(31)[256], 0);
  EXPECT_EQ(world.stick.Sector(32)[0], 0);
}

TEST_F(VirtualPcTest, UnflushedWritesAreAtRisk) {
  int kept = 0, lost = 0;
  for (std::uint32_t seed = 1; seed <= 20; ++seed) {
    VirtualDisk disk;
    disk.writeBack = true;
    VirtualSector data;
    data.fill(1);
    disk.WriteThroughHandle(0, data);
    disk.Flush();
    disk.WriteThroughHandle(1, data);
    disk.LosePower(seed);
    EXPECT_EQ(disk.Sector(0), data) << "flushed";
    kept += disk.Sector(1) == data ? 1 : 0;
    lost += disk.Sector(1) == VirtualSector{} ? 1 : 0;
  }
  EXPECT_GT(kept, 0);
  EXPECT_GT(lost, 0);
  EXPECT_LT(kept + lost, 20) << "some are torn";
}

TEST_F(VirtualPcTest, UserWorksOnlyWhatAPersonCould) {
  static int events = 0;
  pc.toolkit.CreateForm(kFormDesign, [](UserEvent) { ++events; });
  EXPECT_FALSE(pc.toolkit.Do(Open("a"))) << "no such row";
  pc.toolkit.AddItem(::Control::List1, "b");
  pc.toolkit.SetListIndex(::Control::List1, 0);
  pc.toolkit.AddItem(::Control::List1, "A");
  EXPECT_EQ(pc.toolkit.ItemText(::Control::List1, 0), "A");
  EXPECT_EQ(pc.toolkit.ListIndex(::Control::List1), 1) << "the selection stays on its row";
  EXPECT_EQ(events, 0) << "what the program changes raises nothing";
  pc.toolkit.SetEnabled(::Control::cmdHelp, false);
  EXPECT_FALSE(pc.toolkit.Do(Click(::Control::cmdHelp)));
  const bool ticked = pc.toolkit.IsTicked(::Control::Chk_ISO);
  EXPECT_TRUE(pc.toolkit.Do(Click(::Control::Chk_ISO)));
  EXPECT_NE(pc.toolkit.IsTicked(::Control::Chk_ISO), ticked);
  EXPECT_EQ(events, 1);
  pc.toolkit.AnswerNext(Answer::Cancel, "Change");
  EXPECT_EQ(pc.toolkit.MsgBox({"Change it", "?", Buttons::OkCancel}), Answer::Cancel);
  EXPECT_TRUE(pc.toolkit.ScriptFailures().empty());
  EXPECT_EQ(pc.toolkit.MsgBox({"Again", "?", Buttons::OkCancel}), Answer::Ok);
  EXPECT_EQ(pc.toolkit.ScriptFailures().size(), 1U);
}

}  // namespace
