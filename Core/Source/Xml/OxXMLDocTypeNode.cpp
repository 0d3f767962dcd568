#include "Xml/OxXMLDocTypeNode.h"

#include <utility>

#include "Xml/XMLText.h"

namespace {

void AppendLiteral(const OxString& literal, std::string& out) {
  const char quote = literal.find('"') == -1 ? '"' : '\'';
  out.append(1, ' ').append(1, quote).append(literal.view()).append(1, quote);
}

const OxString* Find(const auto& table, std::string_view name) {
  const auto found = table.find(name);
  return found == table.end() ? nullptr : &found->second;
}

}  // namespace

Hux::SmartPtr<OxXMLDocTypeNode> OxXMLDocTypeNode::Make(const OxXMLName& name) {
  return Hux::SmartPtr<OxXMLDocTypeNode>::Adopt(new OxXMLDocTypeNode(name));
}

OxString OxXMLDocTypeNode::GetAsString(int indent) const {
  std::string text;
  XMLText::AppendIndent(indent, text);
  text.append("<!DOCTYPE ").append(GetName().view());
  if (identifier_ == kSystem) {
    text.append(" SYSTEM");
    AppendLiteral(localPath_, text);
  } else if (identifier_ == kPublic) {
    text.append(" PUBLIC");
    AppendLiteral(publicID_, text);
    AppendLiteral(publicPath_, text);
  }
  if (!internalSubset_.empty()) text.append(" [").append(internalSubset_.view()).append("]");
  return OxString::from_valid(text.append(">"));
}

Hux::SmartPtr<OxXMLNode> OxXMLDocTypeNode::CloneSelf() const {
  const Hux::SmartPtr<OxXMLDocTypeNode> copy = Make(name_);
  copy->identifier_ = identifier_;
  copy->localPath_ = localPath_;
  copy->publicID_ = publicID_;
  copy->publicPath_ = publicPath_;
  copy->internalSubset_ = internalSubset_;
  copy->entities_ = entities_;
  copy->parameterEntities_ = parameterEntities_;
  copy->CopyFrom(*this);
  return copy;
}

// ---- External identifier

void OxXMLDocTypeNode::SetLocalPath(const OxString& path) {
  localPath_ = path;
  identifier_ = kSystem;
  publicID_.clear();
  publicPath_.clear();
}

void OxXMLDocTypeNode::SetPublicPath(const OxString& publicID, const OxString& path) {
  OxString freshID(publicID);
  publicPath_ = path;
  publicID_ = std::move(freshID);
  identifier_ = kPublic;
  localPath_.clear();
}

// ---- Entities

void OxXMLDocTypeNode::SetEntity(const OxString& name, const OxString& text) {
  entities_.try_emplace(std::string(name.view()), text);
}

void OxXMLDocTypeNode::SetParameterEntity(const OxString& name, const OxString& text) {
  parameterEntities_.try_emplace(std::string(name.view()), text);
}

const OxString* OxXMLDocTypeNode::FindEntity(std::string_view name) const {
  return Find(entities_, name);
}

const OxString* OxXMLDocTypeNode::FindParameterEntity(std::string_view name) const {
  return Find(parameterEntities_, name);
}

bool OxXMLDocTypeNode::GetEntity(const OxString& name, OxString& out) const {
  const std::string_view predefined = XMLText::PredefinedEntity(name.view());
  const OxString* declared = predefined.empty() ? FindEntity(name.view()) : nullptr;
  out = declared != nullptr ? *declared : OxString(predefined);
  return declared != nullptr || !predefined.empty();
}

bool OxXMLDocTypeNode::GetParameterEntity(const OxString& name, OxString& out) const {
  const OxString* declared = FindParameterEntity(name.view());
  out = declared != nullptr ? *declared : OxString();
  return declared != nullptr;
}
