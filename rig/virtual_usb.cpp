// The virtual stick inside the program's process. The launcher loads this library before the
// program's first statement. It reports to the supervisor (virtual_usb.py) each operation on a disk
// or a volume, and each question where a file lies, before it happens, and does what the answer
// says:
//   "pass"         let Wine do it
//   "fail STATUS"  refuse with that NTSTATUS, in hexadecimal
//   "done BYTES"   succeed with these bytes, in hexadecimal, as the output
//   "more BYTES"   the same, and say that there are more (STATUS_BUFFER_OVERFLOW)
//   "dropped"      of a write: say that it is done
//   "wait"         of a write to a file: ask again in a moment
// Nothing is decided here. Wine keeps the data: "\\.\PhysicalDrive1" is a link to an image file.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>

#include "supervisor_line.h"
#include "system_calls.h"
#include "with_library.h"

namespace {

constexpr std::uintptr_t kPage = 4096;

struct Device {
  unsigned id;
  unsigned long long position;
};

std::map<HANDLE, Device> devices;
std::map<HANDLE, std::string> files;  // of letters, to their paths
CRITICAL_SECTION lock;
SOCKET line = INVALID_SOCKET;
unsigned lastId = 0;

// One question, one answer. Without a supervisor the process ends: never a write that nobody saw.
std::string Ask(const std::string& question) {
  EnterCriticalSection(&lock);
  if (line == INVALID_SOCKET) line = ConnectToSupervisor();
  const std::string answer = AskSupervisor(line, question);
  if (answer.empty()) ExitProcess(98);
  LeaveCriticalSection(&lock);
  return answer;
}

std::string Number(unsigned long long value) {
  char text[24];
  snprintf(text, sizeof text, " %llu", value);
  return text;
}

// An entry stays where it is until its own handle is closed.
Device* Find(HANDLE handle) {
  EnterCriticalSection(&lock);
  const auto found = devices.find(handle);
  Device* device = found == devices.end() ? nullptr : &found->second;
  LeaveCriticalSection(&lock);
  return device;
}

// The originals, each a copy of Wine's system call stub.
using CreateCall = NTSTATUS(WINAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, IO_STATUS_BLOCK*,
                                     LARGE_INTEGER*, ULONG, ULONG, ULONG, ULONG, void*, ULONG);
using OpenCall = NTSTATUS(WINAPI*)(HANDLE*, ACCESS_MASK, OBJECT_ATTRIBUTES*, IO_STATUS_BLOCK*,
                                   ULONG, ULONG);
using TransferCall = NTSTATUS(WINAPI*)(HANDLE, HANDLE, void*, void*, IO_STATUS_BLOCK*, void*, ULONG,
                                       LARGE_INTEGER*, ULONG*);
using ControlCall = NTSTATUS(WINAPI*)(HANDLE, HANDLE, void*, void*, IO_STATUS_BLOCK*, ULONG, void*,
                                      ULONG, void*, ULONG);
using InformationCall = NTSTATUS(WINAPI*)(HANDLE, IO_STATUS_BLOCK*, void*, ULONG, int);
using FlushCall = NTSTATUS(WINAPI*)(HANDLE, IO_STATUS_BLOCK*);
using CloseCall = NTSTATUS(WINAPI*)(HANDLE);
using AttributesCall = NTSTATUS(WINAPI*)(const OBJECT_ATTRIBUTES*, void*);
using ResumeCall = NTSTATUS(WINAPI*)(HANDLE, ULONG*);

CreateCall create;
OpenCall open;
TransferCall read, write;
ControlCall deviceControl, fileSystemControl;
InformationCall setInformation, queryVolume;
FlushCall flush;
CloseCall closeHandle;
AttributesCall queryAttributes, queryFullAttributes;
ResumeCall resume;

// The name without its "\??\"; empty where it begins with something else.
std::string NameOf(const OBJECT_ATTRIBUTES* attributes) {
  if (attributes == nullptr || attributes->ObjectName == nullptr) return "";
  const std::string name = Utf8(*attributes->ObjectName);
  return name.rfind("\\??\\", 0) == 0 ? name.substr(4) : "";
}

// Every open by name goes through here: "open ID NAME" for a device, with "unopened ID" after it
// where that failed; "touch PATH" for files.
template <class Call>
NTSTATUS Open(HANDLE* handle, const OBJECT_ATTRIBUTES* attributes, IO_STATUS_BLOCK* io,
              const Call& call) {
  const std::string name = NameOf(attributes);
  const bool disk = _strnicmp(name.c_str(), "PhysicalDrive", 13) == 0;
  const bool letter = name.size() >= 2 && name[1] == ':';
  if (!disk && !letter) return call();
  const bool device = disk || name.size() == 2;
  const unsigned id = ++lastId;
  NTSTATUS status;
  if (Settled(Ask((device ? "open" + Number(id) + " " : std::string("touch ")) + name), status, io,
              nullptr, 0)) {
    return status;
  }
  status = call();
  if (status >= 0) {
    EnterCriticalSection(&lock);
    if (device) {
      devices[*handle] = {id, 0};
    } else {
      files[*handle] = name;
    }
    LeaveCriticalSection(&lock);
  } else if (device) {
    Ask("unopened" + Number(id));
  }
  return status;
}

// To ask for a file's attributes is an access to its volume too.
NTSTATUS Attributes(AttributesCall call, const OBJECT_ATTRIBUTES* attributes, void* out) {
  const std::string name = NameOf(attributes);
  NTSTATUS status;
  if (name.size() > 2 && name[1] == ':' &&
      Settled(Ask("touch " + name), status, nullptr, nullptr, 0)) {
    return status;
  }
  return call(attributes, out);
}

NTSTATUS WINAPI QueryAttributes(const OBJECT_ATTRIBUTES* attributes, void* out) {
  return Attributes(queryAttributes, attributes, out);
}

NTSTATUS WINAPI QueryFullAttributes(const OBJECT_ATTRIBUTES* attributes, void* out) {
  return Attributes(queryFullAttributes, attributes, out);
}

NTSTATUS WINAPI Create(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
                       IO_STATUS_BLOCK* io, LARGE_INTEGER* size, ULONG kind, ULONG share,
                       ULONG disposition, ULONG options, void* ea, ULONG eaSize) {
  return Open(handle, attributes, io, [&] {
    return create(handle, access, attributes, io, size, kind, share, disposition, options, ea,
                  eaSize);
  });
}

NTSTATUS WINAPI OpenExisting(HANDLE* handle, ACCESS_MASK access, OBJECT_ATTRIBUTES* attributes,
                             IO_STATUS_BLOCK* io, ULONG share, ULONG options) {
  return Open(handle, attributes, io,
              [&] { return open(handle, access, attributes, io, share, options); });
}

// "read ID OFFSET BYTES BEYOND": the memory begins so many bytes beyond a page's begin.
NTSTATUS Transfer(const char* what, TransferCall call, HANDLE handle, HANDLE event, void* apc,
                  void* context, IO_STATUS_BLOCK* io, void* data, ULONG bytes,
                  LARGE_INTEGER* offset, ULONG* key) {
  Device* device = Find(handle);
  if (device == nullptr) {
    return call(handle, event, apc, context, io, data, bytes, offset, key);
  }
  if (offset != nullptr && offset->QuadPart >= 0) {
    device->position = static_cast<unsigned long long>(offset->QuadPart);
  }
  const auto beyond = reinterpret_cast<std::uintptr_t>(data) % kPage;
  const std::string answer =
      Ask(what + Number(device->id) + Number(device->position) + Number(bytes) + Number(beyond));
  if (answer == "dropped") {
    device->position += bytes;
    io->Information = bytes;
    return io->Status = 0;
  }
  NTSTATUS status;
  if (Settled(answer, status, io, nullptr, 0)) return status;
  status = call(handle, event, apc, context, io, data, bytes, offset, key);
  if (status >= 0) device->position += io->Information;
  return status;
}

NTSTATUS WINAPI Read(HANDLE handle, HANDLE event, void* apc, void* context, IO_STATUS_BLOCK* io,
                     void* data, ULONG bytes, LARGE_INTEGER* offset, ULONG* key) {
  return Transfer("read", read, handle, event, apc, context, io, data, bytes, offset, key);
}

// The path of a letter's file; empty for another handle.
std::string PathOf(HANDLE handle) {
  EnterCriticalSection(&lock);
  const auto file = files.find(handle);
  std::string path = file == files.end() ? "" : file->second;
  LeaveCriticalSection(&lock);
  return path;
}

NTSTATUS WINAPI Write(HANDLE handle, HANDLE event, void* apc, void* context, IO_STATUS_BLOCK* io,
                      void* data, ULONG bytes, LARGE_INTEGER* offset, ULONG* key) {
  const std::string path = PathOf(handle);
  while (!path.empty() && Ask("fill" + Number(bytes) + " " + path) == "wait") Sleep(20);
  return Transfer("write", write, handle, event, apc, context, io, data, bytes, offset, key);
}

NTSTATUS Control(ControlCall call, HANDLE handle, HANDLE event, void* apc, void* context,
                 IO_STATUS_BLOCK* io, ULONG code, void* in, ULONG inSize, void* out,
                 ULONG outSize) {
  const Device* device = Find(handle);
  if (device != nullptr) {
    char text[16];
    snprintf(text, sizeof text, " %lX", code);
    std::string question =
        "control" + Number(device->id) + text + Number(inSize) + Number(outSize) + " ";
    for (ULONG at = 0; at < inSize && at < 64; ++at) {
      snprintf(text, sizeof text, "%02X", static_cast<unsigned char*>(in)[at]);
      question += text;
    }
    NTSTATUS status;
    if (Settled(Ask(question), status, io, out, outSize)) return status;
  }
  return call(handle, event, apc, context, io, code, in, inSize, out, outSize);
}

NTSTATUS WINAPI DeviceControl(HANDLE handle, HANDLE event, void* apc, void* context,
                              IO_STATUS_BLOCK* io, ULONG code, void* in, ULONG inSize, void* out,
                              ULONG outSize) {
  return Control(deviceControl, handle, event, apc, context, io, code, in, inSize, out, outSize);
}

// "runs VCN PATH": where a file lies. "pass" for a handle that has no path here.
std::string AskRuns(HANDLE handle, const void* in, ULONG inSize) {
  const std::string path = PathOf(handle);
  unsigned long long vcn = 0;
  if (path.empty() || inSize < sizeof vcn) return "pass";
  memcpy(&vcn, in, sizeof vcn);
  return Ask("runs" + Number(vcn) + " " + path);
}

NTSTATUS WINAPI FileSystemControl(HANDLE handle, HANDLE event, void* apc, void* context,
                                  IO_STATUS_BLOCK* io, ULONG code, void* in, ULONG inSize,
                                  void* out, ULONG outSize) {
  constexpr ULONG kGetRetrievalPointers = 0x90073;
  NTSTATUS status;
  if (code == kGetRetrievalPointers &&
      Settled(AskRuns(handle, in, inSize), status, io, out, outSize)) {
    return status;
  }
  return Control(fileSystemControl, handle, event, apc, context, io, code, in, inSize, out,
                 outSize);
}

NTSTATUS WINAPI SetInformation(HANDLE handle, IO_STATUS_BLOCK* io, void* data, ULONG size,
                               int kind) {
  constexpr int kFilePosition = 14;
  Device* device = Find(handle);
  if (device != nullptr && kind == kFilePosition) {
    memcpy(&device->position, data, sizeof device->position);
    NTSTATUS status;
    if (Settled(Ask("seek" + Number(device->id) + Number(device->position)), status, io, nullptr,
                0)) {
      return status;
    }
  }
  return setInformation(handle, io, data, size, kind);
}

// "volume ID KIND" for a device, "volume_of KIND PATH" for a file.
std::string AskVolume(HANDLE handle, unsigned kind) {
  const Device* device = Find(handle);
  if (device != nullptr) return Ask("volume" + Number(device->id) + Number(kind));
  const std::string path = PathOf(handle);
  return path.empty() ? "pass" : Ask("volume_of" + Number(kind) + " " + path);
}

NTSTATUS WINAPI QueryVolume(HANDLE handle, IO_STATUS_BLOCK* io, void* data, ULONG size, int kind) {
  NTSTATUS status;
  if (Settled(AskVolume(handle, static_cast<unsigned>(kind)), status, io, data, size)) {
    return status;
  }
  return queryVolume(handle, io, data, size, kind);
}

NTSTATUS WINAPI Flush(HANDLE handle, IO_STATUS_BLOCK* io) {
  const Device* device = Find(handle);
  NTSTATUS status;
  if (device != nullptr && Settled(Ask("flush" + Number(device->id)), status, io, nullptr, 0)) {
    return status;
  }
  return flush(handle, io);
}

NTSTATUS WINAPI Close(HANDLE handle) {
  const Device* device = Find(handle);
  const unsigned closing = device == nullptr ? 0 : device->id;
  EnterCriticalSection(&lock);
  devices.erase(handle);
  files.erase(handle);
  LeaveCriticalSection(&lock);
  if (closing != 0) Ask("close" + Number(closing));
  return closeHandle(handle);
}

// A child of the program's, which hasn't run yet, gets the library too. Loading resumes a thread of
// the child's as well.
NTSTATUS WINAPI Resume(HANDLE thread, ULONG* count) {
  static bool loading = false;
  const DWORD id = GetProcessIdOfThread(thread);
  if (!loading && id != GetCurrentProcessId()) {
    loading = true;
    const HANDLE child = OpenProcess(PROCESS_ALL_ACCESS, FALSE, id);
    if (!LoadInto(child, Environment(L"ROTATE_RIG_LIBRARY"))) ExitProcess(97);
    CloseHandle(child);
    loading = false;
  }
  return resume(thread, count);
}

// Message boxes of every kind end in this call. Its icon cannot be read from another process, so it
// is reported here; the call has no stub to copy, so its own bytes come back for as long as it
// runs.
unsigned char* messageBox;
unsigned char messageBoxBytes[kJump];

int WINAPI ReportedMessageBox(const MSGBOXPARAMSW* box) {
  DWORD before;
  VirtualProtect(messageBox, kJump, PAGE_EXECUTE_READWRITE, &before);
  memcpy(messageBox, messageBoxBytes, kJump);
  const std::wstring title = HIWORD(box->lpszCaption) == 0 ? L"" : box->lpszCaption;
  UNICODE_STRING name = {static_cast<USHORT>(title.size() * 2), 0,
                         const_cast<wchar_t*>(title.c_str())};
  Ask("box" + Number(box->dwStyle) + " " + Utf8(name));
  const int answer = MessageBoxIndirectW(box);
  PutJump(messageBox, reinterpret_cast<void*>(ReportedMessageBox));
  return answer;
}

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void*) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  InitializeCriticalSection(&lock);
  lastId = GetCurrentProcessId() << 16;  // several processes talk to one supervisor
  Patch("NtCreateFile", create, Create);
  Patch("NtOpenFile", open, OpenExisting);
  Patch("NtReadFile", read, Read);
  Patch("NtWriteFile", write, Write);
  Patch("NtDeviceIoControlFile", deviceControl, DeviceControl);
  Patch("NtFsControlFile", fileSystemControl, FileSystemControl);
  Patch("NtSetInformationFile", setInformation, SetInformation);
  Patch("NtQueryVolumeInformationFile", queryVolume, QueryVolume);
  Patch("NtFlushBuffersFile", flush, Flush);
  Patch("NtClose", closeHandle, Close);
  Patch("NtQueryAttributesFile", queryAttributes, QueryAttributes);
  Patch("NtQueryFullAttributesFile", queryFullAttributes, QueryFullAttributes);
  if (!Environment(L"ROTATE_RIG_CHILDREN").empty()) {
    SetEnvironmentVariableW(L"ROTATE_RIG_CHILDREN", nullptr);  // not theirs as well
    Patch("NtResumeThread", resume, Resume);
  }
  messageBox = reinterpret_cast<unsigned char*>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleA("user32.dll"), "MessageBoxIndirectW")));
  memcpy(messageBoxBytes, messageBox, kJump);
  PutJump(messageBox, reinterpret_cast<void*>(ReportedMessageBox));
  return TRUE;
}
