// Commands that change what the system, its programs and its windows do.
#include <stdexcept>

#include "rehearsal/command_arguments.h"
#include "text/text.h"

namespace rehearsal {
namespace {

void PlanFault(const Arguments& a) {
  FaultPlan& plan = a.world.pc.machine.plan;
  const bool missed = plan.IsStillToStrike();
  plan = {};
  if (missed) throw std::logic_error("the fault planned before never struck");
  if (a.At(1) == "none") return;
  plan.kind = Choose<FaultKind>(a.At(1), {{"refused", FaultKind::Refusal},
                                          {"thrown", FaultKind::FaultThrown},
                                          {"lost", FaultKind::LostWrite}});
  plan.mask = OpsNamed({a.At(2)});
  if (a.Has(3)) plan.nth = a.Number(3);
  if (a.Has(4)) plan.times = a.Number(4);
  if (a.Has(5)) plan.faultNumber = a.Int(5);
}

void PlaceCopies(const Arguments& a) {
  for (std::size_t i = 1; a.Has(i); ++i) {
    const std::size_t colon = a.At(i).find(':');
    const unsigned long pieces =
        colon == std::string::npos ? 1 : std::stoul(a.At(i).substr(colon + 1));
    a.world.demo.e.placements.push_back(
        {.lba = a.Number(i), .pieces = static_cast<unsigned>(pieces)});
  }
}

void SpoilNextCopy(const Arguments& a) {
  Placement copy;
  *Choose<std::optional<std::uint64_t>*>(
      a.At(1), {{"cut", &copy.keepBytes}, {"dated", &copy.lastWriteTime}}) = a.Number(2);
  a.world.demo.e.placements.push_back(copy);
}

void SetPcFact(const Arguments& a) {
  VirtualPc& pc = a.world.pc;
  if (a.At(1) == "long-path") {
    pc.facts.longPaths[a.At(2)] = a.At(3);
  } else if (a.At(1) == "version") {
    pc.facts.version = {2, a.Short(2), a.Short(3)};
  } else {
    *Choose<std::string*>(a.At(1), {{"temp-path", &pc.facts.tempPath},
                                    {"system-folder", &pc.facts.systemFolder},
                                    {"current-folder", &pc.machine.currentFolder}}) = a.At(2);
  }
}

void AddFirstStart(const Arguments& a) {
  a.world.pc.processes.othersMutexes["Rotate_TSD"] =
      a.At(1) == "stays" ? ~std::uint64_t{0} : a.Number(1);
}

void AddWindow(const Arguments& a) {
  std::vector<VirtualWindow>& all = a.world.pc.desktop.windows;
  VirtualWindow window{.title = a.At(1)};
  for (std::size_t i = 2; a.Has(i); ++i) {
    const std::string& word = a.At(i);
    if (word == "form" || word == "box" || word == "popup") {
      window.process = 7;
      if (word == "form") window.className = "Rotate_TSD_Form";
      if (word == "popup") all.back().popup = all.size();
    } else if (word == "from") {
      window.visibleFrom = a.Number(++i);
    } else {
      const bool turnedOff = word == "hidden" || word == "stays";
      *Choose<bool*>(word, {{"hidden", &window.visible},
                            {"stays", &window.agrees},
                            {"hangs", &window.hangs},
                            {"owned", &window.owned},
                            {"minimised", &window.minimised}}) = !turnedOff;
    }
  }
  all.push_back(window);
}

const NamedCommand kCommands[] = {
    {"tool",
     [](const Arguments& a) {
       const std::string file = a.At(1) == "all" ? "" : UpperCase(a.At(1));
       a.world.pc.processes.toolTexts[file] = a.At(2);
     }},
    {"copies", PlaceCopies},
    {"fault", PlanFault},
    {"more-letters", [](const Arguments& a) { a.world.pc.facts.furtherDrives = a.Int(1); }},
    {"first-only",
     [](const Arguments& a) {
       a.world.pc.machine.onlyFirstOfRemovable = true;
       a.world.pc.RenewTables();
     }},
    {"next-copy", SpoilNextCopy},
    {"pc", SetPcFact},
    {"first-start", AddFirstStart},
    {"window", AddWindow},
};

}  // namespace

std::span<const NamedCommand> PcCommands() {
  return kCommands;
}

OpMask OpsNamed(const Words& names) {
  OpMask mask = 0;
  for (const std::string& name : names) {
    OpMask found = 0;
    for (unsigned op = 0; op < static_cast<unsigned>(Op::Count); ++op) {
      if (name == NameOf(static_cast<Op>(op))) found = MaskOf(static_cast<Op>(op));
    }
    if (found == 0) throw std::invalid_argument("no operation " + name);
    mask |= found;
  }
  return mask;
}

}  // namespace rehearsal
