#include "Foundation/OxPath.h"

#include <algorithm>

#include "Posix/Paths.h"

namespace {

constexpr char kSeparator = '/';

OxString WithDot(const OxString& extension) {
  return extension.view().starts_with('.') ? extension : OxString(".") + extension;
}

// Expands "~" and "~/x" to the effective user's home, "~name" to another user's. For a user without an entry
// the text is unchanged.
std::string ExpandHome(const std::string& text) {
  const std::size_t nameEnd = std::min(text.find(kSeparator), text.size());
  const std::string name = text.substr(1, nameEnd - 1);
  const auto home = name.empty() ? Posix::HomeOfEffectiveUser() : Posix::HomeOfUser(name);
  return home ? *home + text.substr(nameEnd) : text;
}

}  // namespace

OxPath::OxPath(const OxString& text) : text_(text) {
  normalize();
}

OxPath& OxPath::operator=(const OxString& text) {
  return *this = OxPath(text);
}

void OxPath::clear() {
  text_.clear();
  rootless_ = false;
}

bool OxPath::has_root_directory() const {
  return !rootless_ && text_.view().starts_with(kSeparator);
}

bool OxPath::has_relative_path() const {
  return text_.view().size() > (has_root_directory() ? 1U : 0U);
}

OxString OxPath::root_directory() const {
  return has_root_directory() ? OxString("/") : OxString();
}

OxString OxPath::relative_path() const {
  return has_root_directory() ? text_.substr(1, -1) : text_;
}

OxString OxPath::leaf() const {
  if (!has_relative_path()) return root_directory();
  const std::string_view text = text_.view();
  const std::size_t separator = text.rfind(kSeparator);
  return separator == std::string_view::npos ? text_ : OxString(text.substr(separator + 1));
}

OxString OxPath::basename() const {
  const OxString last = leaf();
  const std::size_t dot = last.view().rfind('.');
  return dot == std::string_view::npos ? last : OxString(last.view().substr(0, dot));
}

OxPath OxPath::branch_path() const {
  if (!has_relative_path()) return {};
  const std::string_view text = text_.view();
  const std::size_t separator = text.rfind(kSeparator);
  if (separator == std::string_view::npos) return {};
  if (separator == 0) return OxPath(root_directory());
  return OxPath(OxString(text.substr(0, separator)));
}

OxPath& OxPath::trim_component() {
  return *this = branch_path();
}

OxString OxPath::extension() const {
  const std::size_t dot = text_.view().rfind('.');
  return dot == std::string_view::npos ? OxString() : OxString(text_.view().substr(dot + 1));
}

bool OxPath::has_extension(const OxString& extension) const {
  return text_.ends_with_nocase(WithDot(extension));
}

OxPath& OxPath::trim_extension() {
  const std::size_t dot = text_.view().rfind('.');
  if (dot != std::string_view::npos) text_ = OxString(text_.view().substr(0, dot));
  return *this;
}

OxPath& OxPath::trim_extension(const OxString& extension) {
  const OxString suffix = WithDot(extension);
  if (!text_.ends_with_nocase(suffix)) return *this;
  const OxString::Index found = text_.rfind(suffix, -1);
  if (found >= 0) *this = text_.substr(0, found);
  return *this;
}

OxPath& OxPath::append_extension(const OxString& extension) {
  const bool rooted = has_root_directory();
  text_ += extension;
  rootless_ = !rooted;
  return *this;
}

OxPath& OxPath::append_component(const OxPath& component) {
  OxString joined = text_;
  if (has_relative_path()) joined += kSeparator;
  joined += component.text_;
  return *this = joined;
}

OxPath OxPath::operator/(const OxPath& component) const {
  OxPath joined(*this);
  joined /= component;
  return joined;
}

bool OxPath::operator==(const OxPath& other) const {
  return text_.compare(other.text_, OxString::kCaseInsensitive) == 0;
}

OxPath& OxPath::normalize() {
  text_.replace('\\', kSeparator);
  rootless_ = false;
  if (has_relative_path() && text_.view().ends_with(kSeparator)) {
    text_.erase(text_.length() - 1, -1);
  }
  return *this;
}

OxPath& OxPath::make_absolute() {
  if (has_root_directory()) return normalize();
  const std::string text(text_.view());
  return *this = OxString(Posix::ResolvePath(text.starts_with('~') ? ExpandHome(text) : text));
}

OxString WobGetPathParent(const OxString& path) {
  return OxPath(path).trim_component().native_string();
}

OxString WobGetPathTerminal(const OxString& path) {
  return OxPath(path).leaf();
}

OxPath WithoutTrailingSlashes(const OxPath& path) {
  const std::string_view text = path.native_string().view();
  const std::size_t last = text.find_last_not_of('/');
  return last == std::string_view::npos ? path : OxPath(OxString(text.substr(0, last + 1)));
}
