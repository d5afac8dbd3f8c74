// Raw disks, volumes and plain files by handle. Each method is the documented Windows call of the
// same name without the arguments that are unused here; each reports by its result.
#pragma once

#include <cstdint>
#include <string>

// An open disk, volume, file or process. Above 0: open. 0: none. -1: what a failed open returns.
using Handle = std::intptr_t;
constexpr Handle kNoHandle = 0;
constexpr Handle kInvalidHandle = -1;

// Access, sharing, disposition and flags of CreateFile (winnt.h, winbase.h).
constexpr std::uint32_t kFileReadAttributes = 0x80;
constexpr std::uint32_t kGenericRead = 0x80000000;
constexpr std::uint32_t kGenericReadWrite = 0xC0000000;
constexpr std::uint32_t kShareNone = 0;
constexpr std::uint32_t kShareRead = 1;
constexpr std::uint32_t kShareReadWrite = 3;
constexpr std::uint32_t kOpenExisting = 3;
constexpr std::uint32_t kInvalidFileSize = 0xFFFFFFFF;
constexpr std::uint32_t kFlagNoBuffering = 0x20000000;

// Control codes of DeviceIoControl (winioctl.h, ntddscsi.h).
constexpr std::uint32_t kFsctlLockVolume = 0x90018;
constexpr std::uint32_t kFsctlUnlockVolume = 0x9001C;
constexpr std::uint32_t kFsctlDismountVolume = 0x90020;
constexpr std::uint32_t kIoctlDiskUpdateProperties = 0x70140;
constexpr std::uint32_t kIoctlDiskGetLengthInfo = 0x7405C;
constexpr std::uint32_t kIoctlStorageGetDeviceNumber = 0x2D1080;
constexpr std::uint32_t kIoctlStorageQueryProperty = 0x2D1400;
constexpr std::uint32_t kIoctlScsiPassThrough = 0x4D004;

class Devices {
 public:
  virtual ~Devices() = default;

  // Opens a file, "\\.\E:" or "\\.\PhysicalDrive1". Returns an open handle, or -1 on failure.
  [[nodiscard]] virtual Handle CreateFile(const std::string& path, std::uint32_t access,
                                          std::uint32_t share, std::uint32_t disposition,
                                          std::uint32_t flags) noexcept = 0;

  // Moves the file pointer to offset bytes from the start (FILE_BEGIN). False: not moved.
  [[nodiscard]] virtual bool SetFilePointerEx(Handle handle, std::uint64_t offset) noexcept = 0;

  // Transfers bytes at the file pointer and moves it on. True: the call succeeded; transferred is
  // then the count of bytes moved, which may be less than asked for. False: transferred is 0.
  [[nodiscard]] virtual bool ReadFile(Handle handle, std::uint8_t* data, std::uint32_t bytes,
                                      std::uint32_t& transferred) noexcept = 0;
  [[nodiscard]] virtual bool WriteFile(Handle handle, const std::uint8_t* data, std::uint32_t bytes,
                                       std::uint32_t& transferred) noexcept = 0;

  // Locks or unlocks a byte range; offset and count each as low and high 32-bit halves.
  [[nodiscard]] virtual bool LockFile(Handle handle, std::uint32_t offsetLow,
                                      std::uint32_t offsetHigh, std::uint32_t bytesLow,
                                      std::uint32_t bytesHigh) noexcept = 0;
  [[nodiscard]] virtual bool UnlockFile(Handle handle, std::uint32_t offsetLow,
                                        std::uint32_t offsetHigh, std::uint32_t bytesLow,
                                        std::uint32_t bytesHigh) noexcept = 0;

  [[nodiscard]] virtual bool FlushFileBuffers(Handle handle) noexcept = 0;

  // Returns the low half of the file's length in bytes; the high half goes into high.
  // kInvalidFileSize is a failure unless GetLastError is 0, as it is after a successful call.
  [[nodiscard]] virtual std::uint32_t GetFileSize(Handle handle, std::uint32_t& high) noexcept = 0;

  // Sends a control code. in and out may be null with size 0; they may be the same buffer. returned
  // is the count of bytes put into out, which may be above 0 even after a failure. The record of
  // kIoctlScsiPassThrough is that of 32-bit programs (44 bytes of header) on every platform.
  [[nodiscard]] virtual bool DeviceIoControl(Handle handle, std::uint32_t code, const void* in,
                                             std::uint32_t inSize, void* out, std::uint32_t outSize,
                                             std::uint32_t& returned) noexcept = 0;

  // Closes any handle that this interface or Processes returned. False: it was not open.
  [[nodiscard]] virtual bool CloseHandle(Handle handle) noexcept = 0;

  // The error number of the last call that failed (winerror.h).
  [[nodiscard]] virtual std::uint32_t GetLastError() noexcept = 0;
};
