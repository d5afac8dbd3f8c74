// The composed table: what each entry ends up holding, to the byte, how the type is found or asked
// for, and how the report words it.
#include <algorithm>
#include <array>

#include "disk/sector_buffer.h"
#include "imagefiles/measured_file.h"
#include "switch/commit.h"
#include "switch/partition_table.h"
#include "tests/oracle.h"
#include "tests/support.h"
#include "text/text.h"

namespace {

TEST(Table, HoldsWhatTheImagesNameAsksFor) {
  constexpr const char *kKeep = "(keep)", *kSmall = "keep (small ptn 0x21)";
  const struct {
    const char* extension;
    std::uint8_t type2 = 0x0C;  // of the present entry 2
    bool companion = false, fourth = false;
    const char *ptn2 = "-", *ptn3 = "-";  // of the report; ptn3 without a companion
  } rows[] = {{.extension = "volPAK"},
              {.extension = "volPAK", .type2 = 0x21, .ptn2 = kSmall},
              {.extension = "VOLpakauto", .type2 = 0x21, .ptn2 = kSmall},
              {.extension = "volPAKAUTO", .type2 = 0x21, .companion = true},
              {.extension = "volPAK1", .type2 = 0x21},
              {.extension = "volPAKAUTO2", .ptn2 = kKeep},
              {.extension = "volPAK2", .type2 = 0x21, .ptn2 = kKeep},
              {.extension = "volPAK2", .companion = true, .ptn2 = kKeep},
              {.extension = "volPAK23", .ptn2 = kKeep, .ptn3 = kKeep},
              {.extension = "volPAK23", .companion = true, .ptn2 = kKeep},
              {.extension = "volPAK3"},
              {.extension = "volPAKX4D", .type2 = 0x21, .fourth = true},
              {.extension = "volPAKX4D", .type2 = 0x21},
              {.extension = "volPAK2X4D", .fourth = true},
              {.extension = "volPAK2X4D", .ptn2 = kKeep},
              {.extension = "volPAK23X4D", .companion = true, .fourth = true, .ptn2 = kKeep}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.extension) + (row.companion ? ", companion" : "") +
                 (row.fourth ? ", fourth file" : ""));
    ProgramOnPc program;
    VirtualDisk& stick = program.world.stick;
    const std::string image = std::string("\\_ISO\\I23.") +  // marks count in the extension only
                              row.extension;
    demo::AddImage(program.world.e, {image.c_str(), 0x1F800, 0x2000}, demo::NtfsBootRecord());
    if (row.companion) {
      demo::AddImage(program.world.e, {"\\_ISO\\I23", 0x10203, 513}, demo::Fat32BootRecord());
    }
    if (row.fourth) {
      demo::AddImage(program.world.e, {"\\_ISO\\D", 0x908070, 99}, demo::NtfsBootRecord());
    }
    VirtualSector table = stick.Sector(0);
    table[462] = 0x01;  // not well formed, which nothing here asks for
    table[466] = row.type2;
    demo::SetEntry(table, 3, false, 0x83, 23'000'000, 1000);
    demo::SetEntry(table, 4, true, 0x17, 24'000'000, 1000);
    stick.SetSector(0, table);
    std::vector<Answer> answers{Answer::Ok};
    if (row.companion) answers.insert(answers.begin(), Answer::No);  // the order of the files
    const BoxRows boxes = program.Boxes(Open("E:" + image), answers);

    const std::string ptn3 = "Type=0C (FAT32 ) Start=66051 (0x10203) \r\nE:\\_ISO\\I23";
    const std::string ptn4 = "Type=07 (NTFS)  Start=9470064 (0x908070) \r\nE:\\_ISO\\D";
    const std::string report = "PTN1: Type=07 (NTFS)   Start=129024 (0x1F800) \r\nE:" + image +
                               "\r\n\r\nPTN2: " + row.ptn2 +
                               "\r\n\r\nPTN3: " + (row.companion ? ptn3 : row.ptn3) +
                               "\r\n\r\nPTN4: " + (row.fourth ? ptn4 : "-");
    EXPECT_EQ(boxes.back().text, report + "\r\n\r\nOK to write new MBR to Drive 1?");

    const std::optional<Role> companion = Role{0x10203, 513, 12}, fourth = Role{0x908070, 99, 7};
    EXPECT_EQ(
        stick.Sector(0),
        NewTable(table, std::string(".") + row.extension, {0x1F800, 0x2000, 7},
                 row.companion ? companion : std::nullopt, row.fourth ? fourth : std::nullopt));
    const VirtualSector none{};  // what isn't the picked image keeps its boot record
    EXPECT_EQ(stick.Sector(0x10203), row.companion ? demo::Fat32BootRecord() : none);
    EXPECT_EQ(stick.Sector(0x908070), row.fourth ? demo::NtfsBootRecord() : none);
  }
}

