#include "Xml/OxXMLCharDataNode.h"

#include <algorithm>

#include "Foundation/StringWalk.h"

// The count as far as there is text.
OxString::Index OxXMLCharDataNode::CheckRange(OxString::Index offset, OxString::Index count) const {
  const OxString::Index length = data_.length();
  if (offset < 0 || offset >= length || count < 0) throw OxXMLDOMException(kOxXMLIndexSize);
  return std::min(count, length - offset);
}

// Counted in the bytes: the string's own searches for a character stop at a zero.
std::size_t OxXMLCharDataNode::ByteOf(OxString::Index offset) const {
  const std::string_view text = data_.view();
  std::size_t at = 0;
  for (; at < text.size() && offset > 0; --offset) {
    do ++at;
    while (at < text.size() && StringWalk::IsContinuation(text[at]));
  }
  return at;
}

OxString OxXMLCharDataNode::Part(OxString::Index offset, OxString::Index count) const {
  const std::size_t begin = ByteOf(offset);
  return OxString::from_valid(data_.view().substr(begin, ByteOf(offset + count) - begin));
}

OxString OxXMLCharDataNode::GetSubstring(OxString::Index offset, OxString::Index count) const {
  return Part(offset, CheckRange(offset, count));
}

void OxXMLCharDataNode::InsertData(OxString::Index offset, const OxString& text) {
  ReplaceData(offset, 0, text);
}

void OxXMLCharDataNode::DeleteData(OxString::Index offset, OxString::Index count) {
  ReplaceData(offset, count, OxString());
}

void OxXMLCharDataNode::ReplaceData(OxString::Index offset, OxString::Index count,
                                    const OxString& text) {
  const OxString::Index behind = offset + CheckRange(offset, count);
  OxString changed = Part(0, offset);
  changed += text;
  changed += Part(behind, data_.length() - behind);
  data_ = std::move(changed);
}
