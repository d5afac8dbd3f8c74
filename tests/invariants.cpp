#include "tests/invariants.h"

#include <algorithm>

#include "imagefiles/file_extents.h"
#include "text/text.h"

namespace {

bool Holds(const std::vector<VirtualSector>& tables, const VirtualSector& table) {
  return std::find(tables.begin(), tables.end(), table) != tables.end();
}

// Neither blank nor a place where a switch saves tables.
bool IsForeign(const VirtualSector& sector) {
  const bool uniform = std::all_of(sector.begin(), sector.end(),
                                   [&](std::uint8_t byte) { return byte == sector[0]; });
  return !uniform && !CarriesGrub4dos(sector);
}

bool IsPatched(unsigned type) {
  return type == 7 || type == 11 || type == 12;
}

}  // namespace

bool Stage::SectorIs(std::uint64_t lba, const VirtualSector& data) const {
  return world.stick.Sector(lba) == data;
}

Stage::Kept Stage::Look(VirtualVolume& volume, const VirtualFile& file) const {
  Kept kept{file.size, {}, file.resident};
  for (const Extent& piece : file.extents) {
    const Contents& all = volume.disk->Contents();
    for (auto at = all.lower_bound(piece.lba); at != all.lower_bound(piece.lba + piece.sectors);
         ++at) {
      const std::uint64_t offset = piece.fileOffset / 512 + at->first - piece.lba;
      kept.sectors[offset] = at->second;
      // The one field of a file that a switch is there to change.
      if (offset == 0 && act_.image != nullptr && file.path.starts_with(act_.image)) {
        std::fill_n(&kept.sectors[0][28], 4, 0);
      }
    }
  }
  return kept;
}

void Stage::Remember(VirtualVolume& volume, const std::string& folder) {
  for (const VirtualFile* file : volume.List(folder)) {
    if ((file->attributes & kAttributeDirectory) != 0) {
      Remember(volume, file->path);
    } else {
      files_[&volume].emplace(file->path, Look(volume, *file));
    }
  }
}

// A role as it may come to be: not at all, or one of the files that are looked for in this order,
// with the type that was answered or with its own. Last the one without a failure.
std::vector<std::optional<Role>> Stage::Choices(const std::vector<std::string>& paths) {
  std::vector<std::optional<Role>> all{std::nullopt};
  const auto add = [&](const VirtualFile& file) {
    if (file.extents.size() != 1) return;
    Role role{static_cast<std::uint32_t>(file.extents[0].lba),
              static_cast<std::uint32_t>((file.size + 511) / 512), 0x83};
    all.emplace_back(role);
    role.type = FormatOf(world.stick.Sector(file.extents[0].lba));
    if (role.type != 0) all.emplace_back(role);
  };
  for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
    const std::string name = path->substr(2);
    if (imageThen_ && measuredAt_ < actedAt_ && name == act_.image) add(*imageThen_);
    VirtualVolume& volume = (*path)[0] == 'F' ? world.f : ImageVolume();
    if (const VirtualFile* file = volume.Find(name)) add(*file);
  }
  return all;
}

std::vector<VirtualSector> Stage::NewTables(const VirtualSector& old) {
  if (act_.kind == Act::Kind::StartUp) return {};
  if (act_.kind == Act::Kind::Restore) return {unswitched};
  if (act_.kind == Act::Kind::Swap) {
    VirtualSector swapped = old;
    std::swap_ranges(&swapped[446], &swapped[462], &swapped[462]);
    return {swapped};
  }
  const std::string image = act_.image;
  const std::size_t dot = image.rfind('.');
  const std::size_t x4 = image.find("X4", dot);
  std::vector<VirtualSector> tables;
  const std::string base = image.substr(6, dot - 6);  // after \_ISO\, where each image lies
  const auto companions = Choices({"F:\\_ISO\\" + base, "F:\\" + base, "E:\\_ISO\\" + base});
  const std::string name = x4 == std::string::npos ? "" : image.substr(x4 + 2);
  const auto fourths =
      name.empty() ? Choices({}) : Choices({"F:\\_ISO\\" + name, "E:\\_ISO\\" + name});
  for (const auto& first : Choices({"E:" + image})) {
    for (const auto& companion : companions) {
      for (const auto& fourth : fourths) {
        if (first) tables.push_back(NewTable(old, image.substr(dot), *first, companion, fourth));
      }
    }
  }
  return tables;
}

