#include "Xml/OxXMLCharDataNode.h"

#include <algorithm>
#include <utility>

#include "Foundation/StringWalk.h"

namespace {

// Where a character of a text of so many begins, from the nearer end. Counted in the bytes: the string's own
// searches for a character stop at a zero.
std::size_t ByteOf(std::string_view text, std::uint32_t length, OxString::Index offset) {
  if (text.size() == length) return static_cast<std::size_t>(offset);
  const bool front = offset <= length / 2;
  std::size_t at = front ? 0 : text.size();
  for (OxString::Index left = front ? offset : length - offset;
       left > 0 && (front ? at < text.size() : at > 0); --left) {
    do {
      front ? ++at : --at;
    } while (at < text.size() && at > 0 && StringWalk::IsContinuation(text[at]));
  }
  return at;
}

}  // namespace

const OxString& OxXMLCharDataNode::ValueText() const {
  if (part_ != nullptr) {
    data_ = OxString::from_valid(part_->bytes);
    part_.reset();
  }
  return data_;
}

OxString& OxXMLCharDataNode::EditValueText() {
  ValueText();
  return data_;
}

void OxXMLCharDataNode::SplitOff(OxString::Index offset, OxXMLCharDataNode& tail) {
  if (part_ == nullptr) {
    const auto whole = Hux::SmartPtr<Whole>::Adopt(new Whole());
    part_ = std::make_unique<OfWhole>();
    part_->length = data_.length();
    whole->text = std::move(data_);
    part_->bytes = whole->text.view();
    part_->whole = whole;
  }
  const std::size_t at = ByteOf(part_->bytes, part_->length, offset);
  tail.part_ = std::make_unique<OfWhole>(*part_);
  tail.part_->bytes.remove_prefix(at);
  tail.part_->length -= static_cast<std::uint32_t>(offset);
  part_->bytes = part_->bytes.substr(0, at);
  part_->length = static_cast<std::uint32_t>(offset);
}

// The count as far as there is text.
OxString::Index OxXMLCharDataNode::CheckRange(OxString::Index offset, OxString::Index count) const {
  const OxString::Index length = GetLength();
  if (offset < 0 || offset >= length || count < 0) throw OxXMLDOMException(kOxXMLIndexSize);
  return std::min(count, length - offset);
}

OxString OxXMLCharDataNode::Part(OxString::Index offset, OxString::Index count) const {
  const std::string_view text = part_ != nullptr ? part_->bytes : data_.view();
  const std::size_t begin = ByteOf(text, GetLength(), offset);
  const std::size_t end = ByteOf(text, GetLength(), offset + count);
  return OxString::from_valid(text.substr(begin, end - begin));
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
  changed += Part(behind, GetLength() - behind);
  EditValueText() = std::move(changed);
}
