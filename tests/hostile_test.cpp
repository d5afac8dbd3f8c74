// File names made to be run, to be split or to be taken for others. Names may come from a file
// system that Windows did not write, so characters that Windows refuses are among them.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/invariants.h"

namespace {

std::string Times(int count, const std::string& text) {
  std::string many;
  for (int i = 0; i < count; ++i) many += text;
  return many;
}

// All begin with B, as the acts' files do.
const std::vector<std::string> kTaken{"B&calc",
                                      "B & calc & ",
                                      "B|calc",
                                      "B<x",
                                      "B>E",
                                      "B^&calc",
                                      "B(1)",
                                      "B%COMSPEC",
                                      "B%20PE%20x64",
                                      "B 50% - 100%",
                                      "B!PATH!",
                                      "B;calc",
                                      "B,x",
                                      "B=x",
                                      "B+C",
                                      "B'`$(calc)",
                                      "B -y &",
                                      "B.volPAK",
                                      "B..",
                                      "B  ",
                                      "B:&: C",
                                      "B\xC3\xA4\xED\xA0\x80",  // half a surrogate pair
                                      "B@#~{}[]",
                                      "Bxxx",
                                      "B" + Times(100, "\xE5\xAE\xB9"),
                                      "B" + Times(240, "x")};
const std::vector<std::string> kRefused{"B%COMSPEC%",  "B%x%date%", "B%CD:a%",
                                        "B\"&calc&\"", "B\"",       "B\ncalc"};

std::string Base;  // of the world under work; an Act's prepare takes no arguments of a test's own

// What the name could be split or expanded into is there as well, and must not be the one taken.
void Lie(VirtualPc& pc, demo::World& world, std::uint64_t image, std::uint64_t companion) {
  demo::AddImage(world.e, {("\\_ISO\\" + Base + ".volPAK").c_str(), image, 64},
                 demo::NtfsBootRecord());
  demo::AddImage(world.e, {("\\_ISO\\" + Base).c_str(), companion, 64}, demo::Fat32BootRecord());
  for (const char* decoy : {"\\_ISO\\B", "\\_ISO\\calc", "\\calc.exe", "\\calc"}) {
    if (world.e.Find(decoy) == nullptr) world.e.AddText(decoy, "decoy");
  }
  world.c.AddText("\\Windows\\system32\\calc.exe", "MZ");
  world.e.label = "\" & calc";
  pc.facts.tempPath = "C:\\Te & mp (1)\\";
  world.c.AddFolder("\\Te & mp (1)");
}

void InOrder(VirtualPc& pc, demo::World& world) {
  Lie(pc, world, 900'000, 950'000);
}
void InWrongOrder(VirtualPc& pc, demo::World& world) {
  Lie(pc, world, 950'000, 900'000);
}

}  // namespace

// Defends 1 to 6, above all 6.
TEST(HostileNames, MeasureAndCopyTheFileMeantOrSayWhyNot) {
  for (const auto* names : {&kTaken, &kRefused}) {
    for (const std::string& name : *names) {
      for (const auto prepare : {InOrder, InWrongOrder}) {
        Base = name;
        const std::string image = "\\_ISO\\" + Base + ".volPAK";
        SCOPED_TRACE(image + (prepare == InOrder ? "" : ", in wrong order"));
        const Act act{"hostile", Act::Kind::Switch, prepare, Open("E:" + image), image.c_str()};
        Stage stage(act);
        EXPECT_EQ(stage.Everything(stage.Perform()), Breaches());
        EXPECT_EQ(stage.SectorIs(0, stage.before), names == &kRefused);
        const auto& boxes = stage.pc.toolkit.boxes;
        EXPECT_TRUE(std::any_of(boxes.begin(), boxes.end(), [&](const ShownBox& shown) {
          return shown.box.text.find("E:" + image) != std::string::npos;
        })) << "no box names the image";
      }
    }
  }
}
