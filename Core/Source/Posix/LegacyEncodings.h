#pragma once

#include <cstdint>

#include "Posix/CodeTable.h"

namespace Posix {

/// All 256 bytes of Mac Roman, without ICU.
CodeTable MakeMacRoman();

/// The single-byte characters of Mac Japanese, without ICU.
CodeTable MakeMacJapaneseBytes();

/// The whole of Mac Japanese.
CodeTable MakeMacJapanese();

/// An ISO 8859 part or Windows Latin 1. For any other number, bytes from 80 on are undefined.
CodeTable MakeSingleByte(std::uint32_t encoding);

}  // namespace Posix
