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

  /// The file or bundle that the jobs work on; the output of one job is the input of the next.
  OxPath input;
  OxPath output;            ///< As given, then as resolved.
  OxPath certificate;       ///< PEM.
  OxString privateKey;      ///< The key's file, PEM.
  OxString passPhrase;      ///< Secret.
  OxString passPhraseFile;  ///< Holds the pass phrase.
  bool verify = false;      ///< Ignored beside `sign`.
  bool flatten = false;     ///< The bundle into an archive.
  bool unflatten = false;   ///< The archive into a bundle.
  bool sign = false;        ///< Append a signature.
  bool verbose = false;     ///< Banner and progress lines.
  bool list = false;        ///< Ends the run by itself.
};

/// Reads the arguments (without the program's name) from left to right; a later value replaces an
/// earlier one. An unknown option gives a warning line on standard error and is passed over.
///   Deliberate: an option that takes a value takes the next argument whatever it is, and an empty
///   value when it stands last.
///   The pass phrase is overwritten in the argument itself, so that it no longer shows in a list of
///   processes. Throws OxString::InvalidEncoding for a path or value that is not UTF-8, a pass phrase too.
void ParseArguments(std::span<char*> arguments, RunOptions& options);
