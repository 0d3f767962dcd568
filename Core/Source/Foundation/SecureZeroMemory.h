#pragma once

#include <cstddef>

/// Fills `count` bytes at `memory` with zeros by a store that no optimiser removes. Null is allowed
/// when `count` is 0.
void SecureZeroMemory(void* memory, std::size_t count);

/// Overwrites what functions that have returned to the caller have left on the stack, 16 KiB of it.
void SecureZeroUnusedStack();
