#include "platform/virtual/files.h"

#include <algorithm>
#include <cstring>

#include "platform/virtual/code_page.h"
#include "platform/virtual/wildcard.h"
#include "text/text.h"

namespace {
constexpr std::uint32_t kDeleteAccess = 0x10000;  // DELETE; nobody here shares it
}  // namespace

VirtualFiles::Place VirtualFiles::Look(const std::string& path) {
  const SplitPath split = SplitAtVolume(path, machine_.currentFolder);
  Place place;
  if (path.empty()) return place;
  place.path = split.rest;
  place.volume = machine_.VolumeAt(split.letter);
  if (place.volume == nullptr) return place;
  if (!machine_.Mount(*place.volume) || place.volume->fileSystem.empty()) {
    place.locked = true;
    place.volume = nullptr;
    return place;
  }
  place.file = place.volume->Find(split.rest);
  return place;
}

Step VirtualFiles::BeginStatement(Op op, const std::string& path, const std::string& detail) {
  return machine_.BeginStatement(op, path, detail, kPermissionDenied);
}

VirtualFiles::Place VirtualFiles::Require(const Step& step, const std::string& path) {
  Place place = Look(path);
  if (place.locked) machine_.FailStatement(step, kPathFileAccessError);
  if (place.volume == nullptr) machine_.FailStatement(step, kPathNotFound);
  if (place.file == nullptr) {
    const bool folder = place.volume->FolderExists(ParentOf(place.path));
    machine_.FailStatement(step, folder ? kFileNotFound : kPathNotFound);
  }
  if (place.file->deletePending) machine_.FailStatement(step, kPathFileAccessError);
  return place;
}

bool VirtualFiles::Collides(const Place& place, std::uint32_t access) const {
  if (place.file == nullptr) return false;
  if (place.file->heldOpen) return true;
  const std::uint32_t wanted = access == kDeleteAccess ? kDeleteAccess : access >> 30;
  // Sharing has read as bit 0, write as bit 1, delete as bit 2.
  const std::uint32_t needed = access == kDeleteAccess ? 4 : (wanted >> 1 & 1) | (wanted & 1) << 1;
  for (const Holder& holder : place.file->holders) {
    if ((needed & ~holder.share) != 0) return true;
  }
  return std::any_of(machine_.handles.begin(), machine_.handles.end(), [&](const auto& held) {
    const OpenHandle& open = held.second;
    if (open.kind != OpenHandle::Kind::File || open.volume != place.volume ||
        UpperCase(open.path) != UpperCase(place.path) || (open.access & kGenericReadWrite) == 0) {
      return false;
    }
    // Access has read as bit 1 and write as bit 0; sharing has them the other way around.
    const std::uint32_t shared = (open.share & 1) << 1 | (open.share >> 1 & 1);
    return wanted == kDeleteAccess || (wanted & ~shared) != 0;
  });
}

void VirtualFiles::Fill(FindData& found, VirtualVolume& volume, const std::string& folder,
                        const std::string& name) {
  found = {};
  found.name = name;
  const VirtualFile* file = volume.Find(folder + "\\" + name);
  found.attributes = file != nullptr ? file->attributes : kAttributeDirectory;  // "." and ".."
  if (file == nullptr) return;
  found.name = NameOf(file->path);
  found.size = file->size;
  found.lastWriteTime = file->lastWriteTime;
}

