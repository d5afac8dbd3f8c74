#include "platform/virtual/virtual_pc.h"

#include <memory>

VirtualPc::VirtualPc() {
  facts.environment["OS"] = "Windows_NT";
  facts.environment["COMSPEC"] = "C:\\Windows\\system32\\cmd.exe";
}

Platform VirtualPc::platform() {
  return {&devices, &files, &processes, &facts, &desktop, &toolkit, &machine.clock};
}

VirtualDisk& VirtualPc::AddDisk(int number, std::uint64_t bytes, std::uint32_t bus,
                                bool removable) {
  machine.disks.push_back(std::make_unique<VirtualDisk>());
  VirtualDisk& disk = *machine.disks.back();
  disk.number = number;
  disk.bytes = bytes;
  disk.bus = bus;
  disk.removable = removable;
  return disk;
}

VirtualVolume& VirtualPc::AddVolume(char letter, VirtualDisk& disk, std::uint64_t firstSector,
                                    std::uint64_t sectors, const std::string& fileSystem) {
  machine.volumes.push_back(std::make_unique<VirtualVolume>());
  VirtualVolume& volume = *machine.volumes.back();
  volume.letter = letter;
  volume.disk = &disk;
  volume.firstSector = firstSector;
  volume.sectors = sectors;
  volume.fileSystem = fileSystem;
  return volume;
}

VirtualVolume& VirtualPc::AddLetter(char letter, std::uint32_t deviceType) {
  machine.volumes.push_back(std::make_unique<VirtualVolume>());
  VirtualVolume& volume = *machine.volumes.back();
  volume.letter = letter;
  volume.deviceType = deviceType;
  volume.tiedToTable = false;
  volume.fileSystem = "";
  return volume;
}

void VirtualPc::RenewTables() {
  for (const auto& volume : machine.volumes) {
    if (!volume->tiedToTable) volume->present = true;
  }
  for (const auto& disk : machine.disks) machine.ReadTable(*disk);
}

RunEnd VirtualPc::Run(const std::function<void()>& body) {
  try {
    body();
    return machine.journal.HasPower() ? RunEnd::Returned : RunEnd::PowerCut;
  } catch (const ProcessEnded&) {
    return RunEnd::ProcessEnded;
  } catch (const PowerCut&) {
    return RunEnd::PowerCut;
  } catch (const ProgramHangs&) {
    return RunEnd::Hung;
  }
}

void VirtualPc::Reboot() {
  machine.Reboot();
  RenewTables();
  processes.Forget();
  toolkit.Reset();
  desktop.windows.clear();
}

std::vector<std::string> VirtualPc::OpenHandles() const {
  std::vector<std::string> names;
  for (const auto& [handle, open] : machine.handles) {
    if (open.kind != OpenHandle::Kind::Mutex) names.push_back(open.name);
  }
  return names;
}

std::vector<std::string> VirtualPc::HeldLocks() const {
  std::vector<std::string> names;
  for (const auto& volume : machine.volumes) {
    if (volume->lockedBy != kNoHandle) names.push_back(volume->Name());
  }
  for (const auto& [handle, open] : machine.handles) {
    if (!open.lockedRanges.empty()) names.push_back(open.name + " range");
  }
  return names;
}
