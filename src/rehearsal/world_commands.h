// Commands that change the PC in memory on which the program is rehearsed. What stands in [ ] may
// be left out; sectors and sizes are decimal, bytes and types hexadecimal.
//
//   second-stick                       a second stick, disk 2 with G: and H: (demo_world.h)
//   switched 30|60|file|nowhere        E: is Rescue.volPAK, and where the old table is saved
//   letters                            the letters follow the partition tables
//   exchange                           both sticks change numbers and letters
//   pc temp-path|system-folder|current-folder PATH, pc long-path SHORT LONG
//   pc version MAJOR MINOR             of Windows
//   first-start stays|MS               the program runs already, and ends then
//   window TITLE [form|box|popup] [hidden] [minimised] [hangs] [owned] [stays] [from MS]
//                                      form, box: of the first start; popup: of the window before
//   next-copy cut BYTES|dated TIME     the next copy isn't whole, or has another time
//   tool FILE|all "TEXT"               what the extents tool prints instead of the truth
//   copies LBA[:PIECES]...             where the next copies come to lie
//   fault refused|thrown|lost OP [NTH [TIMES [NUMBER]]]     OP as the journal names it
//   fault none
//   more-letters N                     drives with a letter and no volume
//   first-only                         of a removable disk only the first partition has a letter
//
// Disks. "second" or "system" in front means that disk; otherwise it is the stick.
//
//   unreadable|unwritable|forgetful [LBA...]     from now on these sectors, and no others
//   copy FROM TO                       one sector
//   patch LBA OFFSET BYTE [BYTE...]    bytes of a sector
//   number LBA OFFSET NUMBER           4 bytes, little-endian
//   text LBA OFFSET "TEXT"             characters
//   fill LBA BYTE                      a whole sector
//   record LBA ntfs|fat32|other|mbr    a boot record; mbr: boot code and 55 AA, no entries
//   entry LBA N TYPE START SECTORS [active]      entry 1 to 4 of a table
//   is FACT VALUE                      number, bytes, bus (usb, sata), and yes or no: removable,
//                                      answers-inquiry, answers-length, refuses-open
//   plug, unplug
//
// Volumes and files.
//
//   volume LETTER START SECTORS        one more volume, whatever the table says
//   volume LETTER gone|busy|full|on-disk|letter X|label "TEXT"
//   file PATH ["TEXT"], folder PATH, remove PATH, rename FROM TO
//   image PATH LBA SECTORS ntfs|fat32|other      a file in one piece with such a boot record
//   attributes PATH [hidden] [system] [read-only] [folder]      these and no others
//   save PATH BYTES LBA                a sector in a file of so many bytes
//   size PATH BYTES                    what the file system says
//   pieces PATH LBA SECTORS...         where a file lies, piece by piece
//   duplicate FROM TO LBA              the same contents, length and time
//   hold PATH [OPERATIONS]             another program has it open, and shares all
//   pin PATH                           ... and shares reading and writing only
//   lock PATH                          ... and shares nothing
//   let-go
//
// Quotation marks hold words with blanks together; {crlf} stands for a line break.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/virtual/demo_world.h"

namespace rehearsal {

struct World {
  VirtualPc pc;
  demo::World demo = demo::Make(pc);
  std::optional<demo::SecondStick> second = std::nullopt;
};

using Words = std::vector<std::string>;
Words SplitWords(const std::string& line);

// False: there is no such command. Throws a std::exception for arguments that don't fit.
bool ChangeWorld(World& world, const Words& words);

// The operations whose names in the journal are given; throws std::invalid_argument for others.
OpMask OpsNamed(const Words& names);

}  // namespace rehearsal
