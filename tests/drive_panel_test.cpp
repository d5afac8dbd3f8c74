// How far the list of images scrolls, which only a message says. tests/cases/drive_panel.txt has
// the rest of the panel.
#include "tests/support.h"

namespace {

TEST(DrivePanel, ListScrollsAsFarAsItsWidestRow) {
  const struct {
    std::size_t name;  // length of an image's name; a character is 6 pixels wide
    bool companion;
    std::vector<std::intptr_t> extents;
  } rows[] = {{81, false, {6}}, {82, false, {6, 90 * 6 + 6}}, {220, true, {6, 32767 / 15 + 6}}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    ProgramOnPc p;
    const std::string stem(row.name - 7, 'n');
    p.world.e.AddText("\\_ISO\\" + stem + ".volPAK", "x");
    if (row.companion) p.world.f.AddText("\\_ISO\\" + stem, "x");
    p.Start();
    std::vector<std::intptr_t> extents;
    for (const auto& sent : p.pc.toolkit.sent) {
      EXPECT_TRUE(sent.control == Control::List1 && sent.message == 0x194U);
      extents.push_back(sent.wParam);
    }
    EXPECT_EQ(extents, row.extents);
  }
}

}  // namespace
