#include "platform/virtual/processes.h"

#include <algorithm>

#include "text/text.h"

namespace {

// The first word of a command line, quotes honoured; the rest goes into rest.
std::string FirstWord(const std::string& line, std::string& rest) {
  const std::string text = Trim(line);
  bool quoted = false;
  std::size_t end = 0;
  for (; end < text.size() && (quoted || text[end] != ' '); ++end) {
    if (text[end] == '"') quoted = !quoted;
  }
  rest = Trim(text.substr(end));
  return WithoutQuotes(text.substr(0, end));
}

}  // namespace

// The environment, and what the interpreter adds to it.
std::optional<std::string> VirtualProcesses::Variable(const std::string& name) const {
  const std::string upper = UpperCase(name);
  if (upper == "CD") return machine_.currentFolder;
  if (upper == "DATE" || upper == "RANDOM" || upper == "PROMPT") return "made up";
  return facts_.Environment(name);
}

// For a name without a folder, the program's own folder comes first.
std::string VirtualProcesses::FindProgram(const std::string& name) {
  if (name.find('\\') != std::string::npos) return name;
  for (const std::string& folder : {facts_.programFolder, facts_.systemFolder}) {
    for (const char* extension : {"", ".exe"}) {
      const std::string path = folder + "\\" + name + extension;
      if (File(path) != nullptr) return path;
    }
  }
  return name;
}

bool VirtualProcesses::IsInterpreter(const std::string& program) const {
  const std::string path = UpperCase(program);
  return path == UpperCase(facts_.systemFolder + "\\cmd.exe") ||
         path == UpperCase(Variable("COMSPEC").value_or(""));
}

ChildScript VirtualProcesses::TakeScript(const std::string& commandLine) {
  for (ChildScript& script : scripts) {
    if (script.times > 0 && ContainsIgnoringCase(commandLine, script.match)) {
      --script.times;
      return script;
    }
  }
  return {};
}

std::uint32_t VirtualProcesses::Shell(const std::string& program, const std::string& commandLine,
                                      int windowStyle) {
  const Step step = machine_.BeginStatement(Op::Shell, commandLine,
                                            "style=" + std::to_string(windowStyle), kFileNotFound);
  Child child;
  child.commandLine = commandLine;
  child.hasInput = windowStyle != kWindowHidden;
  child.script = TakeScript(commandLine);
  if (child.script.refusedWith != 0) machine_.FailStatement(step, child.script.refusedWith);
  std::string rest;
  const std::string word = FirstWord(commandLine, rest);
  const std::string image = program.empty() ? FindProgram(word) : program;
  if (!IsInterpreter(image) && File(image) == nullptr) {
    machine_.FailStatement(step, kFileNotFound);
  }
  machine_.End(step, true);
  if (whileChildRuns) whileChildRuns();
  if (UpperCase(image).starts_with(UpperCase(facts_.programFolder))) NoteExecuted(image);
  if (IsInterpreter(image) && UpperCase(rest.substr(0, 2)) == "/C") {
    RunCommandLine(Trim(rest.substr(2)), child);
  }
  child.endsAt = machine_.clock.Elapsed() + child.script.milliseconds;
  GrowCopy(child);
  const std::uint32_t id = nextId_;
  nextId_ += 4;
  children_[id] = child;
  return id;
}

void VirtualProcesses::RunCommandLine(const std::string& text, Child& child) {
  const auto delayed = facts_.InterpreterSetting(SettingsOf::User, "DelayedExpansion");
  const Interpretation read = Interpret(
      text,
      {[this](const std::string& name) { return Variable(name); }, delayed.value_or("0") != "0"});
  for (const std::string& name : read.expansions) NoteExecuted(name);
  bool first = true;
  for (const InterpretedCommand& command : read.commands) {
    if (!first) NoteExecuted(command.raw);
    if (first) child.exitCode = RunCommand(command, child);
    first = false;
  }
}

