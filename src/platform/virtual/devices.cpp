#include "platform/virtual/devices.h"

#include <algorithm>
#include <cctype>

namespace {

constexpr std::uint32_t kGenericWrite = 0x40000000;

bool IsDigits(const std::string& text) {
  return !text.empty() && std::all_of(text.begin(), text.end(),
                                      [](unsigned char c) { return std::isdigit(c) != 0; });
}

std::uint64_t Join(std::uint32_t low, std::uint32_t high) {
  return static_cast<std::uint64_t>(high) << 32 | low;
}

const char* ControlName(std::uint32_t code) {
  switch (code) {
    case kIoctlDiskGetLengthInfo:
      return "length";
    case kIoctlStorageGetDeviceNumber:
      return "device-number";
    case kIoctlStorageQueryProperty:
      return "property";
    case kIoctlScsiPassThrough:
      return "scsi";
    default:
      return "";
  }
}

// "rw share=rw": the access asked for and the access shared; then the flags, if any.
std::string OpenMode(std::uint32_t access, std::uint32_t share, std::uint32_t flags) {
  std::string mode = (access & kGenericRead) != 0 ? "r" : "";
  if ((access & kGenericWrite) != 0) mode += 'w';
  if ((access & ~kGenericReadWrite) != 0) mode += 'a';
  mode += mode.empty() ? "- share=" : " share=";
  const char* const kShares[] = {"-", "r", "w", "rw", "d", "rd", "wd", "rwd"};
  mode += kShares[share & 7];
  if ((flags & kFlagNoBuffering) != 0) mode += " unbuffered";
  if ((flags & ~kFlagNoBuffering) != 0) mode += " flags=" + std::to_string(flags);
  return mode;
}

Op OpOf(std::uint32_t code) {
  switch (code) {
    case kFsctlLockVolume:
      return Op::Lock;
    case kFsctlUnlockVolume:
      return Op::Unlock;
    case kFsctlDismountVolume:
      return Op::Dismount;
    case kIoctlDiskUpdateProperties:
      return Op::RenewTable;
    default:
      return Op::Query;
  }
}

}  // namespace

std::string VirtualDevices::Name(Handle handle) {
  const OpenHandle* open = machine_.At(handle);
  return open != nullptr ? open->name : "handle " + std::to_string(handle);
}

std::uint32_t VirtualDevices::OpenDevice(const std::string& name, std::uint32_t access,
                                         OpenHandle& open) {
  constexpr const char* kPrefix = "PhysicalDrive";
  open.name = name;
  if (name.starts_with(kPrefix) && IsDigits(name.substr(13)) && name.size() <= 16) {
    open.kind = OpenHandle::Kind::Disk;
    open.disk = machine_.DiskAt(std::stoi(name.substr(13)));
    if (open.disk == nullptr) return kErrorFileNotFound;
    return open.disk->refusesOpen ? kErrorAccessDenied : 0;
  }
  if (name.size() != 2 || name[1] != ':') return kErrorFileNotFound;
  open.kind = OpenHandle::Kind::Volume;
  open.volume = machine_.VolumeAt(static_cast<char>(std::toupper(name[0])));
  if (open.volume == nullptr) return kErrorFileNotFound;
  open.disk = open.volume->disk;
  if (open.volume->refusesOpen) return kErrorAccessDenied;
  // Access 0 reaches the device below the file system: it neither mounts nor respects a lock.
  if (access != 0 && !machine_.Mount(*open.volume)) return kErrorAccessDenied;
  return 0;
}

std::uint32_t VirtualDevices::OpenPlainFile(const std::string& path, std::uint32_t access,
                                            OpenHandle& open) {
  const SplitPath split = SplitAtVolume(path, machine_.currentFolder);
  open.kind = OpenHandle::Kind::File;
  open.name = path;
  open.path = split.rest;
  open.volume = machine_.VolumeAt(split.letter);
  if (open.volume == nullptr) return kErrorPathNotFound;
  if (!machine_.Mount(*open.volume)) return kErrorAccessDenied;
  const VirtualFile* file = open.volume->Find(split.rest);
  if (file == nullptr) {
    return open.volume->FolderExists(ParentOf(split.rest)) ? kErrorFileNotFound
                                                           : kErrorPathNotFound;
  }
  if ((file->attributes & 16) != 0) return kErrorAccessDenied;
  if (file->deletePending) return kErrorAccessDenied;
  if (file->heldOpen && (access & kGenericReadWrite) != 0) return kErrorSharingViolation;
  return 0;
}

