// A run of the program on the stage, with what others do meanwhile.
#include <algorithm>

#include "shell/program.h"
#include "tests/invariants.h"
#include "text/text.h"

Stage::Stage(const Act& act) : world(demo::Make(pc)), other(demo::AddSecondStick(pc)), act_(act) {
  unswitched = world.stick.Sector(0);
  act.prepare(pc, world);
  before = world.stick.Sector(0);
  for (VirtualVolume* volume : {&world.e, &world.f, &world.inner, &other.g, &other.h}) {
    Remember(*volume, "");
  }
  if (act.kind != Act::Kind::StartUp) Start();
  Remember(world.c, "");
  systemDisk_ = world.systemDisk.Contents();
  second_ = other.disk.Contents();
  old30_ = world.stick.Sector(30);
  old60_ = world.stick.Sector(60);
  olds_ = {before};
  pc.machine.journal.Clear();
  pc.toolkit.boxes.clear();
  pc.machine.operations = 0;
  pc.machine.beforeOperation = [this](std::size_t operation) { Watch(operation); };
}

void Stage::BeginWithThis() {
  unswitched = before = world.stick.Sector(0);
  old30_ = world.stick.Sector(30);
  old60_ = world.stick.Sector(60);
  olds_ = {before};
}

RunEnd Stage::Start() {
  pc.toolkit.defaultsAllowed = true;
  ShowImageVolume();
  return pc.Run([&] { RunProgram(pc.platform()); });
}

RunEnd Stage::Perform() {
  const RunEnd end =
      act_.kind == Act::Kind::StartUp ? Start() : pc.Run([&] { pc.toolkit.Do(act_.action); });
  Watch(pc.machine.operations + 1);
  return end;
}

VirtualVolume& Stage::ImageVolume() {
  return world.inner.Find(act_.image) != nullptr ? world.inner : world.e;
}

void Stage::ShowImageVolume() {
  const VirtualSector table = world.stick.Sector(0);
  if (act_.kind != Act::Kind::Switch || table == before) return;
  world.inner.Remove(act_.image);
  world.inner.firstSector = Word32(table, 454);
  pc.RenewTables();
}

bool Stage::IsDone() {
  if (act_.kind == Act::Kind::StartUp) {
    const auto& rows = pc.toolkit.At(Control::Combo1).rows;
    return !rows.empty() && rows[0].starts_with("E:") &&
           !pc.toolkit.At(Control::List1).rows.empty();
  }
  const std::vector<VirtualSector> all = NewTables(before);
  return std::find(all.begin(), all.end(), world.stick.Sector(0)) != all.end();
}

std::string Stage::PerformAgain() {
  if (act_.kind == Act::Kind::StartUp) {
    pc.Reboot();
    return Start() == RunEnd::Returned && IsDone() ? "" : "7: the second start shows no stick";
  }
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
  if (end != RunEnd::Returned) return "the second try came to no end";
  if (!worked) return "the second try could not be clicked";
  if (back) return SectorIs(0, unswitched) ? "" : "the restore did not bring the table back";
  if (act_.kind == Act::Kind::Swap && done) return SectorIs(0, before) ? "" : "not swapped back";
  return SectorIs(0, before) ? "the second try changed nothing" : "";
}

void Stage::RenameByHand() {
  for (auto& [volume, files] : files_) {
    for (const auto& [path, kept] : files) {
      if (volume->Find(path) != nullptr) continue;
      const auto all = StandIns(*volume, path, kept);
      if (!all.empty()) volume->Move(std::string(all[0]->path), path);
    }
  }
}

void Stage::Interfere(Other what, std::size_t nth) {
  what_ = what;
  actAt_ = nth;
}

// What the operation before this one did, and the boxes between them.
void Stage::Watch(std::size_t operation) {
  const VirtualDisk* disks[] = {&world.stick, &other.disk};
  for (std::size_t i = 0; i < 2; ++i) {
    for (; taken_[i] < disks[i]->written.size(); ++taken_[i]) {
      writes_.push_back({disks[i], disks[i]->written[taken_[i]], known_,
                         readBeforeQuestion_.value_or(lastRead_)});
    }
  }
  const std::vector<JournalEntry>& journal = pc.machine.journal.Entries();
  for (; journalSeen_ < journal.size(); ++journalSeen_) {
    const JournalEntry& done = journal[journalSeen_];
    if (done.op == Op::Read && done.ok && done.lba == 0 && done.count == 1) {
      lastRead_ = known_ = operation - 1;
    }
    if (done.op == Op::ChildTool && act_.image != nullptr && done.subject.ends_with(act_.image)) {
      measuredAt_ = operation - 1;
    }
  }
  for (; boxesSeen_ < pc.toolkit.boxes.size(); ++boxesSeen_) {
    if (pc.toolkit.boxes[boxesSeen_].box.buttons == Buttons::Ok) continue;
    readBeforeQuestion_ = lastRead_;
    known_ = operation;
  }
  if (operation != actAt_ || actedAt_ != 0) return;
  actedAt_ = operation;
  ActAsOther();
}

void Stage::ActAsOther() {
  const auto exchangeLetters = [&](char one, char two) {
    for (const auto& volume : pc.machine.volumes) {
      if (volume->letter == one || volume->letter == two) {
        volume->letter = volume->letter == one ? two : one;
      }
    }
  };
  if (what_ == Other::WritesTable) {
    VirtualSector table = world.stick.Sector(0);
    demo::SetEntry(table, 4, false, 0x83, 24'000'000, 1000);
    table[440] ^= 0x5A;
    world.stick.SetSector(0, table);
    olds_.push_back(table);
  } else if (what_ == Other::SwapsSticks) {
    std::swap(world.stick.number, other.disk.number);
    exchangeLetters('E', 'G');
    exchangeLetters('F', 'H');
    for (auto& [handle, open] : pc.machine.handles) {
      const VirtualDisk* disk = open.volume != nullptr ? open.volume->disk : open.disk;
      open.dead = open.dead || disk == &world.stick || disk == &other.disk;
    }
  } else if (what_ == Other::MovesLetter) {
    exchangeLetters('E', 'G');
  }
  if (act_.image == nullptr || (what_ != Other::MovesImage && what_ != Other::GrowsImage)) return;
  VirtualVolume& volume = ImageVolume();
  VirtualFile* image = volume.Find(act_.image);
  constexpr std::uint64_t kElsewhere = 2'000'000, kMore = 10, kMost = 200'000;  // sectors
  if (image == nullptr || image->size > kMost * 512) return;
  imageThen_ = *image;
  Extent& place = image->extents[0];
  if (what_ == Other::MovesImage) {
    world.stick.CopySectors(place.lba, kElsewhere, place.sectors);
    place.lba = kElsewhere;
  } else {
    place.sectors += kMore;
    image->size += kMore * 512;
  }
  files_[&volume].insert_or_assign(image->path, Look(volume, *image));
}
