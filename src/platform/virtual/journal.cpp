#include "platform/virtual/journal.h"

#include <iterator>
#include <utility>

namespace {

constexpr const char* kNames[] = {
    "open",        "seek",          "read",         "write",       "lock-range", "unlock-range",
    "flush",       "size",          "close",        "lock",        "unlock",     "dismount",
    "renew-table", "query",         "find",         "next",        "end-find",   "attributes",
    "copy",        "delete",        "rename",       "make-folder", "read-text",  "read-binary",
    "append",      "shell",         "open-process", "mutex",       "wait",       "exit-code",
    "end-child",   "shell-execute", "end-process",  "child-copy",  "child-tool", "EXECUTED:",
    "fact",        "desktop",       "post",         "sleep",       "pointer",    "events",
};
static_assert(std::size(kNames) == static_cast<std::size_t>(Op::Count));

}  // namespace

const char* NameOf(Op op) {
  return kNames[static_cast<std::size_t>(op)];
}

std::string JournalEntry::Text() const {
  std::string text = NameOf(op);
  if (op == Op::Events) return text;
  text += " " + subject;
  if (!detail.empty()) text += " " + detail;
  if (op == Op::Read || op == Op::Write) {
    text += " lba=" + std::to_string(lba) + " n=" + std::to_string(count);
  }
  if (op == Op::Executed || op == Op::Sleep || op == Op::PointerChange) return text;
  return text + (ok ? " ok" : " failed");
}

std::size_t Journal::Add(JournalEntry entry) {
  NeedsPower();
  entries_.push_back(std::move(entry));
  return entries_.size() - 1;
}

std::vector<JournalEntry> Journal::Only(OpMask mask) const {
  std::vector<JournalEntry> chosen;
  for (const JournalEntry& entry : entries_) {
    if ((mask & MaskOf(entry.op)) != 0) chosen.push_back(entry);
  }
  return chosen;
}

std::vector<std::string> Journal::Lines(OpMask mask) const {
  std::vector<std::string> lines;
  for (const JournalEntry& entry : Only(mask)) lines.push_back(entry.Text());
  return lines;
}
