// Puts calls of ours in the place of the system's, within this process.
#pragma once

#include <windows.h>

#include <cstring>

constexpr std::size_t kJump = 12;

// Puts a jump to target at place.
inline void PutJump(unsigned char* place, const void* target) {
  const unsigned char jump[kJump] = {0x48, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xE0};
  DWORD before;
  VirtualProtect(place, kJump, PAGE_EXECUTE_READWRITE, &before);
  memcpy(place, jump, kJump);  // mov rax, target; jmp rax
  memcpy(place + 2, &target, sizeof target);
  VirtualProtect(place, kJump, before, &before);
}

// Copies the stub of a system call to memory of ours and puts a jump to hook in its place.
template <class Call>
void Patch(const char* name, Call& original, Call hook) {
  constexpr std::size_t kStub = 32;
  auto* stub = reinterpret_cast<unsigned char*>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), name)));
  const unsigned char begin[] = {0x4C, 0x8B, 0xD1, 0xB8};  // mov r10, rcx; mov eax, number
  if (stub == nullptr || memcmp(stub, begin, sizeof begin) != 0) ExitProcess(96);
  void* copy = VirtualAlloc(nullptr, kStub, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
  memcpy(copy, stub, kStub);
  memcpy(&original, &copy, sizeof original);
  PutJump(stub, reinterpret_cast<void*>(hook));
}
