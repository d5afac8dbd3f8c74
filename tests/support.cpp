#include "tests/support.h"

#include "disk/sector_buffer.h"
#include "imagefiles/file_extents.h"
#include "platform/platform.h"
#include "shell/log_writer.h"
#include "shell/main_window.h"
#include "shell/program.h"
#include "shell/window_design.h"

namespace {

// Each test begins with a fresh program, whichever test ran before it, and without a system.
class FreshProgram : public ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo&) override {
    Sys = {};
    ResetProgram();
  }
};
const bool kListens = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new FreshProgram);
  return true;
}();

}  // namespace

void PrintTo(const BoxRow& box, std::ostream* out) {
  *out << "[" << box.title << "] " << ::testing::PrintToString(box.text) << " buttons "
       << static_cast<int>(box.buttons) << " icon " << static_cast<int>(box.icon);
}

BoxRow Warning(const std::string& title, const std::string& text) {
  return {title, text, Buttons::Ok, Icon::Exclamation};
}

BoxRow Note(const std::string& title, const std::string& text) {
  return {title, text, Buttons::Ok, Icon::Information};
}

ProgramOnPc::ProgramOnPc() : world(demo::Make(pc)) {
}

ProgramOnPc::~ProgramOnPc() {
  EXPECT_EQ(pc.toolkit.ScriptFailures(), std::vector<std::string>());
  if (leavesHandles) return;
  std::vector<std::string> open = pc.OpenHandles();
  std::erase(open, GFE_Path);  // held for as long as the program runs
  EXPECT_EQ(open, std::vector<std::string>());
  EXPECT_EQ(pc.HeldLocks(), std::vector<std::string>());
}

void ProgramOnPc::Prepare() {
  Sys = pc.platform();
  ResetProgram();
  TempFolder = "C:\\Temp\\";
  SectorBuffer.resize(4097);
  Sys.toolkit->CreateForm(kFormDesign, OnUserEvent);
}

RunEnd ProgramOnPc::Start(const std::vector<UserAction>& actions) {
  RunEnd end = pc.Run([&] { RunProgram(pc.platform()); });
  if (actions.empty()) return end;
  TakeBoxes();
  pc.machine.journal.Clear();
  for (const UserAction& action : actions) {
    if (end == RunEnd::Returned) end = Do(action);
  }
  return end;
}

BoxRows ProgramOnPc::Boxes(const UserAction& action, const std::vector<Answer>& answers) {
  if (pc.toolkit.design == nullptr) Start();
  TakeBoxes();
  pc.machine.journal.Clear();
  for (const Answer answer : answers) pc.toolkit.AnswerNext(answer);
  EXPECT_EQ(Do(action), RunEnd::Returned);
  return TakeBoxes();
}

RunEnd ProgramOnPc::Do(const UserAction& action) {
  return pc.Run([&] { EXPECT_TRUE(pc.toolkit.Do(action)) << "not to be done: " << action.row; });
}

BoxRows ProgramOnPc::TakeBoxes() {
  BoxRows rows;
  for (; boxesTaken_ < pc.toolkit.boxes.size(); ++boxesTaken_) {
    const Box& box = pc.toolkit.boxes[boxesTaken_].box;
    rows.push_back({box.title, box.text, box.buttons, box.icon});
  }
  return rows;
}

void ProgramOnPc::TurnLoggingOn() {
  EXPECT_EQ(Do(DoubleClick(Control::Label1)), RunEnd::Returned);
  TakeBoxes();
  TakeLog();
}

std::vector<std::string> ProgramOnPc::TakeLog() {
  std::vector<std::string> messages;
  const VirtualFile* log = world.c.Find((TempFolder + "Rotate_TSD.log").substr(2));
  if (log == nullptr) return messages;
  const std::string text = world.c.Read(*log, 0, log->size);
  std::size_t line = 0;
  for (std::size_t at = 0; at < text.size(); ++line) {
    const std::size_t end = text.find("\r\n", at);
    if (end == std::string::npos) break;
    const std::size_t message = text.find('\t', at) + 1;
    if (line >= logTaken_) messages.push_back(text.substr(message, end - message));
    at = end + 2;
  }
  logTaken_ = line;
  return messages;
}

void ProgramOnPc::Plan(FaultKind kind, OpMask mask, std::size_t nth, std::uint32_t error,
                       int faultNumber) {
  pc.machine.plan = {
      .kind = kind, .nth = nth, .mask = mask, .error = error, .faultNumber = faultNumber};
}

TableEntry EntryOf(const VirtualSector& table, int entry) {
  const std::size_t at = 446 + 16 * (static_cast<std::size_t>(entry) - 1);
  return {table[at] == 0x80, table[at + 4], Word32(table, at + 8), Word32(table, at + 12)};
}

VirtualSector FilledSector(std::uint8_t byte) {
  VirtualSector sector;
  sector.fill(byte);
  return sector;
}
