#include "Xml/OxScanner.h"

#include <cstring>
#include <memory>
#include <utility>

#include "Foundation/StringWalk.h"

namespace {

constexpr const char* kNothing = "";

}  // namespace

// A stretch of text that ends where its text ends. Segments never change, so that a position taken
// before something was pushed still leads through the input as it was.
struct OxScanner::Segment : Hux::Retainable {
  // A chain is as long as entities nest; its links are let go one by one.
  ~Segment() override {
    while (next && next->GetRefCount() == 1) next = Hux::SmartPtr<Segment>(std::move(next->next));
  }

  std::uint64_t Size() const { return static_cast<std::uint64_t>(end - begin); }

  const char* begin = nullptr;
  const char* end = nullptr;
  std::shared_ptr<const OxString> ownText;  // Null for the text of SetData().
  std::uint32_t lineStep = 0;
  std::uint32_t depth = 0;
  std::uint64_t behind = 0;  // Bytes of all the segments behind this one.
  Hux::SmartPtr<Segment> next;
};

// A place that is looked at without going there.
struct OxScanner::Place {
  const char* at;
  const Segment* segment;
};

// ---- Positions

OxScanner::Pos::Pos() = default;
OxScanner::Pos::Pos(const Pos& other) = default;
OxScanner::Pos& OxScanner::Pos::operator=(const Pos& other) = default;
OxScanner::Pos::~Pos() = default;

OxScanner::OxScanner() : at_(kNothing) {}

OxScanner::~OxScanner() = default;

OxScanner::Pos OxScanner::GetPos() const {
  Pos pos;
  pos.at_ = at_;
  pos.line_ = line_;
  pos.segment_ = segment_;
  return pos;
}

void OxScanner::SetPos(const Pos& pos) {
  if (!pos.segment_) return;
  Enter(pos.segment_);
  at_ = pos.at_;
  line_ = pos.line_;
}

void OxScanner::Enter(const Hux::SmartPtr<Segment>& segment) {
  at_ = segment->begin;
  lineStep_ = segment->lineStep;
  depth_ = segment->depth;
  segment_ = segment;
}

// ---- Input

void OxScanner::SetData(const OxString& text, std::uint32_t line) {
  auto segment = Hux::SmartPtr<Segment>::Adopt(new Segment());
  segment->begin = text.c_str();
  segment->end = segment->begin + text.size();
  segment->lineStep = 1;
  Enter(segment);
  line_ = line;
}

void OxScanner::PushData(const OxString& text) {
  if (!segment_ || text.empty()) return;
  auto rest = Hux::SmartPtr<Segment>::Adopt(new Segment());
  rest->begin = at_;
  rest->end = segment_->end;
  rest->ownText = segment_->ownText;
  rest->lineStep = segment_->lineStep;
  rest->depth = segment_->depth;
  rest->behind = segment_->behind;
  rest->next = segment_->next;
  auto pushed = Hux::SmartPtr<Segment>::Adopt(new Segment());
  pushed->ownText = std::make_shared<const OxString>(text);
  pushed->begin = pushed->ownText->c_str();
  pushed->end = pushed->begin + pushed->ownText->size();
  pushed->depth = segment_->depth + 1;
  pushed->behind = rest->Size() + rest->behind;
  pushed->next = rest;
  Enter(pushed);
}

bool OxScanner::NextSegment() {
  while (segment_ && at_ == segment_->end) {
    if (!segment_->next) return false;
    Enter(Hux::SmartPtr<Segment>(segment_->next));
  }
  if (!segment_) return false;
  if (*at_ == 0) throw OxString::const_iterator::OutOfBounds();
  return true;
}

bool OxScanner::IsEOF() const {
  if (!segment_) return true;
  const char* at = at_;
  for (const Segment* segment = segment_.get(); at == segment->end; at = segment->begin) {
    segment = segment->next.get();
    if (segment == nullptr) return true;
  }
  return false;
}

std::uint64_t OxScanner::BytesLeft() const {
  if (!segment_) return 0;
  return static_cast<std::uint64_t>(segment_->end - at_) + segment_->behind;
}

// ---- Reading