bool VirtualDevices::SharingAllows(const OpenHandle& wanted) const {
  const auto conflicts = [](std::uint32_t access, std::uint32_t share) {
    return ((access & kGenericRead) != 0 && (share & 1) == 0) ||
           ((access & kGenericWrite) != 0 && (share & 2) == 0);
  };
  if ((wanted.access & kGenericReadWrite) == 0) return true;
  if (wanted.kind == OpenHandle::Kind::File) {
    const auto& holders = wanted.volume->Find(wanted.path)->holders;
    if (std::any_of(holders.begin(), holders.end(), [&](const Holder& holder) {
          return conflicts(wanted.access, holder.share) || conflicts(kGenericRead, wanted.share);
        })) {
      return false;
    }
  }
  return std::none_of(machine_.handles.begin(), machine_.handles.end(), [&](const auto& held) {
    const OpenHandle& other = held.second;
    const bool same = other.kind == wanted.kind && other.disk == wanted.disk &&
                      other.volume == wanted.volume && other.path == wanted.path;
    return same && (other.access & kGenericReadWrite) != 0 &&
           (conflicts(wanted.access, other.share) || conflicts(other.access, wanted.share));
  });
}

Handle VirtualDevices::CreateFile(const std::string& path, std::uint32_t access,
                                  std::uint32_t share, std::uint32_t disposition,
                                  std::uint32_t flags) noexcept {
  const bool device = path.starts_with("\\\\.\\");
  const std::string name = device ? path.substr(4) : path;
  const Step step = machine_.Begin(Op::Open, name, OpenMode(access, share, flags));
  std::uint32_t error = step.Refused() ? machine_.plan.error : 0;
  OpenHandle open;
  open.access = access;
  open.share = share;
  open.flags = flags;
  if (error == 0 && disposition != kOpenExisting) error = kErrorInvalidParameter;
  if (error == 0) {
    error = device ? OpenDevice(name, access, open) : OpenPlainFile(path, access, open);
  }
  if (error == 0 && !SharingAllows(open)) error = kErrorSharingViolation;
  if (!machine_.End(step, error == 0, error)) return kInvalidHandle;
  return machine_.Add(std::move(open));
}

