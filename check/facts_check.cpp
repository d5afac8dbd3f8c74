#include <array>
#include <tuple>

#include "check/checks.h"
#include "disk/drive_discovery.h"
#include "disk/raw_sector_io.h"
#include "text/text.h"

namespace {

constexpr std::int32_t kMostDisks = 32;
constexpr std::uint32_t kTextSize = 260;

std::string DiskName(std::int32_t number) {
  return "PhysicalDrive" + Decimal(number);
}

// The error that hides the disk, or its length where it is opened for reading; 0: none does.
std::uint32_t ErrorOf(std::int32_t number, std::uint32_t access) {
  const Handle disk = Sys.devices->CreateFile("\\\\.\\" + DiskName(number), access, kShareReadWrite,
                                              kOpenExisting, 0);
  if (disk == kInvalidHandle) return Sys.devices->GetLastError();
  const bool silent = access != 0 && GetDiskLength(disk) == 0;
  const std::uint32_t error = silent ? Sys.devices->GetLastError() : 0;
  std::ignore = Sys.devices->CloseHandle(disk);
  return error;
}

// Of a system that lacks the call, of a user without rights, of a reader without a card.
bool IsHonestRefusal(std::uint32_t error) {
  return error == 1 || error == 5 || error == 21 || error == 50 || error == 1112;  // winerror.h
}

void CheckDisk(Findings& findings, std::int32_t number) {
  std::array<std::string, 4> letters;
  Get_Drive_Volumes(number, letters[0], letters[1], letters[2], letters[3]);
  const bool usb = IsUsbDrive(number);
  ScsiProductText.clear();
  if (usb) GetSCSICapacity(number);
  std::string line = "Disk " + Decimal(number) + ": " + (usb ? "USB, " : "not USB, ") +
                     Decimal(static_cast<std::int64_t>(SectorsOfDisk(number))) + " sectors";
  for (const std::string& letter : letters) line += letter.empty() ? "" : ", " + letter;
  findings.Say(line + (ScsiProductText.empty() ? "" : ", " + ScsiProductText));

  Require(GetPhysDriveNo(DiskName(number)) == number, "its device number is another one");
  if (const std::uint32_t error = ErrorOf(number, kGenericRead)) {
    const std::string why = "it doesn't say its length, error " + Decimal(error);
    if (IsHonestRefusal(error)) throw NotPossibleHere{why};
    throw Wrong{why};
  }
  if (!ReadSectorApart(number, 0)) {
    constexpr std::uint32_t kInvalidParameter = 87;  // of a read that isn't whole sectors
    const std::uint32_t error = Sys.devices->GetLastError();
    if (error == kInvalidParameter) throw NotPossibleHere{"its sectors are larger than 512 bytes"};
    throw Wrong{"its first sector can't be read, error " + Decimal(error)};
  }
  Require(!usb || !ScsiProductText.empty(), "it doesn't say its name");
}

// Returns whether there is a volume.
bool SayVolume(Findings& findings, const std::string& letter) {
  std::string label, fileSystem;
  std::uint32_t serial = 0;
  if (!Sys.facts->GetVolumeInformation(letter + "\\", label, kTextSize, serial, fileSystem,
                                       kTextSize)) {
    return false;
  }
  const std::int32_t disk = GetPhysDriveNo(letter);
  findings.Say(letter + " " + fileSystem +
               (disk == kNoDrive ? ", on no disk of its own" : ", on disk " + Decimal(disk)));
  return !fileSystem.empty();
}

}  // namespace

void CheckFacts(Findings& findings) {
  int volumes = 0;
  bool system = false;
  for (char name = 'A'; name <= 'Z'; ++name) {
    const std::string letter{name, ':'};
    const bool found = SayVolume(findings, letter);
    volumes += found;
    system = system || (found && Sys.facts->SystemFolder().starts_with(letter));
  }
  findings.Try("facts, volumes and letters", [&] {
    Require(system, "the volume of Windows isn't found");
    Require(Sys.facts->LogicalDriveCount() >= volumes, "there are more volumes than letters");
  });
  for (std::int32_t number = 0; number < kMostDisks; ++number) {
    constexpr std::uint32_t kNoSuchFile = 2;
    if (ErrorOf(number, 0) == kNoSuchFile) continue;
    findings.Try("facts, disk " + Decimal(number), [&] { CheckDisk(findings, number); });
  }
}
