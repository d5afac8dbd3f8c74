#include "platform/virtual/volume.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/files.h"
#include "text/text.h"
#include "text/wide_text.h"

SplitPath SplitAtVolume(const std::string& path, const std::string& folder) {
  const bool hasLetter = path.size() >= 2 && path[1] == ':';
  const std::string whole = hasLetter ? path : folder + "\\" + path;
  SplitPath split{UpperCase(whole.substr(0, 1))[0], ""};
  if (whole.size() > kLongestPath && WideText(whole).size() > kLongestPath) split.letter = '\0';
  for (std::size_t at = 2; at < whole.size();) {
    const std::size_t end = std::min(whole.find_first_of("\\/", at), whole.size());
    const std::string part = whole.substr(at, end - at);
    at = end + 1;
    if (part == "..") {
      split.rest = ParentOf(split.rest);
    } else if (!part.empty() && part != ".") {
      split.rest += "\\" + part;
    }
  }
  return split;
}

std::string ParentOf(const std::string& path) {
  return path.substr(0, path.rfind('\\'));
}
std::string NameOf(const std::string& path) {
  return path.substr(path.rfind('\\') + 1);
}

bool VirtualVolume::Covers(std::uint64_t lba, std::uint64_t count) const {
  return lba < firstSector + sectors && firstSector < lba + count;
}

VirtualFile& VirtualVolume::Insert(VirtualFile file) {
  if (WideText(NameOf(file.path)).size() > kLongestName) throw std::logic_error("name too long");
  const std::string parent = ParentOf(file.path);
  if (!FolderExists(parent)) AddFolder(parent);
  const std::string key = UpperCase(file.path);
  return files_[key] = std::move(file);
}

VirtualFile& VirtualVolume::AddFile(const std::string& path, std::uint64_t size, std::uint64_t lba,
                                    const std::string& firstBytes) {
  VirtualFile& file = AddPieces(path, size, {{0, lba, (size + 511) / 512}});
  for (std::size_t at = 0; at < firstBytes.size(); at += 512) {
    disk->Put(lba + at / 512, 0, firstBytes.substr(at, 512));
  }
  return file;
}

VirtualFile& VirtualVolume::AddPieces(const std::string& path, std::uint64_t size,
                                      std::vector<Extent> extents) {
  for (const Extent& piece : extents) {
    if (!IsFree(piece.lba, piece.sectors)) throw std::logic_error("place is taken: " + path);
  }
  return Insert({.path = path, .size = size, .extents = std::move(extents)});
}

VirtualFile& VirtualVolume::AddText(const std::string& path, const std::string& text) {
  return Insert({.path = path, .size = text.size(), .resident = text});
}

VirtualFile& VirtualVolume::AddFolder(const std::string& path, std::uint32_t attributes) {
  return Insert({.path = path, .attributes = attributes | kAttributeDirectory});
}

VirtualFile* VirtualVolume::Find(const std::string& path) {
  const auto found = files_.find(UpperCase(path));
  return found == files_.end() ? nullptr : &found->second;
}

bool VirtualVolume::FolderExists(const std::string& path) {
  if (path.empty()) return true;
  const VirtualFile* folder = Find(path);
  return folder != nullptr && (folder->attributes & kAttributeDirectory) != 0;
}

std::vector<VirtualFile*> VirtualVolume::List(const std::string& folder) {
  const std::string prefix = UpperCase(folder) + "\\";
  std::vector<VirtualFile*> inside;
  for (auto at = files_.lower_bound(prefix); at != files_.end(); ++at) {
    if (!at->first.starts_with(prefix)) break;
    if (at->first.find('\\', prefix.size()) == std::string::npos) inside.push_back(&at->second);
  }
  return inside;
}

void VirtualVolume::Remove(const std::string& path) {
  files_.erase(UpperCase(path));
}

void VirtualVolume::Move(const std::string& from, const std::string& to) {
  const std::string self = UpperCase(from);
  std::vector<VirtualFile> moved;
  for (auto at = files_.begin(); at != files_.end();) {
    if (at->first == self || at->first.starts_with(self + "\\")) {
      moved.push_back(std::move(at->second));
      at = files_.erase(at);
    } else {
      ++at;
    }
  }
  for (VirtualFile& file : moved) {
    file.path = to + file.path.substr(from.size());
    Insert(std::move(file));
  }
}

std::string VirtualVolume::Read(const VirtualFile& file, std::uint64_t offset, std::uint64_t bytes,
                                bool pastCache) const {
  if (offset >= file.size) return "";
  bytes = std::min(bytes, file.size - offset);
  if (file.extents.empty()) {
    return offset < file.resident.size() ? file.resident.substr(offset, bytes) : "";
  }
  std::string text;
  text.reserve(bytes);
  while (text.size() < bytes) {
    const std::uint64_t at = offset + text.size();
    const auto piece = std::find_if(file.extents.begin(), file.extents.end(), [&](const Extent& e) {
      return at >= e.fileOffset && at < e.fileOffset + e.sectors * 512;
    });
    if (piece == file.extents.end()) throw std::logic_error("file with a hole: " + file.path);
    const auto cached = pastCache ? file.cached.end() : file.cached.find(at / 512);
    const VirtualSector sector = cached != file.cached.end()
                                     ? cached->second
                                     : disk->Sector(piece->lba + (at - piece->fileOffset) / 512);
    const std::size_t within = (at - piece->fileOffset) % 512;
    const std::size_t take = std::min<std::size_t>(512 - within, bytes - text.size());
    text.append(reinterpret_cast<const char*>(sector.data()) + within, take);
  }
  return text;
}

bool VirtualVolume::IsFree(std::uint64_t lba, std::uint64_t count) const {
  if (lba < firstSector || lba + count > firstSector + sectors) return false;
  for (const auto& [key, file] : files_) {
    for (const Extent& piece : file.extents) {
      if (lba < piece.lba + piece.sectors && piece.lba < lba + count) return false;
    }
  }
  return true;
}