std::uint32_t VirtualProcesses::RunCommand(const InterpretedCommand& command, Child& child) {
  if (command.words.empty()) return 0;
  const std::string program = WithoutQuotes(command.words.front());
  if (!command.inputFile.empty()) NoteExecuted("< " + command.inputFile);
  const bool isTool = ContainsIgnoringCase(program, "getFileExtents.exe");
  if (!command.outputFile.empty()) {
    if (!isTool) NoteExecuted("> " + command.outputFile);
    VirtualFile* output = Create(command.outputFile, "");
    if (output == nullptr) return 1;
    if (child.script.neverEnds) {
      output->heldOpen = true;
      child.heldFile = command.outputFile;
    }
  }
  if (child.script.neverEnds) return 0;
  if (isTool) return RunTool(command);
  if (UpperCase(program) == "COPY") {
    return RunCopy(command.raw.substr(command.words.front().size()), child);
  }
  return File(program) != nullptr || File(program + ".exe") != nullptr ? 0 : 9009;
}

std::uint32_t VirtualProcesses::RunTool(const InterpretedCommand& command) {
  const std::string argument = command.words.size() > 1 ? WithoutQuotes(command.words[1]) : "";
  const Step step = machine_.Begin(Op::ChildTool, argument);
  const bool there = File(WithoutQuotes(command.words.front())) != nullptr;
  if (step.Refused() || !there) {
    machine_.Fail(step, kErrorFileNotFound);
    return 9009;
  }
  const std::string text = ToolText(argument);
  if (!command.outputFile.empty()) Create(command.outputFile, text);
  machine_.End(step, true);
  return text.starts_with("File offset") ? 0 : 1;
}

std::string VirtualProcesses::ToolText(const std::string& path) {
  for (const std::string& key : {UpperCase(path), std::string()}) {
    if (const auto scripted = toolTexts.find(key); scripted != toolTexts.end()) {
      return scripted->second;
    }
  }
  const VirtualFile* file = File(path);
  if (file == nullptr) return "The system cannot find the file specified.\r\n";
  if (file->deletePending) return "Access is denied.\r\n";
  return ExtentsText(file->extents);
}

Handle VirtualProcesses::OpenProcess(std::uint32_t access, std::uint32_t processId) noexcept {
  const std::string name = "process " + std::to_string(processId);
  const Step step = machine_.Begin(Op::OpenProcess, name);
  const auto child = children_.find(processId);
  const bool there = child != children_.end() && !child->second.script.goneBeforeOpen;
  if (!machine_.End(step, there && !step.Refused(), kErrorInvalidParameter)) return kNoHandle;
  OpenHandle open;
  open.kind = OpenHandle::Kind::Process;
  open.name = name;
  open.access = access;
  open.processId = processId;
  return machine_.Add(std::move(open));
}

Handle VirtualProcesses::CreateMutex(const std::string& name) noexcept {
  const Step step = machine_.Begin(Op::CreateMutex, name);
  if (!machine_.End(step, !step.Refused(), machine_.plan.error)) return kNoHandle;
  OpenHandle open;
  open.kind = OpenHandle::Kind::Mutex;
  open.name = name;
  return machine_.Add(std::move(open));
}

std::uint32_t VirtualProcesses::WaitForMutex(const std::string& name, std::uint32_t milliseconds) {
  const auto held = othersMutexes.find(name);
  const std::uint64_t now = machine_.clock.Elapsed();
  if (held == othersMutexes.end() || held->second <= now) return kWaitObject0;
  const std::uint64_t left = held->second - now;
  machine_.clock.Advance(std::min<std::uint64_t>(left, milliseconds));
  return left <= milliseconds ? kWaitObject0 : kWaitTimeout;
}

