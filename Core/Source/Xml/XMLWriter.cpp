#include "Xml/XMLWriter.h"

#include <cstdint>
#include <limits>
#include <new>
#include <typeinfo>

#include "Xml/OxXMLAttrNode.h"
#include "Xml/OxXMLNamedNodeMap.h"
#include "Xml/XMLExpansion.h"
#include "Xml/XMLTree.h"

namespace {

constexpr std::string_view kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";
constexpr std::string_view kIndentUnit = "  ";

bool IsDocument(const OxXMLNode& node) {
  return node.GetNodeType() == OxXMLNode::kDocumentNode;
}

// By how much the children of a node are indented more than the node.
int ChildStep(const OxXMLNode& node, int indent) {
  return IsDocument(node) || indent < 0 ? 0 : 1;
}

// Text is written inline, so an element that holds nothing else ends on the line on which it began.
bool HoldsMoreThanText(const OxXMLNode& element) {
  const OxXMLNode* child = XMLTree::FirstChild(element);
  while (child != nullptr && child->GetNodeType() == OxXMLNode::kTextNode) child = XMLTree::Next(*child);
  return child != nullptr;
}

// Goes through a tree in document order: `enter(node, indent)` for every node, and `leave(node, indent)`
// behind the last child of each that has children.
template <typename Enter, typename Leave>
void Walk(const OxXMLNode& top, int indent, Enter enter, Leave leave) {
  const OxXMLNode* node = &top;
  for (;;) {
    enter(*node, indent);
    if (const OxXMLNode* child = XMLTree::FirstChild(*node)) {
      indent += ChildStep(*node, indent);
      node = child;
      continue;
    }
    while (node != &top && XMLTree::Next(*node) == nullptr) {
      node = XMLTree::Parent(*node);
      indent -= ChildStep(*node, indent);
      leave(*node, indent);
    }
    if (node == &top) return;
    node = XMLTree::Next(*node);
  }
}

// How often the depth of a node is indented, but for its end tag.
std::uint64_t IndentsInFront(const OxXMLNode& node) {
  switch (node.GetNodeType()) {
    case OxXMLNode::kTextNode:
      return 0;
    case OxXMLNode::kCDATANode:
      return 2;
    default:
      return 1;
  }
}

// Nested deep enough, a small tree has far more indentation than anything can hold.
std::uint64_t IndentBytes(const OxXMLNode& top, int indent) {
  if (indent < 0) return 0;
  std::uint64_t units = 0;
  const auto enter = [&units](const OxXMLNode& node, int depth) {
    units += IndentsInFront(node) * static_cast<unsigned>(depth);
  };
  const auto leave = [&units](const OxXMLNode& node, int depth) {
    if (!IsDocument(node) && HoldsMoreThanText(node)) units += static_cast<unsigned>(depth);
  };
  Walk(top, indent, enter, leave);
  return units * kIndentUnit.size();
}

// An attribute of a derived class writes itself.
void AppendAttribute(OxString& out, const OxXMLNode& attribute, int indent, XMLExpansionBudget& budget) {
  out.append_valid(" ");
  if (typeid(attribute) != typeid(OxXMLAttrNode)) {
    out += attribute.GetAsString(indent);
    return;
  }
  out += attribute.GetName();
  XMLWriter::AppendValue(out, OxXMLAttrNode::ValueOf(attribute, budget).view());
}

void AppendStart(OxString& out, const OxXMLNode& element, int indent, XMLExpansionBudget& budget) {
  out.append_valid("\n");
  XMLWriter::AppendIndent(out, indent);
  out.append_valid("<");
  out += element.GetName();
  if (const OxXMLNamedNodeMap* attributes = XMLTree::Attributes(element)) {
    attributes->ForEach([&](const Hux::SmartPtr<OxXMLNode>& attribute) {
      AppendAttribute(out, *attribute, indent, budget);
    });
  }
  out.append_valid(XMLTree::FirstChild(element) == nullptr ? "/>" : ">");
}

void AppendEnd(OxString& out, const OxXMLNode& element, int indent) {
  if (HoldsMoreThanText(element)) {
    out.append_valid("\n");
    XMLWriter::AppendIndent(out, indent);
  }
  out.append_valid("</");
  out += element.GetName();
  out.append_valid(">");
}

std::string_view EscapeOf(char byte) {
  switch (byte) {
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '&':
      return "&amp;";
    case '"':
      return "&quot;";
    case '\'':
      return "&apos;";
    case '\n':
      return "&#10;";
    case '\r':
      return "&#13;";
    default:
      return "&#9;";
  }
}

}  // namespace

OxString XMLWriter::Write(const OxXMLNode& top, int indent) {
  if (IndentBytes(top, indent) > std::numeric_limits<std::uint32_t>::max()) throw std::bad_alloc();
  XMLExpansionBudget budget(0);
  OxString out;
  const auto enter = [&out, &budget](const OxXMLNode& node, int depth) {
    if (IsDocument(node)) {
      AppendIndent(out, depth);
      out.append_valid(kDeclaration);
    } else if (node.GetNodeType() == OxXMLNode::kElementNode) {
      AppendStart(out, node, depth, budget);
    } else {
      out += node.GetAsString(depth);
    }
  };
  const auto leave = [&out](const OxXMLNode& node, int depth) {
    if (!IsDocument(node)) AppendEnd(out, node, depth);
  };
  Walk(top, indent, enter, leave);
  return out;
}

void XMLWriter::AppendEscaped(OxString& out, std::string_view text, bool escapeWhitespace) {
  const std::string_view escaped = escapeWhitespace ? "<>&\"'\n\r\t" : "<>&\"'";
  for (;;) {
    const std::size_t found = text.find_first_of(escaped);
    out.append_valid(text.substr(0, found));
    if (found == std::string_view::npos) return;
    out.append_valid(EscapeOf(text[found]));
    text.remove_prefix(found + 1);
  }
}

void XMLWriter::AppendValue(OxString& out, std::string_view value) {
  out.append_valid("=\"");
  AppendEscaped(out, value, true);
  out.append_valid("\"");
}

void XMLWriter::AppendIndent(OxString& out, int indent) {
  for (; indent > 0; --indent) out.append_valid(kIndentUnit);
}

OxString OxXMLNode::IndentString(int indent, const OxString& text) {
  OxString indented;
  XMLWriter::AppendIndent(indented, indent);
  return indented += text;
}

OxString OxXMLNode::Escape(const OxString& text, bool escapeWhitespace) {
  OxString escaped;
  XMLWriter::AppendEscaped(escaped, text.view(), escapeWhitespace);
  return escaped;
}
