// The interpreter's copy command, with its rules for arguments, and the files that children touch.
#include <utility>

#include "platform/files.h"
#include "platform/virtual/processes.h"
#include "text/text.h"

namespace {

std::vector<std::string> SplitAtPlus(const std::string& argument) {
  std::vector<std::string> sources(1);
  for (const char c : argument) {
    if (c == '+') {
      sources.emplace_back();
    } else {
      sources.back() += c;
    }
  }
  return sources;
}

bool IsFolder(const VirtualFile& file) {
  return (file.attributes & kAttributeDirectory) != 0;
}

// The copy command skips hidden and system files.
bool IsCopied(const VirtualFile& file) {
  return (file.attributes & (kAttributeHidden | kAttributeSystem | kAttributeDirectory)) == 0;
}

}  // namespace

VirtualFile* VirtualProcesses::File(const std::string& path) {
  if (path.empty()) return nullptr;
  const SplitPath split = SplitAtVolume(path, machine_.currentFolder);
  VirtualVolume* volume = machine_.VolumeAt(split.letter);
  if (volume == nullptr || !machine_.Mount(*volume)) return nullptr;
  return volume->Find(split.rest);
}

VirtualFile* VirtualProcesses::Create(const std::string& path, const std::string& text) {
  const SplitPath split = SplitAtVolume(path, machine_.currentFolder);
  VirtualVolume* volume = machine_.VolumeAt(split.letter);
  if (volume == nullptr || !machine_.Mount(*volume) || volume->full) return nullptr;
  if (!volume->FolderExists(ParentOf(split.rest))) return nullptr;
  if (VirtualFile* old = volume->Find(split.rest); old != nullptr && IsFolder(*old)) return nullptr;
  VirtualFile& file = volume->AddText(split.rest, text);
  file.lastWriteTime = machine_.clock.FileTime();
  return &file;
}

void VirtualProcesses::NoteExecuted(const std::string& what) {
  JournalEntry entry;
  entry.op = Op::Executed;
  entry.subject = what;
  machine_.journal.Add(entry);
}

std::uint32_t VirtualProcesses::RunCopy(const std::string& arguments, Child& child) {
  bool overwrite = false;
  std::vector<std::string> paths;
  for (const std::string& argument : BuiltInArguments(arguments)) {
    if (!argument.starts_with("/")) {
      paths.push_back(argument);
    } else if (UpperCase(argument) == "/Y") {
      overwrite = true;
    }
  }
  if (paths.empty() || paths.size() > 2) return 1;  // "The syntax of the command is incorrect."
  const std::vector<std::string> sources = SplitAtPlus(paths[0]);
  std::string target = paths.size() == 2 ? paths[1] : machine_.currentFolder;
  const VirtualFile* old = File(target);
  if ((old != nullptr && IsFolder(*old)) || paths.size() == 1) {
    target += "\\" + NameOf(sources[0]);
    old = File(target);
  }
  const VirtualFile* source = File(sources[0]);
  if (source == nullptr || !IsCopied(*source) || source->deletePending) return 1;
  if (old == source) return 1;  // "The file cannot be copied onto itself."
  if (old != nullptr && !overwrite) {
    // It asks whether to overwrite: at the end of its input it leaves the file alone; at a keyboard
    // nobody answers.
    child.script.neverEnds = child.hasInput;
    return child.hasInput ? 0 : 1;
  }
  if (!CopyFiles(sources, target)) return 1;
  child.copy = target;
  child.copyBytes = File(target)->size;
  return 0;
}

std::uint64_t VirtualProcesses::Written(const Child& child) const {
  const std::uint64_t now = machine_.clock.Elapsed();
  if (now >= child.endsAt) return child.copyBytes;
  return child.copyBytes - child.copyBytes * (child.endsAt - now) / child.script.milliseconds;
}

void VirtualProcesses::GrowCopy(const Child& child) {
  if (child.script.countsBytes) return;
  if (VirtualFile* copy = File(child.copy); copy != nullptr) copy->size = Written(child);
}

bool VirtualProcesses::CopyFiles(const std::vector<std::string>& sources,
                                 const std::string& target) {
  const Step step = machine_.Begin(Op::ChildCopy, sources[0], "-> " + target);
  if (step.Refused()) return machine_.Fail(step, machine_.plan.error);
  const SplitPath to = SplitAtVolume(target, machine_.currentFolder);
  VirtualVolume* volume = machine_.VolumeAt(to.letter);
  if (volume == nullptr || !machine_.Mount(*volume) || !volume->FolderExists(ParentOf(to.rest))) {
    return machine_.Fail(step, kErrorPathNotFound);
  }
  const SplitPath from = SplitAtVolume(sources[0], machine_.currentFolder);
  VirtualVolume* origin = machine_.VolumeAt(from.letter);
  if (sources.size() == 1) {
    if (File(sources[0]) == nullptr) return machine_.Fail(step, kErrorFileNotFound);
    const VirtualFile original = *File(sources[0]);
    if (volume->Find(to.rest) != nullptr) volume->Remove(to.rest);
    if (step.Torn()) volume->placements.push_front({.keepBytes = original.size / 2});
    VirtualFile* copy = volume->CopyIn(to.rest, *origin, original, machine_.clock.FileTime());
    if (copy != nullptr && step.Lost()) volume->LoseContents(*copy);
    if (copy != nullptr && volume->scanner) volume->Hold(to.rest, *volume->scanner);
    return machine_.End(step, copy != nullptr, 112);  // ERROR_DISK_FULL
  }
  std::string joined;
  for (const std::string& source : sources) {
    const SplitPath place = SplitAtVolume(source, machine_.currentFolder);
    const VirtualFile* file = File(source);
    if (file == nullptr || !IsCopied(*file)) continue;
    joined += machine_.VolumeAt(place.letter)->Read(*file, 0, file->size);
  }
  Create(target, joined);
  return machine_.End(step, true);
}
