// What every implementation of the platform must hold to, as plain functions: the same list runs on
// the virtual PC and, without a test framework, on Windows against a folder of its own.
//
//   for (const ContractCase& c : kContract) report(c.name, RunCase(c, platform, "C:\\Temp\\"));
//
// The folder ends in a backslash, is empty and may be written to. Each case deletes its files (one
// empty folder stays) and returns the empty text, or what is wrong.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>

#include "platform/platform.h"

namespace contract {

// The number of the Fault that the statement throws; 0: none.
template <class Statement>
int FaultOf(Statement&& statement) {
  try {
    statement();
  } catch (const Fault& fault) {
    return fault.description.empty() ? -1 : fault.number;
  }
  return 0;
}

// The file at path as a search returns it.
inline FindData Find(Platform& p, const std::string& path) {
  FindData found;
  std::ignore = p.files->FindClose(p.files->FindFirstFile(path, found));
  return found;
}

// No one code page has all of these letters, and they are more than 127 bytes.
constexpr const char* kOfManyAlphabets =
    "Übung Ёж ツール 容量容量容量容量容量容量容量容量容量容量容量容量容量容量容量容量容量.volPAK";

// All checks of a case, so that a failing one names itself.
class Checks {
 public:
  void operator()(bool holds, const char* what) {
    if (!holds) wrong_ += std::string(wrong_.empty() ? "" : "; ") + what;
  }
  const std::string& Wrong() const { return wrong_; }

