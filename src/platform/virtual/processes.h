// Child processes: the command interpreter with its copy command, and the extents tool.
//
// Does not model: children that run in parallel to the program (a child has done its work when
// Shell returns; only its end may come later, and a copy's length with it), consoles, other
// programs.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/processes.h"
#include "platform/virtual/facts.h"
#include "platform/virtual/interpreter.h"
#include "platform/virtual/machine.h"

// Leaves the program at EndProcess. Neither a Fault nor a std::exception.
struct ProcessEnded {};

// Leaves the program where it would wait forever.
struct ProgramHangs {};

// How one child misbehaves. Used up by the first command line that contains match, ignoring case.
struct ChildScript {
  std::string match;
  int refusedWith = 0;          // Shell throws this Fault
  bool goneBeforeOpen = false;  // OpenProcess returns 0
  bool neverEnds = false;
  bool hidesExitCode = false;
  std::uint32_t milliseconds = 0;  // until it ends; a copy grows over that time
  bool countsBytes = false;        // counts what it writes; a copy has its whole length at once
  int times = 1;                   // for that many children
};

class VirtualProcesses : public Processes {
 public:
  VirtualProcesses(Machine& machine, VirtualFacts& facts) : machine_(machine), facts_(facts) {}

  std::uint32_t Shell(const std::string& program, const std::string& commandLine,
                      int windowStyle) override;
  Handle OpenProcess(std::uint32_t access, std::uint32_t processId) noexcept override;
  std::uint32_t WaitForSingleObject(Handle process, std::uint32_t milliseconds) override;
  Handle CreateMutex(const std::string& name) noexcept override;
  bool GetExitCodeProcess(Handle process, std::uint32_t& exitCode) noexcept override;
  std::uint64_t ChildBytesWritten() noexcept override;
  void EndChild(std::uint32_t processId) noexcept override;
  std::intptr_t ShellExecute(const std::string& verb, const std::string& file,
                             const std::string& parameters, const std::string& folder,
                             int showCommand) noexcept override;
  [[noreturn]] void EndProcess() override;

  std::vector<ChildScript> scripts;
  // What the tool prints for a file instead of the truth, by upper-case path; "" for all others.
  std::map<std::string, std::string> toolTexts;
  std::intptr_t shellExecuteResult = 42;
  std::map<std::string, std::uint64_t> othersMutexes;  // until this time of the clock
  std::function<void()> whileChildRuns;  // called in each Shell, before the child works

  std::vector<std::string> StillRunning() const;
  void Forget() { children_.clear(); }

 private:
  struct Child {
    std::string commandLine;
    bool hasInput = true;  // a hidden one reads from the null device
    ChildScript script;
    std::uint64_t endsAt = 0;  // on the clock
    std::uint32_t exitCode = 0;
    bool ended = false;
    std::string heldFile;  // output file that a child without end keeps open
    std::string copy;      // that grows
    std::uint64_t copyBytes = 0;
  };
  std::uint32_t WaitForMutex(const std::string& name, std::uint32_t milliseconds);
  std::optional<std::string> Variable(const std::string& name) const;
  std::string FindProgram(const std::string& name);
  bool IsInterpreter(const std::string& program) const;
  ChildScript TakeScript(const std::string& commandLine);
  void RunCommandLine(const std::string& text, Child& child);
  std::uint32_t RunCommand(const InterpretedCommand& command, Child& child);
  std::uint32_t RunTool(const InterpretedCommand& command);
  std::uint32_t RunCopy(const std::string& arguments, Child& child);
  std::uint64_t Written(const Child& child) const;
  void GrowCopy(const Child& child);
  bool CopyFiles(const std::vector<std::string>& sources, const std::string& target);
  void NoteExecuted(const std::string& what);
  VirtualFile* File(const std::string& path);
  VirtualFile* Create(const std::string& path, const std::string& text);
  std::string ToolText(const std::string& path);

  Machine& machine_;
  VirtualFacts& facts_;
  std::map<std::uint32_t, Child> children_;
  std::uint32_t nextId_ = 1000;
};
