#include "rehearsal/transcript.h"

#include <algorithm>
#include <cstdio>

#include "rehearsal/user_controls.h"

namespace rehearsal {
namespace {

constexpr std::size_t kSignature = 440, kEntries = 446, kEntryBytes = 16, kEnding = 510;

std::string Quoted(const std::string& text) {
  std::string lines;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find("\r\n", at), text.size());
    lines += (end == at ? "    |" : "    | ") + text.substr(at, end - at) + "\n";
    at = end + 2;
  }
  return lines;
}

const char* NameOf(Answer answer) {
  for (const NamedAnswer& known : kAnswers) {
    if (known.answer == answer) return known.name;
  }
  return "?";
}

std::string Hexadecimal(const VirtualSector& sector, std::size_t at, std::size_t count) {
  std::string text;
  for (std::size_t i = at; i < at + count; ++i) {
    char byte[4];
    std::snprintf(byte, sizeof byte, " %02X", sector[i]);
    text += byte;
  }
  return text;
}

std::string EntryText(const VirtualSector& table, std::size_t entry) {
  const std::size_t at = kEntries + kEntryBytes * entry;
  const auto number = [&](std::size_t offset) {
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;) value = value << 8 | table[at + offset + i];
    return value;
  };
  char text[120];
  std::snprintf(text, sizeof text, "entry %zu:%s type %02X, %u sectors from %u  (%s )", entry + 1,
                table[at] == 0x80 ? " active," : "", table[at + 4], number(12), number(8),
                Hexadecimal(table, at, kEntryBytes).c_str());
  return text;
}

// The bytes from one offset on that differ, in runs; a run ends where four in a row are equal.
std::string BytesThatDiffer(const VirtualSector& old, const VirtualSector& now, std::size_t from,
                            std::size_t to, const std::string& name) {
  std::string lines;
  for (std::size_t at = from; at < to; ++at) {
    if (old[at] == now[at]) continue;
    std::size_t end = at + 1;
    for (std::size_t i = end; i < std::min(end + 4, to); ++i) {
      if (old[i] != now[i]) end = i + 1;
    }
    lines += name + " at " + std::to_string(at) + ":" + Hexadecimal(now, at, end - at) + "\n";
    at = end;
  }
  return lines;
}

// LBA 0 entry by entry, another sector by what it is a copy of, or its bytes.
std::string SectorText(const std::map<std::uint64_t, VirtualSector>& before, std::uint64_t lba,
                       const VirtualSector& now, const std::string& drive) {
  const auto held = before.find(lba);
  const VirtualSector old = held == before.end() ? VirtualSector{} : held->second;
  if (old == now) return "";
  const std::string name = "  sector " + std::to_string(lba) + drive;
  if (now == VirtualSector{}) return name + ": blank\n";
  for (const auto& [other, data] : before) {
    if (other != lba && data == now)
      return name + ": what sector " + std::to_string(other) + " held\n";
  }
  if (lba != 0) return BytesThatDiffer(old, now, 0, now.size(), name);
  std::string lines = BytesThatDiffer(old, now, 0, kSignature, name) +
                      BytesThatDiffer(old, now, kSignature, kEntries, name);
  for (std::size_t entry = 0; entry < 4; ++entry) {
    const auto at = kEntries + kEntryBytes * entry;
    if (!std::equal(old.begin() + at, old.begin() + at + kEntryBytes, now.begin() + at)) {
      lines += name + " " + EntryText(now, entry) + "\n";
    }
  }
  return lines + BytesThatDiffer(old, now, kEnding, now.size(), name);
}

constexpr std::pair<Control, const char*> kShown[] = {
    {Control::Combo1, "drives"},         {Control::List1, "images"},
    {Control::cmdRestoreTSD, "restore"}, {Control::cmdSwitchPtns, "swap"},
    {Control::chkShowAll, "all drives"}, {Control::Chk_ISO, "iso folder"},
    {Control::cmd_rebootPE, "reboot"}};

}  // namespace

std::string BoxText(const Box& box, Answer answer) {
  static constexpr const char* kIcons[] = {"", "[stop] ", "[!] ", "[i] "};
  std::string text = "  " + std::string(kIcons[static_cast<std::size_t>(box.icon)]) + box.title +
                     "\n" + Quoted(box.text);
  if (box.buttons == Buttons::Ok) return text;
  const char* buttons = box.buttons == Buttons::OkCancel ? "ok, cancel" : "yes, no, cancel";
  return text + "    (" + buttons + ") " + NameOf(answer) + "\n";
}

