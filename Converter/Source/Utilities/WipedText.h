#pragma once

#include <string>

#include "Foundation/SecureZeroMemory.h"

/// Memory for decoded text, wiped before it is freed: the text may be a pass phrase. Set its size once; a string that
/// grows leaves copies in freed memory.
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
