// Plays cases: a text file with commands, each followed by what it brings about.
//
//   # a comment
//   each:                       commands before every case that follows, shown only where they fail
//   > start
//   == LBA 30 is not read       a case: a fresh PC (demo_world.h) and a fresh program
//   > unreadable 30
//   > click restore
//     [stop] SECTOR READ FAILED
//     | READ SECTOR 30 from DRIVE 1 FAILED!
//
// Commands: those of world_commands.h, and
//
//   start                       the program, up to its window
//   pick LETTER, open ROW       a row of the drop-down; a double-click on an image: its beginning
//   click NAME, tick NAME       a button or tick box that user_controls.h names
//   repair FIRST LAST [IMAGE]   the order repair alone
//   logging, close              a double-click on the red label; the window's close button
//   answer NAME...              ok, cancel, yes, no: for the next questions, in order
//   type TEXT                   for the next question with a field
//   at box TITLE: COMMAND       while a box is open whose title begins so; once
//   at box TITLE: fail          something fails that nobody foresaw
//   at events N: ACTION         a click or pick when pending events run, the N-th time from then on
//   at tool N: COMMAND          while the extents tool or a copy runs, at the N-th from then on
//   show journal [OP...]        lines of the last action; OP as the journal names it
//   show clock                  how long the program has waited so far
//   show log ["TEXT"]           lines of the log file since the last "show log" (that hold TEXT)
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "rehearsal/world_commands.h"

namespace rehearsal {

class Player {
 public:
  Player();
  ~Player();
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  // Returns what the command brought about, a line each. A line that begins with "  ??" says what
  // can't be: an unknown command, a question without an answer.
  std::string Do(const std::string& line);
  // What a case must not leave behind: open handles, locks, answers that nobody asked for.
  std::string End();

 private:
  struct Hook {
    std::string title, command;
  };
  bool DoAsUser(const Words& words);
  void Act(const std::function<void()>& body);
  void Work(const UserAction& action);
  void Change(const std::string& command);
  void Plan(const std::string& line);
  void Show(const Words& words);
  Answer AnswerBox(const Box& box);

  World world_;
  std::deque<Answer> answers_;
  std::deque<std::string> typed_;
  std::deque<Hook> atBox_;
  std::map<int, std::string> atTool_;
  int toolRuns_ = 0;
  std::size_t logShown_ = 0;
  std::string out_;
};

// The text of cases with the outcome of each command as it is now.
std::string Play(const std::string& text);

}  // namespace rehearsal
