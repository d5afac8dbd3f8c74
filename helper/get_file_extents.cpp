// Prints where a file lies on the physical disk: getFileExtents.exe "E:\folder\file".
//
// A result is printed only after it has been proved: the file's first and last sector, read through
// the file system, equal what the disk holds at the place found. Whatever else happens gives one
// line that is no result and an exit code of 1.
#include <cstdio>
#include <cstring>

#include "win32_disk.h"

namespace {

constexpr std::size_t kSector = 512;
constexpr std::size_t kBlock = 4096;  // the largest sector of a disk
constexpr int kProofTries = 10;
constexpr DWORD kProofPause = 500;  // milliseconds

struct UnfitAttribute {
  DWORD bit;
  const char* why;
};

constexpr UnfitAttribute kUnfit[] = {
    {FILE_ATTRIBUTE_DIRECTORY, "it is a folder"},
    {FILE_ATTRIBUTE_REPARSE_POINT, "the file is a reparse point, its data lies elsewhere"},
    {FILE_ATTRIBUTE_SPARSE_FILE, "the file is sparse"},
    {FILE_ATTRIBUTE_COMPRESSED, "the file is compressed"},
    {FILE_ATTRIBUTE_ENCRYPTED, "the file is encrypted"},
};

// The length of a file whose data lies on the disk as it is read.
std::uint64_t FitLength(const Opened& file) {
  BY_HANDLE_FILE_INFORMATION info;
  if (!::GetFileInformationByHandle(file.Get(), &info)) {
    throw Refusal{"can't get the attributes of the file: " + ErrorText(::GetLastError())};
  }
  for (const UnfitAttribute& unfit : kUnfit) {
    if ((info.dwFileAttributes & unfit.bit) != 0) throw Refusal{unfit.why};
  }
  return std::uint64_t{info.nFileSizeHigh} << 32 | info.nFileSizeLow;
}

// "E:\" for a path on that volume. A folder that another volume is mounted on would mislead.
std::string RootOf(const std::string& path) {
  const bool absolute = path.size() > 3 && path[1] == ':' && path[2] == '\\';
  if (!absolute) throw Refusal{"the path must begin with a drive letter, a colon and a backslash"};
  std::string root = path.substr(0, 3);
  char volume[MAX_PATH] = "";
  if (::GetVolumePathNameA(path.c_str(), volume, MAX_PATH) &&
      ::lstrcmpiA(volume, root.c_str()) != 0) {
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

// Does the disk hold at the place found what the file holds at fileOffset, a multiple of 512? Both
// are read in whole blocks, which suits every size of sector.
bool SameOnDisk(const Opened& file, const Opened& disk, const std::vector<Extent>& extents,
                std::uint64_t fileOffset, std::uint64_t fileBytes) {
  const Extent& extent = ExtentAt(extents, fileOffset);
  const std::uint64_t diskOffset = extent.lba * kSector + (fileOffset - extent.fileOffset);
  const std::size_t inFileBlock = fileOffset % kBlock, inDiskBlock = diskOffset % kBlock;
  const std::uint64_t left = fileBytes - fileOffset;
  const std::size_t bytes = left < kSector ? static_cast<std::size_t>(left) : kSector;
  PageBuffer fromFile(kBlock), fromDisk(kBlock);
  return file.ReadAt(fileOffset - inFileBlock, fromFile.Data(), kBlock) >= inFileBlock + bytes &&
         disk.ReadAt(diskOffset - inDiskBlock, fromDisk.Data(), kBlock) >= inDiskBlock + bytes &&
         std::memcmp(fromFile.Data() + inFileBlock, fromDisk.Data() + inDiskBlock, bytes) == 0;
}

// A file that was just written may still be on its way to the disk, so a difference gets time.
void Prove(const Opened& file, const Opened& disk, const std::vector<Extent>& extents,
           std::uint64_t fileBytes) {
  const std::uint64_t lastSector = (fileBytes - 1) / kSector * kSector;
  for (int tries = 0; tries < kProofTries; ++tries) {
    if (tries != 0) ::Sleep(kProofPause);
    if (SameOnDisk(file, disk, extents, 0, fileBytes) &&
        SameOnDisk(file, disk, extents, lastSector, fileBytes)) {
      return;
    }
  }
  throw Refusal{"the disk holds other data at the place found than the file"};
}

// The order of the questions matters to callers: first whether the file system has such places at
// all, then whether this user may look, then what is special about this file.
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
  const std::uint64_t fileBytes = FitLength(file);
  if (!noRuns.why.empty()) throw noRuns;
  const Placement placed = PlaceFile(runs, LayoutOfVolume(volume, root), place.start, fileBytes);
  if (!placed.problem.empty()) throw Refusal{placed.problem};
  // Past the cache: the file system then writes out first what it still holds back.
  Prove(Opened(path, GENERIC_READ, FILE_FLAG_NO_BUFFERING), disk, placed.extents, fileBytes);
  return ExtentsText(placed.extents);
}

}  // namespace

// No expansion of * and ? in the argument.
extern "C" int _dowildcard;
int _dowildcard = 0;

int main(int argc, char** argv) {
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  if (argc != 2) {
    std::fputs("Usage: getFileExtents \"E:\\folder\\file\"\r\n", stdout);
    return 1;
  }
  std::string text;
  bool found = false;
  try {
    text = ExtentsOf(argv[1]);
    found = true;
  } catch (const Refusal& refusal) {
    // Callers drop a text without the word "offset" unread.
    text = std::string("No disk offset of ") + argv[1] + ": " + refusal.why + "\r\n";
  }
  DWORD written = 0;
  ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()),
              &written, nullptr);
  return found && written == text.size() ? 0 : 1;
}
