#pragma once

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "Foundation/OxString.h"
#include "Xml/OxScanner.h"

/// How much text the entities of one text may grow into. A ratio above a threshold: honest documents stay
/// far below both, and what an attack gets is linear in what it sends. Text alone counts, not what a parser
/// makes of it: expanded markup costs as much as the same markup written out.
class XMLExpansionBudget {
 public:
  /// Expansion up to here is allowed whatever the size of the text.
  static constexpr std::uint64_t kThreshold = std::uint64_t{16} << 20;
  /// Above the threshold, the replacement text may be so many times the text that asked for it.
  static constexpr std::uint64_t kRatio = 8;

  /// For a text of so many bytes.
  explicit XMLExpansionBudget(std::uint64_t textBytes) : textBytes_(textBytes) {}
  /// The text is so much longer.
  void AddText(std::uint64_t bytes) { textBytes_ += bytes; }
  /// Whether `bytes` more are allowed; they count as used then.
  bool Take(std::uint64_t bytes);

 private:
  std::uint64_t textBytes_;
  std::uint64_t used_ = 0;
};

/// Reads entities in place: puts their replacement text in front of a scanner, unless that would not end.
class XMLExpansion {
 public:
  /// Both are borrowed.
  XMLExpansion(OxScanner& scanner, XMLExpansionBudget& budget) : scanner_(scanner), budget_(budget) {}

  /// Pushes the text of an entity whose reference has just been taken, `depth` deep in pushed text. False,
  /// and nothing done, when the reference stands inside that very text or when the budget is used up.
  /// `text` stays where it is for as long as the input lasts.
  bool Push(const OxString& text, std::uint32_t depth);
  /// For a new input.
  void Reset() { LeaveDownTo(0); }

 private:
  struct Open {
    const OxString* text;
    std::uint32_t depth;  // Of the scanner inside the text.
  };

  void LeaveDownTo(std::uint32_t depth);

  OxScanner& scanner_;
  XMLExpansionBudget& budget_;
  std::vector<Open> open_;  // The entities whose text is being read, the innermost last.
  std::unordered_set<const OxString*> openTexts_;
};
