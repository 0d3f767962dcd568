#pragma once

#include <cstdint>

#include "Posix/CodeTable.h"

namespace Posix {

/// All 256 bytes of Mac Roman; ICU is not asked.
CodeTable MakeMacRoman();

/// The single bytes of Mac Japanese; ICU is not asked.
CodeTable MakeMacJapaneseBytes();

/// The whole of Mac Japanese.
CodeTable MakeMacJapanese();

/// An ISO 8859 part or Windows Latin 1. For a number that is neither, bytes from 80 on are undefined.
CodeTable MakeSingleByte(std::uint32_t encoding);

}  // namespace Posix
