#include <string>

#include <benchmark/benchmark.h>

#include "Foundation/OxString.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLError.h"
#include "Xml/OxXMLParser.h"
#include "Xml/OxXMLScanner.h"

namespace {

OxString Description(std::int64_t elements) {
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<widget>\n";
  for (std::int64_t i = 0; i < elements; ++i) {
    text += "  <image src=\"Images/face-" + std::to_string(i) +
            ".png\" hOffset=\"10\">One &amp; two</image>\n";
  }
  text += "</widget>\n";
  return OxString(text.data(), text.size());
}

// Names and the characters between them, like the tokens of a parser.
void BM_Scan(benchmark::State& state) {
  const OxString text = Description(state.range(0));
  for (auto _ : state) {
    OxXMLScanner scanner;
    scanner.SetData(text, 1);
    OxString name;
    while (scanner.PeekByte() != 0) {
      if (!scanner.MatchName(name)) scanner.TakeByte();
      scanner.SkipWhitespace();
    }
    benchmark::DoNotOptimize(name);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Scan)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

void BM_Parse(benchmark::State& state) {
  const OxString text = Description(state.range(0));
  for (auto _ : state) {
    Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
    OxXMLParser parser;
    const OxXMLError error = parser.Parse(text, document);
    benchmark::DoNotOptimize(error);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Parse)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

void BM_WriteOut(benchmark::State& state) {
  const OxString text = Description(state.range(0));
  Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
  OxXMLParser().Parse(text, document);
  for (auto _ : state) benchmark::DoNotOptimize(document->GetAsString(0));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_WriteOut)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

// Operations on a tree. The time of each must grow in proportion to the number of nodes.

using Operation = void (*)(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes);

void Append(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes) {
  for (std::int64_t i = 0; i < nodes; ++i) root.AppendChild(doc.CreateTextNode("text"));
}

void AppendAtDepth(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes) {
  Hux::SmartPtr<OxXMLNode> parent = Hux::make_ref<OxXMLNode>(&root);
  for (std::int64_t i = 0; i < nodes; ++i) {
    const Hux::SmartPtr<OxXMLNode> filled = doc.CreateElementNode("a");
    filled->AppendChild(doc.CreateElementNode("b"));
    parent->AppendChild(filled);
    parent = filled;
  }
}

void InsertAndRemoveInFront(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes) {
  root.AppendChild(doc.CreateTextNode("last"));
  for (std::int64_t i = 0; i < nodes; ++i) {
    root.InsertChildBefore(doc.CreateElementNode("a"), root.GetFirstChild());
  }
  while (root.HasChildNodes()) root.RemoveChild(root.GetFirstChild());
}

void AttributesByIndex(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes) {
  for (std::int64_t i = 0; i < nodes; ++i) root.SetAttribute(OxString(std::to_string(i).c_str()), "1");
  OxXMLNamedNodeMap& map = root.GetAttributes();
  for (std::size_t i = 0; i < map.Length(); ++i) {
    map.SetNamedItem(doc.CreateAttrNode(map.Item(i)->GetName(), "2"));
  }
  while (map.Length() > 0) map.RemoveItem(map.Item(map.Length() / 2));
}

void CloneIndexAndSearch(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes) {
  for (std::int64_t i = 0; i < nodes; ++i) root.AppendChild(doc.CreateElementNode("a"));
  const auto copy = doc.Clone(true);
  doc.Index();
  OxXMLNodeList list;
  copy->GetElementsByTagName("a", list);
}

// Reads text character by character; the characters have different lengths in bytes.
void SplitText(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes) {
  std::string text;
  for (std::int64_t i = 0; i < nodes; ++i) text += i % 2 == 0 ? "\xC3\xA9" : "e";
  Hux::SmartPtr<OxXMLTextNode> rest = doc.CreateTextNode(OxString(text.c_str()));
  root.AppendChild(rest);
  while (rest->GetLength() > 1) {
    benchmark::DoNotOptimize(rest->GetSubstring(0, 1));
    rest = rest->SplitText(1);
  }
}

void MergeTexts(OxXMLDoc& doc, OxXMLElementNode& root, std::int64_t nodes) {
  Append(doc, root, nodes);
  root.Normalize();
}

void BM_Tree(benchmark::State& state, Operation operation) {
  for (auto _ : state) {
    const Hux::SmartPtr<OxXMLDoc> doc = OxXMLDoc::Make();
    const Hux::SmartPtr<OxXMLElementNode> root = doc->CreateElementNode("root");
    doc->AppendChild(root);
    operation(*doc, *root, state.range(0));
  }
  state.SetComplexityN(state.range(0));
}
#define OX_TREE_BENCHMARK(operation)                  \
  BENCHMARK_CAPTURE(BM_Tree, operation, &(operation)) \
      ->RangeMultiplier(10)                           \
      ->Range(1000, 100000)                           \
      ->Complexity()
OX_TREE_BENCHMARK(Append);
OX_TREE_BENCHMARK(AppendAtDepth);
OX_TREE_BENCHMARK(InsertAndRemoveInFront);
OX_TREE_BENCHMARK(AttributesByIndex);
OX_TREE_BENCHMARK(CloneIndexAndSearch);
OX_TREE_BENCHMARK(SplitText);
OX_TREE_BENCHMARK(MergeTexts);

}  // namespace
