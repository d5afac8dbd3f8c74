// Commands that change disks, volumes and files.
#include <algorithm>
#include <set>
#include <stdexcept>
#include <utility>

#include "rehearsal/command_arguments.h"

namespace rehearsal {
namespace {

bool YesOrNo(const std::string& word) {
  return Choose<bool>(word, {{"yes", true}, {"no", false}});
}

VirtualSector Record(const std::string& format) {
  return Choose<VirtualSector (*)()>(format, {{"ntfs", demo::NtfsBootRecord},
                                              {"fat32", demo::Fat32BootRecord},
                                              {"other", demo::ForeignBootRecord},
                                              {"mbr", demo::Grub4dosMbr}})();
}

template <class Change>
void ChangeSector(const Arguments& a, Change change) {
  VirtualSector sector = a.disk.Sector(a.Number(1));
  change(sector);
  a.disk.SetSector(a.Number(1), sector);
}

void Patch(const Arguments& a) {
  ChangeSector(a, [&](VirtualSector& sector) {
    for (std::size_t i = 3; a.Has(i); ++i) sector.at(a.Number(2) + i - 3) = a.Byte(i);
  });
}

void PutNumber(const Arguments& a) {
  ChangeSector(a, [&](VirtualSector& sector) {
    for (unsigned i = 0; i < 4; ++i) {
      sector.at(a.Number(2) + i) = static_cast<std::uint8_t>(a.Number(3) >> (8 * i));
    }
  });
}

void SetEntry(const Arguments& a) {
  ChangeSector(a, [&](VirtualSector& table) {
    demo::SetEntry(table, a.Int(2), a.Has(6) && a.At(6) == "active", a.Byte(3), a.Short(4),
                   a.Short(5));
  });
}

std::set<std::uint64_t> Sectors(const Arguments& a) {
  std::set<std::uint64_t> sectors;
  for (std::size_t i = 1; a.Has(i); ++i) sectors.insert(a.Number(i));
  return sectors;
}

void SetFact(const Arguments& a) {
  VirtualDisk& disk = a.disk;
  const std::string& value = a.At(2);
  if (a.At(1) == "number") {
    disk.number = a.Int(2);
  } else if (a.At(1) == "bytes") {
    disk.bytes = a.Number(2);
  } else if (a.At(1) == "bus") {
    disk.bus = Choose<std::uint32_t>(value, {{"usb", kBusUsb}, {"sata", kBusSata}});
  } else {
    *Choose<bool*>(a.At(1), {{"removable", &disk.removable},
                             {"answers-inquiry", &disk.answersInquiry},
                             {"answers-length", &disk.answersLength},
                             {"refuses-open", &disk.refusesOpen}}) = YesOrNo(value);
  }
}

// As after a switch to Rescue.volPAK.
void Switched(const Arguments& a) {
  VirtualDisk& stick = a.world.demo.stick;
  const VirtualSector saved = stick.Sector(0);
  if (a.At(1) == "file") {
    a.world.demo.inner.AddText("\\tsd\\MBR.BIN", std::string(saved.begin(), saved.end()));
  } else if (a.At(1) != "nowhere") {
    stick.SetSector(a.Number(1), saved);
  }
  VirtualSector table = demo::Grub4dosMbr();
  demo::SetEntry(table, 1, true, 7, demo::kNtfsImage.lba, demo::kNtfsImage.sectors);
  stick.SetSector(0, table);
  a.world.pc.RenewTables();
}

void Exchange(const Arguments& a) {
  if (!a.world.second) throw std::invalid_argument("there is no second stick");
  std::swap(a.world.demo.stick.number, a.world.second->disk.number);
  for (const auto& volume : a.world.pc.machine.volumes) {
    const std::size_t at = std::string("EFGH").find(volume->letter);
    if (at != std::string::npos) volume->letter = "GHEF"[at];
  }
}

void ChangeVolume(const Arguments& a) {
  const char letter = a.At(1).at(0);
  if (a.Has(3) && a.At(2) != "letter" && a.At(2) != "label") {
    a.world.pc.AddVolume(letter, a.disk, a.Number(2), a.Number(3)).tiedToTable = false;
    a.world.pc.RenewTables();
    return;
  }
  VirtualVolume& volume = a.VolumeOf(letter);
  if (a.At(2) == "gone") {
    volume.present = volume.tiedToTable = false;
  } else if (a.At(2) == "on-disk") {
    volume.disk = &a.disk;
    volume.tiedToTable = false;
  } else if (a.At(2) == "letter") {
    volume.letter = a.At(3).at(0);
  } else if (a.At(2) == "label") {
    volume.label = a.At(3);
  } else {
    *Choose<bool*>(a.At(2), {{"busy", &volume.busy}, {"full", &volume.full}}) = true;
  }
}

void AddImage(const Arguments& a) {
  const std::string path = a.Path(1);
  demo::AddImage(a.Volume(1), {path.c_str(), a.Number(2), a.Number(3)}, Record(a.At(4)));
}

void SetAttributes(const Arguments& a) {
  std::uint32_t attributes = 0;
  for (std::size_t i = 2; a.Has(i); ++i) {
    attributes |= Choose<std::uint32_t>(a.At(i), {{"hidden", kAttributeHidden},
                                                  {"system", kAttributeSystem},
                                                  {"read-only", kAttributeReadOnly},
                                                  {"folder", kAttributeDirectory}});
  }
  a.File(1).attributes = attributes;
}

// A saved table like the one on a sector, in a file of so many bytes.
void SaveTable(const Arguments& a) {
  const VirtualSector table = a.disk.Sector(a.Number(3));
  std::string content(table.begin(), table.end());
  content.resize(a.Number(2));
  a.Volume(1).AddText(a.Path(1), content);
}

// Another file with the same contents, length and time.
void Duplicate(const Arguments& a) {
  const VirtualFile& original = a.File(1);
  VirtualVolume& volume = a.Volume(2);
  volume.AddFile(a.Path(2), original.size, a.Number(3)).lastWriteTime = original.lastWriteTime;
  volume.disk->CopySectors(original.extents.at(0).lba, a.Number(3), original.extents[0].sectors);
}

void LayInPieces(const Arguments& a) {
  std::vector<Extent> pieces;
  for (std::size_t i = 2; a.Has(i); i += 2) {
    const std::uint64_t offset =
        pieces.empty() ? 0 : pieces.back().fileOffset + pieces.back().sectors * 512;
    pieces.push_back({offset, a.Number(i), a.Number(i + 1)});
  }
  a.File(1).extents = pieces;
}

const NamedCommand kDiskCommands[] = {
    {"second-stick",
     [](const Arguments& a) { a.world.second.emplace(demo::AddSecondStick(a.world.pc)); }},
    {"switched", Switched},
    {"letters", [](const Arguments& a) { a.world.pc.RenewTables(); }},
    {"exchange", Exchange},
    {"unreadable", [](const Arguments& a) { a.disk.unreadable = Sectors(a); }},
    {"unwritable", [](const Arguments& a) { a.disk.unwritable = Sectors(a); }},
    {"forgetful", [](const Arguments& a) { a.disk.forgetful = Sectors(a); }},
    {"copy", [](const Arguments& a) { a.disk.SetSector(a.Number(2), a.disk.Sector(a.Number(1))); }},
    {"patch", Patch},
    {"number", PutNumber},
    {"text", [](const Arguments& a) { a.disk.Put(a.Number(1), a.Number(2), a.At(3)); }},
    {"fill",
     [](const Arguments& a) { ChangeSector(a, [&](auto& sector) { sector.fill(a.Byte(2)); }); }},
    {"record", [](const Arguments& a) { a.disk.SetSector(a.Number(1), Record(a.At(2))); }},
    {"entry", SetEntry},
    {"is", SetFact},
    {"plug", [](const Arguments& a) { a.world.pc.machine.SetPlugged(a.disk, true); }},
    {"unplug", [](const Arguments& a) { a.world.pc.machine.SetPlugged(a.disk, false); }},
    {"volume", ChangeVolume},
    {"file", [](const Arguments& a) { a.Volume(1).AddText(a.Path(1), a.Has(2) ? a.At(2) : "x"); }},
    {"folder", [](const Arguments& a) { a.Volume(1).AddFolder(a.Path(1)); }},
    {"remove", [](const Arguments& a) { a.Volume(1).Remove(a.Path(1)); }},
    {"rename", [](const Arguments& a) { a.Volume(1).Move(a.Path(1), a.Path(2)); }},
    {"image", AddImage},
    {"attributes", SetAttributes},
    {"save", SaveTable},
    {"size", [](const Arguments& a) { a.File(1).size = a.Number(2); }},
    {"hold",
     [](const Arguments& a) {
       a.Volume(1).Hold(a.Path(1), {kShareAll, a.Has(2) ? a.Number(2) : 0});
     }},
    {"lock", [](const Arguments& a) { a.File(1).heldOpen = true; }},
    {"let-go", [](const Arguments& a) { a.world.demo.e.LetGo(); }},
    {"duplicate", Duplicate},
    {"pieces", LayInPieces},
    {"pin", [](const Arguments& a) { a.Volume(1).Hold(a.Path(1), {kShareReadWriteOnly}); }},
};

}  // namespace

Words SplitWords(const std::string& line) {
  Words words;
  for (std::size_t at = line.find_first_not_of(' '); at < line.size();
       at = line.find_first_not_of(' ', at)) {
    const bool quoted = line[at] == '"';
    const std::size_t begin = at + (quoted ? 1 : 0);
    at = std::min(line.find(quoted ? '"' : ' ', begin), line.size());
    std::string word = line.substr(begin, at - begin);
    for (std::size_t mark = 0; (mark = word.find("{crlf}")) != std::string::npos;) {
      word.replace(mark, 6, "\r\n");
    }
    words.push_back(word);
    if (quoted && at < line.size()) ++at;
  }
  return words;
}

bool ChangeWorld(World& world, const Words& words) {
  VirtualDisk* disk = &world.demo.stick;
  Words rest = words;
  if (!rest.empty() && rest[0] == "system") disk = &world.demo.systemDisk;
  if (!rest.empty() && rest[0] == "second" && world.second) disk = &world.second->disk;
  if (disk != &world.demo.stick) rest.erase(rest.begin());
  const std::string name = rest.empty() ? "" : rest[0];
  for (const auto& commands : {std::span<const NamedCommand>(kDiskCommands), PcCommands()}) {
    for (const auto& [known, command] : commands) {
      if (name != known) continue;
      command({world, *disk, rest});
      return true;
    }
  }
  return false;
}

}  // namespace rehearsal
