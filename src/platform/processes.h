// Child processes and the shell.
#pragma once

#include <cstdint>
#include <string>

#include "platform/devices.h"

// Window styles of a started command line (winuser.h, SW_*).
constexpr int kWindowHidden = 0;
constexpr int kWindowNormal = 1;
constexpr int kWindowMinimised = 2;

constexpr std::uint32_t kProcessSynchronize = 0x100000;
constexpr std::uint32_t kProcessSynchronizeAndQuery = 0x100400;
constexpr std::uint32_t kInfinite = 0xFFFFFFFF;
constexpr std::uint32_t kWaitObject0 = 0;
constexpr std::uint32_t kWaitTimeout = 0x102;

class Processes {
 public:
  virtual ~Processes() = default;

  // Statement: starts a command line and returns the child's process identifier. Does not wait.
  // program is the executable's full path. If it is empty, the system looks for the line's first
  // word: without a folder, in this program's folder first. With a hidden window the child's input
  // and output are the null device. Throws Fault 53 (no such program) or 5 (any other refusal).
  [[nodiscard]] virtual std::uint32_t Shell(const std::string& program,
                                            const std::string& commandLine, int windowStyle) = 0;

  // Returns a handle to the process (closed through Devices::CloseHandle), or 0.
  [[nodiscard]] virtual Handle OpenProcess(std::uint32_t access,
                                           std::uint32_t processId) noexcept = 0;

  // Blocks until the process has ended or the mutex belongs to this process (kWaitObject0), or the
  // time is over (kWaitTimeout).
  [[nodiscard]] virtual std::uint32_t WaitForSingleObject(Handle process,
                                                          std::uint32_t milliseconds) = 0;

  // Returns a handle to the mutex of that name, creating it if necessary; 0 on failure, also if it
  // belongs to another user. A wait for it takes it for as long as the process lives.
  [[nodiscard]] virtual Handle CreateMutex(const std::string& name) noexcept = 0;

  [[nodiscard]] virtual bool GetExitCodeProcess(Handle process,
                                                std::uint32_t& exitCode) noexcept = 0;

  // The bytes that the child started last has written so far, to files and elsewhere; 0 if the
  // system doesn't count them.
  [[nodiscard]] virtual std::uint64_t ChildBytesWritten() noexcept = 0;

  // Ends a child that Shell started, with everything the child has started.
  virtual void EndChild(std::uint32_t processId) noexcept = 0;

  // Above 32: started. No owner window.
  [[nodiscard]] virtual std::intptr_t ShellExecute(const std::string& verb, const std::string& file,
                                                   const std::string& parameters,
                                                   const std::string& folder,
                                                   int showCommand) noexcept = 0;

  // Ends this process at once and doesn't return; a double may leave by an exception that is
  // neither Fault nor std::exception.
  [[noreturn]] virtual void EndProcess() = 0;
};
