// Handles to the virtual disks, volumes and files.
//
// Does not model: writes to plain files (refused), overlapped transfers, queues, security, other
// processes' handles (a busy volume stands for them), a file handle that outlives its volume's
// dismount.
#pragma once

#include <string>

#include "platform/devices.h"
#include "platform/virtual/machine.h"

class VirtualDevices : public Devices {
 public:
  explicit VirtualDevices(Machine& machine) : machine_(machine) {}

  Handle CreateFile(const std::string& path, std::uint32_t access, std::uint32_t share,
                    std::uint32_t disposition, std::uint32_t flags) noexcept override;
  bool SetFilePointerEx(Handle handle, std::uint64_t offset) noexcept override;
  bool ReadFile(Handle handle, std::uint8_t* data, std::uint32_t bytes,
                std::uint32_t& transferred) noexcept override;
  bool WriteFile(Handle handle, const std::uint8_t* data, std::uint32_t bytes,
                 std::uint32_t& transferred) noexcept override;
  bool LockFile(Handle handle, std::uint32_t offsetLow, std::uint32_t offsetHigh,
                std::uint32_t bytesLow, std::uint32_t bytesHigh) noexcept override;
  bool UnlockFile(Handle handle, std::uint32_t offsetLow, std::uint32_t offsetHigh,
                  std::uint32_t bytesLow, std::uint32_t bytesHigh) noexcept override;
  bool FlushFileBuffers(Handle handle) noexcept override;
  std::uint32_t GetFileSize(Handle handle, std::uint32_t& high) noexcept override;
  bool DeviceIoControl(Handle handle, std::uint32_t code, const void* in, std::uint32_t inSize,
                       void* out, std::uint32_t outSize, std::uint32_t& returned) noexcept override;
  bool CloseHandle(Handle handle) noexcept override;
  std::uint32_t GetLastError() noexcept override { return machine_.lastError; }

 private:
  std::string Name(Handle handle);
  std::uint32_t OpenDevice(const std::string& name, std::uint32_t access, OpenHandle& open);
  std::uint32_t OpenPlainFile(const std::string& path, std::uint32_t access, OpenHandle& open);
  bool SharingAllows(const OpenHandle& wanted) const;
  std::uint32_t CheckTransfer(const OpenHandle& open, std::uint32_t bytes, bool writing);
  bool MayWriteAt(const VirtualDisk& disk, std::uint64_t lba, std::uint64_t count) const;

  Machine& machine_;
};

// An answer to a control code, copied into the caller's buffer as far as it fits.
struct ControlRequest {
  std::uint32_t code;
  const std::uint8_t* in;
  std::uint32_t inSize;
  std::uint8_t* out;
  std::uint32_t outSize;
  std::uint32_t returned = 0;
};

// Each returns 0 or the Windows error.
std::uint32_t AnswerDiskQuery(const VirtualDisk& disk, ControlRequest& request);
std::uint32_t AnswerDeviceNumber(const OpenHandle& open, ControlRequest& request);
std::uint32_t ControlVolume(Machine& machine, Handle handle, std::uint32_t code);