std::uint32_t VirtualProcesses::WaitForSingleObject(Handle process, std::uint32_t milliseconds) {
  constexpr std::uint32_t kWaitFailed = 0xFFFFFFFF;
  constexpr std::uint64_t kForEver = 600'000;  // ms; nobody waits that long for what has an end
  const OpenHandle* open = machine_.At(process);
  const Step step = machine_.Begin(Op::Wait, open != nullptr ? open->name : "?",
                                   milliseconds == kInfinite ? "" : std::to_string(milliseconds));
  if (!step.Refused() && open != nullptr && open->kind == OpenHandle::Kind::Mutex) {
    machine_.End(step, true);
    return WaitForMutex(open->name, milliseconds);
  }
  if (step.Refused() || open == nullptr || open->processId == 0) {
    machine_.Fail(step, step.Refused() ? machine_.plan.error : kErrorInvalidHandle);
    return kWaitFailed;
  }
  Child& child = children_[open->processId];
  const std::uint64_t now = machine_.clock.Elapsed();
  const std::uint64_t left = child.ended || child.endsAt <= now ? 0 : child.endsAt - now;
  if (child.script.neverEnds && !child.ended && now >= child.endsAt + kForEver) {
    machine_.End(step, false);
    throw ProgramHangs{};
  }
  if ((child.script.neverEnds && !child.ended) || left > milliseconds) {
    machine_.clock.Advance(milliseconds);
    GrowCopy(child);
    machine_.End(step, true);
    return kWaitTimeout;
  }
  machine_.clock.Advance(left);
  GrowCopy(child);
  child.ended = true;
  machine_.End(step, true);
  return kWaitObject0;
}

bool VirtualProcesses::GetExitCodeProcess(Handle process, std::uint32_t& exitCode) noexcept {
  constexpr std::uint32_t kStillActive = 259;
  const OpenHandle* open = machine_.At(process);
  const Step step = machine_.Begin(Op::ExitCode, open != nullptr ? open->name : "?");
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (open == nullptr || open->processId == 0) return machine_.Fail(step, kErrorInvalidHandle);
  const Child& child = children_[open->processId];
  const bool allowed = (open->access & 0x400) != 0 && !child.script.hidesExitCode;
  if (!allowed) return machine_.Fail(step, kErrorAccessDenied);
  exitCode =
      child.ended || child.endsAt <= machine_.clock.Elapsed() ? child.exitCode : kStillActive;
  return machine_.End(step, true);
}

std::uint64_t VirtualProcesses::ChildBytesWritten() noexcept {
  const auto last = children_.find(nextId_ - 4);
  const bool counts = last != children_.end() && last->second.script.countsBytes;
  return counts ? Written(last->second) : 0;
}

void VirtualProcesses::EndChild(std::uint32_t processId) noexcept {
  const Step step = machine_.Begin(Op::EndChild, "process " + std::to_string(processId));
  const auto child = children_.find(processId);
  if (step.Refused() || child == children_.end()) {
    machine_.Fail(step, kErrorInvalidParameter);
    return;
  }
  child->second.ended = true;
  child->second.exitCode = 1;
  if (VirtualFile* held = File(child->second.heldFile); held != nullptr) held->heldOpen = false;
  machine_.End(step, true);
}

std::intptr_t VirtualProcesses::ShellExecute(const std::string& verb, const std::string& file,
                                             const std::string& parameters,
                                             const std::string& folder, int showCommand) noexcept {
  const Step step = machine_.Begin(
      Op::ShellExecute, file,
      verb + " [" + parameters + "] [" + folder + "] " + std::to_string(showCommand));
  if (!machine_.End(step, !step.Refused() && shellExecuteResult > 32, kErrorFileNotFound)) {
    return step.Refused() ? 2 : shellExecuteResult;
  }
  return shellExecuteResult;
}

void VirtualProcesses::EndProcess() {
  JournalEntry entry;
  entry.op = Op::EndProcess;
  entry.ok = true;
  machine_.journal.Add(entry);
  throw ProcessEnded{};
}

std::vector<std::string> VirtualProcesses::StillRunning() const {
  std::vector<std::string> running;
  for (const auto& [id, child] : children_) {
    if (child.script.neverEnds && !child.ended) running.push_back(child.commandLine);
  }
  return running;
}
