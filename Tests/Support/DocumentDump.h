#pragma once

#include <string>

namespace Support {

/// The bytes of the `number`-th block (from 1) that a file in Docs fences as "dump". Each of its lines has a
/// decimal offset, bytes in hexadecimal or as characters in quotes, and perhaps a remark after "|".
/// Throws, which fails the test, if there is no such block or an offset is not the number of bytes before it.
std::string DocumentDump(const std::string& document, int number);

}  // namespace Support
