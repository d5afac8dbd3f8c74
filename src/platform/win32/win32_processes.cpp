#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

// The child started last. Its handles stay open until the next one starts, so that its identifier
// isn't reused and a child that has already ended can still be opened.
struct Child {
  std::uint32_t id = 0;
  HANDLE process = nullptr;
  HANDLE job = nullptr;  // null where the system refused one

  void Close() {
    if (process != nullptr) ::CloseHandle(process);
    if (job != nullptr) ::CloseHandle(job);
    *this = {};
  }
};

// Puts the suspended process into its own job. Windows before 8 refuses that to a program that
// itself runs in a job; the child is then without one.
HANDLE JobOf(HANDLE process) {
  const HANDLE job = ::CreateJobObjectW(nullptr, nullptr);
  if (job == nullptr || ::AssignProcessToJobObject(job, process)) return job;
  ::CloseHandle(job);
  return nullptr;
}

// The null device, inheritable. No other handle of this process is.
class NullDevice {
 public:
  NullDevice() = default;
  ~NullDevice() { ::CloseHandle(handle_); }
  NullDevice(const NullDevice&) = delete;
  NullDevice& operator=(const NullDevice&) = delete;

  // Nobody could see or answer a question of a hidden child, so its input is empty.
  void GiveTo(STARTUPINFOW& startup) const {
    if (handle_ == INVALID_HANDLE_VALUE) return;
    startup.dwFlags |= STARTF_USESTDHANDLES;
    startup.hStdInput = startup.hStdOutput = startup.hStdError = handle_;
  }

 private:
  SECURITY_ATTRIBUTES inherited_{sizeof inherited_, nullptr, TRUE};
  HANDLE handle_ =
      ::CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    &inherited_, OPEN_EXISTING, 0, nullptr);
};

std::wstring SystemFolder() {
  wchar_t folder[MAX_PATH] = L"";
  return ::GetSystemDirectoryW(folder, MAX_PATH) != 0 ? folder : L"";
}

class RealProcesses final : public Processes {
 public:
  std::uint32_t Shell(const std::string& program, const std::string& commandLine,
                      int windowStyle) override {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = static_cast<WORD>(windowStyle);
    const NullDevice null;
    if (windowStyle == kWindowHidden) null.GiveTo(startup);
    const BOOL inherits = (startup.dwFlags & STARTF_USESTDHANDLES) != 0;
    // The call may write into the command line.
    std::wstring line = WideText(commandLine);
    const std::wstring executable = WideText(program), folder = SystemFolder();
    PROCESS_INFORMATION made;
    if (!::CreateProcessW(executable.empty() ? nullptr : executable.c_str(), line.data(), nullptr,
                          nullptr, inherits, CREATE_SUSPENDED, nullptr,
                          folder.empty() ? nullptr : folder.c_str(), &startup, &made)) {
      const DWORD error = ::GetLastError();
      const bool missing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
      throw MakeFault(missing ? kFileNotFound : kInvalidCall);
    }
    child_.Close();
    child_ = {made.dwProcessId, made.hProcess, JobOf(made.hProcess)};
    ::ResumeThread(made.hThread);
    ::CloseHandle(made.hThread);
    return child_.id;
  }

  Handle OpenProcess(std::uint32_t access, std::uint32_t processId) noexcept override {
    return reinterpret_cast<Handle>(::OpenProcess(access, FALSE, processId));
  }

  std::uint32_t WaitForSingleObject(Handle process, std::uint32_t milliseconds) override {
    return ::WaitForSingleObject(reinterpret_cast<HANDLE>(process), milliseconds);
  }

  Handle CreateMutex(const std::string& name) noexcept override {
    return reinterpret_cast<Handle>(::CreateMutexW(nullptr, FALSE, WideText(name).c_str()));
  }

  bool GetExitCodeProcess(Handle process, std::uint32_t& exitCode) noexcept override {
    DWORD code = 0;
    if (!::GetExitCodeProcess(reinterpret_cast<HANDLE>(process), &code)) return false;
    exitCode = code;
    return true;
  }

  std::uint64_t ChildBytesWritten() noexcept override {
    IO_COUNTERS counters{};
    if (child_.process == nullptr || !::GetProcessIoCounters(child_.process, &counters)) return 0;
    return counters.WriteTransferCount;
  }

  void EndChild(std::uint32_t processId) noexcept override {
    if (processId != child_.id || child_.process == nullptr) return;
    if (child_.job == nullptr || !::TerminateJobObject(child_.job, 1)) {
      ::TerminateProcess(child_.process, 1);
    }
  }

  std::intptr_t ShellExecute(const std::string& verb, const std::string& file,
                             const std::string& parameters, const std::string& folder,
                             int showCommand) noexcept override {
    return reinterpret_cast<std::intptr_t>(
        ::ShellExecuteW(nullptr, WideText(verb).c_str(), WideText(file).c_str(),
                        WideText(parameters).c_str(), WideText(folder).c_str(), showCommand));
  }

  [[noreturn]] void EndProcess() override { ::ExitProcess(0); }

 private:
  Child child_;
};

}  // namespace

Processes* Win32Processes() {
  static RealProcesses processes;
  return &processes;
}
