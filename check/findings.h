// What the check has found: printed as it comes, and written to a file that people can send in.
#pragma once

#include <string>
#include <vector>

#include "platform/platform.h"

// Thrown by a check. What doesn't hold:
struct Wrong {
  std::string what;
};
// Why it can't be made on this system:
struct NotPossibleHere {
  std::string why;
};

inline void Require(bool holds, const std::string& what) {
  if (!holds) throw Wrong{what};
}

class Findings {
 public:
  // Makes the file anew. False: it can't be made, and the findings are printed only.
  bool WriteTo(const std::string& path);

  // A line of the report.
  void Say(const std::string& line);

  // Adds a row to the table: what becomes of a check that throws where it doesn't hold. A Fault
  // that reaches this point is wrong as well.
  template <class Check>
  bool Try(const std::string& name, Check&& check) {
    Row row{Verdict::Passed, name, ""};
    try {
      check();
    } catch (const Wrong& wrong) {
      row = {Verdict::Failed, name, wrong.what};
    } catch (const NotPossibleHere& here) {
      row = {Verdict::NotPossible, name, here.why};
    } catch (const Fault& fault) {
      row = {Verdict::Failed, name, "fault " + std::to_string(fault.number)};
    }
    rows_.push_back(row);
    return row.verdict == Verdict::Passed;
  }

  // Prints all rows and their counts. True: none has failed.
  bool PrintTable();

 private:
  enum class Verdict : unsigned char { Passed, Failed, NotPossible };
  struct Row {
    Verdict verdict;
    std::string name, note;
  };

  Handle file_ = kInvalidHandle;
  std::vector<Row> rows_;
};
