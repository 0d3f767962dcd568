#pragma once

#include <utility>

#include "Xml/OxXMLName.h"
#include "Xml/OxXMLNode.h"

/// A processing instruction: its name is the target, its value the data.
class OxXMLPINode : public OxXMLNode {
 public:
  /// An instruction without a document.
  static Hux::SmartPtr<OxXMLPINode> Make(const OxXMLName& target, OxString data);

  NodeType GetNodeType() const override { return kPINode; }
  const OxString& GetName() const override { return target_.text(); }
  OxString GetAsString(int indent) const override;
  Hux::SmartPtr<OxXMLNode> CloneSelf() const override;

 protected:
  /// An instruction without a document.
  OxXMLPINode(const OxXMLName& target, OxString data) : target_(target), data_(std::move(data)) {}

 private:
  OxXMLName* SharedName() override { return &target_; }
  const OxString& ValueText() const override { return data_; }
  OxString& EditValueText() override { return data_; }

  OxXMLName target_;
  OxString data_;
};
