#include <cstring>
#include <tuple>

#include "check/checks.h"
#include "disk/raw_sector_io.h"
#include "imagefiles/child_process.h"
#include "imagefiles/file_extents.h"
#include "text/extents_text.h"
#include "text/text.h"

namespace {

constexpr std::size_t kSector = 512;
constexpr std::size_t kChunk = 65536;  // a multiple of every sector size

struct PlacedFile {
  const char* name;
  std::size_t bytes;
};
constexpr PlacedFile kFiles[] = {{"one page and a byte.bin", 4097},
                                 {"Übung (1) & more.bin", 65536},
                                 {"three megabytes.bin", 3 * 1048576 + 100}};

// Refusals that are due to this system, not to a mistake in the tool.
constexpr const char* kHonestRefusals[] = {
    "can't open ",  "getNextTranslation",    "volume is encrypted",   "file is compressed",
    "is encrypted", "is none that is known", "one piece on one disk", "mounted on a folder"};

// Bytes that no other file and no other sector of this one has.
std::vector<std::uint8_t> Content(std::size_t bytes) {
  std::vector<std::uint8_t> content(bytes);
  auto state = static_cast<std::uint32_t>(bytes) | 1;
  for (std::uint8_t& byte : content) {
    state = state * 1664525 + 1013904223;
    byte = static_cast<std::uint8_t>(state >> 24);
  }
  return content;
}

// What the tool prints of the file, asked in the way of the program.
std::string Ask(const Workplace& place, const std::string& path) {
  const std::string output = place.files + "output.txt";
  const std::int32_t code =
      SyncShell(ToolCommand(place.programs + "getFileExtents.exe", path, output), kWindowHidden);
  Require(LastShellFailure.number == 0, LastShellFailure.description);
  const std::string text = Sys.files->ReadTextFile(output);
  const std::string said = text.substr(0, text.find('\r'));
  if (code == 0) return text;
  for (const char* refusal : kHonestRefusals) {
    if (Contains(text, refusal)) throw NotPossibleHere{said};
  }
  throw Wrong{"exit code " + Decimal(code) + ", " + said};
}

std::uint64_t Number(const std::string& line, const std::string& label) {
  const std::size_t at = line.find(label);
  Require(at != std::string::npos, "the tool's line lacks " + label);
  return HexPrefixValue(std::string_view(line).substr(at + label.size()));
}

std::vector<Extent> Parse(const std::string& text) {
  std::vector<Extent> extents;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find("\r\n", begin);
    Require(end != std::string::npos, "a line doesn't end in CR LF");
    const std::string line = text.substr(begin, end - begin);
    extents.push_back(
        {Number(line, "File offset "), Number(line, "LBA: "), Number(line, "Sectors: ")});
    begin = end + 2;
  }
  return extents;
}

// The bytes of the extents on the disk, in the order of the file.
std::vector<std::uint8_t> OnDisk(std::int32_t number, const std::vector<Extent>& extents) {
  alignas(4096) static std::uint8_t chunk[kChunk];
  const Handle disk = Sys.devices->CreateFile("\\\\.\\PhysicalDrive" + Decimal(number),
                                              kGenericRead, kShareReadWrite, kOpenExisting, 0);
  if (disk == kInvalidHandle) throw NotPossibleHere{"the disk can't be opened"};
  std::vector<std::uint8_t> bytes;
  bool read = true;
  for (const Extent& extent : extents) {
    read = read && extent.fileOffset == bytes.size() &&
           Sys.devices->SetFilePointerEx(disk, extent.lba * kSector);
    for (std::uint64_t left = extent.sectors * kSector; read && left > 0;) {
      const auto part = static_cast<std::uint32_t>(left < kChunk ? left : kChunk);
      std::uint32_t moved = 0;
      read = Sys.devices->ReadFile(disk, chunk, part, moved) && moved == part;
      bytes.insert(bytes.end(), chunk, chunk + moved);
      left -= moved;
    }
  }
  std::ignore = Sys.devices->CloseHandle(disk);
  Require(read, "the sectors can't be read, or don't follow each other");
  return bytes;
}

void CheckFile(Findings& findings, const Workplace& place, const PlacedFile& file) {
  const std::string path = place.files + file.name;
  const std::vector<std::uint8_t> content = Content(file.bytes);
  WriteNewFile(path, content.data(), content.size());
  const std::string text = Ask(place, path);
  const std::vector<Extent> extents = Parse(text);
  findings.Say(std::string(file.name) + ": " + text.substr(0, text.find('\r')) + ", " +
               Decimal(static_cast<std::int64_t>(extents.size())) + " extents");
  const std::int32_t number = GetPhysDriveNo(path.substr(0, 2));
  if (number == kNoDrive) throw NotPossibleHere{"the volume lies on no disk of its own"};
  const std::vector<std::uint8_t> found = OnDisk(number, extents);
  Require(found.size() >= content.size(), "the extents are shorter than the file");
  Require(std::memcmp(found.data(), content.data(), content.size()) == 0,
          "other bytes lie there than in the file");
}

}  // namespace

void CheckExtents(Findings& findings, const Workplace& place) {
  for (const PlacedFile& file : kFiles) {
    findings.Try(std::string("extents, ") + file.name, [&] { CheckFile(findings, place, file); });
  }
}
