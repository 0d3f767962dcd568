#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>

#include "Foundation/OxBuffer.h"

// Payloads of a protected archive are XORed with the output of the Mersenne Twister MT19937, so one and
// the same operation scrambles and unscrambles. This hides text from a viewer; it is no encryption.
// The generator is seeded as its authors published it in 1998: two steps of seed * 69069 + 1 for each
// word of the state, which std::mt19937 does not do.
//   State: one for the whole process, behind a lock: two threads take turns.

/// The seed of every record of every archive: part of the format.
constexpr std::uint32_t kScrambleSeed = 0x5E91A7C3;

/// Writes `length` bytes to `out`, which may be `in`. Only the low 32 bits of `seed` count. Afterwards
/// the generator is seeded with 0, so that no trace of the keystream stays in memory. Null data, or a length
/// of 0, does only that.
void scramble(unsigned long seed, const void* in, void* out, unsigned long length);

/// The scrambled or unscrambled bytes. Deliberate: the flag changes nothing.
OxBuffer WobScrambleData(const void* data, unsigned long length, bool);
OxBuffer WobScrambleData(const OxBuffer& data, bool);

/// The same into `count` new bytes at `out`, which the caller releases with free(); null when there is no
/// memory. A count below 1 gives one byte that means nothing.
void WobScrambleString(const unsigned char* in, unsigned char*& out, int count);

/// scramble() for bytes that come piece by piece: the pieces give what the whole would.
///   Shape: made -> Process()... -> destroyed, which wipes the generator. Since the generator is the
///          process's own, other threads that scramble wait in between, and this one may not.
///   Every piece but the last must have a multiple of 4 bytes.
class ScrambleStream {
 public:
  explicit ScrambleStream(std::uint32_t seed = kScrambleSeed);  ///< Seeds the generator.
  ScrambleStream(const ScrambleStream&) = delete;
  ScrambleStream& operator=(const ScrambleStream&) = delete;
  ~ScrambleStream();

  /// The next piece, of `length` bytes; `out` may be `in`.
  void Process(const void* in, void* out, std::size_t length);

 private:
  std::unique_lock<std::recursive_mutex> lock_;
};
