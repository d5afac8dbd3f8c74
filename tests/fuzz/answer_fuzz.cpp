// Any answer to the question for a partition type.
#include "tests/fuzz/fuzz.h"
#include "tests/invariants.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string image = demo::kLinuxImage.path;
  const Act act{"fuzz", Act::Kind::Switch, [](VirtualPc&, demo::World&) {}, Open("E:" + image),
                image.c_str()};
  Stage stage(act);
  stage.pc.toolkit.AnswerInput(AsText(data, size));
  const RunEnd end = stage.Perform();
  Require(end == RunEnd::Returned, "the switch came to no end");
  // Whatever the type became, it is the type alone.
  VirtualSector table = stage.world.stick.Sector(0);
  const unsigned type = table[450];
  table[450] = 0x83;
  stage.world.stick.SetSector(0, table);
  for (const std::string& breach : stage.Everything(end)) Require(false, breach);
  const std::string shown = "PTN1: Type=";
  const std::string& report = stage.pc.toolkit.boxes.front().box.text;
  Require(report.rfind(shown, 0) == 0, "the type is not shown");
  const unsigned long stated = std::strtoul(report.substr(shown.size(), 2).c_str(), nullptr, 16);
  Require(type == stated || type == 0, "another type than the one shown");
  return 0;
}
