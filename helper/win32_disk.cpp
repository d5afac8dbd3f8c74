#include "win32_disk.h"

#include <cstddef>
#include <cstring>

namespace extents_tool {

namespace {

// Control codes and structures of winioctl.h, defined here where Windows XP's headers lack them.
constexpr DWORD kFsctlGetRetrievalPointers = 0x90073;
constexpr DWORD kFsctlGetRetrievalPointerBase = 0x90234;
constexpr DWORD kIoctlVolumeGetVolumeDiskExtents = 0x560000;
constexpr DWORD kIoctlDiskGetPartitionInfoEx = 0x70048;
constexpr DWORD kIoctlStorageGetDeviceNumber = 0x2D1080;

struct DiskExtents {  // VOLUME_DISK_EXTENTS with room for a second extent
  std::uint32_t count;
  std::uint32_t padding;
  struct {
    std::uint32_t disk;
    std::uint32_t padding;
    std::int64_t start;
    std::int64_t length;
  } extents[2];
};
static_assert(sizeof(DiskExtents) == 56);

struct DeviceNumber {  // STORAGE_DEVICE_NUMBER
  std::uint32_t type, number, partition;
};
constexpr std::uint32_t kFileDeviceDisk = 7;

constexpr std::size_t kPartitionInfoSize = 144;  // PARTITION_INFORMATION_EX
constexpr std::size_t kPartitionStartAt = 8;

Refusal Failed(const std::string& what, DWORD error) {
  return {what + ": " + ErrorText(error)};
}

bool IsUnknownRequest(DWORD error) {
  return error == ERROR_INVALID_FUNCTION || error == ERROR_NOT_SUPPORTED;
}

// The start of the partition, if the system reports it.
bool PartitionStart(const Opened& volume, std::uint64_t& start) {
  alignas(8) std::uint8_t info[kPartitionInfoSize];
  DWORD error = 0;
  if (!volume.Ask(kIoctlDiskGetPartitionInfoEx, info, sizeof info, error)) return false;
  std::memcpy(&start, info + kPartitionStartAt, sizeof start);
  return true;
}

// A volume without disk extents: an old driver of a removable disk.
VolumePlace PlaceByNumber(const Opened& volume, DWORD extentsError) {
  DeviceNumber device{};
  VolumePlace place;
  DWORD error = 0;
  if (!volume.Ask(kIoctlStorageGetDeviceNumber, &device, sizeof device, error) ||
      device.type != kFileDeviceDisk || !PartitionStart(volume, place.start)) {
    throw Failed("can't find the disk of " + volume.Path(), extentsError);
  }
  place.disk = device.number;
  return place;
}

}  // namespace

std::string ErrorText(DWORD error) {
  const std::string number = " (error " + std::to_string(error) + ")";
  switch (error) {
    case ERROR_INVALID_FUNCTION:
      return "Incorrect function" + number;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return "It is not there" + number;
    case ERROR_ACCESS_DENIED:
      return "Access is denied" + number;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return "Another program uses it" + number;
    case ERROR_NOT_READY:
      return "The device is not ready" + number;
    case ERROR_NOT_SUPPORTED:
      return "The request is not supported" + number;
    default:
      return "The system refused" + number;
  }
}

Opened::Opened(const std::string& path, DWORD access, DWORD flags)
    : path_(path),
      handle_(::CreateFileW(WideText(path).c_str(), access,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, flags, nullptr)) {
  if (handle_ == INVALID_HANDLE_VALUE) throw Failed("can't open " + path, ::GetLastError());
}

bool Opened::Ask(DWORD code, void* out, DWORD outSize, DWORD& error) const {
  DWORD returned = 0;
  const bool ok =
      ::DeviceIoControl(handle_, code, nullptr, 0, out, outSize, &returned, nullptr) != FALSE;
  error = ok ? DWORD{ERROR_SUCCESS} : ::GetLastError();
  return ok;
}

std::size_t Opened::ReadAt(std::uint64_t offset, std::uint8_t* data, std::size_t bytes) const {
  LARGE_INTEGER place;
  place.QuadPart = static_cast<LONGLONG>(offset);
  DWORD count = 0;
  if (!::SetFilePointerEx(handle_, place, nullptr, FILE_BEGIN) ||
      !::ReadFile(handle_, data, static_cast<DWORD>(bytes), &count, nullptr)) {
    throw Failed("can't read " + path_, ::GetLastError());
  }
  return count;
}

PageBuffer::PageBuffer(std::size_t bytes)
    : data_(static_cast<std::uint8_t*>(
          ::VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))) {
  if (data_ == nullptr) throw Refusal{"out of memory"};
}

