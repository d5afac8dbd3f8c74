// What the name of an image says.
#include "imagefiles/image_name.h"

#include <gtest/gtest.h>

namespace {

TEST(ImageName, MarksOfTheExtension) {
  const struct {
    const char* path;
    const char* folder;
    const char* base;
    bool isPlain = false, keeps2 = false, keeps23 = false;
    const char* fourthName = "";
  } rows[] = {
      {.path = "E:\\_ISO\\A.volPAK", .folder = "\\_ISO\\", .base = "A", .isPlain = true},
      {.path = "E:\\A.VOLPAKauto", .folder = "\\", .base = "A", .isPlain = true},
      {.path = "E:\\A.volPAK2", .folder = "\\", .base = "A", .keeps2 = true},
      {.path = "E:\\A.volPAK23", .folder = "\\", .base = "A", .keeps2 = true, .keeps23 = true},
      {.path = "E:\\A.volPAK32", .folder = "\\", .base = "A", .keeps2 = true},
      {.path = "E:\\A.volPAKx4Data", .folder = "\\", .base = "A", .fourthName = "Data"},
      {.path = "E:\\A.volPAKX4", .folder = "\\", .base = "A"},
      {.path = "E:\\A.volPAKX4aX4b23",
       .folder = "\\",
       .base = "A",
       .keeps2 = true,
       .keeps23 = true,
       .fourthName = "aX4b23"},
      {.path = "E:\\A23X4b.volPAK.txt", .folder = "\\", .base = "A23X4b.volPAK"},
      {.path = "E:\\.volPAK", .folder = "\\", .base = "", .isPlain = true},
      {.path = "E:\\a.b\\plain", .folder = "\\a.b\\", .base = ""},
      {.path = "", .folder = "", .base = ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path);
    const ImageName name = ParseImageName(row.path);
    EXPECT_EQ(name.folder, row.folder);
    EXPECT_EQ(name.base, row.base);
    EXPECT_EQ(name.isPlain, row.isPlain);
    EXPECT_EQ(name.keeps2, row.keeps2);
    EXPECT_EQ(name.keeps23, row.keeps23);
    EXPECT_EQ(name.fourthName, row.fourthName);
  }
}

}  // namespace
