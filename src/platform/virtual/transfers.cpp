// Reads and writes through handles.
#include <algorithm>
#include <cstring>

#include "platform/virtual/devices.h"

namespace {

constexpr std::uint32_t kGenericWrite = 0x40000000;
constexpr std::uint32_t kErrorNoAccess = 998;  // no memory to move the data to or from

std::uint64_t BaseOf(const OpenHandle& open) {
  return open.kind == OpenHandle::Kind::Volume ? open.volume->firstSector : 0;
}

std::uint64_t SectorsOf(const OpenHandle& open) {
  return open.kind == OpenHandle::Kind::Volume ? open.volume->sectors : open.disk->SectorCount();
}

}  // namespace

std::uint32_t VirtualDevices::CheckTransfer(const OpenHandle& open, std::uint32_t bytes,
                                            bool writing) {
  if ((open.access & (writing ? kGenericWrite : kGenericRead)) == 0) return kErrorAccessDenied;
  if (open.IsGone()) return kErrorDeviceRemoved;
  if (!open.IsRaw() && writing) return kErrorAccessDenied;
  const bool wholeSectors = open.offset % 512 == 0 && bytes % 512 == 0;
  if (!open.IsRaw() && (open.flags & kFlagNoBuffering) == 0) return 0;
  if (!wholeSectors) return kErrorInvalidParameter;
  if (!open.IsRaw()) return 0;
  if (open.disk == nullptr) return kErrorInvalidFunction;
  if (open.offset / 512 + bytes / 512 > SectorsOf(open)) return kErrorSectorNotFound;
  const std::uint64_t lba = BaseOf(open) + open.offset / 512;
  const auto& bad = writing ? open.disk->unwritable : open.disk->unreadable;
  const auto first = bad.lower_bound(lba);
  if (first != bad.end() && *first < lba + bytes / 512) return writing ? kErrorIoDevice : kErrorCrc;
  if (!writing) return 0;
  if (open.disk->writeProtected) return kErrorWriteProtect;
  if (open.kind == OpenHandle::Kind::Disk && !MayWriteAt(*open.disk, lba, bytes / 512)) {
    return kErrorAccessDenied;
  }
  return 0;
}

bool VirtualDevices::MayWriteAt(const VirtualDisk& disk, std::uint64_t lba,
                                std::uint64_t count) const {
  if (!machine_.guardsMountedVolumes) return true;
  return std::none_of(machine_.volumes.begin(), machine_.volumes.end(), [&](const auto& volume) {
    return volume->disk == &disk && volume->present && volume->mounted &&
           volume->lockedBy == kNoHandle && volume->Covers(lba, count);
  });
}

bool VirtualDevices::ReadFile(Handle handle, std::uint8_t* data, std::uint32_t bytes,
                              std::uint32_t& transferred) noexcept {
  transferred = 0;
  OpenHandle* open = machine_.At(handle);
  const Step step = machine_.Begin(Op::Read, Name(handle));
  if (open == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
  machine_.journal[step.entry].lba = BaseOf(*open) + open->offset / 512;
  machine_.journal[step.entry].count = (bytes + 511) / 512;
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (data == nullptr && bytes != 0) return machine_.Fail(step, kErrorNoAccess);
  if (const std::uint32_t error = CheckTransfer(*open, bytes, false); error != 0) {
    return machine_.Fail(step, error);
  }
  if (!open->IsRaw()) {
    const VirtualFile* file = open->volume->Find(open->path);
    if (file == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
    const bool unbuffered = (open->flags & kFlagNoBuffering) != 0;
    const std::string text =
        open->volume->Read(*file, open->offset, step.Short() ? bytes / 2 : bytes, unbuffered);
    if (!text.empty() && data != nullptr) std::memcpy(data, text.data(), text.size());
    transferred = static_cast<std::uint32_t>(text.size());
  } else {
    const std::uint32_t sectors = bytes / 512 / (step.Short() ? 2 : 1);
    for (std::uint32_t i = 0; i < sectors; ++i) {
      const VirtualSector sector = open->disk->Sector(BaseOf(*open) + open->offset / 512 + i);
      std::memcpy(data + std::size_t{i} * 512, sector.data(), 512);
    }
    transferred = sectors * 512;
  }
  open->offset += transferred;
  return machine_.End(step, true);
}

bool VirtualDevices::WriteFile(Handle handle, const std::uint8_t* data, std::uint32_t bytes,
                               std::uint32_t& transferred) noexcept {
  transferred = 0;
  OpenHandle* open = machine_.At(handle);
  const Step step = machine_.Begin(Op::Write, Name(handle));
  if (open == nullptr) return machine_.Fail(step, kErrorInvalidHandle);
  const std::uint64_t lba = BaseOf(*open) + open->offset / 512;
  machine_.journal[step.entry].lba = lba;
  machine_.journal[step.entry].count = (bytes + 511) / 512;
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (data == nullptr && bytes != 0) return machine_.Fail(step, kErrorNoAccess);
  if (const std::uint32_t error = CheckTransfer(*open, bytes, true); error != 0) {
    return machine_.Fail(step, error);
  }
  const std::uint32_t sectors = bytes / 512 / (step.Short() || step.Torn() ? 2 : 1);
  for (std::uint32_t i = 0; i < sectors; ++i) {
    VirtualSector sector;
    std::memcpy(sector.data(), data + std::size_t{i} * 512, 512);
    if (!step.Lost()) open->disk->WriteThroughHandle(lba + i, sector);
  }
  if (step.Torn()) {
    VirtualSector half = open->disk->Sector(lba + sectors);
    std::memcpy(half.data(), data + std::size_t{sectors} * 512, 256);
    open->disk->WriteThroughHandle(lba + sectors, half);
  }
  transferred = sectors * 512;
  open->offset += transferred;
  return machine_.End(step, true);
}