Handle VirtualFiles::FindFirstFile(const std::string& pattern, FindData& found) noexcept {
  found = {};
  const Step step = machine_.Begin(Op::Find, pattern);
  const Place place = Look(pattern);
  std::uint32_t error = step.Refused() ? machine_.plan.error : 0;
  if (error == 0 && place.locked) error = kErrorAccessDenied;
  const std::string folder = ParentOf(place.path);
  const std::string mask = NameOf(place.path);
  if (error == 0 && (place.volume == nullptr || !place.volume->FolderExists(folder))) {
    error = kErrorPathNotFound;
  }
  if (error == 0 && (mask.empty() || pattern.back() == '\\')) error = kErrorFileNotFound;
  OpenHandle search;
  if (error == 0) {
    if (!folder.empty()) {
      for (const char* dots : {".", ".."}) {
        if (WildcardMatches(mask, dots)) search.rest.push_back(dots);
      }
    }
    for (const VirtualFile* file : place.volume->List(folder)) {
      const std::string name = NameOf(file->path);
      if (WildcardMatches(mask, name)) search.rest.push_back(name);
    }
    if (search.rest.empty()) error = kErrorFileNotFound;
  }
  if (!machine_.End(step, error == 0, error) || place.volume == nullptr) return kInvalidHandle;
  search.kind = OpenHandle::Kind::Search;
  search.name = pattern;
  search.volume = place.volume;
  search.path = folder;
  Fill(found, *place.volume, folder, search.rest.front());
  search.rest.erase(search.rest.begin());
  return machine_.Add(std::move(search));
}

bool VirtualFiles::FindNextFile(Handle handle, FindData& found) noexcept {
  OpenHandle* search = machine_.At(handle);
  const Step step = machine_.Begin(Op::FindNext, search != nullptr ? search->name : "?");
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  if (search == nullptr || search->kind != OpenHandle::Kind::Search) {
    return machine_.Fail(step, kErrorInvalidHandle);
  }
  if (search->rest.empty()) return machine_.Fail(step, kErrorNoMoreFiles);
  Fill(found, *search->volume, search->path, search->rest.front());
  search->rest.erase(search->rest.begin());
  return machine_.End(step, true);
}

bool VirtualFiles::FindClose(Handle handle) noexcept {
  const OpenHandle* search = machine_.At(handle);
  const bool isSearch = search != nullptr && search->kind == OpenHandle::Kind::Search;
  const Step step = machine_.Begin(Op::FindClose, isSearch ? search->name : "?");
  if (isSearch) machine_.Close(handle);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  return machine_.End(step, isSearch, kErrorInvalidHandle);
}

std::uint32_t VirtualFiles::GetFileAttributes(const std::string& path) noexcept {
  const Step step = machine_.Begin(Op::Attributes, path);
  const Place place = Look(path);
  const bool isRoot = place.volume != nullptr && place.path.empty();
  std::uint32_t error = 0;
  if (step.Refused()) {
    error = machine_.plan.error;
  } else if (place.locked) {
    error = kErrorAccessDenied;
  } else if (!isRoot && place.file == nullptr) {
    error = kErrorFileNotFound;
  } else if (!isRoot && place.file->deletePending) {
    error = kErrorAccessDenied;
  }
  if (!machine_.End(step, error == 0, error)) return kInvalidAttributes;
  return place.file == nullptr ? kAttributeDirectory : place.file->attributes;
}

void VirtualFiles::FileCopy(const std::string& from, const std::string& to) {
  const Step step = BeginStatement(Op::Copy, from, "-> " + to);
  const Place source = Require(step, from);
  const Place target = Look(to);
  if (target.locked) machine_.FailStatement(step, kPathFileAccessError);
  if (target.volume == nullptr || !target.volume->FolderExists(ParentOf(target.path))) {
    machine_.FailStatement(step, kPathNotFound);
  }
  const bool folder =
      ((source.file->attributes | (target.file != nullptr ? target.file->attributes : 0)) &
       kAttributeDirectory) != 0;
  if (folder) machine_.FailStatement(step, kPathFileAccessError);
  if (Collides(source, kGenericRead) || Collides(target, kDeleteAccess)) {
    machine_.FailStatement(step, kPermissionDenied);
  }
  VirtualFile original = *source.file;
  original.attributes &= ~kAttributeReadOnly;
  if (target.file != nullptr) target.volume->Remove(target.path);
  if (step.Torn()) target.volume->placements.push_front({.keepBytes = original.size / 2});
  const VirtualFile* copy =
      target.volume->CopyIn(target.path, *source.volume, original, machine_.clock.FileTime());
  if (copy == nullptr || (copy->size != original.size && !step.Torn())) {
    target.volume->Remove(target.path);
    machine_.FailStatement(step, kDiskFull);
  }
  machine_.End(step, true);
}