std::vector<Run> RunsOfFile(const Opened& file) {
  std::vector<Run> runs;
  std::vector<std::uint8_t> buffer(16384);
  for (std::int64_t vcn = 0;; vcn = runs.back().nextVcn) {
    DWORD returned = 0;
    const bool last =
        ::DeviceIoControl(file.Get(), kFsctlGetRetrievalPointers, &vcn, sizeof vcn, buffer.data(),
                          static_cast<DWORD>(buffer.size()), &returned, nullptr) != FALSE;
    const DWORD error = last ? DWORD{ERROR_SUCCESS} : ::GetLastError();
    if (error == ERROR_HANDLE_EOF) {
      if (runs.empty()) throw Refusal{"the file is empty or lies inside the file table"};
      return runs;
    }
    if (IsUnknownRequest(error)) {
      // Callers look for these exact words.
      throw Refusal{"getNextTranslation: Incorrect function"};
    }
    if (!last && error != ERROR_MORE_DATA) throw Failed("can't get the runs of the file", error);
    // After ERROR_MORE_DATA some systems report no size although the buffer is full.
    const std::size_t filled = returned != 0 ? returned : buffer.size();
    if (!AppendRuns(buffer.data(), filled, vcn, runs)) {
      throw Refusal{"the system's list of the file's runs doesn't add up"};
    }
    if (last) return runs;
  }
}

VolumePlace PlaceOfVolume(const Opened& volume) {
  DiskExtents extents{};
  DWORD error = 0;
  if (!volume.Ask(kIoctlVolumeGetVolumeDiskExtents, &extents, sizeof extents, error)) {
    if (IsUnknownRequest(error)) return PlaceByNumber(volume, error);
    if (error != ERROR_MORE_DATA) throw Failed("can't find the disk of " + volume.Path(), error);
    extents.count = 3;
  }
  if (extents.count != 1) throw Refusal{volume.Path() + " doesn't lie in one piece on one disk"};
  if (extents.extents[0].start < 0) throw Refusal{volume.Path() + " has no place on its disk"};
  const VolumePlace place{extents.extents[0].disk,
                          static_cast<std::uint64_t>(extents.extents[0].start)};
  std::uint64_t partitionStart = 0;
  if (PartitionStart(volume, partitionStart) && partitionStart != place.start) {
    throw Refusal{"the system reports two places of " + volume.Path()};
  }
  return place;
}

VolumeLayout LayoutOfVolume(const Opened& volume, const std::string& root) {
  constexpr std::size_t kLargestSector = 4096;
  PageBuffer boot(kLargestSector);
  VolumeLayout layout;
  if (volume.ReadAt(0, boot.Data(), kLargestSector) < 512 || !ReadBootSector(boot.Data(), layout)) {
    throw Refusal{"the file system of " + volume.Path() + " is none that is known here"};
  }
  DWORD sectors = 0, sectorBytes = 0, freeClusters = 0, clusters = 0;
  if (::GetDiskFreeSpaceW(WideText(root).c_str(), &sectors, &sectorBytes, &freeClusters,
                          &clusters) &&
      std::uint64_t{sectors} * sectorBytes != layout.clusterBytes) {
    throw Refusal{"the system reports another cluster size than the boot sector"};
  }
  std::int64_t base = 0;  // RETRIEVAL_POINTER_BASE, in sectors; Windows 7 and later
  DWORD error = 0;
  if (volume.Ask(kFsctlGetRetrievalPointerBase, &base, sizeof base, error) &&
      (base < 0 ||
       static_cast<std::uint64_t>(base) * layout.sectorBytes != layout.firstClusterByte)) {
    throw Refusal{"the system reports another first cluster than the boot sector"};
  }
  return layout;
}

}  // namespace extents_tool
