#include "platform/virtual/fault_plan.h"

namespace {

OpMask Reach(FaultKind kind) {
  switch (kind) {
    case FaultKind::FaultThrown:
      return kStatementOps;
    case FaultKind::ShortTransfer:
      return MaskOf(Op::Read, Op::Write);
    case FaultKind::LostWrite:
      return MaskOf(Op::Write, Op::ChildCopy);
    case FaultKind::CutBefore:
    case FaultKind::CutTorn:
    case FaultKind::CutAfter:
      return kChangingOps;
    default:
      return kAnyOp;
  }
}

}  // namespace

FaultKind FaultPlan::Next(Op op) {
  if (kind == FaultKind::None || (mask & Reach(kind) & MaskOf(op)) == 0) return FaultKind::None;
  ++seen;
  const bool inRow = seen >= nth && seen - nth < times;
  if (!inRow && seen != again) return FaultKind::None;
  ++hits;
  return kind;
}
