// The 64-bit form of a SCSI record, field by field as ntddscsi.h lays it out.
#include "platform/win32/scsi_record.h"

#include <gtest/gtest.h>

namespace {

TEST(ScsiRecord, WidenedAndTakenBack) {
  std::vector<std::uint8_t> record(585);
  for (std::size_t i = 0; i < record.size(); ++i) record[i] = static_cast<std::uint8_t>(i);
  record[0] = 44;
  record[20] = 76, record[21] = record[22] = record[23] = 0;  // data offset
  record[24] = 44, record[25] = record[26] = record[27] = 0;  // sense offset
  std::vector<std::uint8_t> wide = WidenScsiRecord(record.data(), record.size());
  ASSERT_EQ(wide.size(), 585U + 12);
  EXPECT_EQ(wide[0], 56);
  EXPECT_EQ(wide[8], 8) << "the fields in front of the offsets stay";
  EXPECT_EQ(wide[16], 16);
  EXPECT_EQ(wide[24], 88) << "data offset";
  EXPECT_EQ(wide[32], 56) << "sense offset";
  EXPECT_EQ(wide[36], 28) << "first byte of the command";
  EXPECT_EQ(wide[51], 43) << "last one";
  EXPECT_EQ(wide[88], 76) << "the data area begins where its offset says";

  wide[2] = 0x99;   // status
  wide[88] = 0x77;  // first byte of the data
  wide.back() = 0x55;
  NarrowScsiAnswer(wide, record.data(), record.size());
  EXPECT_EQ(record[0], 44);
  EXPECT_EQ(record[2], 0x99);
  EXPECT_EQ(record[20], 76) << "the offsets stay those of the narrow form";
  EXPECT_EQ(record[28], 28);
  EXPECT_EQ(record[76], 0x77);
  EXPECT_EQ(record.back(), 0x55);
  EXPECT_TRUE(WidenScsiRecord(record.data(), 43).empty());
}

}  // namespace
