// Files of a volume that other programs hold open, and deletes that wait for them.
#include <algorithm>

#include "platform/virtual/volume.h"

void VirtualVolume::Hold(const std::string& path, const Holder& holder) {
  Find(path)->holders.push_back(holder);
  isHeld_ = true;
}

void VirtualVolume::Delete(const std::string& path) {
  VirtualFile* file = Find(path);
  if (file->holders.empty()) {
    Remove(path);
  } else {
    file->deletePending = true;
  }
}

void VirtualVolume::DropHolders(bool (*lets)(Holder&)) {
  isHeld_ = false;
  for (auto at = files_.begin(); at != files_.end();) {
    VirtualFile& file = at->second;
    std::erase_if(file.holders, lets);
    isHeld_ = isHeld_ || !file.holders.empty();
    at = file.deletePending && file.holders.empty() ? files_.erase(at) : std::next(at);
  }
}

void VirtualVolume::Tick() {
  if (isHeld_) {
    DropHolders([](Holder& holder) {
      if (holder.operations == 0) return false;
      --holder.operations;
      return holder.operations == 0;
    });
  }
}

void VirtualVolume::LetGo() {
  DropHolders([](Holder&) { return true; });
}

void VirtualVolume::ForgetHolders() {
  for (auto& [key, file] : files_) file.deletePending = false;
  LetGo();
}
