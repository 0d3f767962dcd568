#pragma once

#include <string>

#include "Foundation/SecureZeroMemory.h"

/// Memory for decoded text, overwritten before it is given back: the text may be a pass phrase. Whoever
/// fills it must size it once; a string that grows leaves its old bytes behind.
class WipedText {
 public:
  WipedText() = default;
  WipedText(const WipedText&) = delete;
  WipedText& operator=(const WipedText&) = delete;
  ~WipedText() {
    text_.resize(text_.capacity());
    SecureZeroMemory(text_.data(), text_.size());
  }

  std::string& storage() { return text_; }  ///< The memory itself.

 private:
  std::string text_;
};
