#include "Xml/XMLLazyText.h"

const OxString& XMLLazyText::Get() const {
  static const OxString kEmpty;
  return text_ == nullptr ? kEmpty : *text_;
}

OxString& XMLLazyText::Edit() {
  if (text_ == nullptr) text_ = std::make_unique<OxString>();
  return *text_;
}

XMLLazyText& XMLLazyText::operator=(const XMLLazyText& other) {
  if (this != &other)
    text_ = other.text_ == nullptr ? nullptr : std::make_unique<OxString>(*other.text_);
  return *this;
}