TEST(PartitionType, IsReadFromTheImagesFirstSector) {
  struct Content {
    std::size_t at3, at82;  // lengths of "NTFS" and "FAT32" put there
    std::uint64_t bytes;
  };
  const struct {
    const char* name;
    Content file;
    int type;
  } rows[] = {{"NTFS", {4, 0, 1024}, 7},     {"FAT32", {0, 5, 1024}, 12},
              {"both", {4, 5, 1024}, 12},    {"FAT3 only", {0, 4, 1024}, 0},
              {"NTF only", {3, 0, 1024}, 0}, {"cut at 86", {0, 5, 86}, 0},
              {"short", {4, 0, 7}, 7},       {"nothing in it", {0, 0, 0}, 0}};
  for (const auto& row : rows) {
    PreparedPc program;
    std::string content(row.file.bytes, 'x');
    if (row.file.at3 != 0) content.replace(3, row.file.at3, "NTFS", row.file.at3);
    if (row.file.at82 != 0) content.replace(82, row.file.at82, "FAT32", row.file.at82);
    program.world.e.AddText("\\i", content.substr(0, row.file.bytes));
    FirstBytes first;
    EXPECT_EQ(Get_Format_Type("E:\\i", first), row.type) << row.name;
  }
  PreparedPc program;
  FirstBytes first;
  EXPECT_EQ(Get_Format_Type("E:\\none", first), 0);
  EXPECT_EQ(program.TakeBoxes(), (BoxRows{{kTitle,
                                           "Err.Number=53 Err.Description=File not found Me.Name="
                                           "Form1.Get_Format_Type(fname) Erl=0"}}));
}

TEST(PartitionType, IsAskedForInHexadecimal) {
  const std::pair<const char*, std::uint64_t> rows[] = {
      {"0x83", 131}, {"0X83", 131}, {"ox83", 131}, {"0xox0C", 12}, {"af", 175},
      {"", 0},       {"0x", 0},     {"zz", 0},     {"0x1FF", 511}, {"83h", 131}};
  for (const auto& [answer, type] : rows) {
    PreparedPc program;
    program.pc.toolkit.AnswerInput(answer);
    EXPECT_EQ(Ask_User_What_Type(0, "2nd"), type) << answer;
    const ShownInput& input = program.pc.toolkit.inputs[0];
    EXPECT_EQ(input.title, "Set partition type (hex)");
    EXPECT_EQ(input.initial, "0x83");
    EXPECT_EQ(input.prompt,
              "Set partition type for the 2nd image file:\r\n\r\nExamples\r\n========\r\n\r\n0x83 "
              "= linux ext (*Default)\r\n0x82 = linux swap space\r\n0xAF = HFS for Mac OS X\r\n"
              "0x0C = FAT32\r\n0x07 = NTFS or exFAT\r\n0x00 = none (Cancel)");
  }
}

// The report words the formats of each entry in its own way.
TEST(PartitionType, IsAskedForEachFileThatShowsNone) {
  const struct {
    Texts answers;
    std::array<int, 3> types;  // of entries 1, 3 and 4
    Texts report;              // how the entries begin there
  } rows[] = {{{"0C", "7", "0C"},
               {12, 7, 12},
               {"0C (FAT32)  Start", "07 (NTFS)   Start", "0C (FAT32) Start"}},
              {{"7", "0C", "7"},
               {7, 12, 7},
               {"07 (NTFS)   Start", "0C (FAT32 ) Start", "07 (NTFS)  Start"}},
              // 0x183 doesn't fit, and the emptied entry's byte stays; no answer is 0.
              {{"0x183", "", "0B"}, {0, 0, 11}, {"83 Start", "00 Start", "0B Start"}}};
  for (const auto& row : rows) {
    ProgramOnPc program;
    for (const demo::Place& place : {demo::kMarkedImage, demo::kCompanion, demo::kFourth}) {
      program.world.stick.SetSector(place.lba, demo::ForeignBootRecord());
    }
    for (const std::string& answer : row.answers) program.pc.toolkit.AnswerInput(answer);
    const std::string report =
        program.Boxes(Open("E:\\_ISO\\A.volPAKX4DATA"), {Answer::Ok})[0].text;
    const VirtualSector table = program.world.stick.Sector(0);
    const std::array entries{1, 3, 4};
    const std::array files{"1st", "2nd", "4th"};
    for (std::size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(program.pc.toolkit.inputs[i].prompt.substr(27, 3), files[i]);
      EXPECT_EQ(EntryOf(table, entries[i]).type, row.types[i]);
      const std::string begins = "PTN" + std::to_string(entries[i]) + ": Type=" + row.report[i];
      EXPECT_TRUE(Contains(report, begins)) << begins << report;
    }
  }
}

}  // namespace
