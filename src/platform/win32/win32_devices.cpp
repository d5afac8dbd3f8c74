#include <cstring>

#include "platform/win32/scsi_record.h"
#include "platform/win32/win32_headers.h"
#include "platform/win32/win32_platform.h"

namespace {

HANDLE Native(Handle handle) {
  return reinterpret_cast<HANDLE>(handle);
}

// Some disks read into and write from memory only that begins with a page. What is asked of a raw
// disk has room here; larger transfers come with memory of their own.
alignas(4096) std::uint8_t page[4096];

class RealDevices final : public Devices {
 public:
  Handle CreateFile(const std::string& path, std::uint32_t access, std::uint32_t share,
                    std::uint32_t disposition, std::uint32_t flags) noexcept override {
    return reinterpret_cast<Handle>(
        ::CreateFileW(WideText(path).c_str(), access, share, nullptr, disposition, flags, nullptr));
  }

  bool SetFilePointerEx(Handle handle, std::uint64_t offset) noexcept override {
    LARGE_INTEGER distance;
    distance.QuadPart = static_cast<LONGLONG>(offset);
    return ::SetFilePointerEx(Native(handle), distance, nullptr, FILE_BEGIN) != FALSE;
  }

  bool ReadFile(Handle handle, std::uint8_t* data, std::uint32_t bytes,
                std::uint32_t& transferred) noexcept override {
    DWORD count = 0;
    std::uint8_t* const memory = bytes <= sizeof page ? page : data;
    const bool ok = ::ReadFile(Native(handle), memory, bytes, &count, nullptr) != FALSE;
    transferred = ok ? count : 0;
    if (memory == page) std::memcpy(data, page, transferred);
    return ok;
  }

  bool WriteFile(Handle handle, const std::uint8_t* data, std::uint32_t bytes,
                 std::uint32_t& transferred) noexcept override {
    DWORD count = 0;
    const bool fits = bytes <= sizeof page;
    if (fits) std::memcpy(page, data, bytes);
    const bool ok =
        ::WriteFile(Native(handle), fits ? page : data, bytes, &count, nullptr) != FALSE;
    transferred = ok ? count : 0;
    return ok;
  }

  bool LockFile(Handle handle, std::uint32_t offsetLow, std::uint32_t offsetHigh,
                std::uint32_t bytesLow, std::uint32_t bytesHigh) noexcept override {
    return ::LockFile(Native(handle), offsetLow, offsetHigh, bytesLow, bytesHigh) != FALSE;
  }

  bool UnlockFile(Handle handle, std::uint32_t offsetLow, std::uint32_t offsetHigh,
                  std::uint32_t bytesLow, std::uint32_t bytesHigh) noexcept override {
    return ::UnlockFile(Native(handle), offsetLow, offsetHigh, bytesLow, bytesHigh) != FALSE;
  }

  bool FlushFileBuffers(Handle handle) noexcept override {
    return ::FlushFileBuffers(Native(handle)) != FALSE;
  }

  std::uint32_t GetFileSize(Handle handle, std::uint32_t& high) noexcept override {
    DWORD highHalf = 0;
    const DWORD low = ::GetFileSize(Native(handle), &highHalf);
    high = highHalf;
    return low;
  }

  bool DeviceIoControl(Handle handle, std::uint32_t code, const void* in, std::uint32_t inSize,
                       void* out, std::uint32_t outSize,
                       std::uint32_t& returned) noexcept override {
    if (code == kIoctlScsiPassThrough && sizeof(void*) == 8) {
      return SendWideScsiRecord(handle, out, outSize, returned);
    }
    DWORD count = 0;
    const bool ok = ::DeviceIoControl(Native(handle), code, const_cast<void*>(in), inSize, out,
                                      outSize, &count, nullptr) != FALSE;
    returned = count;
    return ok;
  }

  bool CloseHandle(Handle handle) noexcept override {
    return ::CloseHandle(Native(handle)) != FALSE;
  }

  std::uint32_t GetLastError() noexcept override { return ::GetLastError(); }

 private:
  // The same record serves as input and output.
  static bool SendWideScsiRecord(Handle handle, void* record, std::uint32_t size,
                                 std::uint32_t& returned) {
    auto* bytes = static_cast<std::uint8_t*>(record);
    std::vector<std::uint8_t> wide = WidenScsiRecord(bytes, size);
    const auto wideSize = static_cast<DWORD>(wide.size());
    DWORD count = 0;
    const bool ok = ::DeviceIoControl(Native(handle), kIoctlScsiPassThrough, wide.data(), wideSize,
                                      wide.data(), wideSize, &count, nullptr) != FALSE;
    if (ok || count != 0) NarrowScsiAnswer(wide, bytes, size);
    returned = count;
    return ok;
  }
};

}  // namespace

Devices* Win32Devices() {
  static RealDevices devices;
  return &devices;
}
