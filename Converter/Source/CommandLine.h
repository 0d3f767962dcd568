#pragma once

#include <span>

#include "Foundation/OxPath.h"
#include "Foundation/OxString.h"

/// What one run was asked to do. Everything starts empty or false.
///   Secrets: the pass phrase is wiped when the object ends, whatever ends it.
struct RunOptions {
  RunOptions() = default;
  RunOptions(const RunOptions&) = delete;
  RunOptions& operator=(const RunOptions&) = delete;
  ~RunOptions() { ForgetPassPhrase(); }

  /// Wipes the pass phrase and what its users have left of it on the stack below the caller.
  void ForgetPassPhrase();

  OxPath input;
  OxPath output;
  OxPath certificate;
  OxString privateKey;
  OxString passPhrase;
  OxString passPhraseFile;
  bool verify = false;
  bool flatten = false;
  bool unflatten = false;
  bool sign = false;
  bool verbose = false;
  bool list = false;
};

/// Reads the arguments (without the program's name) from left to right; a later value replaces an
/// earlier one. An unknown option gives a warning line on standard error and is passed over.
///   Deliberate: an option that takes a value takes the next argument whatever it is, and an empty
///   value when it stands last.
///   The pass phrase is overwritten in the argument itself, so that it no longer shows in a list of
///   processes. Throws OxString::InvalidEncoding for a path or value that is not UTF-8.
void ParseArguments(std::span<char*> arguments, RunOptions& options);
