#include "Xml/OxXMLDocTypeNode.h"

#include "Xml/XMLWriter.h"

namespace {

void AppendLiteral(OxString& out, const OxString& literal) {
  const char* quote = literal.find('"') == -1 ? "\"" : "'";
  out.append_valid(" ");
  out.append_valid(quote);
  out += literal;
  out.append_valid(quote);
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
  OxString text;
  XMLWriter::AppendIndent(text, indent);
  text.append_valid("<!DOCTYPE ");
  text += GetName();
  if (identifier_ == kSystem) {
    text.append_valid(" SYSTEM");
    AppendLiteral(text, localPath_);
  } else if (identifier_ == kPublic) {
    text.append_valid(" PUBLIC");
    AppendLiteral(text, publicID_);
    AppendLiteral(text, publicPath_);
  }
  if (!internalSubset_.empty()) {
    text.append_valid(" [");
    text += internalSubset_;
    text.append_valid("]");
  }
  text.append_valid(">");
  return text;
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
  copy->value_ = value_;
  copy->CopyFrom(*this);
  return copy;
}

// ---- External identifier

void OxXMLDocTypeNode::SetLocalPath(const OxString& path) {
  identifier_ = kSystem;
  localPath_ = path;
  publicID_.clear();
  publicPath_.clear();
}

void OxXMLDocTypeNode::SetPublicPath(const OxString& publicID, const OxString& path) {
  identifier_ = kPublic;
  localPath_.clear();
  publicID_ = publicID;
  publicPath_ = path;
}

// ---- Entities

std::string_view OxXMLDocTypeNode::PredefinedEntity(std::string_view name) {
  if (name == "lt") return "<";
  if (name == "gt") return ">";
  if (name == "amp") return "&";
  if (name == "quot") return "\"";
  if (name == "apos") return "'";
  return {};
}

void OxXMLDocTypeNode::SetEntity(const OxString& name, const OxString& text) {
  entities_.try_emplace(name, text);
}

void OxXMLDocTypeNode::SetParameterEntity(const OxString& name, const OxString& text) {
  parameterEntities_.try_emplace(name, text);
}

const OxString* OxXMLDocTypeNode::FindEntity(std::string_view name) const {
  return Find(entities_, name);
}

const OxString* OxXMLDocTypeNode::FindParameterEntity(std::string_view name) const {
  return Find(parameterEntities_, name);
}

bool OxXMLDocTypeNode::GetEntity(const OxString& name, OxString& out) const {
  const std::string_view predefined = PredefinedEntity(name.view());
  const OxString* declared = predefined.empty() ? FindEntity(name.view()) : nullptr;
  out = declared != nullptr ? *declared : OxString(predefined);
  return declared != nullptr || !predefined.empty();
}

bool OxXMLDocTypeNode::GetParameterEntity(const OxString& name, OxString& out) const {
  const OxString* declared = FindParameterEntity(name.view());
  out = declared != nullptr ? *declared : OxString();
  return declared != nullptr;
}
