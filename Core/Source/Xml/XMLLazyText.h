#pragma once

#include <memory>

#include "Foundation/OxString.h"

/// A text that is hardly ever there: eight bytes until it is set.
class XMLLazyText {
 public:
  XMLLazyText() = default;
  XMLLazyText(const XMLLazyText&) = delete;
  XMLLazyText& operator=(const XMLLazyText& other);

  const OxString& Get() const;
  OxString& Edit();

 private:
  std::unique_ptr<OxString> text_;
};