bool Stage::Said(const std::string& text) const {
  const auto& boxes = pc.toolkit.boxes;
  return std::any_of(boxes.begin(), boxes.end(), [&](const ShownBox& shown) {
    return Contains(shown.box.title, text) || Contains(shown.box.text, text);
  });
}

bool Stage::Agreed() const {
  const auto& boxes = pc.toolkit.boxes;
  const auto last = std::find_if(boxes.rbegin(), boxes.rend(), [](const ShownBox& shown) {
    return shown.box.buttons == Buttons::OkCancel;
  });
  return last != boxes.rend() && last->answer == Answer::Ok;
}

bool Stage::IsSaved(const VirtualDisk& disk, const VirtualSector& table) {
  if (disk.Sector(30) == table || disk.Sector(60) == table) return true;
  const VirtualFile* file = world.inner.Find("\\tsd\\MBR.BIN");
  return &disk == &world.stick && file != nullptr &&
         file->resident == std::string(table.begin(), table.end());
}

bool Stage::IsAnothersStickByNow() const {
  const bool moved = what_ == Other::SwapsSticks ||
                     (what_ == Other::MovesLetter && act_.kind != Act::Kind::Switch);
  return HasActed() && moved && !writes_.empty() && writes_[0].disk == &other.disk &&
         actedAt_ <= writes_[0].read;
}

void Stage::CheckWrites(Breaches& breaches) {
  std::vector<std::uint64_t> places{0, 30, 60};
  if (act_.kind == Act::Kind::Switch) {
    for (const auto& role : Choices({std::string("E:") + act_.image})) {
      if (role) places.push_back(role->start);
    }
  }
  for (const JournalEntry& write : pc.machine.journal.Only(MaskOf(Op::Write))) {
    if (write.count == 0) continue;  // it threw before it was looked at
    if (HasActed() && (what_ == Other::SwapsSticks || what_ == Other::MovesLetter)) continue;
    const bool place = std::find(places.begin(), places.end(), write.lba) != places.end();
    if (write.subject != "PhysicalDrive1" || !place || write.count != 1)
      breaches.push_back("1: " + write.Text());
  }
  if (world.systemDisk.Contents() != systemDisk_ && act_.kind != Act::Kind::StartUp) {
    breaches.push_back("1: the system disk changed");
  }
  // A repair on the stick that has come in between works through the file system.
  if (HasActed() && (what_ == Other::SwapsSticks || what_ == Other::MovesLetter)) {
    for (const Write& write : writes_) {
      if (write.disk != &other.disk || Excused(write) || IsAnothersStickByNow()) continue;
      breaches.push_back("1: the second stick was written");
    }
  } else if (other.disk.Contents() != second_) {
    breaches.push_back("1: the second stick changed");
  }
}

void Stage::CheckTables(Breaches& breaches) {
  const VirtualSector now = world.stick.Sector(0);
  const bool isOld = Holds(olds_, now);
  bool isNew = false;
  for (const VirtualSector& old : olds_) isNew = isNew || Holds(NewTables(old), now);
  if (!isOld && !isNew) breaches.push_back("2: sector 0 is a third thing");
  const bool mayGoBack = act_.kind == Act::Kind::Swap || now == unswitched ||
                         IsSaved(world.stick, unswitched) || (isOld && now != before);
  bool saved = mayGoBack;
  for (const VirtualSector& old : olds_) {
    saved = saved || (old != before && Holds(NewTables(old), now) && IsSaved(world.stick, old));
  }
  if (!saved) breaches.push_back("3: there is no way back");
  if ((IsForeign(old30_) && !SectorIs(30, old30_)) ||
      (IsForeign(old60_) && !SectorIs(60, old60_))) {
    breaches.push_back("7: a foreign sector was taken for a copy");
  }
  for (const Write& write : writes_) {
    if (write.sector.lba != 0 || Excused(write)) continue;
    const VirtualSector& replaced = write.sector.before;
    const bool saves = act_.kind == Act::Kind::Switch;
    const bool known = saves ? IsSaved(*write.disk, replaced) || IsSwitched(replaced, unswitched)
                             : actedAt_ <= write.read || replaced == before;
    if (!known) breaches.push_back("9: a table was replaced that nobody has seen");
  }
}

