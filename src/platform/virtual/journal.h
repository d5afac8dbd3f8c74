// What was asked of the virtual PC, in order, one entry per operation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

enum class Op : std::uint8_t {
  Open,
  Seek,
  Read,
  Write,
  LockRange,
  UnlockRange,
  Flush,
  FileSize,
  Close,  // handles
  Lock,
  Unlock,
  Dismount,
  RenewTable,
  Query,  // control codes
  Find,
  FindNext,
  FindClose,
  Attributes,  // searches
  Copy,
  Delete,
  Rename,
  MakeFolder,
  ReadText,
  ReadBinary,
  Append,  // file statements
  Shell,
  OpenProcess,
  CreateMutex,
  Wait,
  ExitCode,
  EndChild,
  ShellExecute,
  EndProcess,  // processes
  ChildCopy,
  ChildTool,
  Executed,  // done by a child; Executed: a command that nobody asked for
  Fact,
  Desktop,
  Post,
  Sleep,
  PointerChange,
  Events,  // pending events run
  Count
};

const char* NameOf(Op op);  // "renew-table"; also the first word of a journal line

using OpMask = std::uint64_t;

constexpr OpMask MaskOf(Op op) {
  return OpMask{1} << static_cast<unsigned>(op);
}

template <class... Ops>
constexpr OpMask MaskOf(Op first, Ops... rest) {
  return MaskOf(first) | (MaskOf(rest) | ...);
}

constexpr OpMask kAnyOp = MaskOf(Op::Count) - 1;

// Statements: what can throw a Fault. All others report by their result.
constexpr OpMask kStatementOps = MaskOf(Op::Copy, Op::Delete, Op::Rename, Op::MakeFolder,
                                        Op::ReadText, Op::ReadBinary, Op::Append, Op::Shell);

// Everything that changes what a power cut leaves behind.
constexpr OpMask kChangingOps =
    MaskOf(Op::Write, Op::Copy, Op::Delete, Op::Rename, Op::MakeFolder, Op::Append, Op::ChildCopy);

struct JournalEntry {
  Op op = Op::Count;
  std::string subject;      // "PhysicalDrive1", "E:", a path, a command line
  std::string detail;       // a second path, the name of a control code, access and sharing
  std::uint64_t lba = 0;    // reads and writes: sector of the disk (of the file for a file)
  std::uint64_t count = 0;  // reads and writes: sectors asked for
  std::uint32_t code = 0;   // control code
  bool ok = false;
  std::uint32_t error = 0;  // of a failed one: Windows error or fault number

  // "write PhysicalDrive1 lba=60 n=1 ok", "lock E: failed".
  std::string Text() const;
};

// Leaves the program at a power cut. Neither a Fault nor a std::exception, so that nothing in the
// program can catch it.
struct PowerCut {};

class Journal {
 public:
  // Returns the new entry's index; it reads as failed until ok is set. Throws as NeedsPower does.
  std::size_t Add(JournalEntry entry);
  // An index out of range stands for an entry that nobody reads.
  JournalEntry& operator[](std::size_t index) {
    return index < entries_.size() ? entries_[index] : nobodys_;
  }

  bool HasPower() const { return hasPower_; }
  void SetPower(bool on) { hasPower_ = on; }
  void NeedsPower() const {  // throws PowerCut without it
    if (!hasPower_) throw PowerCut{};
  }

  const std::vector<JournalEntry>& Entries() const { return entries_; }
  std::vector<JournalEntry> Only(OpMask mask) const;
  std::vector<std::string> Lines(OpMask mask = kAnyOp) const;
  std::vector<std::string> Writes() const { return Lines(MaskOf(Op::Write)); }
  void Clear() { entries_.clear(); }

 private:
  std::vector<JournalEntry> entries_;
  JournalEntry nobodys_;
  bool hasPower_ = true;
};
