#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <new>
#include <optional>
#include <utility>

/// The one way in which a wider number becomes a narrower one: nothing when `value` does not fit.
template <std::integral To, std::integral From>
constexpr std::optional<To> TryNarrow(From value) {
  if (!std::in_range<To>(value)) return std::nullopt;
  return static_cast<To>(value);
}

/// A length in memory as the 32-bit number that buffers and strings keep; throws std::bad_alloc for
/// one that does not fit, as for any memory that cannot be had.
template <std::integral From>
constexpr std::uint32_t NarrowLength(From length) {
  const std::optional<std::uint32_t> narrow = TryNarrow<std::uint32_t>(length);
  if (!narrow) throw std::bad_alloc();
  return *narrow;
}