void VirtualFiles::FileDelete(const std::string& path) {
  const Step step = BeginStatement(Op::Delete, path);
  const Place place = Require(step, path);
  if ((place.file->attributes & (kAttributeDirectory | kAttributeReadOnly)) != 0) {
    machine_.FailStatement(step, kPathFileAccessError);
  }
  if (Collides(place, kDeleteAccess)) machine_.FailStatement(step, kPermissionDenied);
  place.volume->Delete(place.path);
  machine_.End(step, true);
}

void VirtualFiles::FileRename(const std::string& from, const std::string& to) {
  const Step step = BeginStatement(Op::Rename, from, "-> " + to);
  const Place source = Require(step, from);
  const Place target = Look(to);
  if (target.volume == nullptr || !target.volume->FolderExists(ParentOf(target.path))) {
    machine_.FailStatement(step, kPathNotFound);
  }
  if (target.file != nullptr && target.file != source.file) {
    machine_.FailStatement(step, kFileAlreadyExists);
  }
  if (source.volume != target.volume) machine_.FailStatement(step, kPathFileAccessError);
  if (Collides(source, kDeleteAccess)) machine_.FailStatement(step, kPermissionDenied);
  source.volume->Move(source.path, target.path);
  machine_.End(step, true);
}

void VirtualFiles::MakeFolder(const std::string& path) {
  const Step step = BeginStatement(Op::MakeFolder, path);
  const Place place = Look(path);
  if (place.volume == nullptr || !place.volume->FolderExists(ParentOf(place.path))) {
    machine_.FailStatement(step, kPathNotFound);
  }
  if (place.file != nullptr || place.path.empty()) {
    machine_.FailStatement(step, kPathFileAccessError);
  }
  place.volume->AddFolder(place.path);
  machine_.End(step, true);
}

std::string VirtualFiles::ReadTextFile(const std::string& path) {
  const Step step = BeginStatement(Op::ReadText, path);
  const Place place = Require(step, path);
  if ((place.file->attributes & kAttributeDirectory) != 0) {
    machine_.FailStatement(step, kPathFileAccessError);
  }
  if (Collides(place, kGenericRead)) machine_.FailStatement(step, kPermissionDenied);
  const std::string text = place.volume->Read(*place.file, 0, place.file->size);
  machine_.End(step, true);
  return text;
}

std::size_t VirtualFiles::ReadBinaryFile(const std::string& path, std::uint8_t* data,
                                         std::size_t bytes) {
  const Step step = BeginStatement(Op::ReadBinary, path);
  const Place place = Require(step, path);
  if ((place.file->attributes & kAttributeDirectory) != 0) {
    machine_.FailStatement(step, kPathFileAccessError);
  }
  if (Collides(place, kGenericRead)) machine_.FailStatement(step, kPermissionDenied);
  const std::string content = place.volume->Read(*place.file, 0, bytes);
  std::memcpy(data, content.data(), content.size());
  machine_.End(step, true);
  return content.size();
}

void VirtualFiles::AppendLine(const std::string& path, const std::string& line) {
  const Step step = BeginStatement(Op::Append, path);
  Place place = Look(path);
  if (place.volume == nullptr || !place.volume->FolderExists(ParentOf(place.path))) {
    machine_.FailStatement(step, place.locked ? kPathFileAccessError : kPathNotFound);
  }
  if (place.file == nullptr) place.file = &place.volume->AddText(place.path, "");
  if ((place.file->attributes & kAttributeDirectory) != 0) {
    machine_.FailStatement(step, kPathFileAccessError);
  }
  if (Collides(place, kGenericReadWrite)) machine_.FailStatement(step, kPermissionDenied);
  if (place.volume->full) machine_.FailStatement(step, kDiskFull);
  if (!place.file->extents.empty()) {
    place.file->resident = place.volume->Read(*place.file, 0, place.file->size);
    place.file->extents.clear();
  }
  place.file->resident += ToCodePage(line) + "\r\n";
  place.file->size = place.file->resident.size();
  place.file->lastWriteTime = machine_.clock.FileTime();
  machine_.End(step, true);
}