std::string InputText(const ShownInput& input) {
  return "  [?] " + input.title + "\n" + Quoted(input.prompt) + "    (" + input.initial + ") " +
         input.answer + "\n";
}

std::string WritesIn(const Journal& journal) {
  std::string text, drive;
  for (const JournalEntry& entry : journal.Only(MaskOf(Op::Write))) {
    if (entry.subject != drive) {
      drive = entry.subject;
      text += (text.empty() ? "  wrote to " : "\n  wrote to ") + drive + ":";
    }
    text += " " + std::to_string(entry.lba) + (entry.ok ? "" : "!");
  }
  return text.empty() ? text : text + "\n";
}

void Snapshot::AddFiles(VirtualVolume& volume, const std::string& folder, Files& files) {
  for (const VirtualFile* file : volume.List(folder)) {
    if ((file->attributes & kAttributeDirectory) != 0) {
      AddFiles(volume, file->path, files);
    } else {
      files[file->path] = {file->extents.empty() ? 0 : file->extents[0].lba, file->size};
    }
  }
}

Snapshot::Files Snapshot::FilesOf(VirtualVolume& volume) {
  Files files;
  AddFiles(volume, "", files);
  return files;
}

std::vector<std::string> Snapshot::WindowOf(World& world) {
  std::vector<std::string> lines;
  if (world.pc.toolkit.design == nullptr) return lines;
  for (const auto& [control, name] : kShown) {
    const auto& state = world.pc.toolkit.At(control);
    std::string line = std::string("  ") + name + ":";
    if (control == Control::Combo1 || control == Control::List1) {
      int row = 0;
      for (const std::string& text : state.rows) {
        line += (row++ == state.selected ? "\n    > " : "\n      ") + text;
      }
      if (state.rows.empty()) line += " none";
    } else if (control == Control::chkShowAll || control == Control::Chk_ISO) {
      line += state.ticked ? " ticked" : " not ticked";
    } else {
      line += !state.visible ? " not shown" : state.enabled ? " on" : " off";
    }
    lines.push_back(line + "\n");
  }
  return lines;
}

std::vector<std::string> Snapshot::DesktopOf(World& world) {
  std::vector<std::string> lines;
  const VirtualDesktop& desktop = world.pc.desktop;
  lines.reserve(desktop.windows.size());
  for (const VirtualWindow& window : desktop.windows) {
    lines.push_back("  window " + window.title + ":" + (window.minimised ? " minimised" : "") +
                    (window.title == desktop.inFront ? " in front" : "") +
                    (window.asked ? " asked to close" : "") + "\n");
  }
  return lines;
}

std::string Snapshot::NewIn(const std::vector<std::string>& now,
                            const std::vector<std::string>& before) {
  std::string text;
  for (std::size_t i = 0; i < now.size(); ++i) {
    if (i >= before.size() || before[i] != now[i]) text += now[i];
  }
  return text;
}

Snapshot::Snapshot(World& world) : window_(WindowOf(world)), desktop_(DesktopOf(world)) {
  for (const auto& disk : world.pc.machine.disks) disks_[disk.get()] = disk->Contents();
  for (const auto& volume : world.pc.machine.volumes) files_[volume.get()] = FilesOf(*volume);
}

std::string Snapshot::Differences(World& world) const {
  std::string text;
  for (const auto& disk : world.pc.machine.disks) {
    const auto& before = disks_.at(disk.get());
    const std::string drive =
        disk.get() == &world.demo.stick ? "" : " of drive " + std::to_string(disk->number);
    std::map<std::uint64_t, VirtualSector> all = before;
    all.insert(disk->Contents().begin(), disk->Contents().end());
    for (const auto& [lba, data] : all) {
      text += SectorText(before, lba, disk->Sector(lba), drive);
    }
  }
  for (const auto& volume : world.pc.machine.volumes) {
    const Files now = FilesOf(*volume);
    const Files& before = files_.at(volume.get());
    for (const auto& [path, file] : before) {
      if (!now.contains(path)) text += "  " + volume->Name() + path + ": gone\n";
    }
    for (const auto& [path, file] : now) {
      const auto old = before.find(path);
      if (old != before.end() && old->second == file) continue;
      text += "  " + volume->Name() + path + (old == before.end() ? ": new, " : ": now ") +
              std::to_string(file.size) + " bytes from sector " + std::to_string(file.lba) + "\n";
    }
  }
  return text + NewIn(WindowOf(world), window_) + NewIn(DesktopOf(world), desktop_);
}

}  // namespace rehearsal
