// What the virtual disks and volumes answer to control codes, byte for byte as real ones do.
#include <algorithm>
#include <cstring>

#include "platform/virtual/devices.h"

namespace {

void Put32(std::uint8_t* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

void Put32BigEndian(std::uint8_t* at, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<std::uint8_t>(value >> (24 - 8 * i));
}

std::uint32_t Get32(const std::uint8_t* at) {
  return static_cast<std::uint32_t>(at[0]) | static_cast<std::uint32_t>(at[1]) << 8 |
         static_cast<std::uint32_t>(at[2]) << 16 | static_cast<std::uint32_t>(at[3]) << 24;
}

void PutPadded(std::uint8_t* at, const std::string& text, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i) {
    at[i] = i < text.size() ? static_cast<std::uint8_t>(text[i]) : ' ';
  }
}

std::uint32_t Give(ControlRequest& request, const std::vector<std::uint8_t>& answer,
                   std::size_t least) {
  if (request.out == nullptr || request.outSize < least) return kErrorInsufficientBuffer;
  const std::size_t count = std::min<std::size_t>(answer.size(), request.outSize);
  std::memcpy(request.out, answer.data(), count);
  request.returned = static_cast<std::uint32_t>(count);
  return 0;
}

std::uint32_t AnswerLength(const VirtualDisk& disk, ControlRequest& request) {
  if (!disk.answersLength) return kErrorInvalidFunction;
  std::vector<std::uint8_t> answer(8);
  Put32(answer.data(), static_cast<std::uint32_t>(disk.bytes));
  Put32(answer.data() + 4, static_cast<std::uint32_t>(disk.bytes >> 32));
  return Give(request, answer, answer.size());
}

// STORAGE_DEVICE_DESCRIPTOR: 36 bytes, then the texts that its offsets point to.
std::uint32_t AnswerProperty(const VirtualDisk& disk, ControlRequest& request) {
  if (!disk.answersBus) return kErrorInvalidFunction;
  if (request.inSize < 12 || Get32(request.in) != 0 || Get32(request.in + 4) != 0) {
    return kErrorInvalidParameter;
  }
  std::vector<std::uint8_t> answer(36);
  const auto addText = [&](std::size_t pointer, const std::string& text) {
    Put32(answer.data() + pointer, static_cast<std::uint32_t>(answer.size()));
    answer.insert(answer.end(), text.begin(), text.end());
    answer.push_back(0);
  };
  answer[10] = disk.removable ? 1 : 0;
  addText(12, disk.vendor);
  addText(16, disk.product);
  addText(20, disk.revision);
  Put32(answer.data(), 40);
  Put32(answer.data() + 28, disk.bus);
  Put32(answer.data() + 4, static_cast<std::uint32_t>(answer.size()));
  return Give(request, answer, 8);
}

std::vector<std::uint8_t> CapacityData(const VirtualDisk& disk) {
  std::vector<std::uint8_t> data(8);
  auto [last, length] = disk.capacityAnswer;
  if (length == 0) {
    const std::uint64_t lastBlock = disk.SectorCount() - 1;
    last = static_cast<std::uint32_t>(std::min<std::uint64_t>(lastBlock, 0xFFFFFFFF));
    length = 512;
  }
  Put32BigEndian(data.data(), last);
  Put32BigEndian(data.data() + 4, length);
  return data;
}

std::vector<std::uint8_t> InquiryData(const VirtualDisk& disk) {
  std::vector<std::uint8_t> data(96);
  data[1] = disk.removable ? 0x80 : 0;
  data[4] = 91;  // additional length
  PutPadded(data.data() + 8, disk.vendor, 8);
  PutPadded(data.data() + 16, disk.product, 16);
  PutPadded(data.data() + 32, disk.revision, 4);
  PutPadded(data.data() + 36, disk.vendorField, 8);
  return data;
}

// SCSI_PASS_THROUGH as 32-bit programs lay it out: length 44, data offset at 20, command at 28.
std::uint32_t PassThrough(const VirtualDisk& disk, ControlRequest& request) {
  constexpr std::uint32_t kLength = 44;
  constexpr std::uint8_t kReadCapacity = 0x25, kInquiry = 0x12;
  if (request.inSize < kLength || request.in[0] != kLength || request.in[1] != 0 ||
      request.in[8] != 1) {
    return kErrorInvalidParameter;
  }
  const std::uint32_t wanted = Get32(request.in + 12);
  const std::uint32_t offset = Get32(request.in + 20);
  if (offset < kLength || offset > request.outSize || wanted > request.outSize - offset) {
    return kErrorInvalidParameter;
  }
  std::vector<std::uint8_t> data;
  if (request.in[28] == kReadCapacity && disk.answersCapacity) data = CapacityData(disk);
  if (request.in[28] == kInquiry && disk.answersInquiry) data = InquiryData(disk);
  if (data.empty()) return kErrorIoDevice;
  const std::uint32_t moved = std::min(wanted, static_cast<std::uint32_t>(data.size()));
  if (request.out != request.in) std::memcpy(request.out, request.in, kLength);
  std::memcpy(request.out + offset, data.data(), moved);
  Put32(request.out + 12, moved);
  request.returned = offset + moved;
  return disk.warns ? kErrorIoDevice : 0;
}

}  // namespace

