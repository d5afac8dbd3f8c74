// The verdicts on a sector, each decided by a sector that differs in few bytes.
#include "disk/sector_buffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace {

using Patch = std::function<void(std::vector<std::uint8_t>&)>;

void Put(std::vector<std::uint8_t>& sector, std::size_t at, const std::string& bytes) {
  std::memcpy(sector.data() + at, bytes.data(), bytes.size());
}

void Entry(std::vector<std::uint8_t>& sector, std::size_t entry, std::uint8_t boot,
           std::uint8_t type, std::uint32_t start) {
  sector[entry] = boot;
  sector[entry + 4] = type;
  for (std::size_t i = 0; i < 4; ++i) {
    sector[entry + 8 + i] = static_cast<std::uint8_t>(start >> (8 * i));
  }
}

// The flags that are set, as letters: S signature, 1-4 entries, A any, G grub4dos, U uniform,
// T entry 2 has type 0x21, N near the start.
std::string FlagsText() {
  const SectorVerdicts& f = SectorFlags;
  const std::pair<bool, char> flags[] = {
      {f.SigOK, 'S'},    {f.Ptn1OK, '1'},      {f.Ptn2OK, '2'},      {f.Ptn3OK, '3'},
      {f.Ptn4OK, '4'},   {f.AnyPtnOK, 'A'},    {f.HasGrub4dos, 'G'}, {f.IsUniform, 'U'},
      {f.Ptn2Is21, 'T'}, {f.PtnNearStart, 'N'}};
  std::string text;
  for (const auto& [flag, letter] : flags) text.append(flag ? 1 : 0, letter);
  return text;
}

struct SectorCase {
  const char* name;
  const char* flags;
  Patch patch;  // on 512 zero bytes
};

const SectorCase kCases[] = {
    {"zeros", "U", [](auto&) {}},
    {"all 0xFF", "U", [](auto& s) { s.assign(512, 0xFF); }},
    {"last byte differs", "", [](auto& s) { s[511] = 1; }},
    {"signature, no entry", "S", [](auto& s) { Put(s, 510, "\x55\xAA"); }},
    {"signature reversed", "", [](auto& s) { Put(s, 510, "\xAA\x55"); }},
    {"boot byte 80", "1A", [](auto& s) { Entry(s, kEntry1, 0x80, 0x0C, 65536); }},
    {"boot byte 81", "", [](auto& s) { Entry(s, kEntry1, 0x81, 0x0C, 65536); }},
    {"boot byte 01", "", [](auto& s) { Entry(s, kEntry3, 0x01, 0x0C, 65536); }},
    {"near with a bad boot byte", "N", [](auto& s) { Entry(s, kEntry3, 0x01, 0x0C, 65535); }},
    {"65535 is near", "4AN", [](auto& s) { Entry(s, kEntry4, 0, 7, 65535); }},
    {"65536 is not", "2A", [](auto& s) { Entry(s, kEntry2, 0, 7, 65536); }},
    {"16777216 is not", "2A", [](auto& s) { Entry(s, kEntry2, 0, 7, 0x1000000); }},
    {"type 0 is never near", "", [](auto& s) { Entry(s, kEntry1, 0x80, 0, 63); }},
    {"0x21 with a bad boot byte", "T", [](auto& s) { Entry(s, kEntry2, 1, 0x21, 65536); }},
    {"0x21 in entry 3 is nothing special", "3A",
     [](auto& s) { Entry(s, kEntry3, 0, 0x21, 65536); }},
    {"long mark at 0", "G", [](auto& s) { Put(s, 0, "Missing MBR-hel"); }},
    {"mark in lower case", "", [](auto& s) { Put(s, 5, "missing hel"); }},
    {"two-part mark", "G", [](auto& s) { Put(s, 345, "FLBT......Boot"); }},
    {"half of it", "", [](auto& s) { Put(s, 345, "FLBT"); }},
    {"the other half", "", [](auto& s) { Put(s, 355, "Boot"); }},
    // A mark may run over the start of the table but must begin at 446 at the latest.
    {"long mark at 446", "G", [](auto& s) { Put(s, 446, "Missing MBR-hel"); }},
    {"long mark at 447", "1A", [](auto& s) { Put(s, 447, "Missing MBR-hel"); }},
    {"short mark at 446", "G", [](auto& s) { Put(s, 446, "Missing hel"); }},
    {"short mark at 447", "1A", [](auto& s) { Put(s, 447, "Missing hel"); }},
    {"pattern of a failed read", "",
     [](auto& s) {
       for (std::size_t i = 0; i < 512; ++i) s[i] = static_cast<std::uint8_t>(i % 16);
     }},
};

TEST(SectorBuffer, Verdicts) {
  for (const SectorCase& c : kCases) {
    SCOPED_TRACE(c.name);
    SectorBuffer.assign(512, 0);
    c.patch(SectorBuffer);
    ParseSectorBuffer();
    EXPECT_EQ(FlagsText(), c.flags);
  }
}

}  // namespace
