#include "Archive/Scramble.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr std::size_t kWords = 624;
constexpr std::size_t kShift = 397;
constexpr std::uint32_t kMatrix = 0x9908B0DF;
constexpr std::uint32_t kUpperBit = 0x80000000;
constexpr std::uint32_t kLowerBits = 0x7FFFFFFF;
constexpr std::size_t kWordBytes = 4;

using State = std::array<std::uint32_t, kWords>;

constexpr State Seeded(std::uint32_t seed) {
  constexpr std::uint32_t kMultiplier = 69069;
  constexpr std::uint32_t kHighHalf = 0xFFFF0000;
  State state{};
  for (std::uint32_t& word : state) {
    word = seed & kHighHalf;
    seed = kMultiplier * seed + 1;
    word |= (seed & kHighHalf) >> 16;
    seed = kMultiplier * seed + 1;
  }
  return state;
}

// The two states that are needed for every record.
constexpr State kOfRecords = Seeded(kScrambleSeed);
constexpr State kWiped = Seeded(0);

struct Generator {
  State state = kWiped;
  std::size_t next = kWords;  // The next word; kWords: twist first.
};

Generator g_generator;
std::recursive_mutex g_lock;

void Seed(std::uint32_t seed) {
  g_generator.state = seed == kScrambleSeed ? kOfRecords : seed == 0 ? kWiped : Seeded(seed);
  g_generator.next = kWords;
}

std::uint32_t Twisted(std::uint32_t word, std::uint32_t following, std::uint32_t distant) {
  const std::uint32_t joined = (word & kUpperBit) | (following & kLowerBits);
  return distant ^ (joined >> 1) ^ ((joined & 1U) * kMatrix);
}

void Twist(State& state) {
  constexpr std::size_t kFirstPart = kWords - kShift;
  for (std::size_t i = 0; i < kFirstPart; ++i) {
    state[i] = Twisted(state[i], state[i + 1], state[i + kShift]);
  }
  for (std::size_t i = kFirstPart; i < kWords - 1; ++i) {
    state[i] = Twisted(state[i], state[i + 1], state[i - kFirstPart]);
  }
  state[kWords - 1] = Twisted(state[kWords - 1], state[0], state[kShift - 1]);
}

std::uint32_t Tempered(std::uint32_t word) {
  word ^= word >> 11;
  word ^= (word << 7) & 0x9D2C5680U;
  word ^= (word << 15) & 0xEFC60000U;
  return word ^ (word >> 18);
}

// The bytes of a word, least significant first.
std::uint32_t InByteOrder(std::uint32_t word) {
  return std::endian::native == std::endian::little ? word : __builtin_bswap32(word);
}

void XorWords(const std::uint32_t* words, const unsigned char* in, unsigned char* out,
              std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    std::uint32_t value = 0;
    std::memcpy(&value, in + kWordBytes * i, kWordBytes);
    value ^= InByteOrder(Tempered(words[i]));
    std::memcpy(out + kWordBytes * i, &value, kWordBytes);
  }
}

// The last one to three bytes.
void XorRest(std::uint32_t word, const unsigned char* in, unsigned char* out, std::size_t count) {
  const std::uint32_t key = InByteOrder(Tempered(word));
  std::array<unsigned char, kWordBytes> bytes{};
  std::memcpy(bytes.data(), &key, kWordBytes);
  for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<unsigned char>(in[i] ^ bytes[i]);
}

}  // namespace

ScrambleStream::ScrambleStream(std::uint32_t seed) : lock_(g_lock) {
  Seed(seed);
}

ScrambleStream::~ScrambleStream() {
  Seed(0);
}

void ScrambleStream::Process(const void* in, void* out, std::size_t length) {
  const auto* from = static_cast<const unsigned char*>(in);
  auto* to = static_cast<unsigned char*>(out);
  State& state = g_generator.state;
  std::size_t& next = g_generator.next;
  while (length > 0) {
    if (next == kWords) {
      Twist(state);
      next = 0;
    }
    const std::size_t words = std::min(length / kWordBytes, kWords - next);
    XorWords(&state[next], from, to, words);
    next += words;
    from += kWordBytes * words;
    to += kWordBytes * words;
    length -= kWordBytes * words;
    if (length > 0 && length < kWordBytes && next < kWords) {
      XorRest(state[next++], from, to, length);
      length = 0;
    }
  }
}

void scramble(unsigned long seed, const void* in, void* out, unsigned long length) {
  ScrambleStream stream(static_cast<std::uint32_t>(seed & 0xFFFFFFFF));
  if (in != nullptr) stream.Process(in, out, length);
}

OxBuffer WobScrambleData(const void* data, unsigned long length, bool) {
  OxBuffer scrambled(data == nullptr ? 0 : std::size_t{length});
  scramble(kScrambleSeed, data, scrambled.data(), scrambled.length());
  return scrambled;
}

OxBuffer WobScrambleData(const OxBuffer& data, bool flag) {
  return WobScrambleData(data.data(), data.length(), flag);
}

void WobScrambleString(const unsigned char* in, unsigned char*& out, int count) {
  const std::size_t length = count > 0 ? static_cast<std::size_t>(count) : 0;
  out = static_cast<unsigned char*>(std::calloc(std::max<std::size_t>(length, 1), 1));
  if (out != nullptr) scramble(kScrambleSeed, in, out, length);
}

std::function<void(std::span<std::byte>)> MakeScrambler() {
  return [stream = std::make_shared<ScrambleStream>()](std::span<std::byte> bytes) {
    stream->Process(bytes.data(), bytes.data(), bytes.size());
  };
}
