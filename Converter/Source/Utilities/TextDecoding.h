#pragma once

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"

// From the bytes of a text file to text. An encoding is a number of the desktop platform's text-encoding
// services (Posix/Encodings.h).
//   Secrets: a pass phrase goes this way. Every copy of the text made here, but the result, is wiped.
//   Errors:  text is always found; only std::bad_alloc is thrown.

/// As an argument: find the encoding out. As a result: a byte-order mark decided, or nothing is declared.
constexpr unsigned int kWobEncodingUnknown = 0xFFFFFFFF;

/// Decodes a file and sets `encoding` to the one used. Empty bytes give empty text and leave it alone.
///   Order: a byte-order mark decides; else the encoding that the text declares, else the one given,
///          else the system's (Mac Roman). Where that does not fit: UTF-8, Mac Japanese, the system's.
///   Marks: FE or FF, twice in any mixture, for UTF-16, and EF, whatever follows, for UTF-8. When the
///          bytes behind a mark are not valid they are read as Mac Roman, as they stand, after "Could not
///          load using encoding 'unknown'; falling back to lossy ASCII" on standard output.
///   Deliberate: in Mac Japanese the yen sign becomes a backslash, which is what the files mean by 5C.
///   Deliberate: zeros become spaces when the text has more UTF-16 units than it has UTF-8 bytes before
///          the first zero, after "Encoded string needs fixing (length %d, strlen %d)" on standard output;
///          a zero behind enough text beyond ASCII therefore stays. Neither message ends its line.
OxString WobHandleCharacterEncodings(const OxBuffer& bytes, unsigned int& encoding);

/// The encoding that text, up to its first zero, declares in an XML declaration or an HTML "meta" element, or
/// kWobEncodingUnknown. A name that is not known gives 0 (Mac Roman), one that begins with "ISO-8859"
/// gives 513. Null text: "WobCheckForExplicitEncoding: got nil input" on standard output, without a line
/// end, and kWobEncodingUnknown.
unsigned int WobCheckForExplicitEncoding(const char* text);
unsigned int WobCheckForExplicitEncoding(const OxString& text);

/// Sets `text` to `length` bytes read in `encoding`; leaves it alone when they are not valid in it.
/// Deliberate: 1 in both cases.
int WobConvertToUTF8(unsigned int encoding, const char* bytes, unsigned long length, OxString& text);

/// The bytes read in a character set given by its IANA name; empty when the name is unknown or the bytes
/// are not valid in it.
OxString WobDecodeUsingCharset(const OxBuffer& bytes, const OxString& charset);

/// The encoding of description files, one value for the process; kWobEncodingUnknown until it is set.
unsigned int WobGetWobFileEncoding();
void WobSetWobFileEncoding(unsigned int encoding);
