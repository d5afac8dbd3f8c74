// The extents tool's arithmetic: boot sectors, run lists, and from both the places on the disk.
#include "helper/runs.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

namespace {

using namespace extents_tool;

using RunList = std::vector<Run>;
using BootSector = std::array<std::uint8_t, 512>;

struct Field {
  std::size_t at, bytes;
  std::uint64_t value;
};

BootSector With(BootSector sector, const std::vector<Field>& fields) {
  for (const Field& f : fields) {
    for (std::size_t i = 0; i < f.bytes; ++i) {
      sector[f.at + i] = static_cast<std::uint8_t>(f.value >> (8 * i));
    }
  }
  return sector;
}

BootSector Named(const char* name, const std::vector<Field>& fields) {
  BootSector sector{};
  std::memcpy(sector.data() + 3, name, 8);
  return With(With(sector, {{510, 2, 0xAA55}}), fields);
}

BootSector Ntfs(std::uint8_t sectorsPerCluster = 8) {
  return Named("NTFS    ", {{11, 2, 512}, {13, 1, sectorsPerCluster}, {40, 8, 1'000'000}});
}

// 32 reserved sectors, 2 FATs of 1000 sectors each.
BootSector Fat32() {
  return Named(
      "MSDOS5.0",
      {{11, 2, 512}, {13, 1, 16}, {14, 2, 32}, {16, 1, 2}, {32, 4, 2'000'000}, {36, 4, 1'000}});
}

// One reserved sector, FATs of 200; the 512 root entries take 32 sectors.
BootSector Fat16() {
  return With(Fat32(), {{14, 2, 1}, {17, 2, 512}, {22, 2, 200}, {36, 4, 0}});
}

// Sectors of 512 bytes, clusters of 64; the cluster heap begins at sector 4096.
BootSector ExFat() {
  return Named("EXFAT   ", {{72, 8, 3'000'000}, {88, 4, 4096}, {108, 1, 9}, {109, 1, 6}});
}

TEST(Runs, BootSectorsGiveClusterSizeAndFirstCluster) {
  struct Geometry {
    std::uint64_t cluster, firstCluster, volume;  // bytes
  };
  constexpr Geometry kRefused{};
  const struct {
    const char* name;
    BootSector sector;
    Geometry geometry;
  } cases[] = {
      {"NTFS", Ntfs(), {4096, 0, 512'000'000}},
      {"NTFS, clusters of 1 MB", Ntfs(0xF5), {2048 * 512, 0, 512'000'000}},
      {"NTFS, cluster of 3 sectors", Ntfs(3), kRefused},
      {"NTFS, absurd shift", Ntfs(0xC0), kRefused},
      {"FAT32", Fat32(), {8192, 2032 * 512, 1'024'000'000}},
      {"FAT16 has a root folder in front", Fat16(), {8192, (1 + 400 + 32) * 512, 1'024'000'000}},
      {"exFAT", ExFat(), {32768, 4096 * 512, 1'536'000'000}},
      {"FAT16, FATs of 256 sectors",
       With(Fat16(), {{22, 2, 256}}),
       {8192, (1 + 512 + 32) * 512, 1'024'000'000}},
      {"FAT16, a total of 16 bits",
       With(Fat16(), {{19, 2, 65'000}}),
       {8192, (1 + 400 + 32) * 512, 65'000 * 512}},
      {"a root folder that ends inside a sector",
       With(Fat16(), {{17, 2, 500}}),
       {8192, (1 + 400 + 32) * 512, 1'024'000'000}},
      {"one sector a cluster", With(Fat32(), {{13, 1, 1}}), {512, 2032 * 512, 1'024'000'000}},
      {"exactly 128 sectors a cluster", Ntfs(128), {65'536, 0, 512'000'000}},
      {"sectors of 4096", With(Fat32(), {{11, 2, 4096}}), {65'536, 2032 * 4096, 8'192'000'000}},
      {"exFAT, sectors of 4096",
       With(ExFat(), {{108, 1, 12}, {109, 1, 3}}),
       {32'768, 4096 * 4096, 12'288'000'000}},
      {"no signature", With(Fat32(), {{510, 2, 0}}), kRefused},
      {"half a signature", With(Fat32(), {{510, 1, 0}}), kRefused},
      {"the other half", With(Fat32(), {{511, 1, 0}}), kRefused},
      {"sector size 0", With(Fat32(), {{11, 2, 0}}), kRefused},
      {"no FATs", With(Fat32(), {{16, 1, 0}}), kRefused},
      {"first cluster beyond the volume", With(Fat32(), {{32, 4, 100}}), kRefused},
      {"NTFS, a length that wraps", With(Ntfs(), {{40, 8, UINT64_MAX}}), kRefused},
      {"exFAT, shifts out of range", With(ExFat(), {{109, 1, 0xFF}}), kRefused},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    VolumeLayout layout{};
    const Geometry& expected = c.geometry;
    ASSERT_EQ(ReadBootSector(c.sector.data(), layout), expected.cluster != 0);
    if (expected.cluster == 0) continue;
    EXPECT_EQ(layout.clusterBytes, expected.cluster);
    EXPECT_EQ(layout.firstClusterByte, expected.firstCluster);
    EXPECT_EQ(layout.volumeBytes, expected.volume);
  }
}

// RETRIEVAL_POINTERS_BUFFER: count, starting VCN, then pairs of next VCN and LCN.
std::vector<std::uint8_t> Answer(std::uint32_t count, const std::vector<std::int64_t>& numbers) {
  std::vector<std::uint8_t> buffer(8 + 8 * numbers.size());
  std::memcpy(buffer.data(), &count, sizeof count);
  std::memcpy(buffer.data() + 8, numbers.data(), 8 * numbers.size());
  return buffer;
}

TEST(Runs, AnswersThatDontAddUpAreRefused) {
  const struct {
    const char* name;
    std::vector<std::uint8_t> answer;
    std::int64_t startVcn;
    bool taken;
  } cases[] = {
      {"one run", Answer(1, {0, 10, 500}), 0, true},
      {"one that ends where it begins", Answer(1, {1, 0, 0}), 0, false},
      {"begins after what was asked", Answer(1, {5, 10, 500}), 0, false},
      {"begins earlier, rounded down", Answer(1, {0, 10, 500}), 4, true},
      {"ends before what was asked", Answer(1, {0, 4, 500}), 4, false},
      {"runs that go back", Answer(2, {0, 10, 500, 8, 700}), 0, false},
      {"a count beyond the buffer", Answer(3, {0, 10, 500}), 0, false},
      {"no runs", Answer(0, {0}), 0, false},
      {"a place below a hole's", Answer(1, {0, 10, -2}), 0, false},
      {"negative start", Answer(1, {-1, 10, 500}), 0, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    RunList runs;
    EXPECT_EQ(AppendRuns(c.answer.data(), c.answer.size(), c.startVcn, runs), c.taken);
    EXPECT_EQ(runs.empty(), !c.taken) << "a refused answer leaves nothing";
  }
  RunList runs;
  const auto buffer = Answer(1, {0, 10, 500});
  ASSERT_TRUE(AppendRuns(buffer.data(), buffer.size(), 4, runs));
  EXPECT_EQ(runs[0].startVcn, 4);
  EXPECT_EQ(runs[0].lcn, 504) << "the part in front of what was asked is cut off";
  EXPECT_FALSE(AppendRuns(buffer.data(), 8, 0, runs)) << "shorter than its head";
}

TEST(Runs, PlacesOnTheDisk) {
  constexpr std::uint64_t kVolumeStart = 2048 * 512;
  VolumeLayout ntfs{}, fat{};
  ASSERT_TRUE(ReadBootSector(Ntfs().data(), ntfs));
  ASSERT_TRUE(ReadBootSector(Fat32().data(), fat));
  struct File {
    RunList runs;
    std::uint64_t bytes;
  };
  const struct {
    const char* name;
    const VolumeLayout& layout;
    File file;
    const char* extents;  // offset: sector + count; empty: refused
  } cases[] = {
      {"NTFS counts from the volume's start", ntfs, {{{0, 2, 100}}, 8192}, "0:2848+16 "},
      {"FAT32 counts from the data area", fat, {{{0, 1, 100}}, 8192}, "0:5680+16 "},
      {"the very first cluster", fat, {{{0, 1, 0}}, 8192}, "0:4080+16 "},
      {"neighbours are one", ntfs, {{{0, 1, 100}, {1, 2, 101}}, 8192}, "0:2848+16 "},
      {"two pieces", ntfs, {{{0, 1, 100}, {1, 2, 200}}, 8192}, "0:2848+8 4096:3648+8 "},
      {"room after the end", ntfs, {{{0, 1, 100}, {1, 9, 200}}, 4096}, "0:2848+8 "},
      {"room in the last run", ntfs, {{{0, 9, 100}}, 4097}, "0:2848+16 "},
      {"a hole", ntfs, {{{0, 1, 100}, {1, 2, -1}}, 8192}, ""},
      {"a hole between two pieces", ntfs, {{{0, 1, 100}, {1, 2, -1}, {2, 3, 101}}, 12'288}, ""},
      {"a gap between runs", ntfs, {{{0, 1, 100}, {2, 3, 200}}, 8192}, ""},
      {"runs end before the file", ntfs, {{{0, 1, 100}}, 4097}, ""},
      {"outside the volume", ntfs, {{{0, 2, 124999}}, 8192}, ""},
      {"the last cluster is inside", ntfs, {{{0, 1, 124999}}, 1}, "0:1002040+8 "},
      {"an empty file", ntfs, {{}, 0}, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const extents_tool::Placement placed =
        PlaceFile(c.file.runs, c.layout, kVolumeStart, c.file.bytes);
    std::string extents;
    for (const Extent& e : placed.extents) {
      extents += std::to_string(e.fileOffset) + ":" + std::to_string(e.lba) + "+" +
                 std::to_string(e.sectors) + " ";
    }
    EXPECT_EQ(extents, c.extents);
    EXPECT_EQ(placed.problem.empty(), !extents.empty());
  }
  EXPECT_FALSE(PlaceFile({{0, 1, 1}}, ntfs, 100, 512).problem.empty()) << "off a sector";
}

TEST(Runs, ZerosAtTheEndOfWhatAFileShowsProveNothing) {
  const struct {
    const char *shown, *onDisk;
    bool agrees;
  } cases[] = {{"abcd", "abcd", true},  {"ab00", "abxy", true},  {"0000", "wxyz", true},
               {"abcd", "abcx", false}, {"a0cd", "axcd", false}, {"ab00", "xbxy", false}};
  for (const auto& c : cases) {
    std::string shown = c.shown;
    for (char& letter : shown) letter = letter == '0' ? '\0' : letter;
    const auto bytes = [](const char* text) { return reinterpret_cast<const std::uint8_t*>(text); };
    EXPECT_EQ(ShowsWhatLiesThere(bytes(shown.data()), bytes(c.onDisk), 4), c.agrees) << c.shown;
  }
}

}  // namespace
