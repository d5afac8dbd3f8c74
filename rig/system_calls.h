// Replaces system calls by our own functions within this process.
#pragma once

#include <windows.h>

#include <cstring>

// The size to copy and the first bytes of Wine's stubs, which can run anywhere. The bytes of a jump
// (mov rax or eax, target; jmp rax or eax), and the offset of the target in them.
#ifdef _WIN64
constexpr std::size_t kStub = 32;
constexpr unsigned char kStubBegin[] = {0x4C, 0x8B, 0xD1, 0xB8};  // mov r10, rcx; mov eax, number
constexpr unsigned char kJumpCode[] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};
constexpr std::size_t kTarget = 2;
#else
constexpr std::size_t kStub = 15;
constexpr unsigned char kStubBegin[] = {0xB8};  // mov eax, number
constexpr unsigned char kJumpCode[] = {0xB8, 0, 0, 0, 0, 0xFF, 0xE0};
constexpr std::size_t kTarget = 1;
#endif
constexpr std::size_t kJump = sizeof kJumpCode;

// Puts a jump to target at place.
inline void PutJump(unsigned char* place, const void* target) {
  DWORD before;
  VirtualProtect(place, kJump, PAGE_EXECUTE_READWRITE, &before);
  memcpy(place, kJumpCode, kJump);
  memcpy(place + kTarget, &target, sizeof target);
  VirtualProtect(place, kJump, before, &before);
}

// True for a stub of which a copy works as well.
inline bool IsStub(const unsigned char* code) {
  if (code == nullptr || memcmp(code, kStubBegin, sizeof kStubBegin) != 0) return false;
#ifdef _WIN64
  return true;
#else
  return code[5] == 0xBA && code[10] == 0xFF && code[12] == 0xC2;  // mov edx; call edx; ret count
#endif
}

// Copies the stub of a system call to our memory and replaces it by a jump to hook.
template <class Call>
void Patch(const char* name, Call& original, Call hook) {
  auto* stub = reinterpret_cast<unsigned char*>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), name)));
  if (!IsStub(stub)) ExitProcess(96);
  void* copy = VirtualAlloc(nullptr, kStub, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
  memcpy(copy, stub, kStub);
  memcpy(&original, &copy, sizeof original);
  PutJump(stub, reinterpret_cast<void*>(hook));
}
