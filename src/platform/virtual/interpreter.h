// The command interpreter's reading of one command line: what runs, with which words, into which
// file.
//
// Does not model: batch files, parentheses, delayed expansion, redirection of other handles.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct InterpretedCommand {
  std::vector<std::string> words;  // split at blanks only, quotes still in place
  std::string raw;                 // the command without its redirections
  std::string outputFile;          // behind ">", without quotes; empty: none
  std::string inputFile;           // behind "<"
};

struct Interpretation {
  std::vector<InterpretedCommand> commands;  // split at & and |
  std::vector<std::string> expansions;       // "%NAME%" that were replaced
};

// text is what stands behind "/c ".
Interpretation Interpret(std::string text,
                         const std::function<std::string(const std::string&)>& environment);

// The arguments of a built-in command: split at blanks, commas, semicolons, equals signs and tabs
// outside quotes; quotes taken off.
std::vector<std::string> BuiltInArguments(const std::string& text);

// A word of the command line with its quotes taken off, as a program's name is read.
std::string WithoutQuotes(const std::string& word);
