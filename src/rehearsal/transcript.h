// What an action on the PC in memory brought about, in words: boxes, sectors written, what differs
// on disks and volumes, what the window shows anew.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "rehearsal/world_commands.h"

namespace rehearsal {

// "  [!] Title", its text, and for a question its buttons with the one that was pressed.
std::string BoxText(const Box& box, Answer answer);
std::string InputText(const ShownInput& input);

// A moment of the PC, to be compared with a later one.
class Snapshot {
 public:
  explicit Snapshot(World& world);
  // What is different now, a line each.
  std::string Differences(World& world) const;

 private:
  struct File {
    std::uint64_t lba, size;
    bool operator==(const File&) const = default;
  };
  using Files = std::map<std::string, File>;
  static Files FilesOf(VirtualVolume& volume);
  static std::vector<std::string> WindowOf(World& world);
  static std::vector<std::string> DesktopOf(World& world);  // other programs' windows
  static std::string NewIn(const std::vector<std::string>& now,
                           const std::vector<std::string>& before);
  static void AddFiles(VirtualVolume& volume, const std::string& folder, Files& files);

  std::map<const VirtualDisk*, std::map<std::uint64_t, VirtualSector>> disks_;
  std::map<const VirtualVolume*, Files> files_;
  std::vector<std::string> window_, desktop_;
};

// "wrote to drive 1: 60 30 0!": the sectors that were written since the journal was cleared, in
// order, failed ones with a "!"; "" for none.
std::string WritesIn(const Journal& journal);

}  // namespace rehearsal
