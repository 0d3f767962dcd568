#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "Foundation/OxString.h"

/// How much text the entities of one text may grow into. A ratio above a threshold: honest documents stay
/// far below both, and what an attack gets is linear in what it sends.
class XMLExpansionBudget {
 public:
  /// Expansion up to here is allowed whatever the size of the text: it costs milliseconds.
  static constexpr std::uint64_t kThreshold = std::uint64_t{16} << 20;
  /// Above the threshold, the replacement text may be so many times the text that asked for it.
  static constexpr std::uint64_t kRatio = 8;

  explicit XMLExpansionBudget(std::uint64_t textBytes) : textBytes_(textBytes) {}
  /// Whether `bytes` more are allowed; they count as used then.
  bool Take(std::uint64_t bytes);

 private:
  std::uint64_t textBytes_;
  std::uint64_t used_ = 0;
};

/// The entities whose replacement text is being read, each known by the address of that text.
class XMLOpenEntities {
 public:
  bool Contains(const OxString* text) const { return open_.contains(text); }
  /// `depth` is the scanner's depth inside the replacement text.
  void Enter(const OxString* text, std::uint32_t depth);
  /// Forgets the entities that lie deeper than `depth`.
  void LeaveDownTo(std::uint32_t depth);

 private:
  struct Entry {
    const OxString* text;
    std::uint32_t depth;
  };
  std::vector<Entry> stack_;
  std::unordered_set<const OxString*> open_;
};