 private:
  std::string wrong_;
};

inline void AppendMakesAndGrows(Platform& p, const std::string& folder, Checks& check) {
  const std::string path = folder + "a log.txt";
  p.files->AppendLine(path, "one");
  check(p.files->ReadTextFile(path) == "one\r\n", "the first line makes the file");
  p.files->AppendLine(path, "");
  check(p.files->ReadTextFile(path) == "one\r\n\r\n", "an empty line is a line end");
  p.files->FileDelete(path);
  check(p.files->GetFileAttributes(path) == kInvalidAttributes, "deleted");
}

inline void StatementsFault(Platform& p, const std::string& folder, Checks& check) {
  const std::string none = folder + "none.txt", away = folder + "no folder\\x.txt";
  const std::string a = folder + "a.txt", b = folder + "b.txt";
  p.files->AppendLine(a, "a");
  p.files->AppendLine(b, "b");
  Files& f = *p.files;
  check(FaultOf([&] { f.FileDelete(none); }) == kFileNotFound, "delete nothing: 53");
  check(FaultOf([&] { f.FileRename(none, a); }) == kFileNotFound, "rename nothing: 53");
  check(FaultOf([&] { f.FileRename(a, b); }) == kFileAlreadyExists, "rename onto a file: 58");
  check(FaultOf([&] { f.FileCopy(none, b); }) == kFileNotFound, "copy nothing: 53");
  check(FaultOf([&] { f.FileCopy(a, away); }) == kPathNotFound, "copy into no folder: 76");
  check(FaultOf([&] { (void)f.ReadTextFile(none); }) == kFileNotFound, "read nothing: 53");
  check(FaultOf([&] { f.AppendLine(away, "x"); }) == kPathNotFound, "append in no folder: 76");
  check(FaultOf([&] { f.MakeFolder(folder + "no\\way"); }) == kPathNotFound, "folder in none: 76");
  const std::string sub = folder + "sub.volPAK";
  f.MakeFolder(sub);
  check(FaultOf([&] { f.MakeFolder(sub); }) == kPathFileAccessError, "a folder twice: 75");
  check(FaultOf([&] { f.FileDelete(sub); }) == kPathFileAccessError, "delete a folder: 75");
  check(f.ReadTextFile(a) == "a\r\n" && f.ReadTextFile(b) == "b\r\n", "both files as before");
  f.FileDelete(a);
  f.FileDelete(b);
}

inline void CopyAndRename(Platform& p, const std::string& folder, Checks& check) {
  const std::string a = folder + "from.txt", b = folder + "to.txt", c = folder + "TO2.txt";
  p.files->AppendLine(a, "new");
  p.files->AppendLine(b, "old and longer");
  p.files->FileCopy(a, b);
  check(p.files->ReadTextFile(b) == "new\r\n", "a copy overwrites");
  check(Find(p, a).lastWriteTime != 0, "a file has a time");
  check(Find(p, a).lastWriteTime == Find(p, b).lastWriteTime, "a copy has its original's time");
  p.files->FileRename(b, c);
  check(p.files->GetFileAttributes(b) == kInvalidAttributes, "the old name is gone");
  check(Find(p, folder + "to2.TXT").name == "TO2.txt", "names match in any case and keep theirs");
  p.files->FileDelete(a);
  p.files->FileDelete(c);
}

inline void Searches(Platform& p, const std::string& folder, Checks& check) {
  const std::string sub = folder + "sub.volPAK";
  if (p.files->GetFileAttributes(sub) == kInvalidAttributes) p.files->MakeFolder(sub);
  for (const char* name :
       {"a.volPAK", "b.volPAK23X4D", "c.volPAK.txt", "d.txt", kOfManyAlphabets}) {
    p.files->AppendLine(sub + "\\" + name, "x");
  }
  FindData found;
  std::string names;
  Handle search = p.files->FindFirstFile(sub + "\\*.volpak*", found);
  check(search != kInvalidHandle, "found some");
  for (bool more = search != kInvalidHandle; more;) {
    names += found.name + " ";
    check(found.size == 3, "size of a file");
    more = p.files->FindNextFile(search, found);
  }
  check(p.files->FindClose(search), "a search closes");
  for (const char* name : {"a.volPAK", "b.volPAK23X4D", "c.volPAK.txt", kOfManyAlphabets}) {
    check(names.find(name + std::string(" ")) != std::string::npos, name);
  }
  check(names.find("d.txt") == std::string::npos, "d.txt doesn't match");
  check(Find(p, sub + "\\*").name == ".", "a folder's first entry is itself");
  check((Find(p, sub).attributes & kAttributeDirectory) != 0, "folders are found");
  for (const std::string& none : {sub + "\\*.none", folder + "none\\*", std::string()}) {
    check(p.files->FindFirstFile(none, found) == kInvalidHandle, "finds nothing: -1");
  }
  check((p.files->GetFileAttributes(sub) & kAttributeDirectory) != 0, "attributes of a folder");
  for (const char* name :
       {"a.volPAK", "b.volPAK23X4D", "c.volPAK.txt", "d.txt", kOfManyAlphabets}) {
    p.files->FileDelete(sub + "\\" + name);
  }
}

inline void BinaryRead(Platform& p, const std::string& folder, Checks& check) {
  const std::string path = folder + "short.bin";
  p.files->AppendLine(path, "1234");
  std::uint8_t data[16];
  std::memset(data, 0xEE, sizeof data);
  check(p.files->ReadBinaryFile(path, data, sizeof data) == 6, "a short file returns what it has");
  check(std::memcmp(data, "1234\r\n", 6) == 0 && data[6] == 0xEE, "and touches nothing after it");
  check(p.files->ReadBinaryFile(path, data, 2) == 2, "no more than asked");
  p.files->FileDelete(path);
}

inline void FileHandles(Platform& p, const std::string& folder, Checks& check) {
  const std::string path = folder + "handle.bin";
  p.files->AppendLine(path, "0123456789");
  Devices& d = *p.devices;
  const Handle file = d.CreateFile(path, kGenericRead, kShareRead, kOpenExisting, 0);
  check(file > 0, "opens");
  std::uint32_t high = 1;
  check(d.GetFileSize(file, high) == 12 && high == 0, "size");
  std::uint8_t data[16];
  std::uint32_t moved = 99;
  check(d.SetFilePointerEx(file, 8), "seeks");
  check(d.ReadFile(file, data, sizeof data, moved) && moved == 4, "reads short at the end");
  check(std::memcmp(data, "89\r\n", 4) == 0, "from where it was sent");
  check(d.ReadFile(file, data, sizeof data, moved) && moved == 0, "reads nothing at the end");
  check(d.SetFilePointerEx(file, 0x100000008) && d.ReadFile(file, data, sizeof data, moved) &&
            moved == 0,
        "the high half of an offset counts");
  check(FaultOf([&] { p.files->FileDelete(path); }) != 0, "an open file isn't deleted");
  check(p.files->ReadTextFile(path).size() == 12, "but read, where reading is shared");
  const Handle second = d.CreateFile(path, kGenericReadWrite, kShareReadWrite, kOpenExisting, 0);
  check(second == kInvalidHandle, "and not opened for writing");
  check(d.CloseHandle(file), "closes");
  check(!d.CloseHandle(file), "once");
  check(!d.ReadFile(file, data, 1, moved) && moved == 0, "a closed handle reads nothing");
  check(d.GetLastError() != 0, "and says why");
  check(d.CreateFile(folder + "none", kFileReadAttributes, kShareRead, kOpenExisting, 0) ==
            kInvalidHandle,
        "no file: -1");
  p.files->FileDelete(path);
}

inline void MutexIsTaken(Platform& p, const std::string& folder, Checks& check) {
  const std::string name = "Rotate_TSD contract " + std::to_string(folder.size());
  const Handle first = p.processes->CreateMutex(name), second = p.processes->CreateMutex(name);
  check(first > 0 && second > 0 && first != second, "two handles to one mutex");
  check(p.processes->WaitForSingleObject(first, 0) == kWaitObject0, "a new one is free");
  check(p.processes->WaitForSingleObject(second, 0) == kWaitObject0, "and this process's then");
  check(p.devices->CloseHandle(first) && p.devices->CloseHandle(second), "closes");
}

inline void WindowsOfNobody(Platform& p, const std::string&, Checks& check) {
  Desktop& d = *p.desktop;
  const WindowHandle none = d.FindWindow("Rotate_TSD has no such window");
  check(none == 0, "no window of that class");
  check(!d.IsWindowVisible(none) && !d.IsIconic(none) && !d.SetForegroundWindow(none), "not shown");
  check(d.GetWindowThreadProcessId(none) == 0, "nobody's");
  check(!d.SendMessageTimeout(none, kWmNull, 100), "doesn't answer");
}

}  // namespace contract

struct ContractCase {
  const char* name;
  void (*run)(Platform& platform, const std::string& folder, contract::Checks& check);
};

inline constexpr ContractCase kContract[] = {
    {"AppendMakesAndGrows", contract::AppendMakesAndGrows},
    {"StatementsFault", contract::StatementsFault},
    {"CopyAndRename", contract::CopyAndRename},
    {"Searches", contract::Searches},
    {"BinaryRead", contract::BinaryRead},
    {"FileHandles", contract::FileHandles},
    {"MutexIsTaken", contract::MutexIsTaken},
    {"WindowsOfNobody", contract::WindowsOfNobody},
};

// Runs one case; a Fault that nobody asked for is wrong as well.
inline std::string RunCase(const ContractCase& contractCase, Platform& platform,
                           const std::string& folder) {
  contract::Checks check;
  try {
    contractCase.run(platform, folder, check);
    return check.Wrong();
  } catch (const Fault& fault) {
    return check.Wrong() + " unasked fault " + std::to_string(fault.number);
  }
}
