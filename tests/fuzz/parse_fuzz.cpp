// What only parses, so that it runs often: any sector's verdicts; any boot sector and run list of
// the extents tool; any name of an image. 512 bytes of sector, 8 of file length, then the run list;
// the name is the whole input.
#include <algorithm>
#include <array>
#include <cstring>

#include "disk/sector_buffer.h"
#include "helper/runs.h"
#include "imagefiles/image_name.h"
#include "tests/fuzz/fuzz.h"

namespace {

using namespace extents_tool;

void JudgeSector(const std::uint8_t* sector) {
  SectorBuffer.assign(sector, sector + kSectorSize);
  ParseSectorBuffer();
  const SectorVerdicts& f = SectorFlags;
  Require(!IsSoundSavedTable() || (f.SigOK && f.AnyPtnOK && f.HasGrub4dos), "sound without cause");
  Require(!f.IsUniform || (!f.SigOK && !f.HasGrub4dos && !f.PtnNearStart) || sector[0] == 0,
          "equal bytes with a mark");
  Require(!f.PtnNearStart || std::any_of(sector + 446, sector + 510, [](int b) { return b != 0; }),
          "an entry in an empty table");
}

void TakeNameApart(const std::string& path) {
  const ImageName name = ParseImageName(path);
  Require(
      !path.substr(0, 3).ends_with(":\\") || path.starts_with(name.drive + name.folder + name.base),
      "the parts aren't those of the path");
  Require(path.ends_with(name.fourthName), "a fourth name from nowhere");
  Require(name.keeps2 || !name.keeps23, "entry 3 without entry 2");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TakeNameApart({reinterpret_cast<const char*>(data), size});
  std::array<std::uint8_t, 520> head{};
  if (size > 0) std::memcpy(head.data(), data, std::min(size, head.size()));
  JudgeSector(head.data());
  VolumeLayout layout;
  if (!ReadBootSector(head.data(), layout)) return 0;
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, head.data() + 512, sizeof bytes);
  std::vector<Run> runs;
  if (size <= head.size() || !AppendRuns(data + head.size(), size - head.size(), 0, runs)) return 0;
  constexpr std::uint64_t kVolumeStart = 1 << 20;
  const Placement placed = PlaceFile(runs, layout, kVolumeStart, bytes);
  Require(placed.extents.empty() != placed.problem.empty(), "neither a place nor a reason");
  std::uint64_t covered = 0;
  for (const Extent& extent : placed.extents) {
    Require(extent.fileOffset == covered, "a gap in the file");
    Require(extent.lba * 512 >= kVolumeStart + layout.firstClusterByte &&
                extent.lba * 512 + extent.sectors * 512 <= kVolumeStart + layout.volumeBytes,
            "outside the volume");
    covered += extent.sectors * 512;
  }
  Require(placed.extents.empty() || covered >= bytes, "the file's end has no place");
  return 0;
}
