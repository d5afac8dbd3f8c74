// The program on the virtual PC, in the terminal: the window as text, with clicks and answers typed
// or piped in. It ends at the end of the input.
//
//   rehearse --play FILE    prints the file of cases (rehearsal/player.h) with what they do now
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "rehearsal/player.h"
#include "rehearsal/user_controls.h"
#include "shell/program.h"
#include "text/text.h"

namespace {

constexpr const char* kHelp =
    "  pick N       select drive N of the drop-down      open N    double-click image N\n"
    "  click NAME   refresh, restore, swap, help, exit, reboot, link\n"
    "  tick NAME    iso, all                             logging   double-click the red label\n"
    "  show         the window again                     table     the stick's partition table\n"
    "  log          what was written to disks            journal   everything that was done\n"
    "  unplug, plug the stick                            quit      close the window\n"
    "  and what changes the PC: sectors, files, faults, a second stick "
    "(rehearsal/world_commands.h)\n"
    "Boxes are answered with the name of a button; an empty line presses the first one.\n";

using rehearsal::kButtons;
using rehearsal::kTickBoxes;
using rehearsal::NamedControl;

std::string WithLineFeeds(const std::string& text) {
  std::string plain;
  for (const char c : text) {
    if (c != '\r') plain += c;
  }
  return plain;
}

// A caption as it is displayed: without the mark of its accelerator letter.
std::string Plain(const char* caption) {
  std::string text;
  for (const char* c = caption; c != nullptr && *c != '\0'; ++c) {
    if (*c != '&') text += *c;
  }
  return text;
}

std::uint32_t NumberAt(const VirtualSector& sector, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i-- > 0;) number = number << 8 | sector[at + i];
  return number;
}

class Rehearsal {
 public:
  void Run();

 private:
  bool ReadLine(const char* prompt, std::string& line);
  std::optional<UserAction> NextAction();
  bool ChangeWorld(const std::string& line);
  std::optional<UserAction> ActionOf(const std::string& word, const std::string& rest);
  std::optional<UserAction> RowAction(Control list, const std::string& number);
  template <std::size_t n>
  std::optional<UserAction> ClickOn(const NamedControl (&choices)[n], const std::string& name);
  Answer AskBox(const Box& box);
  std::string AskInput(const ShownInput& input);
  void DrawWindow();
  void DrawRows(Control list);
  void DrawTable() const;
  void PrintJournal(OpMask mask) const;

  rehearsal::World world_;
  VirtualPc& pc_ = world_.pc;
  bool windowIsStale_ = true;
};

bool Rehearsal::ReadLine(const char* prompt, std::string& line) {
  std::printf("%s", prompt);
  std::fflush(stdout);
  line.clear();
  int c = std::getchar();
  if (c == EOF) {
    std::printf("\n");
    return false;
  }
  for (; c != EOF && c != '\n'; c = std::getchar()) {
    if (c != '\r') line += static_cast<char>(c);
  }
  line = Trim(line);
  if (isatty(STDIN_FILENO) == 0) std::printf("%s\n", line.c_str());
  return true;
}

void Rehearsal::DrawRows(Control list) {
  const auto& state = pc_.toolkit.At(list);
  if (state.rows.empty()) std::printf("      (empty)\n");
  for (int row = 0; row < static_cast<int>(state.rows.size()); ++row) {
    std::printf("  %s%3d  %s\n", row == state.selected ? ">" : " ", row + 1,
                state.rows[static_cast<std::size_t>(row)].c_str());
  }
}

void Rehearsal::DrawWindow() {
  VirtualToolkit& window = pc_.toolkit;
  const std::string line(78, '=');
  std::printf("\n%s\n %s\n%s\n Drives\n", line.c_str(), window.caption.c_str(), line.c_str());
  DrawRows(Control::Combo1);
  std::printf(" Images\n");
  DrawRows(Control::List1);
  std::printf("\n");
  for (std::size_t i = 0; i < kControlCount; ++i) {
    const ControlDesign& control = window.design->controls[i];
    const auto& state = window.At(control.id);
    if (!state.visible || control.caption == nullptr) continue;
    const std::string caption = Plain(control.caption);
    if (control.kind == ControlKind::CheckBox) {
      std::printf("  [%c] %s\n", state.ticked ? 'x' : ' ', caption.c_str());
    } else if (control.kind == ControlKind::Button) {
      std::printf("  <%s>%s\n", caption.c_str(), state.enabled ? "" : "  (disabled)");
    } else {
      std::printf("  %s\n", caption.c_str());
    }
  }
  std::printf("%s\n", line.c_str());
}

