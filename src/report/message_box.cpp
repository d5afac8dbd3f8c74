#include "report/message_box.h"

#include "platform/platform.h"
#include "report/box_guard.h"
#include "report/product.h"

bool BoxGuard::Takes(const Press& press) {
  if (press.kind == Press::Kind::First) taken_[press.key] = press.shownFor >= kDeafMilliseconds;
  if (press.kind == Press::Kind::Repeat && !press.intoField) return false;
  return taken_[press.key];
}

Answer MsgBox(Box box) {
  if (box.title.empty()) box.title = PRODUCT_TITLE;
  BoxGuard guard;
  Sys.toolkit->DropInput();
  return Sys.toolkit->MsgBox(box, guard);
}

std::string InputBox(const InputQuestion& question) {
  BoxGuard guard;
  Sys.toolkit->DropInput();
  return Sys.toolkit->InputBox(question, guard);
}
