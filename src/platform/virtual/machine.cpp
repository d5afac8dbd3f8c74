#include "platform/virtual/machine.h"

#include <algorithm>

Step Machine::Begin(Op op, const std::string& subject, const std::string& detail) {
  if (!journal.HasPower()) return {SIZE_MAX, FaultKind::Refusal};
  ++operations;
  if (beforeOperation) beforeOperation(operations);
  for (const auto& volume : volumes) volume->Tick();
  JournalEntry entry;
  entry.op = op;
  entry.subject = subject;
  entry.detail = detail;
  Step step{journal.Add(entry), plan.Next(op)};
  if (step.strike == FaultKind::CutBefore) {
    CutPower();
    step.strike = FaultKind::Refusal;
  }
  return step;
}

Step Machine::BeginStatement(Op op, const std::string& subject, const std::string& detail,
                             int refusedWith) {
  journal.NeedsPower();
  const Step step = Begin(op, subject, detail);
  if (step.strike == FaultKind::FaultThrown) FailStatement(step, plan.faultNumber);
  if (step.Refused()) FailStatement(step, refusedWith);
  return step;
}

bool Machine::End(const Step& step, bool ok, std::uint32_t code) {
  JournalEntry& entry = journal[step.entry];
  entry.ok = ok;
  if (!ok) lastError = entry.error = code;
  if (step.strike == FaultKind::CutAfter || step.strike == FaultKind::CutTorn) CutPower();
  return ok;
}

void Machine::FailStatement(const Step& step, int number) {
  End(step, false, static_cast<std::uint32_t>(number));
  throw MakeFault(number);
}

void Machine::CutPower() {
  journal.SetPower(false);
  std::uint64_t fates = cutFate;
  for (const auto& disk : disks) heldBack += disk->LosePower(fates);
  for (const auto& volume : volumes) heldBack += volume->LosePower(fates);
}

void Machine::Reboot() {
  journal.SetPower(true);
  beforeOperation = nullptr;
  handles.clear();
  plan = {};
  for (const auto& volume : volumes) {
    volume->lockedBy = kNoHandle;
    volume->mounted = true;
    volume->present = !volume->tiedToTable;
    volume->FlushFiles();
    volume->ForgetHolders();
  }
  for (const auto& disk : disks) ReadTable(*disk);
}

VirtualVolume* Machine::VolumeAt(char letter) {
  for (const auto& volume : volumes) {
    const bool plugged = volume->disk == nullptr || volume->disk->plugged;
    if (volume->present && plugged && volume->letter == letter) return volume.get();
  }
  return nullptr;
}

VirtualDisk* Machine::DiskAt(int number) {
  for (const auto& disk : disks) {
    if (disk->number == number && disk->plugged) return disk.get();
  }
  return nullptr;
}

bool Machine::Mount(VirtualVolume& volume) {
  if (volume.lockedBy != kNoHandle) return false;
  volume.mounted = true;
  return true;
}

void Machine::ReadTable(VirtualDisk& disk) {
  const VirtualSector table = disk.Sector(0);
  const auto entryAt = [&](std::uint64_t start) {
    for (int i = 0; i < 4; ++i) {
      const std::uint8_t* entry = &table[446 + 16 * static_cast<std::size_t>(i)];
      if (entry[4] == 0) continue;
      std::uint32_t first = 0;
      for (int byte = 11; byte >= 8; --byte) first = first << 8 | entry[byte];
      if (first == start) return i + 1;
      if (onlyFirstOfRemovable && disk.removable) break;
    }
    return 0;
  };
  const bool valid = table[510] == 0x55 && table[511] == 0xAA && !disk.unreadable.contains(0);
  for (const auto& volume : volumes) {
    if (volume->disk != &disk || !volume->tiedToTable) continue;
    volume->partition = valid ? entryAt(volume->firstSector) : 0;
    const bool present = volume->partition != 0 && disk.plugged;
    if (present && !volume->present) {
      volume->mounted = true;
      volume->lockedBy = kNoHandle;
    }
    if (!present) volume->ForgetHolders();
    volume->present = present;
  }
}

void Machine::SetPlugged(VirtualDisk& disk, bool plugged) {
  disk.plugged = plugged;
  ReadTable(disk);
}

Handle Machine::Add(OpenHandle open) {
  const Handle handle = nextHandle_;
  nextHandle_ += 4;
  handles.emplace(handle, std::move(open));
  return handle;
}

OpenHandle* Machine::At(Handle handle) {
  const auto found = handles.find(handle);
  return found == handles.end() ? nullptr : &found->second;
}

bool Machine::Close(Handle handle) {
  if (handles.erase(handle) == 0) return false;
  for (const auto& volume : volumes) {
    if (volume->lockedBy == handle) volume->lockedBy = kNoHandle;
  }
  return true;
}

bool Machine::HasOpenFiles(const VirtualVolume& volume) const {
  return volume.IsHeld() || std::any_of(handles.begin(), handles.end(), [&](const auto& held) {
           const OpenHandle& open = held.second;
           return open.volume == &volume &&
                  (open.kind == OpenHandle::Kind::File || open.kind == OpenHandle::Kind::Search);
         });
}
