#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <span>

#include "Foundation/OxBuffer.h"

// Payloads of a protected archive are XORed with the output of the Mersenne Twister MT19937, so the same
// operation scrambles and unscrambles. This hides text from a viewer; it is not encryption.
// The generator is seeded as its authors published it in 1998: two steps of seed * 69069 + 1 for each
// word of the state, which std::mt19937 does not do.
//   Threads: one generator for the process, with a lock.

/// The seed of every record of every archive: part of the format.
constexpr std::uint32_t kScrambleSeed = 0x5E91A7C3;

/// Writes `length` bytes to `out`, which may be `in`. Only the low 32 bits of `seed` count. Afterwards
/// the generator is seeded with 0, so that no trace of the keystream stays in memory. With null data or
/// length 0 only the re-seeding happens.
void scramble(unsigned long seed, const void* in, void* out, unsigned long length);

/// Returns the scrambled or unscrambled bytes. Deliberate: the flag has no effect.
OxBuffer WobScrambleData(const void* data, unsigned long length, bool);
OxBuffer WobScrambleData(const OxBuffer& data, bool);

/// The same into `count` new bytes at `out`, which the caller releases with free(); null when memory runs out. For a
/// count below 1, one undefined byte.
void WobScrambleString(const unsigned char* in, unsigned char*& out, int count);

/// scramble() for bytes that come in pieces, with the same result.
///   Usage: constructor -> Process()... -> destructor, which wipes the generator. It holds the generator's lock, so
///          other threads that scramble wait, and the same thread must not scramble anything else.
///   Every piece but the last must have a multiple of 4 bytes.
class ScrambleStream {
 public:
  explicit ScrambleStream(std::uint32_t seed = kScrambleSeed);  ///< Seeds the generator.
  ScrambleStream(const ScrambleStream&) = delete;
  ScrambleStream& operator=(const ScrambleStream&) = delete;
  ~ScrambleStream();

  /// Processes the next piece, of `length` bytes; `out` may be `in`.
  void Process(const void* in, void* out, std::size_t length);

 private:
  std::unique_lock<std::recursive_mutex> lock_;
};

/// A function that scrambles the bytes at its place in an endless keystream, in place. The rules of ScrambleStream
/// hold: the generator is locked as long as the function or a copy of it exists.
std::function<void(std::span<std::byte>)> MakeScrambler();
