#include "Xml/OxXMLTextNode.h"

#include <typeinfo>
#include <utility>

Hux::SmartPtr<OxXMLTextNode> OxXMLTextNode::Make(OxString text) {
  return Hux::SmartPtr<OxXMLTextNode>::Adopt(new OxXMLTextNode(std::move(text)));
}

const OxString& OxXMLTextNode::GetName() const {
  static const OxString kName = FixedName("#text");
  return kName;
}

Hux::SmartPtr<OxXMLNode> OxXMLTextNode::CloneSelf() const {
  return Copied(Make(data()));
}

OxString OxXMLTextNode::GetAsString(int) const {
  return Escape(data(), false);
}

Hux::SmartPtr<OxXMLTextNode> OxXMLTextNode::SplitText(OxString::Index offset) {
  if (offset < 0 || offset > GetLength()) throw OxXMLDOMException(kOxXMLIndexSize);
  Hux::SmartPtr<OxXMLTextNode> tail = Make(OxString());
  tail->JoinDocumentOf(*this);
  if (typeid(*this) == typeid(OxXMLTextNode)) {
    SplitOff(offset, *tail);
  } else {
    tail->SetValue(Part(offset, GetLength() - offset));
    SetValue(Part(0, offset));
  }
  const Hux::SmartPtr<OxXMLNode> parent = GetParent();
  const Hux::SmartPtr<OxXMLNode> next = GetNextSibling();
  if (parent && next) parent->InsertChildBefore(tail, next);
  if (parent && !next) parent->AppendChild(tail);
  return tail;
}
