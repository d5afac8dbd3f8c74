#include "tests/invariants.h"

#include <algorithm>
#include <ostream>

#include "imagefiles/file_extents.h"
#include "shell/program.h"
#include "text/text.h"

namespace {

void Nothing(VirtualPc&, demo::World&) {
}

// The stick as a switch to the first image leaves it.
void Switched(VirtualPc& pc, demo::World& world) {
  const VirtualSector table = world.stick.Sector(0);
  world.stick.SetSector(30, table);
  world.stick.SetSector(60, table);
  const demo::Place& image = demo::kNtfsImage;
  world.stick.SetSector(0, NewTable(table, ".volPAK",
                                    {static_cast<std::uint32_t>(image.lba),
                                     static_cast<std::uint32_t>(image.sectors), 7},
                                    {}, {}));
  pc.RenewTables();
}

constexpr std::uint64_t kImageAt = 1'000'000, kCompanionAt = 950'000, kFreeFrom = 1'000'100;

// The companion lies in front of its image. What is copied comes to lie behind both.
void WrongOrder(VirtualPc&, demo::World& world) {
  demo::AddImage(world.e, {"\\_ISO\\B.volPAK", kImageAt, 64}, demo::NtfsBootRecord());
  demo::AddImage(world.e, {"\\_ISO\\B", kCompanionAt, 64}, demo::Fat32BootRecord());
  world.e.reservedSectors = kFreeFrom - demo::kMainStart;
}

void WrongOrderTwoRounds(VirtualPc& pc, demo::World& world) {
  WrongOrder(pc, world);
  world.e.placements = {{.lba = 960'000}};
}

// The companion can't be moved, so the image is, to a place in front of it.
void WrongOrderReadOnly(VirtualPc& pc, demo::World& world) {
  WrongOrder(pc, world);
  world.e.Find("\\_ISO\\B")->attributes = 1;
  world.e.placements = {{.lba = 940'000}};
}

}  // namespace

const std::vector<Act> kActs{
    {"a plain switch", Act::Kind::Switch, Nothing, Open("E:\\_ISO\\Rescue"),
     "\\_ISO\\Rescue.volPAK"},
    {"with companion and fourth", Act::Kind::Switch, Nothing, Open("E:\\_ISO\\A.vol"),
     "\\_ISO\\A.volPAKX4DATA"},
    {"a repair in two rounds", Act::Kind::Switch, WrongOrderTwoRounds, Open("E:\\_ISO\\B.vol"),
     "\\_ISO\\B.volPAK"},
    {"a repair by moving the image", Act::Kind::Switch, WrongOrderReadOnly, Open("E:\\_ISO\\B.vol"),
     "\\_ISO\\B.volPAK"},
    {"a restore", Act::Kind::Restore, Switched, Click(Control::cmdRestoreTSD)},
    {"a swap", Act::Kind::Swap, Nothing, Click(Control::cmdSwitchPtns)},
};

void PrintTo(const Act& act, std::ostream* out) {
  *out << act.name;
}

Stage::Stage(const Act& act) : world(demo::Make(pc)), act_(act) {
  unswitched = world.stick.Sector(0);
  act.prepare(pc, world);
  before = world.stick.Sector(0);
  for (VirtualVolume* volume : {&world.e, &world.f, &world.inner}) Remember(*volume, "");
  Start();
  Remember(world.c, "");
  systemDisk_ = world.systemDisk.Contents();
  pc.machine.journal.Clear();
  pc.toolkit.boxes.clear();
}

RunEnd Stage::Start() {
  pc.toolkit.defaultsAllowed = true;
  ShowImageVolume();
  return pc.Run([&] { RunProgram(pc.platform()); });
}

RunEnd Stage::Perform() {
  return pc.Run([&] { pc.toolkit.Do(act_.action); });
}

void Stage::ShowImageVolume() {
  const VirtualSector table = world.stick.Sector(0);
  if (act_.kind != Act::Kind::Switch || table == before) return;
  world.inner.firstSector = Word32(table, 454);
  pc.RenewTables();
}

std::string Stage::PerformAgain() {
  const bool done = !SectorIs(0, before);
  const bool back = done && act_.kind == Act::Kind::Switch;
  const UserAction action = back ? Click(Control::cmdRestoreTSD) : act_.action;
  if (done && act_.kind == Act::Kind::Restore) return "";  // nothing is left to be done
  ShowImageVolume();
  bool worked = true;
  const RunEnd end = pc.Run([&] {
    pc.toolkit.Do(Click(Control::cmdRefreshDrive));
    pc.toolkit.Do(Pick(Control::Combo1, "E:"));
    worked = pc.toolkit.Do(action);
  });
  if (end != RunEnd::Returned) return "7: the second try came to no end";
  if (!worked) return "7: the second try could not be clicked";
  if (back) return SectorIs(0, unswitched) ? "" : "7: the restore did not bring the table back";
  if (act_.kind == Act::Kind::Swap && done) return SectorIs(0, before) ? "" : "7: not swapped back";
  return SectorIs(0, before) ? "7: the second try changed nothing" : "";
}

void Stage::RenameByHand() {
  for (auto& [volume, files] : files_) {
    for (const auto& [path, kept] : files) {
      for (const char* ending : {"xxx", "zzz"}) {
        if (volume->Find(path) == nullptr && volume->Find(path + ending) != nullptr) {
          volume->Move(path + ending, path);
        }
      }
    }
  }
}

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
      if (offset == 0 && act_.image != nullptr) std::fill_n(&kept.sectors[0][28], 4, 0);
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

std::vector<VirtualSector> Stage::NewTables() {
  if (act_.kind == Act::Kind::Restore) return {unswitched};
  if (act_.kind == Act::Kind::Swap) {
    VirtualSector swapped = before;
    std::swap_ranges(&swapped[446], &swapped[462], &swapped[462]);
    return {swapped};
  }
  const std::string image = act_.image;
  const std::size_t dot = image.rfind('.');
  const std::size_t x4 = image.find("X4", dot);
  // A role as it may come to be: not at all, or one of the files that are looked for in this order,
  // with the type that was answered or with its own. Last the one without a failure.
  const auto choices = [&](const std::vector<std::string>& paths) {
    std::vector<std::optional<Role>> all{std::nullopt};
    for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
      const VirtualFile* file = ((*path)[0] == 'F' ? world.f : world.e).Find(path->substr(2));
      if (file == nullptr || file->extents.size() != 1) continue;
      Role role{static_cast<std::uint32_t>(file->extents[0].lba),
                static_cast<std::uint32_t>((file->size + 511) / 512), 0x83};
      all.emplace_back(role);
      role.type = FormatOf(world.stick.Sector(file->extents[0].lba));
      if (role.type != 0) all.emplace_back(role);
    }
    return all;
  };
  std::vector<VirtualSector> tables;
  const std::string base = image.substr(6, dot - 6);  // behind \_ISO\, where each image lies
  const auto companions = choices({"F:\\_ISO\\" + base, "F:\\" + base, "E:\\_ISO\\" + base});
  const std::string name = x4 == std::string::npos ? "" : image.substr(x4 + 2);
  const auto fourths =
      name.empty() ? choices({}) : choices({"F:\\_ISO\\" + name, "E:\\_ISO\\" + name});
  for (const auto& first : choices({"E:" + image})) {
    for (const auto& companion : companions) {
      for (const auto& fourth : fourths) {
        if (first) tables.push_back(NewTable(before, image.substr(dot), *first, companion, fourth));
      }
    }
  }
  return tables;
}

void Stage::CheckWrites(Breaches& breaches) const {
  const VirtualFile* image = act_.image != nullptr ? world.e.Find(act_.image) : nullptr;
  const std::uint64_t ofImage = image != nullptr ? image->extents[0].lba : 0;
  for (const JournalEntry& write : pc.machine.journal.Only(MaskOf(Op::Write))) {
    const bool place = write.lba == 0 || write.lba == 30 || write.lba == 60 || write.lba == ofImage;
    if (write.count == 0) continue;  // it threw before it was looked at
    if (write.subject != "PhysicalDrive1" || !place || write.count != 1) {
      breaches.push_back("1: " + write.Text());
    }
  }
  if (world.systemDisk.Contents() != systemDisk_) breaches.push_back("1: the system disk changed");
}

void Stage::CheckFiles(Breaches& breaches, bool nameless) {
  for (const auto& [volume, files] : files_) {
    for (const auto& [path, kept] : files) {
      const VirtualFile* file = volume->Find(path);
      for (const char* ending : {"xxx", "zzz"}) {
        if (nameless && file == nullptr) file = volume->Find(path + ending);
      }
      if (file == nullptr) {
        breaches.push_back("4: " + path + " is gone");
      } else if (Look(*volume, *file) != kept) {
        breaches.push_back("4: " + path + " holds something else");
      }
    }
  }
}

Breaches Stage::OnDisk(bool nameless) {
  Breaches breaches;
  CheckWrites(breaches);
  const std::vector<VirtualSector> allowed = NewTables();
  const VirtualSector now = world.stick.Sector(0);
  const bool isNew = std::find(allowed.begin(), allowed.end(), now) != allowed.end();
  if (now != before && !isNew) breaches.push_back("2: sector 0 is a third thing");
  if (act_.kind != Act::Kind::Swap && now != unswitched && !SectorIs(30, unswitched) &&
      !SectorIs(60, unswitched)) {
    breaches.push_back("3: there is no way back");
  }
  CheckFiles(breaches, nameless);
  return breaches;
}

Breaches Stage::Everything(RunEnd end, bool renamesFail) {
  Breaches breaches = OnDisk(renamesFail);
  if (end != RunEnd::Returned) breaches.push_back("the act came to no end");
  const auto& boxes = pc.toolkit.boxes;
  const bool mayHoldDisk = std::any_of(boxes.begin(), boxes.end(), [](const ShownBox& shown) {
    return shown.box.title == "Error in Adjusting Hidden Sectors in PBR";
  });
  for (const std::string& name : pc.OpenHandles()) {
    if (name != GFE_Path && !(mayHoldDisk && name == "PhysicalDrive1")) {
      breaches.push_back("5: open " + name);
    }
  }
  for (const std::string& name : pc.HeldLocks()) breaches.push_back("5: locked " + name);
  const std::string tool =
      "\"C:\\Windows\\system32\\cmd.exe\" /c C:\"" + GFE_Path.substr(2) + "\" \"";
  for (const JournalEntry& entry : pc.machine.journal.Only(MaskOf(Op::Shell, Op::Executed))) {
    bool known = entry.subject.starts_with(tool);
    for (const char* file : {"E:\\_ISO\\B", "F:\\_ISO\\B", "F:\\B"}) {
      known = known || entry.subject.starts_with(std::string("cmd.exe /c copy ") + file);
    }
    if (entry.op == Op::Executed || !known) breaches.push_back("6: " + entry.Text());
  }
  return breaches;
}
