// A volume with files at known sectors of its disk. File contents are in the disk's sectors; names,
// sizes, times and places are kept here.
//
// Does not model: the file system's own records on the disk (a raw write over them is not
// noticed, and a delete or a rename outlives every power cut), short names, security, letters of
// other alphabets in comparing names, streams.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/devices.h"
#include "platform/virtual/disk.h"
#include "text/extents_text.h"

constexpr std::uint32_t kDeviceTypeCd = 2;
constexpr std::uint32_t kDeviceTypeDisk = 7;

constexpr std::uint32_t kShareAll = 7;
constexpr std::uint32_t kShareReadWriteOnly = 3;  // not deleting and renaming

// Another program, such as a virus scanner, that has a file open for reading.
struct Holder {
  std::uint32_t share = kShareAll;
  std::size_t operations = 0;  // of this program, until it lets go; 0: when a test says so
};

struct VirtualFile {
  std::string path;  // from the volume's root, with the backslash in front
  std::uint64_t size = 0;
  std::uint32_t attributes = 0;
  std::uint64_t lastWriteTime = 0;   // FILETIME
  std::vector<Extent> extents = {};  // absolute sectors of the disk; none for a resident file
  std::string resident = "";         // all of a file that owns no sectors
  bool heldOpen = false;             // by a child that has not ended
  bool unflushed = false;            // a copy that a power cut can still take
  // What reads through the cache see and the disk never received, by sector of the file.
  std::map<std::uint64_t, VirtualSector> cached = {};
  std::vector<Holder> holders = {};  // they hold the file, whatever it is called
  bool deletePending = false;        // deleted; the name goes with the last holder
};

// Where and how the next file copied to the volume is placed.
struct Placement {
  std::uint64_t lba = 0;                            // 0: first free place
  unsigned pieces = 1;                              // extents, a cluster apart
  std::optional<std::uint64_t> keepBytes = {};      // truncated: that many bytes arrive, dated now
  std::optional<std::uint64_t> lastWriteTime = {};  // instead of the original's
};

class VirtualVolume {
 public:
  char letter = 'E';
  VirtualDisk* disk = nullptr;  // null: a network letter
  std::uint64_t firstSector = 0, sectors = 0;
  std::string label, fileSystem = "NTFS";  // empty file system: not recognised, no files
  std::uint32_t serial = 0;
  std::uint32_t deviceType = kDeviceTypeDisk;  // 0: has no device number
  bool tiedToTable = true;  // present only while an entry of its disk's table starts at firstSector
  bool busy = false, refusesOpen = false, refusesDismount = false;
  bool full = false;  // nothing more fits, whatever the free space
  std::uint32_t clusterSectors = 8;
  std::uint64_t reservedSectors = 2048;  // at the start, never given to a file
  std::deque<Placement> placements;      // for the next copies, in order

  // State kept by the machine.
  bool present = false;
  bool mounted = true;
  Handle lockedBy = kNoHandle;
  int partition = 0;  // table entry, 1 to 4; 0: none

  std::string Name() const { return std::string(1, letter) + ":"; }
  bool Covers(std::uint64_t lba, std::uint64_t count) const;

  // Building. Missing folders are created. A place that is taken or outside throws logic_error.
  VirtualFile& AddFile(const std::string& path, std::uint64_t size, std::uint64_t lba,
                       const std::string& firstBytes = "");
  VirtualFile& AddPieces(const std::string& path, std::uint64_t size, std::vector<Extent> extents);
  VirtualFile& AddText(const std::string& path, const std::string& text);
  VirtualFile& AddFolder(const std::string& path, std::uint32_t attributes = 0);

  VirtualFile* Find(const std::string& path);  // null: none; the root is none
  bool FolderExists(const std::string& path);
  std::vector<VirtualFile*> List(const std::string& folder);  // sorted by name
  void Remove(const std::string& path);
  void Move(const std::string& from, const std::string& to);  // with everything below it

  // Other programs' open files.
  std::optional<Holder> scanner;  // opens each file that is copied to the volume
  void Hold(const std::string& path, const Holder& holder = {});
  void Tick();           // an operation passes
  void LetGo();          // all holders, which completes pending deletes
  void ForgetHolders();  // as after a dismount: their handles are dead, pending deletes undone
  bool IsHeld() const { return isHeld_; }
  void Delete(const std::string& path);  // at once, or when the last holder lets go

  std::string Read(const VirtualFile& file, std::uint64_t offset, std::uint64_t bytes,
                   bool pastCache = false) const;
  // Makes target a copy of bytes of source's file, as placements says. Null: no room, no target.
  VirtualFile* CopyIn(const std::string& target, const VirtualVolume& source,
                      const VirtualFile& file, std::uint64_t now);
  // The contents of file, which was just copied, stay in the cache and never reach the disk.
  void LoseContents(VirtualFile& file);
  // As the system does before a dismount: writes back and drops the cache.
  void FlushFiles();
  // As VirtualDisk::LosePower, for the copies since the last flush if the disk holds them back.
  std::size_t LosePower(std::uint64_t& fates);

 private:
  VirtualFile& Insert(VirtualFile file);
  void DropHolders(bool (*lets)(Holder&));
  std::vector<Extent> Allocate(std::uint64_t sectorCount, const Placement& placement) const;
  std::vector<std::pair<std::uint64_t, std::uint64_t>> Gaps() const;
  bool IsFree(std::uint64_t lba, std::uint64_t count) const;

  std::map<std::string, VirtualFile> files_;  // by upper-case path
  bool isHeld_ = false;
};

// Windows' limits, in UTF-16 units.
constexpr std::size_t kLongestName = 255;
constexpr std::size_t kLongestPath = 259;

// "E:\a\\b" as "E" and "\a\b". A path without a letter is relative to folder; one that is too long
// has no volume.
struct SplitPath {
  char letter;       // NUL: none
  std::string rest;  // "" for the root
};
SplitPath SplitAtVolume(const std::string& path, const std::string& folder);
std::string ParentOf(const std::string& path);
std::string NameOf(const std::string& path);
