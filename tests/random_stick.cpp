// Sticks made at random, and a user who answers at random.
#include <algorithm>

#include "shell/program.h"
#include "tests/random_inside.h"

namespace {

constexpr std::uint64_t kLargest = 0xFFFFFFFF;  // that an entry can hold
constexpr std::uint64_t kSecondVolume = 40'000'000, kEnd = std::uint64_t{1} << 34;

}  // namespace

void RandomWorld::Inside::MakeTable() {
  VirtualSector table{};
  for (std::size_t i = 0; i < 440; ++i) table[i] = static_cast<std::uint8_t>(random());
  if (Chance(90)) {
    const std::string mark = Chance(70) ? "Missing MBR-hel" : "Missing hel";
    std::copy(mark.begin(), mark.end(), table.begin() + static_cast<long>(Number(425)));
  } else if (Chance(50)) {
    std::copy_n("FLBT", 4, &table[345]);
    std::copy_n("Boot", 4, &table[355]);
  }
  for (std::size_t i = 440; i < 444; ++i) table[i] = static_cast<std::uint8_t>(random());
  table[510] = Chance(97) ? 0x55 : 0;
  table[511] = 0xAA;
  const auto type = [&] { return OneOf<std::uint8_t>({7, 12, 0x83, 0x21, 0x17}); };
  int places[] = {1, 2, 3, 4};
  std::shuffle(places, places + 4, random);
  if (Chance(60)) std::sort(places, places + 4);
  demo::SetEntry(table, places[0], true, type(), static_cast<std::uint32_t>(e->firstSector),
                 static_cast<std::uint32_t>(e->sectors));
  demo::SetEntry(table, places[1], false, type(), kSecondVolume, 4'000'000'000);
  for (const int further : {places[2], places[3]}) {
    if (Chance(30)) demo::SetEntry(table, further, Chance(10), type(), 63, 100);
  }
  if (Chance(5)) table[446] = 0x01;
  stick->SetSector(0, table);
}

VirtualSector RandomWorld::Inside::SomeBackup() {
  VirtualSector sector{};
  switch (Number(5)) {
    case 0:
      sector.fill(static_cast<std::uint8_t>(random()));
      break;
    case 1:
      for (auto& byte : sector) byte = static_cast<std::uint8_t>(random());
      break;
    case 2:
      sector = stick->Sector(0);
      demo::SetEntry(sector, 2, false, 7, 5'000'000, 1000);
      break;
    default:
      break;
  }
  return sector;
}

void RandomWorld::Inside::MakeFile(VirtualVolume& volume, const std::string& path) {
  if (volume.Find(path) != nullptr) return;
  if (Chance(3)) {
    volume.AddFolder(path);
    return;
  }
  std::uint64_t lba = volume.firstSector + 200'000 + Number(60) * 8'000'00 / 2;
  std::uint64_t size = 1 + Number(Chance(10) ? 33 * 512 : 100 * 512);
  if (Chance(2)) size = 0;
  if (&volume == f && Chance(3)) lba = kLargest + 1 - Number(2) + slot++;
  if (&volume == f && Chance(2)) size = (kLargest + Number(3)) * 512;
  std::vector<Extent> pieces;
  if (size > 0) pieces = {{0, lba, (size + 511) / 512}};
  if (size > 1024 && Chance(4)) pieces = {{0, lba, 1}, {512, lba + 8, (size - 1) / 512}};
  try {
    volume.AddPieces(path, size, pieces).attributes = Chance(5) ? 1 : Chance(10) ? 2 : 0;
  } catch (const std::logic_error&) {
    return;  // the place is taken: there is no such file
  }
  if (size == 0) return;
  VirtualSector first = demo::ForeignBootRecord();
  if (Chance(60)) first = Chance(50) ? demo::NtfsBootRecord() : demo::Fat32BootRecord();
  if (Chance(5)) std::copy_n("NTFS", 4, &first[3]);
  stick->SetSector(lba, first);
}

void RandomWorld::Inside::Make() {
  demo::AddSystemVolume(pc, pc.AddDisk(0, 256'000'000'000, kBusSata, false));
  stick = &pc.AddDisk(1, kEnd * 512);
  const std::uint64_t first = OneOf<std::uint64_t>({2048, 63, 70'000});
  e = &pc.AddVolume('E', *stick, first, kSecondVolume - first);
  f = &pc.AddVolume('F', *stick, kSecondVolume, kEnd - kSecondVolume);
  MakeTable();
  if (Chance(80)) stick->SetSector(30, SomeBackup());
  if (Chance(80)) stick->SetSector(60, SomeBackup());
  if (Chance(80)) e->AddText("\\tsd\\unifont.hex.gz", "font");
  for (const std::string base : {"A", "b c", "D.E"}) {
    const std::string folder = OneOf<std::string>({"\\_ISO\\", "\\_ISO\\WIN\\"});
    const std::string extension = OneOf<std::string>(
        {".volPAK", ".VOLPAK2", ".volpak23", ".volPAKauto", ".volPAKX4data", ".volPAK2x4DATA",
         ".volPAK23X4data2", ".volPAKX4", ".volPAK1", ".volPAKX4none", ".volPAK.x2"});
    MakeFile(Chance(70) ? *e : *f, folder + base + extension);
    for (const std::string& path : {folder + base, "\\_ISO\\" + base, "\\" + base}) {
      if (Chance(15)) MakeFile(Chance(50) ? *e : *f, path);
    }
    for (const std::string& path : {folder + "data", std::string("\\_ISO\\DATA")}) {
      if (Chance(40)) MakeFile(Chance(50) ? *e : *f, path);
    }
  }
  pc.RenewTables();
  LetTheUserAnswer();
  pc.Run([&] { RunProgram(pc.platform()); });
}

void RandomWorld::Inside::LetTheUserAnswer() {
  pc.toolkit.onBox = [this](const Box& box) {
    if (box.buttons == Buttons::Ok) return Answer::Ok;
    if (box.buttons == Buttons::OkCancel) return Chance(85) ? Answer::Ok : Answer::Cancel;
    return OneOf({Answer::Yes, Answer::No, Answer::No, Answer::Cancel});
  };
  pc.toolkit.onInput = [this](const ShownInput&) {
    return OneOf<std::string>({"0x83", "", "7", "0C", "0x0b", "1", "0X7F", "OxAF", "100", "zz", "0",
                               "123456789ABCDEF01234", "82 swap"});
  };
}
