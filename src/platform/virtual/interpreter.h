// How the command interpreter reads a command line: what runs, with which words, into which file.
//
// Does not model: batch files, parentheses, redirection of other handles; of "%NAME:...%" and
// "!NAME!" only that the text is no longer what it was.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

struct InterpretedCommand {
  std::vector<std::string> words;  // split at blanks only, quotes still in place
  std::string raw;                 // the command without its redirections
  std::string outputFile;          // after ">", without quotes; empty: none
  std::string inputFile;           // after "<"
};

struct Interpretation {
  std::vector<InterpretedCommand> commands;  // split at & and |
  std::vector<std::string> expansions;       // "%NAME%" that were replaced
};

struct InterpreterEnvironment {
  std::function<std::optional<std::string>(const std::string& name)> variable;
  bool delayedExpansion = false;
};

// text is what follows "/c ".
Interpretation Interpret(std::string text, const InterpreterEnvironment& environment);

// The arguments of a built-in command: split at blanks, commas, semicolons, equals signs and tabs
// outside quotes; quotes taken off.
std::vector<std::string> BuiltInArguments(const std::string& text);

// A word of the command line with its quotes taken off, as a program's name is read.
std::string WithoutQuotes(const std::string& word);
