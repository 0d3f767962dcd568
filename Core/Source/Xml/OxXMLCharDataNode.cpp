#include "Xml/OxXMLCharDataNode.h"

#include <algorithm>

// The count as far as there is text.
OxString::Index OxXMLCharDataNode::CheckRange(OxString::Index offset, OxString::Index count) const {
  const OxString::Index length = data_.length();
  if (offset < 0 || offset >= length || count < 0) throw OxXMLDOMException(kOxXMLIndexSize);
  return std::min(count, length - offset);
}

OxString OxXMLCharDataNode::GetSubstring(OxString::Index offset, OxString::Index count) const {
  return data_.substr(offset, CheckRange(offset, count));
}

void OxXMLCharDataNode::InsertData(OxString::Index offset, const OxString& text) {
  ReplaceData(offset, 0, text);
}

void OxXMLCharDataNode::DeleteData(OxString::Index offset, OxString::Index count) {
  data_.erase(offset, CheckRange(offset, count));
}

void OxXMLCharDataNode::ReplaceData(OxString::Index offset, OxString::Index count,
                                    const OxString& text) {
  const OxString::Index replaced = CheckRange(offset, count);
  OxString changed = data_.substr(0, offset);
  changed += text;
  changed += data_.substr(offset + replaced, -1);
  data_ = std::move(changed);
}