void Rehearsal::DrawTable() const {
  const VirtualSector table = world_.demo.stick.Sector(0);
  std::printf("Partition table of drive %d, disk signature %08X\n", world_.demo.stick.number,
              NumberAt(table, 440));
  for (std::size_t entry = 0; entry < 4; ++entry) {
    const std::size_t at = 446 + 16 * entry;
    std::printf("  %zu  %s  type %02X  start %10u  sectors %10u\n", entry + 1,
                table[at] == 0x80 ? "active" : "      ", table[at + 4], NumberAt(table, at + 8),
                NumberAt(table, at + 12));
  }
  for (const std::uint64_t lba : {30U, 60U}) {
    const VirtualSector backup = world_.demo.stick.Sector(lba);
    const char* content = backup == VirtualSector{} ? "blank"
                          : backup == table         ? "a copy of sector 0"
                                                    : "another table";
    std::printf("  LBA %u: %s\n", static_cast<unsigned>(lba), content);
  }
}

void Rehearsal::PrintJournal(OpMask mask) const {
  const std::vector<std::string> lines = pc_.machine.journal.Lines(mask);
  for (const std::string& line : lines) std::printf("  %s\n", line.c_str());
  if (lines.empty()) std::printf("  nothing yet\n");
}

std::optional<UserAction> Rehearsal::RowAction(Control list, const std::string& number) {
  const int row = std::atoi(number.c_str()) - 1;
  if (row < 0 || row >= pc_.toolkit.ItemCount(list)) {
    std::printf("There is no row \"%s\"; the rows are numbered 1 to %d.\n", number.c_str(),
                pc_.toolkit.ItemCount(list));
    return std::nullopt;
  }
  const std::string text = pc_.toolkit.ItemText(list, row);
  return list == Control::Combo1 ? Pick(list, text) : Open(text);
}

template <std::size_t n>
std::optional<UserAction> Rehearsal::ClickOn(const NamedControl (&choices)[n],
                                             const std::string& name) {
  for (const NamedControl& choice : choices) {
    if (name != choice.name) continue;
    const auto& state = pc_.toolkit.At(choice.control);
    if (state.visible && state.enabled) return Click(choice.control);
    std::printf("\"%s\" is %s.\n", name.c_str(), state.visible ? "disabled" : "not shown");
    return std::nullopt;
  }
  std::printf("There is no \"%s\" here. Known:", name.c_str());
  for (const NamedControl& choice : choices) std::printf(" %s", choice.name);
  std::printf("\n");
  return std::nullopt;
}

std::optional<UserAction> Rehearsal::ActionOf(const std::string& word, const std::string& rest) {
  if (word == "pick") return RowAction(Control::Combo1, rest);
  if (word == "open") return RowAction(Control::List1, rest);
  if (word == "click") return ClickOn(kButtons, rest);
  if (word == "tick") return ClickOn(kTickBoxes, rest);
  if (word == "logging") return DoubleClick(Control::Label1);
  if (word == "quit" || word == "close") return CloseWindow();
  if (word == "show") {
    DrawWindow();
  } else if (word == "table") {
    DrawTable();
  } else if (word == "log") {
    PrintJournal(MaskOf(Op::Write));
  } else if (word == "journal") {
    PrintJournal(kAnyOp);
  } else if (word == "unplug" || word == "plug") {
    pc_.machine.SetPlugged(world_.demo.stick, word == "plug");
    std::printf("The stick is %s.\n", word == "plug" ? "in" : "out");
  } else if (word == "help") {
    std::printf("%s", kHelp);
  } else if (!word.empty() && !ChangeWorld(word + " " + rest)) {
    std::printf("Unknown command \"%s\". Type help for the list.\n", word.c_str());
  }
  return std::nullopt;
}