bool VirtualDevices::SetFilePointerEx(Handle handle, std::uint64_t offset) noexcept {
  const Step step = machine_.Begin(Op::Seek, Name(handle), std::to_string(offset));
  OpenHandle* open = machine_.At(handle);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (open == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
  if (offset > INT64_MAX) return machine_.Fail(step, 131);  // ERROR_NEGATIVE_SEEK
  open->offset = offset;
  return machine_.End(step, true);
}

bool VirtualDevices::LockFile(Handle handle, std::uint32_t offsetLow, std::uint32_t offsetHigh,
                              std::uint32_t bytesLow, std::uint32_t bytesHigh) noexcept {
  const Step step = machine_.Begin(Op::LockRange, Name(handle));
  OpenHandle* open = machine_.At(handle);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (open == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
  if (open->disk != nullptr && open->disk->refusesRangeLocks) {
    return machine_.Fail(step, kErrorInvalidFunction);
  }
  open->lockedRanges.emplace_back(Join(offsetLow, offsetHigh), Join(bytesLow, bytesHigh));
  return machine_.End(step, true);
}

bool VirtualDevices::UnlockFile(Handle handle, std::uint32_t offsetLow, std::uint32_t offsetHigh,
                                std::uint32_t bytesLow, std::uint32_t bytesHigh) noexcept {
  const Step step = machine_.Begin(Op::UnlockRange, Name(handle));
  OpenHandle* open = machine_.At(handle);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (open == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
  const auto held = std::find(open->lockedRanges.begin(), open->lockedRanges.end(),
                              std::pair{Join(offsetLow, offsetHigh), Join(bytesLow, bytesHigh)});
  if (held == open->lockedRanges.end()) return machine_.Fail(step, kErrorNotLocked);
  open->lockedRanges.erase(held);
  return machine_.End(step, true);
}

bool VirtualDevices::FlushFileBuffers(Handle handle) noexcept {
  const Step step = machine_.Begin(Op::Flush, Name(handle));
  OpenHandle* open = machine_.At(handle);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (open == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
  if (open->IsGone()) return machine_.Fail(step, kErrorDeviceRemoved);
  if (open->IsRaw() && open->disk != nullptr) {
    if (open->disk->refusesFlush) return machine_.Fail(step, kErrorInvalidFunction);
    open->disk->Flush();
  }
  if (open->kind == OpenHandle::Kind::File) {
    if (VirtualFile* file = open->volume->Find(open->path)) file->unflushed = false;
  }
  return machine_.End(step, true);
}

std::uint32_t VirtualDevices::GetFileSize(Handle handle, std::uint32_t& high) noexcept {
  high = 0;
  const Step step = machine_.Begin(Op::FileSize, Name(handle));
  const OpenHandle* open = machine_.At(handle);
  const VirtualFile* file = open != nullptr && open->kind == OpenHandle::Kind::File
                                ? open->volume->Find(open->path)
                                : nullptr;
  if (step.Refused() || file == nullptr) {
    machine_.Fail(step, step.Refused() ? machine_.plan.error : kErrorInvalidHandle);
    return kInvalidFileSize;
  }
  machine_.End(step, true);
  machine_.lastError = 0;  // this one call says so, since any low half can be a length
  high = static_cast<std::uint32_t>(file->size >> 32);
  return static_cast<std::uint32_t>(file->size);
}

bool VirtualDevices::DeviceIoControl(Handle handle, std::uint32_t code, const void* in,
                                     std::uint32_t inSize, void* out, std::uint32_t outSize,
                                     std::uint32_t& returned) noexcept {
  returned = 0;
  const Step step = machine_.Begin(OpOf(code), Name(handle), ControlName(code));
  machine_.journal[step.entry].code = code;
  OpenHandle* open = machine_.At(handle);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (open == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
  if (open->IsGone()) return machine_.Fail(step, kErrorDeviceRemoved);
  // Bits 14 and 15 of a code say which access the handle needs: 1 read, 2 write.
  const std::uint32_t held = open->access >> 30;  // bit 1 read, bit 0 write
  const std::uint32_t wanted = code >> 14 & 3;
  if (((wanted & 1) != 0 && (held & 2) == 0) || ((wanted & 2) != 0 && (held & 1) == 0)) {
    return machine_.Fail(step, kErrorAccessDenied);
  }
  ControlRequest request{code, static_cast<const std::uint8_t*>(in), inSize,
                         static_cast<std::uint8_t*>(out), outSize};
  std::uint32_t error = kErrorInvalidFunction;
  if (code == kIoctlStorageGetDeviceNumber) {
    error = AnswerDeviceNumber(*open, request);
  } else if (open->kind == OpenHandle::Kind::Volume) {
    error = ControlVolume(machine_, handle, code);
  } else if (open->kind == OpenHandle::Kind::Disk && code == kIoctlDiskUpdateProperties) {
    error = open->disk->refusesRenewal ? kErrorInvalidFunction : 0;
    if (error == 0) machine_.ReadTable(*open->disk);
  } else if (open->kind == OpenHandle::Kind::Disk) {
    error = AnswerDiskQuery(*open->disk, request);
  }
  returned = request.returned;
  return machine_.End(step, error == 0, error);
}

bool VirtualDevices::CloseHandle(Handle handle) noexcept {
  // A close that is made to fail still closes: the caller must cope with both.
  const Step step = machine_.Begin(Op::Close, Name(handle));
  const bool wasOpen = machine_.Close(handle);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  return machine_.End(step, wasOpen, kErrorInvalidHandle);
}
