// Failures, planned for the n-th operation, for several in a row, or for all from then on.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/virtual/journal.h"

enum class FaultKind : std::uint8_t {
  None,
  Refusal,        // a call that reports by its result fails; a statement throws its Fault
  FaultThrown,    // a statement throws the Fault of faultNumber
  ShortTransfer,  // a read or write moves only half of its whole sectors and reports success
  LostWrite,      // a write, or a child's copy, is acknowledged and never arrives
  CutBefore,      // power cut before the operation does anything
  CutTorn,        // power cut in its middle: half a sector written, half a file copied
  CutAfter,       // power cut when the operation is done
};

constexpr std::size_t kForGood = SIZE_MAX;

struct FaultPlan {
  FaultKind kind = FaultKind::None;
  std::size_t nth = 1;         // 1: the first operation in the mask
  std::size_t times = 1;       // that many operations in a row, or kForGood
  std::size_t again = 0;       // one more operation to strike; 0: none
  OpMask mask = kAnyOp;        // narrowed to what the kind can strike
  std::uint32_t error = 1117;  // Windows error of a refused call (ERROR_IO_DEVICE)
  int faultNumber = 57;        // number of a thrown Fault
  std::size_t seen = 0;        // operations counted so far
  std::size_t hits = 0;        // how often it has struck

  bool IsStillToStrike() const { return kind != FaultKind::None && hits == 0; }
  // What strikes the operation that begins now.
  FaultKind Next(Op op);
};