std::uint32_t AnswerDiskQuery(const VirtualDisk& disk, ControlRequest& request) {
  switch (request.code) {
    case kIoctlDiskGetLengthInfo:
      return AnswerLength(disk, request);
    case kIoctlStorageQueryProperty:
      return AnswerProperty(disk, request);
    case kIoctlScsiPassThrough:
      return PassThrough(disk, request);
    default:
      return kErrorInvalidFunction;
  }
}

// STORAGE_DEVICE_NUMBER: type, number, partition. A whole disk is partition 0.
std::uint32_t AnswerDeviceNumber(const OpenHandle& open, ControlRequest& request) {
  const bool isVolume = open.kind == OpenHandle::Kind::Volume;
  const std::uint32_t type = isVolume ? open.volume->deviceType : kDeviceTypeDisk;
  if (open.kind == OpenHandle::Kind::File || type == 0) return kErrorInvalidFunction;
  std::vector<std::uint8_t> answer(12);
  Put32(answer.data(), type);
  Put32(answer.data() + 4,
        open.disk == nullptr ? 0 : static_cast<std::uint32_t>(open.disk->number));
  const int partition = isVolume ? open.volume->partition : 0;
  Put32(answer.data() + 8, static_cast<std::uint32_t>(partition));
  return Give(request, answer, answer.size());
}

std::uint32_t ControlVolume(Machine& machine, Handle handle, std::uint32_t code) {
  OpenHandle& open = *machine.At(handle);
  VirtualVolume& volume = *open.volume;
  // A handle opened with access 0 is to the bare device, which knows no file system.
  if (open.access == 0) return kErrorInvalidFunction;
  switch (code) {
    case kFsctlLockVolume:
      if (volume.lockedBy != kNoHandle || volume.busy || machine.HasOpenFiles(volume)) {
        return kErrorAccessDenied;
      }
      volume.lockedBy = handle;
      volume.FlushFiles();
      return 0;
    case kFsctlUnlockVolume:
      if (volume.lockedBy != handle) return kErrorNotLocked;
      volume.lockedBy = kNoHandle;
      return 0;
    case kFsctlDismountVolume:
      if (volume.refusesDismount) return kErrorAccessDenied;
      if (volume.lockedBy != kNoHandle && volume.lockedBy != handle) return kErrorAccessDenied;
      volume.mounted = false;
      volume.FlushFiles();
      volume.ForgetHolders();
      return 0;
    default:
      return kErrorInvalidFunction;
  }
}
