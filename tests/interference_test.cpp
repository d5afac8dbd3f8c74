// Another program does something before each operation of each act.
#include <gtest/gtest.h>

#include "tests/invariants.h"
#include "tests/loops.h"

namespace {

struct Interfering {
  const char* name;
  Other what;
  bool takesAway = false;  // what E: was is out of reach, so a repair may stop half-way
  bool withImage = false;  // only where the act has an image
};
constexpr Interfering kInterferings[] = {
    {"writes a table", Other::WritesTable},
    {"swaps the sticks", Other::SwapsSticks, true},
    {"moves the letter", Other::MovesLetter, true},
    {"moves the image", Other::MovesImage, false, true},
    {"lets the image grow", Other::GrowsImage, false, true},
};

int TotalInterfered = 0;

}  // namespace

class OthersInterfere : public ::testing::TestWithParam<Act> {};

// Defends them all but where nobody could have seen it.
TEST_P(OthersInterfere, AndAllInvariantsHold) {
  for (const Interfering& row : kInterferings) {
    if (row.withImage && GetParam().image == nullptr) continue;
    std::size_t nth = 1;
    for (bool more = true; more; nth += Stride(2)) {
      SCOPED_TRACE(std::string(row.name) + " before operation " + std::to_string(nth));
      Stage stage(GetParam());
      stage.Interfere(row.what, nth);
      const RunEnd end = stage.Perform();
      more = stage.HasActed();
      TotalInterfered += more ? 1 : 0;
      ASSERT_EQ(stage.Everything(end, row.takesAway), Breaches());
    }
    EXPECT_GT(nth, 100U);
  }
  RecordProperty("interfered", TotalInterfered);
}

INSTANTIATE_TEST_SUITE_P(Acts, OthersInterfere, ::testing::ValuesIn(kActs),
                         [](const auto& act) { return NameOf(act.param); });
