#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "Xml/OxXMLName.h"
#include "Xml/OxXMLNode.h"

/// A document type declaration: its name is the root element's, and its entities are those that the
/// internal subset declares. It carries a SYSTEM or a PUBLIC identifier or none, never both; none until one is
/// set. A literal may be empty, so only GetAsString() tells an empty identifier from none.
class OxXMLDocTypeNode : public OxXMLNode {
 public:
  /// A declaration without a document.
  static Hux::SmartPtr<OxXMLDocTypeNode> Make(const OxXMLName& name);

  NodeType GetNodeType() const override { return kDocTypeNode; }
  const OxString& GetName() const override { return name_.text(); }
  /// A literal is written in quotes, or in apostrophes when it holds a quote. Nothing is escaped: what no
  /// parser makes, a literal with both or a subset with a "]", does not survive parsing.
  OxString GetAsString(int indent) const override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

  /// Sets the system literal of a SYSTEM identifier and clears the public fields.
  void SetLocalPath(const OxString& path);
  /// Sets both literals of a PUBLIC identifier and clears the local path.
  void SetPublicPath(const OxString& publicID, const OxString& path);
  const OxString& GetLocalPath() const { return localPath_; }    ///< Empty without a SYSTEM identifier.
  const OxString& GetPublicID() const { return publicID_; }      ///< Empty without a PUBLIC identifier.
  const OxString& GetPublicPath() const { return publicPath_; }  ///< Empty without a PUBLIC identifier.

  /// The text between "[" and "]", trimmed.
  void SetInternalSubset(const OxString& text) { internalSubset_ = text; }
  const OxString& GetInternalSubset() const { return internalSubset_; }  ///< Empty when there is none.

  /// The first text that is set for a name stays; later ones are ignored.
  void SetEntity(const OxString& name, const OxString& text);
  /// The same for a parameter entity, referred to with "%".
  void SetParameterEntity(const OxString& name, const OxString& text);
  /// Whether the entity is known; `out` is its replacement text, or empty. The five predefined names
  /// (lt, gt, amp, quot, apos) always give their character.
  bool GetEntity(const OxString& name, OxString& out) const;
  /// The same for a parameter entity; nothing is predefined.
  bool GetParameterEntity(const OxString& name, OxString& out) const;

  /// The stored text of a declared entity, or null. It stays where it is as long as this node lives.
  const OxString* FindEntity(std::string_view name) const;
  /// The same for a parameter entity.
  const OxString* FindParameterEntity(std::string_view name) const;

 protected:
  /// A declaration without a document.
  explicit OxXMLDocTypeNode(const OxXMLName& name) : name_(name) {}

 private:
  OxXMLName* SharedName() override { return &name_; }

  using EntityTable = std::map<std::string, OxString, std::less<>>;

  OxXMLName name_;
  enum { kNone, kSystem, kPublic } identifier_ = kNone;
  OxString localPath_;
  OxString publicID_;
  OxString publicPath_;
  OxString internalSubset_;
  EntityTable entities_;
  EntityTable parameterEntities_;
};
