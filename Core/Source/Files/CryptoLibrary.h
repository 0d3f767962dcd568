#pragma once

/// Initialises the cryptographic library, once in a process: all ciphers, digests and error texts, and no configuration
/// file, now or later. Must be called before any other use of the library. False when it cannot be initialised.
bool InitialiseCryptoLibrary();
