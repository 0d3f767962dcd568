#pragma once

#include <cstdint>

#include "Foundation/OxString.h"

/// What a parse ended with: a kind, an optional detail text and the line at which it happened. It is the
/// value that OxXMLParser::Parse() returns and what is thrown inside the parser.
class OxXMLError {
 public:
  /// The kinds of messages; Docs/description-files.md says when each is raised.
  enum Error : std::int32_t {
    kNoError = 0,
    kSyntaxError = 1,
    kUnterminatedString = 2,
    kUnexpectedEOF = 3,
    kMismatchedEndTag = 4,
    kMalformedEntity = 5,
    kUnknownEntity = 6,
    kDoubleHyphen = 7,
    kMultipleRoots = 8,
    kIllegalElement = 9,
    kIllegalCharacter = 10,
    kIllegalAttribute = 11,
    kUnexpectedToken = 12,
    kExpectedToken = 13,
    kInvalidPubID = 14,
    kParameterEntityInMarkup = 15,
    kDOMException = 16,
  };

  /// An error without a detail text.
  OxXMLError(Error kind, std::uint32_t line) : kind_(kind), line_(line) {}
  /// An error with one, which its message shows if it has a place for it.
  OxXMLError(Error kind, const OxString& text, std::uint32_t line)
      : kind_(kind), text_(text), line_(line) {}

  Error GetError() const { return kind_; }           ///< kNoError after a success.
  const OxString& GetText() const { return text_; }  ///< The detail, often empty.
  std::uint32_t GetLine() const { return line_; }    ///< From 1; 0 when there was no error.

  /// The message for the user, without a line end; empty for a kind that is none. Deliberate: the format
  /// of kDOMException, "(%)", is shown as it stands, without the code and the line.
  OxString GetDescription() const;

 private:
  Error kind_;
  OxString text_;
  std::uint32_t line_;
};
