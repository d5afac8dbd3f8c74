// Texts and numbers: hexadecimal both ways, exact integers, paddings, commas, the tool's text.
#include "text/text.h"

#include <gtest/gtest.h>

#include "imagefiles/file_extents.h"
#include "imagefiles/interpreter_rules.h"
#include "report/routine.h"
#include "shell/drive_inventory.h"
#include "shell/startup.h"
#include "tests/support.h"
#include "text/exact_integer.h"
#include "text/extents_text.h"
#include "text/wide_text.h"

namespace {

TEST(Text, HexDigitsAndPadding) {
  EXPECT_EQ(HexDigits(0), "0");
  EXPECT_EQ(HexDigits(4294967295.0), "FFFFFFFF");
  EXPECT_EQ(HexDigits(9007199254740991.0), "1FFFFFFFFFFFFF");
  EXPECT_EQ(HexPadded(12, 2), "0C");
  EXPECT_EQ(HexPadded(0x183, 2), "83") << "leading digits are lost";
  EXPECT_EQ(HexPadded(0xAF, 4), "00AF");
}

template <class Result>
using Cases = std::vector<std::pair<const char*, Result>>;

TEST(Text, HexPrefixValue) {
  const Cases<std::uint64_t> cases{
      {"83", 131}, {"af", 175}, {"", 0},     {"G1", 0},
      {"1G", 1},   {" 1", 0},   {"0x83", 0}, {"FFFFFFFFFFFFFFFFFF", UINT64_MAX}};
  for (const auto& [text, value] : cases) EXPECT_EQ(HexPrefixValue(text), value) << text;
}

TEST(Text, HexToDecIsExact) {
  const Cases<std::string> cases{{" 1f800 ", "129024"},
                                 {"", "0"},
                                 {"FFFFFFFF", "4294967295"},
                                 {"FFFFFFFFFFFFFFFF", "18446744073709551615"},
                                 {"FFFFFFFFFFFFFFFFFFFFFFFF", "79228162514264337593543950335"},
                                 {"1000000000000000000000000", "0"},  // 25 digits don't fit
                                 {"G", "16"},
                                 {"/", "-1"},
                                 {"1/", "15"},  // no check of the digits
                                 {"/0000000000000000", "-18446744073709551616"},
                                 {"//", "-17"}};
  for (const auto& [text, value] : cases) EXPECT_EQ(HexToDec(text).ToDecimal(), value) << text;
}

TEST(Text, PadTextAndCommas) {
  EXPECT_EQ(PadText("abc", " ", 5, true), "abc  ");
  EXPECT_EQ(PadText("abc", "*-", 5, false), "**abc");
  EXPECT_EQ(PadText("abcdef", " ", 3, true), "abc");
  EXPECT_EQ(PadText("abcdef", " ", 3, false), "def");
  EXPECT_EQ(FormatCommas(7.99, "0"), "7");
  EXPECT_EQ(FormatCommas(999, "0"), "999");
  EXPECT_EQ(FormatCommas(2000, "0"), "2,000");
  EXPECT_EQ(FormatCommas(8003197440.0, "0"), "8,003,197,440");
  EXPECT_EQ(FormatCommas("  1234567.9", "0"), "1,234,567");
}

TEST(Text, NulEndsAText) {
  EXPECT_EQ(StripNull(std::string("ab\0cd", 5)), "ab");
  EXPECT_EQ(StripNull(" ab "), "ab");
  EXPECT_EQ(StripNulls(std::string("  ab\0cd ", 8)), "ab");
}

TEST(Text, WideAndBack) {
  const std::pair<std::string, std::wstring> cases[] = {
      {"", L""},
      {std::string("a\0b", 3), {L'a', 0, L'b'}},
      {"\x7F\xC2\x80 \xDF\xBF \xE0\xA0\x80", {0x7F, 0x80, ' ', 0x7FF, ' ', 0x800}},
      {"\xEF\xBF\xBF\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF",
       {0xFFFF, 0xD800, 0xDC00, ' ', 0xDBFF, 0xDFFF}},
      // Halves of a pair, as a file name may hold them: alone, at the end, in the wrong order.
      {"\xED\xA0\x80x\xED\xB0\x80", {0xD800, 'x', 0xDC00}},
      {"\xED\xBF\xBF\xED\xA0\x80", {0xDFFF, 0xD800}}};
  for (const auto& [text, wide] : cases) {
    EXPECT_EQ(WideText(text), wide) << text;
    EXPECT_EQ(NarrowText(wide), text) << text;
  }
  // Not UTF-8: cut short, a byte too many, longer than needed, beyond the last character.
  for (const char* bad : {"\xC3", "\xE5\xAE", "\x80", "\xC0\xAF", "\xF4\x90\x80\x80", "\xFF"}) {
    const std::wstring wide = WideText(std::string(bad) + "a");
    EXPECT_EQ(wide.back(), L'a') << bad;
    EXPECT_EQ(wide.front(), 0xFFFD) << bad;
  }
}

TEST(Text, WindowsVersions) {
  EXPECT_EQ(VersionCode(1, 4, 10), 2);
  EXPECT_EQ(VersionCode(2, 3, 51), 4) << "any minor version";
  EXPECT_EQ(VersionCode(2, 5, 1), 7) << "the last one whose folder windows are closed";
  EXPECT_EQ(VersionCode(2, 6, 2), 11) << "what Windows 8 and later answer";
  EXPECT_EQ(VersionCode(2, 10, 0), 0) << "unknown";
}

TEST(Text, ExtentsLines) {
  EXPECT_EQ(ExtentsText({}), "");
  EXPECT_EQ(ExtentsText({{0, 0x1F800, 0x2000}}), "File offset 0 LBA: 1F800 Sectors: 2000\r\n");
  EXPECT_EQ(ExtentsText({{0, 100, 8}, {4096, 108, 8}}), "File offset 0 LBA: 64 Sectors: 10\r\n")
      << "neighbours are one extent";
  EXPECT_EQ(ExtentsText({{0, 100, 8}, {4096, 200, 8}}),
            "File offset 0 LBA: 64 Sectors: 8\r\nFile offset 1000 LBA: C8 Sectors: 8\r\n");
  EXPECT_EQ(MergeExtents({{0, 100, 8}, {8192, 108, 8}}).size(), 2U) << "a hole between them";
}

TEST(Text, NamesThatTheInterpreterWouldChange) {
  ProgramOnPc program;
  program.Prepare();
  enum Change { kNever, kBare, kAlways };
  std::vector<std::pair<std::string, Change>> cases{{"E:\\_ISO\\a.volPAK", kNever},
                                                    {"E:\\a b", kNever},
                                                    {"E:\\\xC3\x9C", kNever},
                                                    {"E:\\Win%20PE%20x64.volPAK", kNever},
                                                    {"E:\\50% - 100%.volPAK", kNever},
                                                    {"E:\\Wow! New!", kNever},
                                                    {"E:\\100%%COMSPEC", kNever},
                                                    {"E:\\%ComSpec%", kAlways},
                                                    {"E:\\%none%COMSPEC%", kAlways},
                                                    {"E:\\%COMSPEC:a%", kAlways},
                                                    {"E:\\%date%", kAlways},
                                                    {"E:\\%=x%", kAlways},
                                                    {"E:\\a\"", kAlways},
                                                    {"E:\\a\n", kAlways}};
  for (const char c : std::string("&|<>^()+*?,;=")) cases.push_back({{'a', c, 'b'}, kBare});
  for (const auto& [path, change] : cases) {
    EXPECT_EQ(InterpreterChangesQuoted(path), change == kAlways) << path;
    EXPECT_EQ(InterpreterChangesBare(path), change != kNever) << path;
  }
  auto& settings = program.pc.facts.interpreterSettings;
  settings[{SettingsOf::Machine, "DelayedExpansion"}] = "1";
  EXPECT_TRUE(InterpreterChangesQuoted("E:\\Wow!"));
  settings[{SettingsOf::User, "DelayedExpansion"}] = "0";
  EXPECT_FALSE(InterpreterChangesQuoted("E:\\Wow!"));
  settings[{SettingsOf::Machine, "AutoRun"}] = "set 20PE=x";
  EXPECT_TRUE(InterpreterChangesQuoted("E:\\Win%20PE%20"));
  EXPECT_FALSE(InterpreterChangesQuoted("E:\\100%"));
}

}  // namespace