// The character at a place, which moves behind it.
bool OxScanner::Read(Place& place, std::uint32_t& c) {
  while (place.segment != nullptr && place.at == place.segment->end) {
    place.segment = place.segment->next.get();
    if (place.segment != nullptr) place.at = place.segment->begin;
  }
  if (place.segment == nullptr) return false;
  if (*place.at == 0) throw OxString::const_iterator::OutOfBounds();
  c = static_cast<std::uint32_t>(StringWalk::Decode(place.at));
  place.at += StringWalk::SequenceLength(place.at);
  return true;
}

bool OxScanner::Current(std::uint32_t& c) {
  if (*at_ == 0 && !NextSegment()) return false;
  c = static_cast<std::uint32_t>(StringWalk::Decode(at_));
  return true;
}

std::size_t OxScanner::StepOver() {
  if (*at_ == '\n') line_ += lineStep_;
  const std::size_t bytes = StringWalk::SequenceLength(at_);
  at_ += bytes;
  return bytes;
}

void OxScanner::AppendCurrent(OxString& out) {
  const std::size_t bytes = StepOver();
  out.append_valid({at_ - bytes, bytes});
}

std::uint32_t OxScanner::PeekAhead(std::size_t count) const {
  Place place{at_, segment_.get()};
  std::uint32_t c = 0;
  for (std::size_t i = 0; i <= count; ++i) {
    if (!Read(place, c)) return 0;
  }
  return c;
}

bool OxScanner::PeekAhead(const OxString& text) const {
  Place place{at_, segment_.get()};
  for (const unsigned long wanted : text) {
    std::uint32_t c = 0;
    if (!Read(place, c) || c != wanted) return false;
  }
  return true;
}

bool OxScanner::Advance(std::size_t count) {
  for (; count > 0; --count) {
    std::uint32_t c = 0;
    if (!Current(c)) return false;
    StepOver();
    std::uint32_t following = 0;
    if (c == '\r' && Current(following) && following == '\n') StepOver();
  }
  return true;
}

bool OxScanner::GetNextChar(std::uint32_t& out) {
  return Advance(1) && Current(out);
}

// ---- Matching

bool OxScanner::MatchBytes(const char* bytes, std::size_t count) {
  if (count == 0) return true;
  if ((*at_ == 0 && !NextSegment()) || *at_ != *bytes) return false;
  // Most of the time a difference, or the end of what is wanted, comes before that of the segment.
  std::size_t same = 1;
  while (same < count && at_[same] == bytes[same] && at_[same] != 0) ++same;
  if (same < count && at_[same] != 0) return false;
  const Pos start = GetPos();
  for (std::size_t i = 0; i < count; ++i) {
    if ((*at_ == 0 && !NextSegment()) || *at_ != bytes[i]) {
      SetPos(start);
      return false;
    }
    if (*at_ == '\n') line_ += lineStep_;
    ++at_;
  }
  return true;
}

bool OxScanner::Match(const OxString& text) {
  return MatchBytes(text.c_str(), text.size());
}

bool OxScanner::MatchASCII(const char* characters) {
  return MatchBytes(characters, std::strlen(characters));
}

bool OxScanner::MatchCodePoint(std::uint32_t codePoint) {
  std::uint32_t c = 0;
  if (!Current(c) || c != codePoint) return false;
  StepOver();
  return true;
}

bool OxScanner::MatchDigitChar(OxString& out) {
  std::uint32_t c = 0;
  if (!Current(c) || c < '0' || c > '9') return false;
  AppendCurrent(out);
  return true;
}

bool OxScanner::MatchDigits(MatchKind kind, OxString& out) {
  const bool any = MatchDigitChar(out);
  while (any && kind != kExactlyOne && MatchDigitChar(out)) {
  }
  return any || kind == kZeroOrMore;
}

bool OxScanner::MatchOneChoiceChar(const OxString& choices, OxString& out) {
  return MatchChoice(choices, kExactlyOne, out);
}

bool OxScanner::MatchChoice(const OxString& choices, MatchKind kind, OxString& out) {
  return Match([&](std::uint32_t c) { return choices.find(c) != -1; }, kind, out);
}
