#pragma once

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"

// Decodes the bytes of a text file. An encoding is a number of the desktop platform's text-encoding services
// (Posix/Encodings.h).
//   Secrets: the text may be a pass phrase, so every copy of it but the result is wiped.
//   Errors:  decoding always succeeds; only std::bad_alloc is thrown.

/// As an argument: detect the encoding. As a result: a byte-order mark decided, or none is declared.
constexpr unsigned int kWobEncodingUnknown = 0xFFFFFFFF;

/// Decodes a file and sets `encoding` to the one used. For empty bytes the text is empty and `encoding` unchanged.
///   Order: a byte-order mark decides; else the encoding that the text declares, else the one given,
///          else the system's (Mac Roman). If the bytes are not valid in it: UTF-8, Mac Japanese, the system's.
///   Marks: FE or FF, twice in any mixture, for UTF-16, and EF, whatever follows, for UTF-8. When the
///          bytes after a mark are not valid they are read as Mac Roman, as they stand, after "Could not
///          load using encoding 'unknown'; falling back to lossy ASCII" on standard output.
///   Deliberate: in Mac Japanese the yen sign becomes a backslash, which is what the files mean by byte 5C.
///   Deliberate: zeros become spaces when the text has more UTF-16 units than it has UTF-8 bytes before
///          the first zero, after "Encoded string needs fixing (length %d, strlen %d)" on standard output;
///          a zero after enough text outside ASCII therefore stays. Neither message ends with a line feed.
OxString WobHandleCharacterEncodings(const OxBuffer& bytes, unsigned int& encoding);

/// The encoding that text, up to its first zero, declares in an XML declaration or an HTML "meta" element, or
/// kWobEncodingUnknown. An unknown name is 0 (Mac Roman), or 513 if it begins with "ISO-8859".
/// Null text: "WobCheckForExplicitEncoding: got nil input" on standard output, without a line
/// feed, and kWobEncodingUnknown.
unsigned int WobCheckForExplicitEncoding(const char* text);
unsigned int WobCheckForExplicitEncoding(const OxString& text);

/// Decodes `length` bytes; `text` is unchanged when they are not valid in `encoding`. Deliberate: returns 1 in both
/// cases.
int WobConvertToUTF8(unsigned int encoding, const char* bytes, unsigned long length, OxString& text);

/// Decodes bytes in a character set given by its IANA name; empty when the name is unknown or the bytes are not
/// valid.
OxString WobDecodeUsingCharset(const OxBuffer& bytes, const OxString& charset);

/// The encoding of description files, one value for the process; kWobEncodingUnknown until it is set.
unsigned int WobGetWobFileEncoding();
void WobSetWobFileEncoding(unsigned int encoding);
