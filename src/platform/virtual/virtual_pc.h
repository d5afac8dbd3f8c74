// A whole PC in memory: everything that the program can ask of a system, and a user. Deterministic.
//
//   VirtualPc pc;
//   VirtualDisk& stick = pc.AddDisk(1, 16'000'000'000);
//   pc.AddVolume('E', stick, 2048, 1'000'000);
//   pc.toolkit.actions = {Open("E:\\_ISO\\a.volPAK"), Click(Control::cmdExit)};
//   pc.Run([&] { RunProgram(pc.platform()); });
//   pc.machine.journal.Writes();
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/virtual/desktop.h"
#include "platform/virtual/devices.h"
#include "platform/virtual/facts.h"
#include "platform/virtual/files.h"
#include "platform/virtual/machine.h"
#include "platform/virtual/processes.h"
#include "platform/virtual/toolkit.h"

// How a run of the program came to its end.
enum class RunEnd : std::uint8_t { Returned, ProcessEnded, PowerCut, Hung };

class VirtualPc {
 public:
  VirtualPc();
  VirtualPc(const VirtualPc&) = delete;
  VirtualPc& operator=(const VirtualPc&) = delete;

  Platform platform();

  VirtualDisk& AddDisk(int number, std::uint64_t bytes, std::uint32_t bus = kBusUsb,
                       bool removable = true);
  // Tied to the disk's table unless the caller says otherwise; BootUp or RenewTables shows it.
  VirtualVolume& AddVolume(char letter, VirtualDisk& disk, std::uint64_t firstSector,
                           std::uint64_t sectors, const std::string& fileSystem = "NTFS");
  // A letter that is no disk volume: a CD drive (kDeviceTypeCd) or a network path (0).
  VirtualVolume& AddLetter(char letter, std::uint32_t deviceType);

  // Letters follow the tables. To be called once a world is complete.
  void RenewTables();

  // Runs the body and returns how it ended, also when a double ended it.
  RunEnd Run(const std::function<void()>& body);

  // The same disks and files in a machine just started.
  void Reboot();

  std::vector<std::string> OpenHandles() const;  // by name; mutexes are never closed
  std::vector<std::string> HeldLocks() const;    // "E:", "PhysicalDrive1 range"

  Machine machine;
  VirtualDevices devices{machine};
  VirtualFiles files{machine};
  VirtualFacts facts{machine};
  VirtualProcesses processes{machine, facts};
  VirtualDesktop desktop{machine};
  VirtualToolkit toolkit{machine.journal, machine.clock};
};
