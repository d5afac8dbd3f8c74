// What a disk says of itself, and locking and dismounting called directly.
// tests/cases/volumes.txt has the rest.
#include "disk/drive_discovery.h"
#include "disk/sector_buffer.h"
#include "disk/volume_lock.h"
#include "disk/window_sweep.h"
#include "shell/drive_inventory.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

TEST(Discovery, DismountsWithoutBuffers) {
  PreparedPc p;
  vol1 = "kept";
  DisMount_All_VolumesX(1);
  Texts opened;
  for (const std::string& line : p.Lines(MaskOf(Op::Open, Op::Events, Op::Close))) {
    if (Contains(line, " rw ") || Contains(line, "events")) opened.push_back(line);
  }
  EXPECT_EQ(opened, (Texts{"events", "open E: rw share=rw unbuffered ok", "events",
                           "open F: rw share=rw unbuffered ok"}));
  EXPECT_EQ(vol1, "kept");
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

TEST(Discovery, HoldsLocksUntilUnlock) {
  PreparedPc p;
  Lock_Unlock_All_Volumes(1, "UNLOCK");
  EXPECT_EQ(p.Lines(kAnyOp), Texts()) << "nothing is held yet";
  Lock_Unlock_All_Volumes(1, "LOCK");
  EXPECT_EQ(p.pc.HeldLocks(), (Texts{"E:", "F:"}));
  p.pc.machine.journal.Clear();
  for (int again = 0; again < 2; ++again) Lock_Unlock_All_Volumes(1, "any other text");
  EXPECT_EQ(p.Lines(kAnyOp), (Texts{"unlock E: ok", "close E: ok", "unlock F: ok", "close F: ok"}));
}

TEST(Discovery, NoWindowIsAskedToCloseForNoTitle) {
  PreparedPc p;
  p.pc.desktop.windows = {{.title = "E:\\"}};
  Close_Windows_By_Title("");
  EXPECT_EQ(p.Lines(MaskOf(Op::Post)), Texts());
}

TEST(Discovery, LargerOfTwoCapacitiesWins) {
  PreparedPc p;
  constexpr std::uint64_t kNone = 0;
  constexpr std::pair<std::uint32_t, std::uint32_t> kNoReply{0, 0};
  const struct {
    const char* name;
    std::uint64_t length;                           // kNone: the disk doesn't say
    std::pair<std::uint32_t, std::uint32_t> reply;  // last block, bytes of a block
    std::uint64_t capacity;
  } rows[] = {{"reply alone", kNone, {1000, 512}, 512'512},
              {"reply is larger", 512'000, {1000, 512}, 512'512},
              {"length is larger", 600'000, {1000, 512}, 600'000},
              {"other block length", kNone, {1000, 4096}, 4'096'512},
              {"last block 0", kNone, {0, 512}, 0},
              {"all bits of last block", kNone, {0xFFFFFFFF, 512}, 2'199'023'255'552},
              {"no reply", 3'000'000'000'000, kNoReply, 3'000'000'000'000},
              {"neither", kNone, kNoReply, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    p.world.stick.bytes = row.length;
    p.world.stick.answersLength = row.length != kNone;
    p.world.stick.answersCapacity = row.reply != kNoReply;
    p.world.stick.capacityAnswer = row.reply;
    ScsiProductText.clear();
    EXPECT_EQ(GetSCSICapacity(1), row.capacity);
    EXPECT_EQ(ScsiProductText, "Tessel USB Stick") << "the inquiry is sent in any case";
  }
  EXPECT_EQ(GetSCSICapacity(7), 0U);
}

TEST(Discovery, TextsOfTheInquiry) {
  PreparedPc p;
  VirtualDisk& stick = p.world.stick;
  const auto texts = [&](const std::string& vendor, const std::string& product,
                         const std::string& vendorField) {
    stick.vendor = vendor;
    stick.product = product;
    stick.vendorField = vendorField;
    stick.warns = !stick.warns;  // the bytes count, whatever the call says
    ScsiProductText = ScsiVendorField = MediaKind = "before";
    GetSCSICapacity(1);
    return Texts{ScsiProductText, ScsiVendorField, MediaKind};
  };
  const std::string removable = "REMOVABLE MEDIA", nul(1, '\0');
  EXPECT_EQ(texts("Tessel", "USB Stick", "abc"), (Texts{"Tessel USB Stick", "abc", removable}));
  EXPECT_EQ(texts(nul + "xyz", "Stick", ""), (Texts{"Stick", "", removable}));
  EXPECT_EQ(texts("Te" + nul + "ssel", "S", "q" + nul + "r"), (Texts{"Te S", "q", removable}));
  stick.removable = false;
  EXPECT_EQ(texts("VBOX HAR", "DDISK", ""), (Texts{"VBOX HARDDISK", "", "FIXED MEDIA"}));
  stick.answersInquiry = false;
  EXPECT_EQ(texts("Tessel", "USB Stick", "abc"), Texts(3, "before"));
}

TEST(Discovery, TextOfBytes) {
  const PreparedPc p;
  std::int32_t end = -1;
  EXPECT_EQ(GetSTRbyBuff({' ', 'a', 0, 'b'}, -5, end, false), std::string("a\0b", 3));
  EXPECT_EQ(end, 3) << "the caller's variable changes with it";
  EXPECT_EQ(GetSTRbyBuff({'a', 'b'}, 2, end, true), "");
  EXPECT_EQ(GetSTRbyBuff({0xDC, 'b'}, 0, end, true),
            "\xC3\x9C"
            "b")
      << "of the code page";
}

TEST(Discovery, UsableSizeAndItsText) {
  PreparedPc p;
  const std::string model = "Tessel USB Stick               ";
  constexpr std::uint64_t kCylinder = 8'225'280;
  const struct {
    std::uint64_t bytes;
    bool lastIsBad;  // the last sector of the last whole cylinder
    double usable;
    std::string details;
  } rows[] = {{kCylinder - 1, false, 0, ""},
              {kCylinder, false, kCylinder, "      7MiB " + model},
              {kCylinder, true, 0, ""},
              {2 * kCylinder, true, kCylinder, "      7MiB " + model},
              {128 * kCylinder, false, 128 * kCylinder, "      0GiB " + model},
              {8'004'304'896, false, 8'003'197'440, "      7GiB " + model},
              {2'147'491'875'840, false, 2'147'489'003'520, "  2,000GiB " + model}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.bytes);
    p.world.stick.bytes = row.bytes;
    p.world.stick.unreadable.clear();
    if (row.lastIsBad) p.world.stick.unreadable.insert(row.bytes / kCylinder * 16065 - 1);
    Physical_Drive_no = 1;
    GetUSBDiskDriveInfo(1);
    EXPECT_EQ(DriveBytes, row.usable);
    EXPECT_EQ(Print_Drive_Details(), row.details);
  }
  DriveBytes = 1000.0 * 1024 * 1024;
  EXPECT_EQ(Print_Drive_Details(), "  1,000MiB " + model) << "the unit changes after 1000";
}

}  // namespace