bool Rehearsal::ChangeWorld(const std::string& line) {
  try {
    return rehearsal::ChangeWorld(world_, rehearsal::SplitWords(line));
  } catch (const std::exception& problem) {
    std::printf("That doesn't fit: %s\n", problem.what());
    return true;
  }
}

std::optional<UserAction> Rehearsal::NextAction() {
  if (windowIsStale_) DrawWindow();
  windowIsStale_ = false;
  std::string line;
  while (ReadLine("> ", line)) {
    const std::size_t blank = line.find(' ');
    const std::string rest = blank == std::string::npos ? "" : Trim(line.substr(blank));
    if (const auto action = ActionOf(line.substr(0, blank), rest)) {
      windowIsStale_ = true;
      return action;
    }
  }
  return std::nullopt;
}

Answer Rehearsal::AskBox(const Box& box) {
  struct Choice {
    const char* name;
    Answer answer;
  };
  static constexpr Choice kOk[] = {{"ok", Answer::Ok}};
  static constexpr Choice kOkCancel[] = {{"ok", Answer::Ok}, {"cancel", Answer::Cancel}};
  static constexpr Choice kYesNo[] = {
      {"yes", Answer::Yes}, {"no", Answer::No}, {"cancel", Answer::Cancel}};
  const Choice* choices = box.buttons == Buttons::Ok         ? kOk
                          : box.buttons == Buttons::OkCancel ? kOkCancel
                                                             : kYesNo;
  const std::size_t count = box.buttons == Buttons::Ok         ? 1
                            : box.buttons == Buttons::OkCancel ? 2
                                                               : 3;
  static constexpr const char* kIcons[] = {"", "(stop) ", "(!) ", "(i) "};
  const std::string line(78, '-');
  std::printf("\n%s\n %s%s\n%s\n%s\n%s\n", line.c_str(), kIcons[static_cast<std::size_t>(box.icon)],
              box.title.c_str(), line.c_str(), WithLineFeeds(box.text).c_str(), line.c_str());
  std::string buttons;
  for (std::size_t i = 0; i < count; ++i) buttons += std::string("[") + choices[i].name + "] ";
  std::string typed;
  while (ReadLine((buttons + "? ").c_str(), typed)) {
    if (typed.empty()) return choices[0].answer;
    for (std::size_t i = 0; i < count; ++i) {
      if (UpperCase(typed) == UpperCase(choices[i].name)) return choices[i].answer;
    }
    std::printf("This box has no button \"%s\".\n", typed.c_str());
  }
  return choices[count - 1].answer;  // the end of the input agrees to nothing
}

std::string Rehearsal::AskInput(const ShownInput& input) {
  std::printf("\n--- %s ---\n%s\n", input.title.c_str(), WithLineFeeds(input.prompt).c_str());
  const std::string prompt = "(empty: " + input.initial + "; cancel) ? ";
  std::string typed;
  if (!ReadLine(prompt.c_str(), typed) || UpperCase(typed) == "CANCEL") return "";
  return typed.empty() ? input.initial : typed;
}

void Rehearsal::Run() {
  std::printf("A rehearsal on a PC in memory; no real disk is touched. Type help for the list.\n");
  pc_.toolkit.nextAction = [this] { return NextAction(); };
  pc_.toolkit.onBox = [this](const Box& box) { return AskBox(box); };
  pc_.toolkit.onInput = [this](const ShownInput& input) { return AskInput(input); };
  const RunEnd end = pc_.Run([this] { RunProgram(pc_.platform()); });
  std::printf("%s\n", end == RunEnd::Hung ? "The program waits for ever for a child."
                                          : "The program has ended.");
}

}  // namespace

int main(int count, char** arguments) {
  if (count == 3 && std::string(arguments[1]) == "--play") {
    std::ifstream file(arguments[2], std::ios::binary);
    const std::string cases{std::istreambuf_iterator<char>(file), {}};
    std::printf("%s", rehearsal::Play(cases).c_str());
    if (cases.empty()) std::fprintf(stderr, "There are no cases in %s.\n", arguments[2]);
    return cases.empty() ? 1 : 0;
  }
  Rehearsal rehearsal;
  rehearsal.Run();
  return 0;
}
