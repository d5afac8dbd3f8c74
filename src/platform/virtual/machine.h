// What the doubles of one virtual PC share: disks, volumes, open handles, the journal, the fault
// plan. Each operation of the seam begins with Begin and ends with End.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/fault.h"
#include "platform/virtual/clock.h"
#include "platform/virtual/disk.h"
#include "platform/virtual/fault_plan.h"
#include "platform/virtual/journal.h"
#include "platform/virtual/volume.h"

// Windows error numbers (winerror.h).
constexpr std::uint32_t kErrorInvalidFunction = 1;
constexpr std::uint32_t kErrorFileNotFound = 2;
constexpr std::uint32_t kErrorPathNotFound = 3;
constexpr std::uint32_t kErrorAccessDenied = 5;
constexpr std::uint32_t kErrorInvalidHandle = 6;
constexpr std::uint32_t kErrorNoMoreFiles = 18;
constexpr std::uint32_t kErrorWriteProtect = 19;
constexpr std::uint32_t kErrorCrc = 23;
constexpr std::uint32_t kErrorSectorNotFound = 27;
constexpr std::uint32_t kErrorSharingViolation = 32;
constexpr std::uint32_t kErrorInvalidParameter = 87;
constexpr std::uint32_t kErrorInsufficientBuffer = 122;
constexpr std::uint32_t kErrorNotLocked = 158;
constexpr std::uint32_t kErrorIoDevice = 1117;
constexpr std::uint32_t kErrorDeviceRemoved = 1617;

struct OpenHandle {
  enum class Kind : std::uint8_t { Disk, Volume, File, Process, Mutex, Search };
  Kind kind = Kind::File;
  std::string name;  // "PhysicalDrive1", "E:", a path, "process 1000"
  VirtualDisk* disk = nullptr;
  VirtualVolume* volume = nullptr;
  std::string path;  // files: from the volume's root
  std::uint32_t access = 0, share = 0, flags = 0;
  std::uint64_t offset = 0;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> lockedRanges;  // start, bytes
  std::uint32_t processId = 0;
  std::vector<std::string> rest;  // searches: names still to return
  bool dead = false;              // its device was pulled out, whatever is in its place now

  bool IsRaw() const { return kind == Kind::Disk || kind == Kind::Volume; }
  // True: what the handle was opened on has been unplugged or has left the table.
  bool IsGone() const {
    const bool onVolume = kind == Kind::Volume || kind == Kind::File;
    return dead || (disk != nullptr && !disk->plugged) || (onVolume && !volume->present);
  }
};

// One operation in progress.
struct Step {
  std::size_t entry = 0;
  FaultKind strike = FaultKind::None;
  bool Refused() const { return strike == FaultKind::Refusal; }
  bool Short() const { return strike == FaultKind::ShortTransfer; }
  bool Lost() const { return strike == FaultKind::LostWrite; }
  bool Torn() const { return strike == FaultKind::CutTorn; }
};

class Machine {
 public:
  // Never throws: without power every call is refused, until a statement, a box, a pause or pending
  // events end the program (Journal::NeedsPower).
  Step Begin(Op op, const std::string& subject, const std::string& detail = "");
  // Begins a statement: throws the planned Fault, or Fault refusedWith if it is refused.
  Step BeginStatement(Op op, const std::string& subject, const std::string& detail,
                      int refusedWith);
  // Records the outcome and returns ok. Cuts the power if the plan says so.
  bool End(const Step& step, bool ok, std::uint32_t code = 0);
  bool Fail(const Step& step, std::uint32_t code) { return End(step, false, code); }
  // Ends a statement: throws the planned Fault, or the one with the classic text of number.
  [[noreturn]] void FailStatement(const Step& step, int number);

  VirtualVolume* VolumeAt(char letter);  // null: no such letter now
  VirtualDisk* DiskAt(int number);       // null: none, or unplugged

  // Opening the volume or looking at its files mounts it again. False: it can't be used now.
  bool Mount(VirtualVolume& volume);

  // Makes the letters of the disk's volumes follow sector 0 as it is now.
  void ReadTable(VirtualDisk& disk);
  void SetPlugged(VirtualDisk& disk, bool plugged);

  Handle Add(OpenHandle open);
  OpenHandle* At(Handle handle);  // null: not open
  bool Close(Handle handle);
  bool HasOpenFiles(const VirtualVolume& volume) const;

  // After a power cut nothing works until this: handles are gone, letters follow the tables.
  void Reboot();

  std::vector<std::unique_ptr<VirtualDisk>> disks;
  std::vector<std::unique_ptr<VirtualVolume>> volumes;
  std::map<Handle, OpenHandle> handles;
  Journal journal;
  FaultPlan plan;
  // What becomes of held-back data in a power cut: one Fate each, as base-3 digits.
  std::uint64_t cutFate = 0;
  std::size_t heldBack = 0;  // how many held-back items the cut found
  // Other programs: called before each operation with its number, from 1.
  std::function<void(std::size_t)> beforeOperation;
  std::size_t operations = 0;
  VirtualClock clock{journal};
  std::uint32_t lastError = 0;
  std::string currentFolder = "C:\\Windows\\system32";
  bool guardsMountedVolumes = true;   // Vista and later; XP lets every write through
  bool onlyFirstOfRemovable = false;  // before Windows 10 1703

 private:
  void CutPower();
  Handle nextHandle_ = 4;
};
