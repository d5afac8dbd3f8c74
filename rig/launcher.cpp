// Starts a program with a library in it: launcher LIBRARY PROGRAM [ARGUMENTS]. The library is
// loaded before the program's first statement; the program's file is not changed. Returns the
// program's exit code. Under the name getFileExtents.exe it stands in for the extents tool, which
// other programs start: library and program then come from the environment.
#include <windows.h>

#include <cstdio>
#include <string>

#include "with_library.h"

namespace {

// For the analysis of failed runs: the program swallows the tool's other output.
void Report(const char* what, unsigned long number, const std::string& more = "") {
  FILE* file = fopen("C:\\rotate\\launcher.txt", "a");
  if (file == nullptr) return;
  fprintf(file, "%s %lu\n%s", what, number, more.c_str());
  fclose(file);
}

// What has been printed to standard output so far, if that is a file.
std::string Printed() {
  wchar_t path[MAX_PATH] = L"";
  GetFinalPathNameByHandleW(GetStdHandle(STD_OUTPUT_HANDLE), path, MAX_PATH, 0);
  const HANDLE file = CreateFileW(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                  OPEN_EXISTING, 0, nullptr);
  char text[1024];
  DWORD count = 0;
  if (!ReadFile(file, text, sizeof text, &count, nullptr)) count = 0;
  CloseHandle(file);
  return {text, count};
}

int Fail(const char* what) {
  Report(what, GetLastError());
  return 95;
}

// Takes the first argument off a command line, quotes included.
std::wstring Next(const wchar_t*& text) {
  const wchar_t* begin = text;
  for (bool quoted = false; *text != 0 && (quoted || *text != ' '); ++text) {
    quoted ^= *text == '"';
  }
  const std::wstring argument(begin, text);
  while (*text == ' ') ++text;
  return argument;
}

std::wstring Unquoted(std::wstring text) {
  std::erase(text, L'"');
  return text;
}

}  // namespace

int main() {
  const wchar_t* line = GetCommandLineW();
  const bool tool = Unquoted(Next(line)).ends_with(L"getFileExtents.exe");
  const std::wstring library = tool ? Environment(L"ROTATE_RIG_LIBRARY") : Unquoted(Next(line));
  const std::wstring program = tool ? Environment(L"ROTATE_RIG_TOOL") : Unquoted(Next(line));
  std::wstring commandLine = L"\"" + program + L"\" " + line;
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
  startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  PROCESS_INFORMATION child = {};
  if (!CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                      nullptr, nullptr, &startup, &child)) {
    return Fail("CreateProcess failed, error");
  }
  if (!LoadInto(child.hProcess, library)) {
    TerminateProcess(child.hProcess, 1);
    return Fail("loading the library failed, error");
  }
  ResumeThread(child.hThread);
  WaitForSingleObject(child.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(child.hProcess, &code);
  if (tool && code > 0) Report("the tool ended with", code, Printed());
  if (!tool && code > 1) Report("the program ended with", code);
  return static_cast<int>(code);
}
