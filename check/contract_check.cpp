#include <cstdint>
#include <exception>
#include <string>
#include <tuple>

#include "check/checks.h"
#include "check/contract.h"
#include "platform/win32/standard_output.h"

namespace {

constexpr int kEndOfInput = 7;
constexpr std::uint32_t kFarOff = 180000;  // ms, for a wait that only a fault lets come to its end

// With the parts of the run-time library that the executables bring.
void LibraryErrorsArrive() {
  volatile std::size_t beyond = 2;
  try {
    (void)std::string("a").substr(beyond);
  } catch (const std::exception&) {
    try {
      (void)std::string().append("", ~std::size_t{0} - beyond);
    } catch (const std::exception&) {
      return;
    }
  }
  throw Wrong{"an error of the standard library is lost"};
}

// A question that a hidden child asks meets the end of its input.
void HiddenChildrenHaveNoInput() {
  const std::string program = Sys.facts->ProgramFolder() + "\\" + Sys.facts->ProgramName() + ".exe";
  const std::uint32_t child = Sys.processes->Shell("", "\"" + program + "\" ask", kWindowHidden);
  const Handle process = Sys.processes->OpenProcess(kProcessSynchronizeAndQuery, child);
  std::uint32_t code = 0;
  const bool ended = Sys.processes->WaitForSingleObject(process, kFarOff) == kWaitObject0 &&
                     Sys.processes->GetExitCodeProcess(process, code);
  std::ignore = Sys.devices->CloseHandle(process);
  Sys.processes->EndChild(child);
  Require(ended && code == kEndOfInput, "the child waits for an answer");
}

}  // namespace

int AskAsChild() {
  char answer = 0;
  DWORD count = 0;
  const bool asked = Print("Well?\r\n");
  const bool read = ::ReadFile(::GetStdHandle(STD_INPUT_HANDLE), &answer, 1, &count, nullptr) != 0;
  return asked && read && count == 0 ? kEndOfInput : 0;
}

void CheckContract(Findings& findings, const Workplace& place) {
  for (const ContractCase& contractCase : kContract) {
    findings.Try(std::string("contract, ") + contractCase.name, [&] {
      const std::string wrong = RunCase(contractCase, Sys, place.contract);
      Require(wrong.empty(), wrong);
    });
  }
  findings.Try("contract, HiddenChildrenHaveNoInput", HiddenChildrenHaveNoInput);
  findings.Try("contract, LibraryErrorsArrive", LibraryErrorsArrive);
}
