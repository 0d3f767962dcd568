#pragma once

#include <memory>

#include "Foundation/OxString.h"

/// A text that is hardly ever there: eight bytes until it is set.
class XMLLazyText {
 public:
  XMLLazyText() = default;
  XMLLazyText(const XMLLazyText&) = delete;
  XMLLazyText& operator=(const XMLLazyText& other);

  const OxString& Get() const;  ///< An empty text until it is set.
  OxString& Edit();             ///< Makes the text if it is not there.

 private:
  std::unique_ptr<OxString> text_;
};
