#include "platform/virtual/demo_world.h"

#include <string>

namespace demo {
namespace {

void Write(VirtualSector& sector, std::size_t at, const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) sector[at + i] = static_cast<std::uint8_t>(text[i]);
}

void Write32(VirtualSector& sector, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) sector[at + i] = static_cast<std::uint8_t>(value >> (8 * i));
}

VirtualSector BootRecord(std::uint8_t filler) {
  VirtualSector record;
  record.fill(filler);
  Write32(record, 28, 63);  // hidden sectors as on the disk where the image was made
  record[510] = 0x55;
  record[511] = 0xAA;
  return record;
}

void AddInnerVolume(World& world) {
  world.inner.label = "RESCUE";
  world.inner.serial = 0x2A2B2C2D;
  world.inner.reservedSectors = 64;
  for (const char* path : {"\\menu.lst", "\\boot6", "\\grldr", "\\tsd\\unifont.hex.gz"}) {
    world.inner.AddText(path, "of the image");
  }
}

}  // namespace

VirtualSector Grub4dosMbr() {
  VirtualSector mbr{};
  for (std::size_t i = 0; i < 440; ++i) mbr[i] = static_cast<std::uint8_t>(i * 7 + 3);
  Write(mbr, kBootCodeMark, "Missing MBR-hel");
  Write32(mbr, 440, 0x1234ABCD);
  mbr[510] = 0x55;
  mbr[511] = 0xAA;
  return mbr;
}

void SetEntry(VirtualSector& table, int entry, bool active, std::uint8_t type, std::uint32_t start,
              std::uint32_t sectors) {
  const std::size_t at = 446 + 16 * (static_cast<std::size_t>(entry) - 1);
  Write(table, at, std::string("\x00\x20\x21\x00\x00\xFE\xFF\xFF", 8));
  table[at] = active ? 0x80 : 0;
  table[at + 4] = type;
  Write32(table, at + 8, start);
  Write32(table, at + 12, sectors);
}

VirtualSector NtfsBootRecord() {
  VirtualSector record = BootRecord(0x11);
  Write(record, 3, "NTFS    ");
  return record;
}

VirtualSector Fat32BootRecord() {
  VirtualSector record = BootRecord(0x22);
  Write(record, 82, "FAT32   ");
  return record;
}

VirtualSector ForeignBootRecord() {
  VirtualSector record{};
  Write(record, 0, "another format");
  return record;
}

void AddImage(VirtualVolume& volume, const Place& place, const VirtualSector& bootRecord) {
  volume.AddFile(place.path, place.sectors * 512, place.lba);
  volume.disk->SetSector(place.lba, bootRecord);
  volume.disk->Put(place.lba + place.sectors - 1, 0, std::string("the end of ") + place.path);
}

VirtualVolume& AddSystemVolume(VirtualPc& pc, VirtualDisk& disk) {
  VirtualVolume& c = pc.AddVolume('C', disk, 2048, disk.SectorCount() - 4096);
  c.tiedToTable = false;
  c.partition = 1;
  c.label = "System";
  c.serial = 0xC0DEC0DE;
  c.AddFile("\\Rotate\\getFileExtents.exe", 40'000, 1'000'000, "MZ extents tool").attributes =
      kAttributeReadOnly;  // as on a CD
  c.AddText("\\Rotate\\Rotate_TSD.exe", "MZ this program");
  c.AddText("\\Windows\\system32\\cmd.exe", "MZ interpreter");
  c.AddText("\\Rotate\\cmd.exe", "MZ planted by somebody");
  c.AddFolder("\\Temp");
  VirtualSector mbr{};
  Write(mbr, 16, "a system disk");
  mbr[510] = 0x55;
  mbr[511] = 0xAA;
  SetEntry(mbr, 1, true, 7, 2048, static_cast<std::uint32_t>(c.sectors));
  disk.SetSector(0, mbr);
  return c;
}

World Make(VirtualPc& pc) {
  VirtualDisk& systemDisk = pc.AddDisk(0, 256'060'514'304, kBusSata, false);
  systemDisk.vendor = "ATA";
  systemDisk.product = "System SSD";
  VirtualDisk& stick = pc.AddDisk(kStick, kStickBytes);
  VirtualVolume& c = AddSystemVolume(pc, systemDisk);
  pc.AddLetter('D', kDeviceTypeCd);
  VirtualVolume& e = pc.AddVolume('E', stick, kMainStart, kMainSectors);
  VirtualVolume& f = pc.AddVolume('F', stick, kSecondStart, kSecondSectors, "FAT32");
  VirtualVolume& inner = pc.AddVolume('E', stick, kNtfsImage.lba, kNtfsImage.sectors);
  World world{systemDisk, stick, c, e, f, inner};

  VirtualSector mbr = Grub4dosMbr();
  SetEntry(mbr, 1, true, 0x07, kMainStart, kMainSectors);
  SetEntry(mbr, 2, false, 0x0C, kSecondStart, kSecondSectors);
  stick.SetSector(0, mbr);
  stick.SetSector(kMainStart, NtfsBootRecord());
  stick.SetSector(kSecondStart, Fat32BootRecord());

  e.label = "TSD";
  e.serial = 0x1A2B3C4D;
  f.serial = 0x55667788;
  e.AddText("\\tsd\\unifont.hex.gz", "font");
  e.AddText("\\_ISO\\tsd\\grub\\tsd.cfg", "menu");
  AddImage(e, kNtfsImage, NtfsBootRecord());
  AddImage(e, kFatImage, Fat32BootRecord());
  AddImage(e, kLinuxImage, ForeignBootRecord());
  AddImage(e, kMarkedImage, NtfsBootRecord());
  AddImage(e, kCompanion, Fat32BootRecord());
  AddImage(e, kFourth, ForeignBootRecord());
  AddInnerVolume(world);
  pc.RenewTables();
  return world;
}

SecondStick AddSecondStick(VirtualPc& pc) {
  VirtualDisk& disk = pc.AddDisk(kStick + 1, 2 * kStickBytes);
  VirtualVolume& g = pc.AddVolume('G', disk, kMainStart, kMainSectors);
  VirtualVolume& h = pc.AddVolume('H', disk, kSecondStart, kSecondSectors, "FAT32");
  VirtualSector mbr = Grub4dosMbr();
  Write32(mbr, 440, 0x0BADCAFE);
  SetEntry(mbr, 1, true, 0x07, kMainStart, kMainSectors);
  SetEntry(mbr, 2, false, 0x0C, kSecondStart, kSecondSectors);
  for (const std::uint64_t lba : {0U, 30U, 60U}) disk.SetSector(lba, mbr);
  disk.SetSector(kMainStart, NtfsBootRecord());
  g.AddText("\\_ISO\\tsd\\grub\\tsd.cfg", "menu of the second stick");
  std::uint64_t lba = 1'500'000;
  for (const Place& place : {kNtfsImage, kFatImage, kMarkedImage, kCompanion, kFourth}) {
    VirtualSector record = Fat32BootRecord();
    Write(record, 100, "of the second stick");
    AddImage(g, {place.path, lba, place.sectors / 2}, record);
    lba += 200'000;
  }
  AddImage(h, {kCompanion.path, kSecondStart + 5000, 64}, Fat32BootRecord());
  pc.RenewTables();
  return {disk, g, h};
}

}  // namespace demo
