#include "CommandLine.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Console.h"
#include "Foundation/SecureZeroMemory.h"

namespace {

struct Flag {
  std::string_view word;
  bool RunOptions::*field;
};

constexpr Flag kFlags[] = {
    {"-verify", &RunOptions::verify},    {"-flat", &RunOptions::flatten},
    {"-unflat", &RunOptions::unflatten}, {"-sign", &RunOptions::sign},
    {"-v", &RunOptions::verbose},        {"-list", &RunOptions::list},
};

// The value is an argument of the process, or an empty text of the caller's; both may be written to.
struct ValueOption {
  std::string_view word;
  void (*store)(RunOptions& options, char* value);
};

// An argument that is not there any more when the scope is left, also by an exception.
struct WipedAtTheEnd {
  char* text;
  ~WipedAtTheEnd() { SecureZeroMemory(text, std::strlen(text)); }
};

void TakePassPhrase(RunOptions& options, char* value) {
  const WipedAtTheEnd argument{value};
  options.passPhrase.secure_clear();
  options.passPhrase = value;
}

constexpr ValueOption kValueOptions[] = {
    {"-o", [](RunOptions& options, char* value) { options.output = OxString(value); }},
    {"-key", [](RunOptions& options, char* value) { options.privateKey = value; }},
    {"-p", TakePassPhrase},
    {"-pf", [](RunOptions& options, char* value) { options.passPhraseFile = value; }},
    {"-cert", [](RunOptions& options, char* value) { options.certificate = OxString(value); }},
};

}  // namespace

// Functions that have returned leave copies in their frames: the cryptographic library one 5 KiB down, and
// others registers that were saved with parts of the pass phrase in them.
void RunOptions::ForgetPassPhrase() {
  passPhrase.secure_clear();
  SecureZeroUnusedStack();
}

namespace {

void ReadArguments(std::span<char*> arguments, RunOptions& options) {
  char nothing[] = "";
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    char* const argument = arguments[i];
    const auto hasWord = [argument](const auto& option) { return option.word == argument; };
    if (const auto* option = std::ranges::find_if(kValueOptions, hasWord);
        option != std::end(kValueOptions)) {
      ++i;
      option->store(options, i < arguments.size() ? arguments[i] : nothing);
    } else if (const auto* flag = std::ranges::find_if(kFlags, hasWord); flag != std::end(kFlags)) {
      options.*(flag->field) = true;
    } else if (argument[0] == '-') {
      Console::Error("warning: invalid option '%s'\n", argument);
    } else {
      options.input = OxString(argument);
    }
  }
}

// Finds the values of "-p" as reading the arguments does, also those that it did not reach.
void WipePassPhrases(std::span<char*> arguments) {
  for (std::size_t i = 0; i + 1 < arguments.size(); ++i) {
    const auto hasWord = [&](const ValueOption& option) { return option.word == arguments[i]; };
    const auto* const option = std::ranges::find_if(kValueOptions, hasWord);
    if (option == std::end(kValueOptions)) continue;
    ++i;
    if (option->store == TakePassPhrase) SecureZeroMemory(arguments[i], std::strlen(arguments[i]));
  }
}

}  // namespace

void ParseArguments(std::span<char*> arguments, RunOptions& options) {
  try {
    ReadArguments(arguments, options);
  } catch (...) {
    WipePassPhrases(arguments);
    throw;
  }
}