void Stage::CheckBootRecord(Breaches& breaches) {
  for (const Write& write : writes_) {
    const std::uint64_t lba = write.sector.lba;
    if (lba == 0 || lba == 30 || lba == 60 || Excused(write)) continue;
    VirtualSector expected = write.sector.before;
    for (std::size_t i = 0; i < 4; ++i) {
      expected[28 + i] = static_cast<std::uint8_t>(lba >> (8 * i));
    }
    if (write.sector.after != expected) breaches.push_back("8: more than the field was written");
  }
  const VirtualSector now = world.stick.Sector(0);
  if (act_.kind != Act::Kind::Switch || Holds(olds_, now) || !IsPatched(now[450])) return;
  const std::uint32_t start = Word32(now, 454);
  if (Word32(world.stick.Sector(start), 28) != start && !Said("Adjusting Hidden Sectors")) {
    breaches.push_back("8: the image does not know its place");
  }
}

std::vector<VirtualFile*> Stage::StandIns(VirtualVolume& volume, const std::string& path,
                                          const Kept& kept) {
  std::vector<VirtualFile*> all = volume.List(ParentOf(path));
  std::erase_if(all, [&](const VirtualFile* file) {
    return file->path == path || !file->path.starts_with(path) || Look(volume, *file) != kept;
  });
  return all;
}

void Stage::CheckFiles(Breaches& breaches, bool nameless) {
  for (const auto& [volume, files] : files_) {
    for (const auto& [path, kept] : files) {
      const VirtualFile* file = volume->Find(path);
      const bool stands = file != nullptr || !StandIns(*volume, path, kept).empty();
      if (!stands) {
        breaches.push_back("4: " + path + " is gone");
      } else if (file != nullptr && Look(*volume, *file) != kept) {
        breaches.push_back("4: " + path + " holds something else");
      } else if (file == nullptr && !nameless) {
        breaches.push_back("4: " + path + " has lost its name");
      }
    }
  }
}

void Stage::CheckNames(Breaches& breaches) {
  for (const auto& [volume, files] : files_) {
    for (const auto& [path, kept] : files) {
      if (volume->Find(path) != nullptr) continue;
      const auto all = StandIns(*volume, path, kept);
      if (all.empty() || std::any_of(all.begin(), all.end(), [&](const VirtualFile* file) {
            return Said(NameOf(file->path));
          })) {
        continue;
      }
      breaches.push_back("4: no box says that " + path + " is now " + all[0]->path);
    }
  }
}

void Stage::CheckProgram(Breaches& breaches, RunEnd end) {
  const bool ended = end == RunEnd::ProcessEnded && act_.kind == Act::Kind::StartUp;
  if (end != RunEnd::Returned && !ended) breaches.push_back("the act came to no end");
  const bool mayHoldDisk = Said("Error in Adjusting Hidden Sectors in PBR");
  for (const std::string& name : pc.OpenHandles()) {
    if (name != GFE_Path && !(mayHoldDisk && name == "PhysicalDrive1") && !ended) {
      breaches.push_back("5: open " + name);
    }
  }
  for (const std::string& name : pc.HeldLocks()) breaches.push_back("5: locked " + name);
  const std::size_t colon = std::min<std::size_t>(2, GFE_Path.size());
  const std::string tool = "\"C:\\Windows\\system32\\cmd.exe\" /c " + GFE_Path.substr(0, colon) +
                           "\"" + GFE_Path.substr(colon) + "\" \"";
  for (const JournalEntry& entry : pc.machine.journal.Only(MaskOf(Op::Shell, Op::Executed))) {
    bool known = entry.subject.starts_with(tool);
    for (const char* file : {"\\_ISO\\A", "\\_ISO\\B", "\\_ISO\\DATA", "\\B"}) {
      for (const char* letter : {"E:", "F:", "G:", "H:"}) {
        known = known || entry.subject.starts_with(std::string("cmd.exe /c copy ") + letter + file);
      }
    }
    if (entry.op == Op::Executed || !known) breaches.push_back("6: " + entry.Text());
  }
  if (HasActed() || !Agreed() || IsDone()) return;
  const auto& boxes = pc.toolkit.boxes;
  const bool says = std::any_of(boxes.begin(), boxes.end(), [](const ShownBox& shown) {
    return shown.box.buttons == Buttons::Ok && !Contains(shown.box.text, "UNKNOWN PARTITION TYPE");
  });
  if (!says) breaches.push_back("10: no box says that sector 0 is the old one");
}

Breaches Stage::OnDisk(bool nameless) {
  Breaches breaches;
  CheckWrites(breaches);
  if (!IsAnothersStickByNow()) CheckTables(breaches);
  CheckBootRecord(breaches);
  CheckFiles(breaches, nameless);
  return breaches;
}

Breaches Stage::Everything(RunEnd end, bool lasting) {
  Breaches breaches = OnDisk(lasting);
  CheckNames(breaches);
  CheckProgram(breaches, end);
  return breaches;
}
