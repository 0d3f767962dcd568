#pragma once

#include "Xml/OxXMLDoc.h"
#include "Xml/XMLExpansion.h"

/// For operations that read values all over a tree: while this lives, the attributes of the node's document
/// share one budget, instead of having one each for each time that they are read.
class XMLSharedBudget {
 public:
  /// Nothing for a node without a document, or when an operation around this one has begun already.
  explicit XMLSharedBudget(const OxXMLNode& node) : document_(node.GetOwnerDocument()) {
    if (document_ && document_->sharedBudget_ != nullptr) document_ = nullptr;
    if (document_) document_->sharedBudget_ = &budget_;
  }
  XMLSharedBudget(const XMLSharedBudget&) = delete;
  XMLSharedBudget& operator=(const XMLSharedBudget&) = delete;
  ~XMLSharedBudget() {
    if (document_) document_->sharedBudget_ = nullptr;
  }

 private:
  XMLExpansionBudget budget_{0};
  Hux::SmartPtr<OxXMLDoc> document_;
};
