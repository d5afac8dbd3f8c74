// What no failed operation, power cut or hostile name may break. Numbered; a test names the ones
// it defends, and a breach begins with its number.
//
//   1 Only the chosen disk is written, and of it only LBA 0, 30, 60 and the first sector of the
//     image as it lies at the end of the run. (What the file system writes for a copy, a delete or
//     a rename is its own matter: invariant 4.)
//   2 Sector 0 is the old or a new one, whole. A new one is what the rules make of the old one with
//     the companion and the fourth file found or not, each with its own type or the one answered.
//   3 While sector 0 isn't the unswitched one, LBA 30 or LBA 60 holds the unswitched one whole.
//     (Not for a swap, which undoes itself.)
//   4 Every file is there with its contents. Only where power was cut between the delete and the
//     rename of a repair, or no rename works any more, one may stand under its temporary name.
//   5 No handle and no lock is left, but for the temp copy of the extents tool and, where the
//     boot record could not be worked on, the disk handle that the next open closes.
//   6 Nothing ran but the extents tool and the copy command.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/virtual/demo_world.h"
#include "tests/oracle.h"

using Breaches = std::vector<std::string>;

// One action on a demo stick.
struct Act {
  enum class Kind { Switch, Restore, Swap };
  const char* name;
  Kind kind;
  void (*prepare)(VirtualPc& pc, demo::World& world);
  UserAction action;
  const char* image = nullptr;  // of a switch, from the root of E:
};
extern const std::vector<Act> kActs;
void PrintTo(const Act& act, std::ostream* out);

// The program, started, on a stick that the act is prepared on.
class Stage {
 public:
  explicit Stage(const Act& act);

  RunEnd Start();    // also after a Reboot
  RunEnd Perform();  // the act; questions get their default answer
  // Refreshes, selects the stick and performs the act, or its way back where the act is done.
  // Then sector 0 must have changed as it should: gives what is wrong.
  std::string PerformAgain();
  // Gives files that stand under their temporary names only their names back, as a person would.
  void RenameByHand();

  [[nodiscard]] Breaches OnDisk(bool nameless);                             // invariants 1 to 4
  [[nodiscard]] Breaches Everything(RunEnd end, bool renamesFail = false);  // 1 to 6
  [[nodiscard]] bool SectorIs(std::uint64_t lba, const VirtualSector& data) const;

  VirtualPc pc;
  demo::World world;
  VirtualSector unswitched;  // the table to go back to
  VirtualSector before;      // sector 0 when the act began
  std::vector<VirtualSector> NewTables();

 private:
  using Contents = std::map<std::uint64_t, VirtualSector>;
  struct Kept {
    std::uint64_t size;
    Contents sectors;
    std::string resident;
    bool operator==(const Kept&) const = default;
  };
  Kept Look(VirtualVolume& volume, const VirtualFile& file) const;
  void Remember(VirtualVolume& volume, const std::string& folder);
  void ShowImageVolume();  // the volume in the image, wherever entry 1 says that it lies
  void CheckWrites(Breaches& breaches) const;
  void CheckFiles(Breaches& breaches, bool nameless);

  const Act& act_;
  std::map<VirtualVolume*, std::map<std::string, Kept>> files_;
  Contents systemDisk_;
};
