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

// The names of the verdicts that hold.
std::string Verdicts() {
  const SectorVerdicts& f = SectorFlags;
  const std::pair<bool, const char*> verdicts[] = {
      {f.SigOK, "signature"},  {f.Ptn1OK, "entry1"},     {f.Ptn2OK, "entry2"},
      {f.Ptn3OK, "entry3"},    {f.Ptn4OK, "entry4"},     {f.AnyPtnOK, "any"},
      {f.Ptn2Is21, "type21"},  {f.PtnNearStart, "near"}, {f.HasGrub4dos, "grub4dos"},
      {f.IsUniform, "uniform"}};
  std::string text;
  for (const auto& [holds, name] : verdicts) {
    if (holds) text += (text.empty() ? "" : " ") + std::string(name);
  }
  return text;
}

struct SectorCase {
  const char* name;
  const char* verdicts;
  Patch patch;  // on 512 zero bytes
};

const SectorCase kCases[] = {
    {"zeros", "uniform", [](auto&) {}},
    {"all 0xFF", "uniform", [](auto& s) { s.assign(512, 0xFF); }},
    {"last byte differs", "", [](auto& s) { s[511] = 1; }},
    {"signature, no entry", "signature", [](auto& s) { Put(s, 510, "\x55\xAA"); }},
    {"signature reversed", "", [](auto& s) { Put(s, 510, "\xAA\x55"); }},
    {"boot byte 80", "entry1 any", [](auto& s) { Entry(s, kEntry1, 0x80, 0x0C, 65536); }},
    {"boot byte 81", "", [](auto& s) { Entry(s, kEntry1, 0x81, 0x0C, 65536); }},
    {"boot byte 01", "", [](auto& s) { Entry(s, kEntry3, 0x01, 0x0C, 65536); }},
    {"near with a bad boot byte", "near", [](auto& s) { Entry(s, kEntry3, 0x01, 0x0C, 65535); }},
    {"65535 is near", "entry4 any near", [](auto& s) { Entry(s, kEntry4, 0, 7, 65535); }},
    {"65536 is not", "entry2 any", [](auto& s) { Entry(s, kEntry2, 0, 7, 65536); }},
    {"entry 2 is near, of type 1", "entry2 any near", [](auto& s) { Entry(s, kEntry2, 0, 1, 63); }},
    {"16777216 is not", "entry2 any", [](auto& s) { Entry(s, kEntry2, 0, 7, 0x1000000); }},
    {"type 0 is never near", "", [](auto& s) { Entry(s, kEntry1, 0x80, 0, 63); }},
    {"0x21 with a bad boot byte", "type21", [](auto& s) { Entry(s, kEntry2, 1, 0x21, 65536); }},
    {"0x21 in entry 3 is nothing special", "entry3 any",
     [](auto& s) { Entry(s, kEntry3, 0, 0x21, 65536); }},
    {"long mark at 0", "grub4dos", [](auto& s) { Put(s, 0, "Missing MBR-hel"); }},
    {"mark in lower case", "", [](auto& s) { Put(s, 5, "missing hel"); }},
    {"two-part mark", "grub4dos", [](auto& s) { Put(s, 345, "FLBT......Boot"); }},
    {"half of it", "", [](auto& s) { Put(s, 345, "FLBT"); }},
    {"the other half", "", [](auto& s) { Put(s, 355, "Boot"); }},
    // A mark may run over the start of the table but must begin at 446 at the latest.
    {"long mark at 446", "grub4dos", [](auto& s) { Put(s, 446, "Missing MBR-hel"); }},
    {"long mark at 447", "entry1 any", [](auto& s) { Put(s, 447, "Missing MBR-hel"); }},
    {"short mark at 446", "grub4dos", [](auto& s) { Put(s, 446, "Missing hel"); }},
    {"short mark at 447", "entry1 any", [](auto& s) { Put(s, 447, "Missing hel"); }},
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
    EXPECT_EQ(Verdicts(), c.verdicts);
  }
}

}  // namespace
