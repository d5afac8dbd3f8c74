// What the tests share: the program on a virtual PC, boxes as rows, sectors in short.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "platform/virtual/demo_world.h"
#include "platform/virtual/virtual_pc.h"
#include "tests/oracle.h"

// A box as a row of a test describes it.
struct BoxRow {
  std::string title, text;
  Buttons buttons = Buttons::Ok;
  Icon icon = Icon::None;
  bool operator==(const BoxRow&) const = default;
};
void PrintTo(const BoxRow& box, std::ostream* out);
using BoxRows = std::vector<BoxRow>;

// Boxes that ask nothing.
BoxRow Warning(const std::string& title, const std::string& text);
BoxRow Note(const std::string& title, const std::string& text);

using Texts = std::vector<std::string>;

constexpr const char* kTitle = "ROTATE_TSD";  // of the boxes that name no title

// A fresh program and a fresh PC. Ends with a failure where a box had no scripted answer, an
// answer was never asked for, or a handle or lock is left over.
class ProgramOnPc {
 public:
  ProgramOnPc();
  ~ProgramOnPc();
  ProgramOnPc(const ProgramOnPc&) = delete;
  ProgramOnPc& operator=(const ProgramOnPc&) = delete;

  // The program with its window but without start-up, for calling one routine: the temp folder is
  // known and the buffer has its size, but there is no copy of the tool.
  void Prepare();

  // Start-up, then the actions, one after the other. What start-up showed and did is forgotten
  // before the first action, where there is one.
  RunEnd Start(const std::vector<UserAction>& actions = {});

  // What one action shows, with the answers for its questions, after start-up if that hasn't been.
  // The boxes and the journal's lines from before it are forgotten.
  BoxRows Boxes(const UserAction& action, const std::vector<Answer>& answers = {});

  // One more action. Hung, ProcessEnded and PowerCut end the program.
  RunEnd Do(const UserAction& action);

  // Runs one routine of the program.
  RunEnd Call(const std::function<void()>& routine) { return pc.Run(routine); }

  // The boxes since the last call, and the journal's lines of one kind.
  BoxRows TakeBoxes();
  std::vector<std::string> Lines(OpMask mask) const { return pc.machine.journal.Lines(mask); }

  // Turns logging on as the user does (after Start or Prepare); returns the log's messages, without
  // the time stamps, since the last call.
  void TurnLoggingOn();
  std::vector<std::string> TakeLog();

  std::vector<std::string> Rows(Control list) { return pc.toolkit.At(list).rows; }

  // Fails the n-th operation that the mask allows.
  void Plan(FaultKind kind, OpMask mask, std::size_t nth = 1, std::uint32_t error = 1117,
            int faultNumber = 57);

  VirtualPc pc;
  demo::World world;
  bool leavesHandles = false;  // set where the rules leave a handle open

 private:
  std::size_t boxesTaken_ = 0, logTaken_ = 0;
};

// A program after Prepare, and one after Start.
struct PreparedPc : ProgramOnPc {
  PreparedPc() { Prepare(); }
};
struct StartedPc : ProgramOnPc {
  explicit StartedPc(const std::vector<UserAction>& actions = {}) { Start(actions); }
};

// Entry 1 to 4 of a table, as SetEntry takes it.
struct TableEntry {
  bool active = false;
  std::uint8_t type = 0;
  std::uint32_t start = 0, sectors = 0;
  bool operator==(const TableEntry&) const = default;
};
TableEntry EntryOf(const VirtualSector& table, int entry);
VirtualSector FilledSector(std::uint8_t byte);
