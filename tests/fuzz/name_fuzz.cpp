// Any name for an image and its companion, in the right and in the wrong order.
#include <algorithm>
#include <cstring>

#include "tests/fuzz/fuzz.h"
#include "tests/invariants.h"

namespace {

std::string Base;
std::uint64_t CompanionAt;

void Lie(VirtualPc&, demo::World& world) {
  demo::AddImage(world.e, {("\\_ISO\\" + Base + ".volPAK").c_str(), 950'000, 64},
                 demo::NtfsBootRecord());
  demo::AddImage(world.e, {("\\_ISO\\" + Base).c_str(), CompanionAt, 64}, demo::Fat32BootRecord());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // What ends a name or a part of a path can't be in one, " :&" ends the image in a list line, and
  // * and ? make a pattern of it for every call that looks a file up.
  Base = "B" + AsText(data + 1, std::min<std::size_t>(size - 1, 250));
  Base.erase(std::remove_if(Base.begin(), Base.end(),
                            [](char c) { return c == 0 || std::strchr("\\/:*?", c) != nullptr; }),
             Base.end());
  CompanionAt = data[0] % 2 == 0 ? 960'000 : 940'000;
  const std::string image = "\\_ISO\\" + Base + ".volPAK";
  const Act act{"fuzz", Act::Kind::Switch, Lie, Open("E:" + image), image.c_str()};
  Stage stage(act);
  for (const std::string& breach : stage.Everything(stage.Perform())) Require(false, breach);
  return 0;
}
