// Volumes of a drive, locking and dismounting, folder windows, and what a disk says of itself.
#include "disk/drive_discovery.h"
#include "disk/sector_buffer.h"
#include "disk/volume_lock.h"
#include "disk/window_sweep.h"
#include "shell/drive_inventory.h"
#include "shell/log_writer.h"
#include "tests/support.h"

namespace {

class Discovery : public ::testing::Test {
 protected:
  void AddVolumes(const std::string& letters) {
    std::uint64_t start = 25'000'000;
    for (const char letter : letters) {
      p.pc.AddVolume(letter, p.world.stick, start, 100'000).tiedToTable = false;
      start += 100'000;
    }
    p.pc.RenewTables();
  }

  // What was done to volumes, without the look at each letter.
  Texts VolumeWork() {
    Texts lines;
    bool looking = true;
    for (const JournalEntry& entry : p.pc.machine.journal.Entries()) {
      if (entry.op == Op::Open && entry.subject == "C:") looking = true;
      if (!looking) lines.push_back(entry.Text());
      if (entry.op == Op::Open && entry.subject == "Z:") looking = false;
    }
    return lines;
  }

  PreparedPc p;
};

TEST_F(Discovery, VolumeWithTheStickFilesIsChosen) {
  const std::pair<Texts, const char*> rows[] = {
      {{}, "E:"},
      {{"F:\\tsd\\unifont.hex.gz"}, "F:"},
      {{"G:\\_ISO\\tsd\\grub\\tsd.cfg"}, "G:"},
      {{"G:\\_ISO\\tsd\\grub\\tsd.cfg", "F:\\TSD\\Unifont.hex.gz"}, "F:"},
      {{"I:\\tsd\\unifont.hex.gz"}, "E:"}};  // the fifth volume, which nobody sees
  p.world.e.Remove("\\tsd\\unifont.hex.gz");
  p.world.e.Remove("\\_ISO\\tsd\\grub\\tsd.cfg");
  AddVolumes("GHI");
  for (const auto& [files, answer] : rows) {
    SCOPED_TRACE(answer);
    for (const std::string& file : files) {
      p.pc.machine.VolumeAt(file[0])->AddText(file.substr(2), "x").attributes = kAttributeHidden;
    }
    EXPECT_EQ(GetDriveLetter(1), answer);
    EXPECT_EQ(vol1 + vol2 + vol3 + vol4, "E:F:G:H:") << "the fifth volume is dropped";
    for (const std::string& file : files) p.pc.machine.VolumeAt(file[0])->Remove(file.substr(2));
  }
}

TEST_F(Discovery, DismountTakesOneVolumeBehindTheOther) {
  p.world.f.busy = true;
  OSVersionCode = 11;  // too new for its windows to be swept
  vol1 = "kept";
  DisMount_All_VolumesX(1);
  EXPECT_EQ(VolumeWork(),
            (Texts{"events", "open E: rw share=rw unbuffered ok", "lock E: ok", "dismount E: ok",
                   "close E: ok", "events", "open F: rw share=rw unbuffered ok", "lock F: failed",
                   "dismount F: ok", "close F: ok"}));
  EXPECT_EQ(vol1, "kept");
  EXPECT_EQ(p.pc.HeldLocks(), Texts());
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

TEST_F(Discovery, LockHoldsFourVolumesUntilUnlock) {
  AddVolumes("GHI");
  p.pc.machine.VolumeAt('G')->busy = true;
  Lock_Unlock_All_Volumes(1, "UNLOCK");
  EXPECT_EQ(p.Lines(kAnyOp), Texts()) << "nothing is held yet";
  p.Plan(FaultKind::Refusal, MaskOf(Op::Open), 26);  // 24 letters are looked at before
  Lock_Unlock_All_Volumes(1, "LOCK");
  EXPECT_EQ(VolumeWork(),
            (Texts{"open E: rw share=rw ok", "lock E: ok", "dismount E: ok",
                   "open F: rw share=rw failed", "open G: rw share=rw ok", "lock G: failed",
                   "dismount G: ok", "open H: rw share=rw ok", "lock H: ok", "dismount H: ok"}));
  EXPECT_EQ(p.pc.HeldLocks(), (Texts{"E:", "H:"}));
  p.pc.machine.journal.Clear();
  for (int again = 0; again < 2; ++again) Lock_Unlock_All_Volumes(1, "any other text");
  EXPECT_EQ(p.Lines(kAnyOp), (Texts{"unlock E: ok", "close E: ok", "unlock G: failed",
                                    "close G: ok", "unlock H: ok", "close H: ok"}));
}

TEST_F(Discovery, FolderWindowsAreAskedToCloseUpToXp) {
  const std::vector<VirtualWindow> windows = {
      {.title = "E:\\"}, {.title = "E:\\_ISO"},
      {.title = "E:"},   {.title = "on E:\\"},
      {.title = "e:\\"}, {.title = "E:\\hidden", .visible = false},
      {.title = ""},     {.title = "E:\\dialog", .owned = true},
      {.title = "F:\\"}, {.title = "E:\\last", .agrees = false}};
  for (const int code : {0, 7, 8, 10}) {
    SCOPED_TRACE(code);
    p.pc.desktop.windows = windows;
    OSVersionCode = code;
    Close_Volume_Windows("E:");
    std::string asked;
    for (const VirtualWindow& window : p.pc.desktop.windows) {
      if (window.asked) asked += window.title + "|";
    }
    EXPECT_EQ(asked, code <= 7 ? "E:\\|E:\\_ISO|E:\\last|" : "");
  }
  p.pc.desktop.windows = windows;
  Close_Windows_By_Title("");
  for (const VirtualWindow& window : p.pc.desktop.windows) EXPECT_FALSE(window.asked);
}

TEST_F(Discovery, LargerOfTwoCapacitiesWins) {
  const struct {
    const char* name;
    std::uint64_t bytes;
    bool capacity, length;
    std::pair<std::uint32_t, std::uint32_t> answer;
    std::uint64_t expected;
  } rows[] = {
      {"reply alone", 9, true, false, {1000, 512}, 512'512},
      {"reply is larger", 512'000, true, true, {1000, 512}, 512'512},
      {"length is larger", 600'000, true, true, {1000, 512}, 600'000},
      {"other block length", 9, true, false, {1000, 4096}, 4'096'512},
      {"last block 0", 9, true, false, {0, 512}, 0},
      {"all bits of last block", 9, true, false, {0xFFFFFFFF, 512}, 2'199'023'255'552},
      {"no reply", 3'000'000'000'000, false, true, {0, 0}, 3'000'000'000'000},
      {"neither", 600'000, false, false, {0, 0}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    p.world.stick.bytes = row.bytes;
    p.world.stick.answersCapacity = row.capacity;
    p.world.stick.answersLength = row.length;
    p.world.stick.capacityAnswer = row.answer;
    ScsiProductText.clear();
    EXPECT_EQ(GetSCSICapacity(1), row.expected);
    EXPECT_EQ(ScsiProductText, "Tessel USB Stick") << "the inquiry is sent in any case";
  }
  EXPECT_EQ(GetSCSICapacity(7), 0U);
}

TEST_F(Discovery, TextsOfTheInquiry) {
  const struct {
    std::string vendor, product, vendorField;
    bool removable, answers;
    Texts told;  // product text, vendor field, kind of medium
  } rows[] = {
      {"Tessel", "USB Stick", "abc", true, true, {"Tessel USB Stick", "abc", "REMOVABLE MEDIA"}},
      {"VBOX HAR", "DDISK", "", false, true, {"VBOX HARDDISK", "", "FIXED MEDIA"}},
      {std::string("\0xyz", 4), "Stick", "", true, true, {"Stick", "", "REMOVABLE MEDIA"}},
      {{"Te\0ssel", 7}, "S", {"q\0r", 3}, true, true, {"Te S", "q", "REMOVABLE MEDIA"}},
      {"Tessel", "USB Stick", "abc", true, false, {"before", "before", "before"}},
  };
  for (const auto& row : rows) {
    VirtualDisk& stick = p.world.stick;
    stick.vendor = row.vendor;
    stick.product = row.product;
    stick.vendorField = row.vendorField;
    stick.removable = row.removable;
    stick.answersInquiry = row.answers;
    stick.warns = !stick.warns;  // the bytes count, whatever the call says
    ScsiProductText = ScsiVendorField = MediaKind = "before";
    GetSCSICapacity(1);
    EXPECT_EQ((Texts{ScsiProductText, ScsiVendorField, MediaKind}), row.told);
  }
  std::int32_t end = -1;
  EXPECT_EQ(GetSTRbyBuff({' ', 'a', 0, 'b'}, -5, end, false), std::string("a\0b", 3));
  EXPECT_EQ(end, 3) << "the caller's variable changes with it";
  EXPECT_EQ(GetSTRbyBuff({'a', 'b'}, 2, end, true), "");
  EXPECT_EQ(GetSTRbyBuff({0xDC, 'b'}, 0, end, true),
            "\xC3\x9C"
            "b")
      << "of the code page";
}

TEST_F(Discovery, UsableSizeAndItsText) {
  const std::string model = "Tessel USB Stick               ";
  const struct {
    std::uint64_t bytes;
    bool lastIsBad, logging;
    double usable;
    std::string details;
  } rows[] = {
      {8'225'279, false, false, 0, ""},
      {8'225'280, false, false, 8'225'280, "      7MiB " + model},
      {8'225'280, true, false, 0, ""},
      {16'450'560, true, false, 8'225'280, "      7MiB " + model},
      {128 * 8'225'280ULL, false, false, 128 * 8'225'280.0, "      0GiB " + model},
      {8'004'304'896, false, false, 8'003'197'440, "      7GiB " + model},
      {8'004'304'896, false, true, 8'003'197'440, "      7GiB " + model + " 8,003,197,440 Bytes "},
      {2'147'491'875'840, false, false, 2'147'489'003'520, "  2,000GiB " + model},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.bytes);
    p.world.stick.bytes = row.bytes;
    p.world.stick.unreadable.clear();
    if (row.lastIsBad) p.world.stick.unreadable.insert(row.bytes / 8'225'280 * 16065 - 1);
    LoggingEnabled = row.logging;
    Physical_Drive_no = 1;
    GetUSBDiskDriveInfo(1);
    EXPECT_EQ(DriveBytes, row.usable);
    EXPECT_EQ(Print_Drive_Details(), row.details);
  }
  LoggingEnabled = false;
  DriveBytes = 1000.0 * 1024 * 1024;
  EXPECT_EQ(Print_Drive_Details(), "  1,000MiB " + model) << "the unit changes behind 1000";
}

}  // namespace
