#include "platform/virtual/interpreter.h"

#include <algorithm>

#include "text/text.h"

namespace {

// A text that begins with a quote loses its first and last quote, unless it has exactly two, no
// special character, and a blank between them.
std::string StripOuterQuotes(const std::string& text) {
  if (text.empty() || text.front() != '"') return text;
  const std::size_t last = text.rfind('"');
  const bool keep = std::count(text.begin(), text.end(), '"') == 2 &&
                    text.find_first_of("&<>()@^|") == std::string::npos &&
                    text.substr(0, last).find(' ') != std::string::npos;
  if (keep || last == 0) return keep ? text : text.substr(1);
  return text.substr(1, last - 1) + text.substr(last + 1);
}

std::string Expand(const std::string& text, Interpretation& result,
                   const InterpreterEnvironment& environment) {
  std::string expanded;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t end = text[i] == '%' ? text.find('%', i + 1) : std::string::npos;
    const std::string name = end != std::string::npos ? text.substr(i + 1, end - i - 1) : "";
    const auto value = environment.variable(name.substr(0, name.find(':', 1)));
    if (name.empty() || !value) {
      expanded += text[i];
      continue;
    }
    result.expansions.push_back(text.substr(i, end - i + 1));
    expanded += *value;
    i = end;
  }
  if (!environment.delayedExpansion || expanded.find('!') == std::string::npos) return expanded;
  result.expansions.push_back("!");
  std::erase(expanded, '!');
  return expanded;
}

// Takes the word after a redirection sign.
std::string TakeTarget(const std::string& text, std::size_t& at) {
  while (at < text.size() && text[at] == ' ') ++at;
  std::string target;
  for (bool quoted = false; at < text.size(); ++at) {
    if (text[at] == '"') quoted = !quoted;
    if (!quoted && std::string(" &|<>,;=").find(text[at]) != std::string::npos) break;
    if (text[at] != '"') target += text[at];
  }
  return target;
}

void SplitWords(InterpretedCommand& command) {
  std::string word;
  bool quoted = false;
  for (const char c : command.raw + " ") {
    if (c == '"') quoted = !quoted;
    if (c == ' ' && !quoted) {
      if (!word.empty()) command.words.push_back(word);
      word.clear();
    } else {
      word += c;
    }
  }
  if (!word.empty()) command.words.push_back(word);
}

}  // namespace

Interpretation Interpret(std::string text, const InterpreterEnvironment& environment) {
  Interpretation result;
  text = Expand(StripOuterQuotes(text), result, environment);
  result.commands.emplace_back();
  bool quoted = false;
  for (std::size_t i = 0; i < text.size();) {
    const char c = text[i++];
    InterpretedCommand& command = result.commands.back();
    if (c == '"') quoted = !quoted;
    if (quoted || c == '"') {
      command.raw += c;
    } else if (c == '^') {
      if (i < text.size()) command.raw += text[i++];
    } else if (c == '&' || c == '|') {
      if (i < text.size() && text[i] == c) ++i;
      result.commands.emplace_back();
    } else if (c == '>') {
      if (i < text.size() && text[i] == '>') ++i;
      command.outputFile = TakeTarget(text, i);
    } else if (c == '<') {
      command.inputFile = TakeTarget(text, i);
    } else {
      command.raw += c;
    }
  }
  for (InterpretedCommand& command : result.commands) {
    command.raw = Trim(command.raw);
    SplitWords(command);
  }
  return result;
}

std::vector<std::string> BuiltInArguments(const std::string& text) {
  std::vector<std::string> arguments;
  std::string argument;
  bool quoted = false, any = false;
  for (const char c : text + " ") {
    if (c == '"') {
      quoted = !quoted;
      any = true;
    } else if (!quoted && std::string(" ,;=\t").find(c) != std::string::npos) {
      if (any) arguments.push_back(argument);
      argument.clear();
      any = false;
    } else {
      argument += c;
      any = true;
    }
  }
  if (any) arguments.push_back(argument);
  return arguments;
}

std::string WithoutQuotes(const std::string& word) {
  std::string bare;
  std::copy_if(word.begin(), word.end(), std::back_inserter(bare), [](char c) { return c != '"'; });
  return bare;
}
