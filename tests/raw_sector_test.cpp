// One sector between a disk and the buffer, lengths of files, which drive a letter is on.
#include <functional>

#include "disk/raw_sector_io.h"
#include "disk/sector_buffer.h"
#include "platform/platform.h"
#include "tests/support.h"

namespace {

class RawSectors : public ::testing::Test {
 protected:
  // A disk of 3 TB and a letter on it.
  VirtualDisk& AddBigDisk(int number, char letter) {
    VirtualDisk& disk = p.pc.AddDisk(number, 3'000'000'000'000);
    p.pc.AddVolume(letter, disk, 2048, 100'000).tiedToTable = false;
    p.pc.RenewTables();
    return disk;
  }

  std::size_t Count(Op op) { return p.Lines(MaskOf(op)).size(); }

  PreparedPc p;
};

constexpr std::uint64_t kFarSector = 4294967295;  // the last one that a table entry can name

TEST_F(RawSectors, ReadIsOneClosedSequence) {
  p.world.stick.SetSector(60, demo::Grub4dosMbr());
  EXPECT_TRUE(ReadandParseSector("E:", 60));
  EXPECT_EQ(p.Lines(kAnyOp),
            (Texts{"open E: - share=rw ok", "query E: device-number ok", "close E: ok", "events",
                   "open PhysicalDrive1 rw share=rw ok", "seek PhysicalDrive1 30720 ok",
                   "read PhysicalDrive1 lba=60 n=1 ok", "sleep 50", "events",
                   "close PhysicalDrive1 ok"}));
  EXPECT_EQ(SectorBuffer.size(), 512U);
  EXPECT_TRUE(SectorFlags.HasGrub4dos);
  EXPECT_EQ(Physical_Drive_no, 1);
}

TEST_F(RawSectors, ReadIsTriedTwice) {
  const struct {
    const char* name;
    std::function<void(ProgramOnPc&)> prepare;
    bool read;
    std::size_t reads;
  } rows[] = {
      {"first read fails", [](auto& q) { q.Plan(FaultKind::Refusal, MaskOf(Op::Read)); }, true, 2},
      {"first read is short", [](auto& q) { q.Plan(FaultKind::ShortTransfer, MaskOf(Op::Read)); },
       true, 2},
      {"first seek fails", [](auto& q) { q.Plan(FaultKind::Refusal, MaskOf(Op::Seek)); }, true, 1},
      {"both reads fail", [](auto& q) { q.world.stick.unreadable.insert(60); }, false, 2},
      {"disk won't open", [](auto& q) { q.world.stick.refusesOpen = true; }, false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PreparedPc q;
    q.world.stick.SetSector(60, FilledSector(0x5A));
    row.prepare(q);
    EXPECT_EQ(ReadandParseSector("E:", 60), row.read);
    EXPECT_EQ(q.Lines(MaskOf(Op::Read)).size(), row.reads);
    EXPECT_EQ(q.pc.machine.clock.Elapsed(), 50U);
    EXPECT_EQ(q.TakeBoxes(), BoxRows());
    EXPECT_EQ(SectorBuffer[17], row.read ? 0x5A : 1) << "the fill pattern shows a failed read";
    EXPECT_EQ(SectorFlags.IsUniform, row.read);
  }
}

TEST_F(RawSectors, UnknownVolumeLeavesBufferAndFlags) {
  p.pc.AddLetter('N', 0);
  p.pc.RenewTables();
  for (const char* volume : {"", "E", "Q:", "D:", "N:"}) {
    SCOPED_TRACE(volume);
    SectorBuffer.assign(512, 9);
    SectorFlags.Ptn2Is21 = true;
    EXPECT_FALSE(ReadandParseSector(volume, 0));
    EXPECT_EQ(SectorBuffer, std::vector<std::uint8_t>(512, 9));
    EXPECT_TRUE(SectorFlags.Ptn2Is21);
  }
  EXPECT_EQ(Count(Op::Read), 0U);
}

TEST_F(RawSectors, OffsetsBeyond32Bits) {
  VirtualDisk& disk = AddBigDisk(2, 'H');
  SectorBuffer.assign(512, 0x77);
  EXPECT_TRUE(WriteSector(2, kFarSector));
  EXPECT_EQ(disk.Sector(kFarSector), FilledSector(0x77));
  EXPECT_EQ(p.Lines(MaskOf(Op::Seek)), Texts(2, "seek PhysicalDrive2 2199023255040 ok"));
  EXPECT_EQ(p.Lines(MaskOf(Op::UnlockRange)), Texts{"unlock-range PhysicalDrive2 ok"})
      << "of the range that was locked";
  SectorBuffer.assign(512, 0);
  EXPECT_TRUE(ReadandParseSector("H:", kFarSector));
  EXPECT_EQ(SectorBuffer, std::vector<std::uint8_t>(512, 0x77));

  // A failed write leaves at once: what it locked is still to be seen.
  p.pc.machine.journal.Clear();
  Open_Physical_Disk_hDrive(2);
  p.Plan(FaultKind::Refusal, MaskOf(Op::Write));
  EXPECT_FALSE(DirectWriteDrive(kFarSector, 1));
  EXPECT_EQ(p.pc.machine.At(hDrive)->lockedRanges,
            (std::vector<std::pair<std::uint64_t, std::uint64_t>>{{2199023255040, 512}}));
  EXPECT_EQ(p.Lines(MaskOf(Op::Flush, Op::UnlockRange)), Texts());
  MyCloseHandle(hDrive);
}

TEST_F(RawSectors, HighestDriveIs80) {
  for (const int number : {80, 81}) {
    const std::string volume = number == 80 ? "H:" : "I:";
    VirtualDisk& disk = AddBigDisk(number, volume[0]);
    SectorBuffer.assign(512, 0x77);
    EXPECT_EQ(WriteSector(number, 30), number == 80);
    EXPECT_EQ(ReadandParseSector(volume, 30), number == 80);
    EXPECT_EQ(disk.Contents().empty(), number != 80);
    EXPECT_EQ(Physical_Drive_no, number);
  }
}

TEST_F(RawSectors, WriteIsOneClosedSequence) {
  SectorBuffer.assign(512, 0x77);
  p.world.stick.refusesRangeLocks = true;
  EXPECT_TRUE(WriteSector(1, 60)) << "a write whose lock fails goes ahead";
  EXPECT_EQ(p.Lines(kAnyOp),
            (Texts{"open PhysicalDrive1 - share=- ok", "query PhysicalDrive1 property ok",
                   "close PhysicalDrive1 ok", "events", "open PhysicalDrive1 rw share=rw ok",
                   "seek PhysicalDrive1 30720 ok", "lock-range PhysicalDrive1 failed",
                   "write PhysicalDrive1 lba=60 n=1 ok", "flush PhysicalDrive1 ok",
                   "unlock-range PhysicalDrive1 failed", "close PhysicalDrive1 ok",
                   "open PhysicalDrive1 r share=rw ok",
                   "seek PhysicalDrive1 30720 ok",  // read back
                   "read PhysicalDrive1 lba=60 n=1 ok", "close PhysicalDrive1 ok", "sleep 50",
                   "events"}));
  EXPECT_EQ(Physical_Drive_no, 1);
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

TEST_F(RawSectors, WriteIsTriedOnce) {
  const struct {
    FaultKind kind;
    Op op;
    bool written;
    std::size_t times = 1;
  } rows[] = {{FaultKind::Refusal, Op::Seek, false},
              {FaultKind::Refusal, Op::Write, false},
              {FaultKind::ShortTransfer, Op::Write, false},
              {FaultKind::Refusal, Op::Flush, true},
              {FaultKind::Refusal, Op::UnlockRange, true},
              {FaultKind::ShortTransfer, Op::Read, true},  // reading back is tried twice
              {FaultKind::ShortTransfer, Op::Read, false, kForGood}};
  for (const auto& row : rows) {
    SCOPED_TRACE(static_cast<int>(row.op));
    PreparedPc q;
    SectorBuffer.assign(512, 0x77);
    q.Plan(row.kind, MaskOf(row.op));
    q.pc.machine.plan.times = row.times;
    EXPECT_EQ(WriteSector(1, 60), row.written);
    EXPECT_LE(q.Lines(MaskOf(Op::Write)).size(), 1U);
    EXPECT_EQ(q.TakeBoxes(), BoxRows());
  }
}

TEST_F(RawSectors, DriveZeroNeedsTheTickAndAnAnswer) {
  const BoxRow warning{"WARNING: Writing to Drive 0!",
                       "WARNING: WRITE to Sector 5 on DRIVE 0\r\nARE YOU SURE?", Buttons::OkCancel};
  SectorBuffer.assign(512, 0x77);
  EXPECT_FALSE(WriteSector(0, 5));
  EXPECT_EQ(p.Lines(kAnyOp), Texts()) << "refused without a box and without a look";
  ShowAllDrives = true;
  for (const Answer answer : {Answer::Cancel, Answer::Ok}) {
    p.pc.toolkit.AnswerNext(answer);
    EXPECT_EQ(WriteSector(0, 5), answer == Answer::Ok);
    EXPECT_EQ(p.TakeBoxes(), BoxRows{warning}) << "Cancel is no lasting answer";
    EXPECT_EQ(Count(Op::Write), answer == Answer::Ok ? 1U : 0U);
  }
  EXPECT_TRUE(WriteSector(0, 6)) << "OK is";
  WRITES_OK = false;
  p.world.systemDisk.bus = kBusUsb;
  EXPECT_TRUE(WriteSector(0, 7));
  ShowAllDrives = false;
  EXPECT_FALSE(WriteSector(0, 8));
  EXPECT_EQ(p.TakeBoxes(), BoxRows());
}

}  // namespace
