#pragma once

#include "Foundation/OxString.h"

/// A file-system path as text, with "/" as the separator: OxPath("a\\b.png").leaf() is "b.png". Everything but
/// make_absolute() works on the text alone and never accesses the disk.
///   Normal form: no backslash; one trailing "/" removed when there is a relative part ("a//" keeps
///                one). Runs of "/", "." and ".." stay as they are.
///   Deliberate:  the extension rules look at the whole text, not only at the last component, and
///                equality ignores letter case.
///   Errors:      an operation that throws leaves the path unchanged.
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
  /// The text as system calls take it; on this platform the same text.
  const OxString& native_string() const { return text_; }

  OxString root_name() const { return {}; }  ///< A drive's name; always empty on this platform.
  OxString root_directory() const;           ///< "/" or empty.
  OxString root_path() const { return root_directory(); }  ///< Name and directory.
  bool has_root_name() const { return false; }             ///< Always false on this platform.
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
  /// Removes the last "." of the text and what follows.
  OxPath& trim_extension();
  /// Removes `extension` from the end. Deliberate: tested ignoring case but removed with exact case, so "a.PEM"
  /// with "pem" stays.
  OxPath& trim_extension(const OxString& extension);
  /// Appends the text as given: no dot, no normal form. Deliberate: a "/" that is appended to an empty path is not
  /// a root directory until normalize() is called.
  OxPath& append_extension(const OxString& extension);

  /// Joins with one "/" and normalises the result; a leading "/" of `component` is kept ("a" and "/b" become
  /// "a//b").
  OxPath& append_component(const OxPath& component);
  OxPath& append_component(const OxString& component) { return append_component(OxPath(component)); }
  OxPath& append_component(const char* component) { return append_component(OxPath(component)); }
  /// As append_component().
  OxPath& operator/=(const OxPath& component) { return append_component(component); }
  OxPath operator/(const OxPath& component) const;  ///< append_component() on a copy.

  bool operator==(const OxPath& other) const;  ///< Ignores letter case.

  OxPath& normalize();  ///< Brings the text to the normal form.
  /// Makes the path absolute against the working directory ("~" and "~user" against a home directory)
  /// and resolves it through the file system.
  OxPath& make_absolute();

 private:
  OxString text_;
  bool rootless_ = false;  // A leading "/" of the text is not a root directory.
};

/// The text of the parent of a path, and its last component.
OxString WobGetPathParent(const OxString& path);
OxString WobGetPathTerminal(const OxString& path);

/// The path without the separators at its end, however many; one of nothing else stays.
OxPath WithoutTrailingSlashes(const OxPath& path);
