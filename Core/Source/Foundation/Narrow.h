#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <utility>

/// Converts to a narrower integer type; nullopt when `value` does not fit. All narrowing of values from outside
/// goes through here. TryNarrow<std::uint8_t>(300) is nullopt.
template <std::integral To, std::integral From>
constexpr std::optional<To> TryNarrow(From value) {
  if (!std::in_range<To>(value)) return std::nullopt;
  return static_cast<To>(value);
}

/// A length in memory as the 32-bit number that buffers and strings store. Throws std::bad_alloc when it does
/// not fit.
template <std::integral From>
constexpr std::uint32_t NarrowLength(From length) {
  const std::optional<std::uint32_t> narrow = TryNarrow<std::uint32_t>(length);
  if (!narrow) throw std::bad_alloc();
  return *narrow;
}
