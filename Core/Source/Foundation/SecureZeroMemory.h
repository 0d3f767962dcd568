#pragma once

#include <cstddef>

/// Fills `count` bytes at `memory` with zeros by a store that the optimiser does not remove. Null is allowed
/// when `count` is 0.
void SecureZeroMemory(void* memory, std::size_t count);

/// Overwrites the 16 KiB of the stack below the caller, where functions that have returned left their data.
void SecureZeroUnusedStack();
