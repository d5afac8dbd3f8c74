// Work that takes long: what the title bar says of it, and that the window is drawn but answers
// nobody meanwhile.
#include "report/progress.h"

#include <algorithm>

#include "disk/sector_buffer.h"
#include "imagefiles/file_compare.h"
#include "imagefiles/file_extents.h"
#include "imagefiles/image_search.h"
#include "imagefiles/moving_file.h"
#include "report/events.h"
#include "tests/support.h"

namespace {

constexpr const char* kRescue = "E:\\P\\Rescue.volPAK";
constexpr const char* kUebung = "E:\\P\\\u00DCbung S\u00FCd.volPAK";

void Copy() {
  MovingFile(kRescue, "xxx").Copy("copy 2 of at most 33");
}
void Compare() {
  EXPECT_EQ(HoldSameBytes(kRescue, kUebung), true);
}
void Measure() {
  GetFileStart(kUebung);
}
void Search() {
  MYDRIVE = "E:";
  ListFiles();
}

ChildScript Slow(std::uint32_t milliseconds, bool countsBytes = false) {
  return {.match = " /c", .milliseconds = milliseconds, .countsBytes = countsBytes};
}

// The captions that were set, each once where it was set several times in a row.
Texts Captions(const ProgramOnPc& p) {
  Texts captions = p.pc.toolkit.captions;
  captions.erase(std::unique(captions.begin(), captions.end()), captions.end());
  return captions;
}

TEST(Progress, TitleBarSaysWhatGoesOn) {
  const std::string copying = "Copying Rescue.volPAK", which = ", copy 2 of at most 33";
  const std::string searching = "Searching E:\\_ISO: ";
  const Texts shares{copying + ": 40 %" + which, copying + ": 80 %" + which};
  const FaultPlan waitFails{.kind = FaultKind::Refusal, .nth = 6, .mask = MaskOf(Op::Wait)};
  const FaultPlan noLength{.kind = FaultKind::Refusal, .mask = MaskOf(Op::FileSize)};
  const struct {
    const char* name;
    void (*work)();
    ChildScript child = {};
    std::uint32_t cutAt = 0;  // ms; power
    FaultPlan plan = {};
    Texts captions = {};  // before the window's own, which comes back
  } rows[] = {
      {.name = "a copy", .work = Copy, .child = Slow(1000), .captions = shares},
      {.name = "has its length from the start",
       .work = Copy,
       .child = Slow(1000, true),
       .captions = shares},
      {.name = "has just begun, and the wait fails",
       .work = Copy,
       .child = Slow(60'000),
       .plan = waitFails,
       .captions = {copying + ": 0 %" + which}},
      {.name = "length can't be asked",
       .work = Copy,
       .child = Slow(600),
       .plan = noLength,
       .captions = {copying + which}},
      {.name = "power cut",
       .work = Copy,
       .child = Slow(1000),
       .cutAt = 500,
       .captions = {shares[0]}},
      {.name = "quick copy", .work = Copy, .child = Slow(300)},
      {.name = "a comparison",
       .work = Compare,
       .captions = {"Comparing \u00DCbung S\u00FCd.volPAK: 66 %"}},
      {.name = "a search",
       .work = Search,
       .captions = {searching + "0 folders, 0 images", searching + "1 folder, 1 image",
                    searching + "1 folder, 3 images"}},
      {.name = "time limit",
       .work = Measure,
       .child = {.match = "/c", .neverEnds = true},
       .captions = {"Looking where \u00DCbung S\u00FCd.volPAK lies"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    PreparedPc p;
    p.leavesHandles = row.cutAt != 0;
    p.world.e.AddFile(kRescue + 2, 3 << 20, 1'000'000, "same");
    p.world.e.AddFile(kUebung + 2, 3 << 20, 1'010'000, "same");
    p.pc.processes.scripts = {row.child};
    p.pc.machine.plan = row.plan;
    if (row.child.match.empty()) p.pc.machine.clock.betweenTicks = 200;
    p.pc.machine.beforeOperation = [&](std::size_t) {
      const bool cut = row.cutAt != 0 && p.pc.machine.clock.Elapsed() >= row.cutAt;
      p.pc.machine.journal.SetPower(!cut);
      p.pc.toolkit.pressedAhead = {Click(Control::Label2), Click(Control::Chk_ISO), CloseWindow()};
    };
    p.Call(row.work);
    p.Call(DoEvents);
    EXPECT_EQ(p.Lines(MaskOf(Op::ShellExecute)), Texts());
    EXPECT_TRUE(p.pc.toolkit.IsTicked(Control::Chk_ISO));
    EXPECT_FALSE(p.pc.toolkit.unloaded);
    Texts expected = row.captions;
    if (!expected.empty()) expected.push_back(kWindowCaption);
    EXPECT_EQ(Captions(p), expected);
    EXPECT_EQ(p.pc.toolkit.pointer, Pointer::Default);
    EXPECT_LT(p.pc.toolkit.longestSilence, 1000U);
  }
}

}  // namespace
