// Prints where a file lies on the physical disk: getFileExtents.exe "E:\folder\file".
//
// A result is printed only after it has been proved at the file's first and last block: the volume
// holds there what the disk holds, and the file shows the same, as far as it was ever written.
// Anything else prints one line that is no result, with exit code 1.
#include <cstring>

#include "platform/win32/library_search.h"
#include "platform/win32/standard_output.h"
#include "win32_disk.h"

namespace {

using namespace extents_tool;

constexpr std::size_t kSector = 512;  // the unit of an LBA
constexpr int kProofTries = 10;
constexpr DWORD kProofPause = 500;  // milliseconds

struct UnfitAttribute {
  DWORD bit;
  const char* why;
};

constexpr UnfitAttribute kUnfit[] = {
    {FILE_ATTRIBUTE_DIRECTORY, "it is a folder"},
    {FILE_ATTRIBUTE_REPARSE_POINT, "the file is a reparse point, its data lies elsewhere"},
    {FILE_ATTRIBUTE_COMPRESSED, "the file is compressed"},
    {FILE_ATTRIBUTE_ENCRYPTED, "the file is encrypted"},
};

BY_HANDLE_FILE_INFORMATION FactsOf(const Opened& file) {
  BY_HANDLE_FILE_INFORMATION facts;
  if (!::GetFileInformationByHandle(file.Get(), &facts)) {
    throw Refusal{"can't get the attributes of " + file.Path() + ": " +
                  ErrorText(::GetLastError())};
  }
  return facts;
}

// The length of a file whose data lies unchanged on the disk, on the volume at root.
std::uint64_t FitLength(const Opened& file, const std::string& root) {
  const BY_HANDLE_FILE_INFORMATION facts = FactsOf(file);
  for (const UnfitAttribute& unfit : kUnfit) {
    if ((facts.dwFileAttributes & unfit.bit) != 0) throw Refusal{unfit.why};
  }
  // A link may lead to a file on another volume, whose run list doesn't count on this one.
  const Opened folder(root, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
  if (FactsOf(folder).dwVolumeSerialNumber != facts.dwVolumeSerialNumber) {
    throw Refusal{"the path leads to another volume"};
  }
  return std::uint64_t{facts.nFileSizeHigh} << 32 | facts.nFileSizeLow;
}

// "E:\" for a path on that volume. Not the mount point of another volume, which would mislead.
std::string RootOf(const std::string& path) {
  const bool absolute = path.size() > 3 && path[1] == ':' && path[2] == '\\';
  if (!absolute) throw Refusal{"the path must begin with a drive letter, a colon and a backslash"};
  std::string root = path.substr(0, 3);
  wchar_t volume[MAX_PATH] = L"";
  if (::GetVolumePathNameW(WideText(path).c_str(), volume, MAX_PATH) &&
      ::lstrcmpiW(volume, WideText(root).c_str()) != 0) {
    throw Refusal{"the file lies on a volume that is mounted on a folder"};
  }
  return root;
}

const Extent& ExtentAt(const std::vector<Extent>& extents, std::uint64_t fileOffset) {
  const Extent* found = &extents.front();
  for (const Extent& extent : extents) {
    if (extent.fileOffset <= fileOffset) found = &extent;
  }
  return *found;
}

// What a proof looks at. Offsets are in bytes; all reads are of one sector of the volume at its own
// place, so that none crosses the end of the volume or the disk.
struct Evidence {
  const Opened& file;  // uncached: the file system then writes out what it holds back
  const Opened& volume;
  const Opened& disk;
  std::uint64_t volumeStart;
  std::size_t sector;
};

bool VolumeIsDisk(const Evidence& e, std::uint64_t volumeOffset) {
  PageBuffer fromVolume(e.sector), fromDisk(e.sector);
  return e.volume.ReadAt(volumeOffset, fromVolume.Data(), e.sector) == e.sector &&
         e.disk.ReadAt(e.volumeStart + volumeOffset, fromDisk.Data(), e.sector) == e.sector &&
         std::memcmp(fromVolume.Data(), fromDisk.Data(), e.sector) == 0;
}

// Another program may write there between the two reads, so a difference is read again. One that
// stays affects every file of the volume, and waiting doesn't help.
void RequireVolumeIsDisk(const Evidence& e, std::uint64_t volumeOffset) {
  if (VolumeIsDisk(e, volumeOffset) || VolumeIsDisk(e, volumeOffset)) return;
  throw Refusal{"the disk holds other data than " + e.volume.Path() +
                " shows: the volume is encrypted"};
}

// fileOffset begins a sector of the file.
bool FileIsDisk(const Evidence& e, std::uint64_t volumeOffset, std::uint64_t fileOffset,
                std::uint64_t fileBytes) {
  const std::uint64_t left = fileBytes - fileOffset;
  const std::size_t bytes = left < e.sector ? static_cast<std::size_t>(left) : e.sector;
  PageBuffer fromFile(e.sector), fromDisk(e.sector);
  return e.file.ReadAt(fileOffset, fromFile.Data(), e.sector) >= bytes &&
         e.disk.ReadAt(e.volumeStart + volumeOffset, fromDisk.Data(), e.sector) == e.sector &&
         ShowsWhatLiesThere(fromFile.Data(), fromDisk.Data(), bytes);
}

// A file just written may still be on its way to the disk, so a difference is given time.
void Prove(const Evidence& e, const std::vector<Extent>& extents, std::uint64_t fileBytes) {
  for (const std::uint64_t fileOffset : {std::uint64_t{0}, (fileBytes - 1) / e.sector * e.sector}) {
    const Extent& extent = ExtentAt(extents, fileOffset);
    const std::uint64_t volumeOffset =
        extent.lba * kSector + (fileOffset - extent.fileOffset) - e.volumeStart;
    RequireVolumeIsDisk(e, volumeOffset);
    int tries = 1;
    while (!FileIsDisk(e, volumeOffset, fileOffset, fileBytes)) {
      if (tries++ == kProofTries) {
        throw Refusal{"the disk holds other data at the place found than the file"};
      }
      ::Sleep(kProofPause);
    }
  }
}

// Callers rely on the order of the checks: first whether the file system has such places at all,
// then whether this user may look, then what is special about this file.
std::string ExtentsOf(const std::string& path) {
  const std::string root = RootOf(path);
  const Opened file(path, FILE_READ_ATTRIBUTES, FILE_FLAG_BACKUP_SEMANTICS);
  std::vector<Run> runs;
  Refusal noRuns;
  try {
    runs = RunsOfFile(file);
  } catch (const Refusal& refusal) {
    if (refusal.why.find("getNextTranslation") != std::string::npos) throw;
    noRuns = refusal;
  }
  const Opened volume("\\\\.\\" + path.substr(0, 2), GENERIC_READ);
  const VolumePlace place = PlaceOfVolume(volume);
  const Opened disk("\\\\.\\PhysicalDrive" + std::to_string(place.disk), GENERIC_READ,
                    FILE_FLAG_NO_BUFFERING);
  const std::uint64_t fileBytes = FitLength(file, root);
  if (!noRuns.why.empty()) throw noRuns;
  const VolumeLayout layout = LayoutOfVolume(volume, root);
  const Placement placed = PlaceFile(runs, layout, place.start, fileBytes);
  if (!placed.problem.empty()) throw Refusal{placed.problem};
  const Opened content(path, GENERIC_READ, FILE_FLAG_NO_BUFFERING);
  const Evidence evidence{content, volume, disk, place.start,
                          static_cast<std::size_t>(layout.sectorBytes)};
  RequireVolumeIsDisk(evidence, 0);
  Prove(evidence, placed.extents, fileBytes);
  return ExtentsText(placed.extents);
}

}  // namespace

// No expansion of * and ? in the argument.
extern "C" int _dowildcard;
int _dowildcard = 0;

// The entry point of the run-time library, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

int wmain(int argc, wchar_t** argv) {
  LoadSystemLibrariesOnly();
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  std::string text = "Usage: getFileExtents \"E:\\folder\\file\"\r\n";
  bool found = false;
  if (argc == 2) {
    const std::string path = NarrowText(argv[1]);
    try {
      text = ExtentsOf(path);
      found = true;
    } catch (const Refusal& refusal) {
      // Callers ignore a text without the word "offset".
      text = "No disk offset of " + path + ": " + refusal.why + "\r\n";
    }
  }
  return Print(text) && found ? 0 : 1;
}
