#pragma once

#include "Foundation/OxString.h"
#include "Foundation/SmartPtr.h"

/// The name of a node: a text that never changes and that many nodes share, eight bytes in each. Any
/// string serves where one is wanted.
class OxXMLName {
 public:
  /// Any text, an empty one too; nothing checks that XML allows it.
  OxXMLName(const OxString& text) : shared_(Hux::SmartPtr<Shared>::Adopt(new Shared(text))) {}
  /// The same; throws OxString::InvalidEncoding for what is no UTF-8.
  OxXMLName(const char* utf8) : OxXMLName(OxString(utf8)) {}

  const OxString& text() const { return shared_->text; }  ///< Lives as long as a name with this text.

 private:
  struct Shared : Hux::Retainable {
    explicit Shared(const OxString& name) : text(name) {}
    OxString text;
  };

  Hux::SmartPtr<Shared> shared_;
};
