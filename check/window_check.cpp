#include <optional>
#include <tuple>

#include "check/checks.h"
#include "report/product.h"
#include "rig/window_robot.h"
#include "shell/window_design.h"
#include "text/text.h"

namespace {

using robot::kFarOff;

// The program under check; ended with the object, whatever has become of it.
class Running {
 public:
  explicit Running(const std::string& path)
      : id_(Sys.processes->Shell("", "\"" + path + "\"", kWindowNormal)),
        process_(Sys.processes->OpenProcess(kProcessSynchronizeAndQuery, id_)) {}
  ~Running() {
    if (!HasEnded(0)) Sys.processes->EndChild(id_);
    std::ignore = Sys.devices->CloseHandle(process_);
  }
  Running(const Running&) = delete;
  Running& operator=(const Running&) = delete;

  [[nodiscard]] robot::Found Look() const { return robot::Look(id_); }
  [[nodiscard]] HWND Main() const { return Look().main; }

  [[nodiscard]] bool HasEnded(std::uint32_t within) const {
    return Sys.processes->WaitForSingleObject(process_, within) == kWaitObject0;
  }

  [[nodiscard]] bool HasSucceeded() const {
    std::uint32_t code = 1;
    return Sys.processes->GetExitCodeProcess(process_, code) && code == 0;
  }

  template <class Condition>
  void WaitFor(const std::string& what, Condition&& condition) const {
    const DWORD begin = ::GetTickCount();
    while (!condition()) {
      Require(!HasEnded(0), "waited for " + what + ", but the program has ended");
      Require(::GetTickCount() - begin < kFarOff, "waited in vain for " + what);
      Sys.clock->Sleep(50);
    }
  }

  // Presses the first or the last button of a box: their captions are in the language of Windows.
  void Answer(HWND box, bool last = false) const {
    HWND button = nullptr;
    for (HWND child : robot::Children(box)) {
      if (robot::Class(child) == "Button" && (button == nullptr || last)) button = child;
    }
    Require(robot::Press(box, button), "the box has no button to be pressed");
    WaitFor("the box to close", [&] { return !::IsWindow(box) || !::IsWindowVisible(box); });
  }

  // The next box, which has to be this one.
  HWND Expect(const std::string& title, const std::string& words) const {
    robot::Found found;
    WaitFor("the box " + title, [&] { return !(found = Look()).boxes.empty(); });
    HWND box = found.boxes.front();
    const std::string seenTitle = robot::Text(box), seen = robot::Words(box);
    Require(seenTitle == title && Contains(seen, words), "a box says " + seenTitle + ": " + seen);
    return box;
  }

  // Until the window takes the next action: what comes during one is dropped.
  HWND Ready() const {
    HWND main = Main();
    Require(robot::Idle(main, kFarOff), "the window doesn't answer");
    return main;
  }

  void Click(const char* caption) const {
    Require(robot::Click(Ready(), caption), std::string("can't click ") + caption);
  }

  [[nodiscard]] bool IsTicked(const char* caption) const {
    return robot::Send(robot::Child(Main(), "Button", caption), BM_GETCHECK) == BST_CHECKED;
  }

 private:
  std::uint32_t id_;
  Handle process_;
};

// Start-up may have to say that the rights aren't enough; nothing else.
void Starts(const Running& program, const Workplace&, Findings& findings) {
  robot::Found found;
  program.WaitFor("the window", [&] {
    found = program.Look();
    for (HWND box : found.boxes) {
      const std::string title = robot::Text(box);
      findings.Say("Start-up says: " + title + ": " + robot::Words(box));
      Require(title.starts_with("Run as Admin"), "an unexpected box: " + title);
      program.Answer(box);
    }
    return found.main != nullptr && found.boxes.empty();
  });
}

void HasItsControls(const Running& program, const Workplace&, Findings&) {
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const ControlDesign& design = kFormDesign.controls[i];
    const bool isButton =
        design.kind == ControlKind::Button || design.kind == ControlKind::CheckBox;
    if (!isButton) continue;
    HWND button = robot::Child(program.Main(), "Button", robot::Plain(design.caption));
    Require(button != nullptr, std::string("no button ") + design.caption);
  }
}

void Helps(const Running& program, const Workplace&, Findings&) {
  program.Click("Help");
  program.Answer(program.Expect("Rotate_TSD for .volPAK files", "Double-click on a .volPAK file"));
}

void Logs(const Running& program, const Workplace& place, Findings&) {
  const std::string label = DesignOf(Control::Label1).caption;
  for (const char* words : {"has now started", "is disabled"}) {
    Require(robot::DoubleClickLabel(program.Ready(), label), "no label to be double-clicked");
    program.Answer(program.Expect(PRODUCT_TITLE, words));
  }
  const std::string log = Sys.files->ReadTextFile(place.temp + "Rotate_TSD.log");
  Require(Contains(log, "v." PRODUCT_VERSION_TEXT), "the log doesn't name the version");
  Require(Contains(log, "Logging is disabled"), "the log doesn't end with its own end");
}

// Without a stick there is nothing to be searched, which a box says.
void TicksTheFolder(const Running& program, const Workplace&, Findings&) {
  constexpr const char* kCaption = "Only search \\_ISO folder";
  HWND combo = robot::Child(program.Main(), "ComboBox");
  const bool noStick = robot::Send(combo, CB_GETCOUNT) == 0;
  for (const bool ticked : {false, true}) {
    program.Click(kCaption);
    if (noStick) program.Answer(program.Expect("SECTOR READ FAILED", "DRIVE 99"));
    program.Ready();
    Require(program.IsTicked(kCaption) == ticked, "the tick doesn't change");
  }
}

void UnticksWhatIsCancelled(const Running& program, const Workplace&, Findings&) {
  constexpr const char* kCaption = "List all drives";
  program.Click(kCaption);
  program.Answer(program.Expect(PRODUCT_TITLE, "WARNING: Lists all drives"), true);
  program.Ready();
  Require(!program.IsTicked(kCaption), "the tick stays");
}

void Ends(const Running& program, const Workplace& place, Findings&) {
  program.Click("Exit");
  Require(program.HasEnded(kFarOff), "the program doesn't end");
  Require(program.HasSucceeded(), "its exit code isn't 0");
  Require(Sys.files->GetFileAttributes(place.temp + "getFileExtents.exe") == kInvalidAttributes,
          "the copy of the tool stays in the temp folder");
}

struct Step {
  const char* name;
  void (*run)(const Running& program, const Workplace& place, Findings& findings);
};
constexpr Step kSteps[] = {{"starts", Starts},
                           {"controls", HasItsControls},
                           {"help", Helps},
                           {"log on and off", Logs},
                           {"tick of the folder", TicksTheFolder},
                           {"tick of all drives", UnticksWhatIsCancelled},
                           {"exit", Ends}};

}  // namespace

void CheckWindow(Findings& findings, const Workplace& place) {
  const bool another = Sys.desktop->FindWindow(kFormDesign.className) != 0;
  std::string why = another ? "another Rotate_TSD is running" : "";
  std::optional<Running> program;
  for (const Step& step : kSteps) {
    const bool passed = findings.Try(std::string("window, ") + step.name, [&] {
      if (!why.empty()) throw NotPossibleHere{why};
      if (!program) program.emplace(place.programs + "Rotate_TSD.exe");
      step.run(*program, place, findings);
    });
    if (!passed && why.empty()) why = "a step before it failed";
  }
}
