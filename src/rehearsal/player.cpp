#include "rehearsal/player.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <stdexcept>

#include "imagefiles/file_extents.h"
#include "imagefiles/file_order.h"
#include "platform/platform.h"
#include "rehearsal/transcript.h"
#include "rehearsal/user_controls.h"
#include "shell/program.h"
#include "text/text.h"

namespace rehearsal {
namespace {

// What follows the first so many words.
std::string After(const std::string& line, std::size_t words) {
  std::size_t at = line.find_first_not_of(' ');
  for (; words > 0 && at != std::string::npos; --words) {
    at = line.find_first_not_of(' ', std::min(line.find(' ', at), line.size()));
  }
  return at == std::string::npos ? "" : line.substr(at);
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    lines.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return lines;
}

template <std::size_t n>
std::optional<UserAction> ClickOn(const NamedControl (&controls)[n], const std::string& name) {
  for (const NamedControl& known : controls) {
    if (name == known.name) return Click(known.control);
  }
  return std::nullopt;
}

std::optional<UserAction> ActionOf(const Words& words, const std::string& row) {
  const std::string& verb = words[0];
  if (verb == "pick") return Pick(Control::Combo1, row);
  if (verb == "open") return Open(row);
  if (verb == "click") return ClickOn(kButtons, row);
  if (verb == "tick") return ClickOn(kTickBoxes, row);
  if (verb == "logging") return DoubleClick(Control::Label1);
  if (verb == "close") return CloseWindow();
  return std::nullopt;
}

const char* TextOf(RunEnd end) {
  switch (end) {
    case RunEnd::Returned:
      return "";
    case RunEnd::ProcessEnded:
      return "  the program has ended\n";
    case RunEnd::PowerCut:
      return "  the power is cut\n";
    case RunEnd::Hung:
      return "  the program waits for ever\n";
  }
  return "";
}

}  // namespace

Player::Player() {
  Sys = {};
  ResetProgram();
  world_.pc.toolkit.onBox = [this](const Box& box) { return AnswerBox(box); };
  world_.pc.toolkit.onInput = [this](ShownInput input) {
    input.answer = input.initial;
    if (typed_.empty()) {
      out_ += "  ?? nothing to type\n";
    } else {
      input.answer = typed_.front();
      typed_.pop_front();
    }
    out_ += InputText(input);
    return input.answer;
  };
  world_.pc.processes.whileChildRuns = [this] {
    const auto planned = atTool_.find(++toolRuns_);
    if (planned != atTool_.end()) Change(planned->second);
  };
}

Player::~Player() {
  Sys = {};
}

Answer Player::AnswerBox(const Box& box) {
  for (auto hook = atBox_.begin(); hook != atBox_.end(); ++hook) {
    if (!box.title.starts_with(hook->title)) continue;
    const std::string command = hook->command;
    atBox_.erase(hook);
    if (command == "fail") throw std::runtime_error("no memory");
    Change(command);
    break;
  }
  Answer answer = Answer::Ok;
  if (box.buttons != Buttons::Ok) {
    answer = Answer::Cancel;
    if (answers_.empty() || !Offers(box.buttons, answers_.front())) {
      out_ += "  ?? no answer for this question\n";
    } else {
      answer = answers_.front();
      answers_.pop_front();
    }
  }
  out_ += BoxText(box, answer);
  return answer;
}

void Player::Change(const std::string& command) {
  try {
    if (!ChangeWorld(world_, SplitWords(command)))
      out_ += "  ?? no such command: " + command + "\n";
  } catch (const std::exception& problem) {
    out_ += "  ?? " + command + ": " + problem.what() + "\n";
  }
}

void Player::Act(const std::function<void()>& body) {
  world_.pc.machine.journal.Clear();
  const Snapshot before(world_);
  const bool wasOpen = !world_.pc.toolkit.unloaded;
  const RunEnd end = world_.pc.Run(body);
  out_ += WritesIn(world_.pc.machine.journal) + before.Differences(world_) + TextOf(end);
  if (wasOpen && world_.pc.toolkit.unloaded) out_ += "  the window has closed\n";
}

void Player::Work(const UserAction& action) {
  Act([&] {
    if (!world_.pc.toolkit.Do(action)) out_ += "  ?? a person can't do this now\n";
  });
}

// "at box TITLE: COMMAND", "at tool N: COMMAND", "at events N: ACTION"
void Player::Plan(const std::string& line) {
  const std::string plan = After(line, 2);
  const std::size_t colon = std::min(plan.find(": "), plan.size());
  const std::string when = plan.substr(0, colon), command = After(plan.substr(colon), 1);
  if (SplitWords(line).at(1) == "box") {
    atBox_.push_back({when, command});
  } else if (SplitWords(line).at(1) == "events") {
    const auto action = ActionOf(SplitWords(command), After(command, 1));
    if (!action) throw std::invalid_argument("no such action: " + command);
    VirtualToolkit& window = world_.pc.toolkit;
    window.atDoEvents[window.doEventsCalls + std::stoul(when)] = *action;
  } else {
    atTool_[toolRuns_ + std::stoi(when)] = command;
  }
}

void Player::Show(const Words& words) {
  if (words.at(1) == "journal") {
    const OpMask mask = words.size() > 2 ? OpsNamed({words.begin() + 2, words.end()}) : kAnyOp;
    for (const std::string& line : world_.pc.machine.journal.Lines(mask))
      out_ += "  " + line + "\n";
    return;
  }
  if (words[1] == "clock") {
    out_ += "  " + std::to_string(world_.pc.machine.clock.Elapsed()) + " ms\n";
    return;
  }
  const VirtualFile* log = world_.demo.c.Find("\\Temp\\Rotate_TSD.log");
  if (log == nullptr) return;
  const std::string text = world_.demo.c.Read(*log, logShown_, log->size - logShown_);
  logShown_ = log->size;
  for (const std::string& line : Lines(text)) {
    if (words.size() > 2 && !Contains(line, words[2])) continue;
    out_ += "  " + line.substr(line.find('\t') + 1, line.size() - line.find('\t') - 2) + "\n";
  }
}

bool Player::DoAsUser(const Words& words) {
  if (words[0] == "start") {
    Act([&] { RunProgram(world_.pc.platform()); });
  } else if (words[0] == "repair") {
    Act([&] { MoveFiles(words.at(1), words.at(2), words.at(words.size() > 3 ? 3 : 1)); });
  } else if (words[0] == "answer") {
    for (std::size_t i = 1; i < words.size(); ++i) {
      const auto* known = std::find_if(std::begin(kAnswers), std::end(kAnswers),
                                       [&](const auto& each) { return words[i] == each.name; });
      if (known == std::end(kAnswers)) return false;
      answers_.push_back(known->answer);
    }
  } else if (words[0] == "type") {
    typed_.push_back(words.at(1));
  } else if (words[0] == "show") {
    Show(words);
  } else {
    return false;
  }
  return true;
}

std::string Player::Do(const std::string& line) {
  out_.clear();
  const Words words = SplitWords(line);
  if (words.empty()) return "";
  try {
    if (words[0] == "at") {
      Plan(line);
    } else if (const auto action = ActionOf(words, After(line, 1))) {
      Work(*action);
    } else if (!DoAsUser(words)) {
      Change(line);
    }
  } catch (const std::exception& problem) {
    out_ += std::string("  ?? ") + problem.what() + "\n";
  }
  return out_;
}

std::string Player::End() {
  std::string left;
  for (const std::string& name : world_.pc.OpenHandles()) {
    if (name != GFE_Path) left += "  ?? left open: " + name + "\n";  // held while the program runs
  }
  for (const std::string& name : world_.pc.HeldLocks()) left += "  ?? left locked: " + name + "\n";
  for (const std::string& failure : world_.pc.toolkit.ScriptFailures()) {
    left += "  ?? " + failure + "\n";
  }
  if (!answers_.empty() || !typed_.empty()) left += "  ?? answers that nobody asked for\n";
  for (const Hook& hook : atBox_) left += "  ?? no box: " + hook.title + "\n";
  for (const auto& [run, command] : atTool_) {
    if (run > toolRuns_) left += "  ?? never run: " + command + "\n";
  }
  const VirtualToolkit& window = world_.pc.toolkit;
  if (!window.atDoEvents.empty() && window.atDoEvents.rbegin()->first > window.doEventsCalls) {
    left += "  ?? the events never ran\n";
  }
  if (world_.pc.machine.plan.IsStillToStrike()) left += "  ?? the fault never struck\n";
  return left;
}

std::string Play(const std::string& text) {
  std::string played;
  std::vector<std::string> each;
  std::optional<Player> player;
  const auto end = [&] {
    if (player) played += player->End();
    player.reset();
  };
  bool collects = false;
  std::string blanks;  // they stand between cases, after what the last command brought about
  for (const std::string& line : Lines(text)) {
    if (line.empty()) {
      blanks = "\n";
      continue;
    }
    const bool command = line.starts_with("> "), heading = line.starts_with("== ");
    if (heading || line == "each:") end();
    if (!command && !heading && line != "each:" && line[0] != '#') continue;
    played += blanks + line + "\n";
    blanks.clear();
    if (line == "each:") {
      collects = true;
      each.clear();
    } else if (heading) {
      collects = false;
      player.emplace();
      for (const std::string& first : each) {
        const std::string outcome = player->Do(first);
        if (outcome.find("  ?? ") != std::string::npos) played += outcome;
      }
    } else if (command && collects) {
      each.push_back(line.substr(2));
    } else if (command && player) {
      played += player->Do(line.substr(2));
    }
  }
  end();
  return played;
}

}  // namespace rehearsal
