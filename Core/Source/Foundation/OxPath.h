#pragma once

#include "Foundation/OxString.h"

/// A file-system path as text, with "/" as the separator. Everything but make_absolute() works on the
/// text alone and never looks at the disk.
///   Normal form: no backslash; one trailing "/" removed when there is a relative part ("a//" keeps
///                one). Runs of "/", "." and ".." stay as they are.
///   Deliberate:  the extension rules look at the whole text, not only at the last component, and
///                equality ignores letter case.
///   Errors:      an operation that throws leaves the path as it was.
class OxPath {
 public:
  OxPath() = default;
  /// The text in normal form.
  OxPath(const OxString& text);
  OxPath(const char* text) : OxPath(OxString(text)) {}
  /// The text in normal form.
  OxPath& operator=(const OxString& text);
  OxPath& operator=(const char* text) { return *this = OxString(text); }

  void clear();  ///< Makes the path empty.

  const OxString& portable_string() const { return text_; }  ///< The text, with "/".
  /// The text as this system's calls take it: the same.
  const OxString& native_string() const { return text_; }

  OxString root_name() const { return {}; }                ///< A drive's name; this platform has none.
  OxString root_directory() const;                         ///< "/" or empty.
  OxString root_path() const { return root_directory(); }  ///< Name and directory.
  bool has_root_name() const { return false; }             ///< Never here.
  bool has_root_directory() const;  ///< Whether the text begins with "/"; see append_extension().
  bool has_relative_path() const;   ///< Whether anything follows the root.
  bool is_complete() const { return has_root_directory(); }  ///< Whether the path is absolute.
  OxString relative_path() const;                            ///< The text without the root.

  OxString leaf() const;       ///< The last component; "/" for the path "/".
  OxString basename() const;   ///< The leaf without its last "." and what follows.
  OxPath branch_path() const;  ///< The parent; empty for a lone component and for "/".
  OxPath& trim_component();    ///< This path becomes its parent.

  /// What follows the last "." of the whole text: "d/file" for "dir.d/file".
  OxString extension() const;
  /// Whether the text ends with "." and `extension` (a leading dot is optional), ignoring case.
  bool has_extension(const OxString& extension) const;
  /// Cuts the text at its last ".".
  OxPath& trim_extension();
  /// Cuts `extension` off. Deliberate: found ignoring case but cut with exact case, so "a.PEM" with
  /// "pem" stays.
  OxPath& trim_extension(const OxString& extension);
  /// Appends the text as given: no dot, no normal form. Deliberate: a "/" that an empty path gets so is no
  /// root directory until the path is brought to the normal form.
  OxPath& append_extension(const OxString& extension);

  /// Joins with one "/" and brings the result to the normal form; a "/" that `component` begins with
  /// stays ("a" and "/b" give "a//b").
  OxPath& append_component(const OxPath& component);
  OxPath& append_component(const OxString& component) { return append_component(OxPath(component)); }
  OxPath& append_component(const char* component) { return append_component(OxPath(component)); }
  /// As append_component().
  OxPath& operator/=(const OxPath& component) { return append_component(component); }
  OxPath operator/(const OxPath& component) const;  ///< The same on a copy.

  bool operator==(const OxPath& other) const;  ///< Ignores letter case.

  OxPath& normalize();  ///< Brings the text to the normal form.
  /// Makes the path absolute against the working directory ("~" and "~user" against a home directory)
  /// and resolves it through the file system.
  OxPath& make_absolute();

 private:
  OxString text_;
  bool rootless_ = false;  // The text may begin with "/", which is no root.
};

/// The text of the parent of a path, and its last component.
OxString WobGetPathParent(const OxString& path);
OxString WobGetPathTerminal(const OxString& path);
