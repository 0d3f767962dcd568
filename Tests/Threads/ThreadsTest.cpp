#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Archive/OxDataFile.h"
#include "Signing/OxFileSigner.h"
#include "Signing/SigningFixtures.h"
#include "Support/TemporaryFolder.h"
#include "Utilities/TextDecoding.h"
#include "Xml/OxXMLParser.h"

// Threads that share nothing of their own; ThreadSanitizer sees what the library shares (preset "thread").

namespace {

// Parsing, reading and changing a document.
bool EditsADocument(const std::string& mark) {
  const std::string text = "<?xml version='1.0'?><!DOCTYPE r [<!ENTITY e 'E'>]><r id='" + mark +
                           "'><a b='&e;'>text<!--c--><![CDATA[d]]><?p q?></a></r>";
  const auto doc = OxXMLDoc::Make();
  OxXMLParser parser;
  if (parser.Parse(OxString(text.c_str()), doc).GetError() != OxXMLError::kNoError) return false;
  OxXMLNodeList all;
  doc->GetElementsByTagName("*", all);
  for (auto child = all.Item(1)->GetFirstChild(); child; child = child->GetNextSibling()) {
    if (child->GetName().u_str()[0] == 0) return false;
  }
  all.Item(1)->SetAttribute("c", OxString(mark.c_str()));
  doc->GetRoot()->AppendChild(all.Item(1)->Clone(true));
  doc->Index();
  const OxString written = doc->GetAsString(0);
  return written.contains("b=\"E\" c=") && doc->GetElementByID(OxString(mark.c_str())) == doc->GetRoot();
}

// Records that are scrambled on their way in and out.
bool KeepsRecords(const std::string& path, const std::string& mark) {
  constexpr std::uint32_t kTypeCode = 1;
  OxDataFile archive(kTypeCode, OxString(path.c_str()));
  if (!archive.Open(OxDataFile::kOpenRead | OxDataFile::kOpenWrite | OxDataFile::kOpenCreate |
                    OxDataFile::kOpenProtected)) {
    return false;
  }
  archive.AddRecord("name", mark.size(), mark.data());
  OxBuffer back;
  return archive.GetRecord("name", back) && back.view() == mark;
}

bool SignsAndVerifies(const std::string& path) {
  OxString signer;
  unsigned long trust = 0;
  const OxString file(path.c_str());
  const auto certificate = SigningFixtures::Signer("rsa1024.pem", "rsa1024.key");
  return OxFileSigner::Sign(file, OxString(), certificate) == OxFileSigner::kSuccess &&
         OxFileSigner::Verify(file, signer, trust) >= OxFileSigner::kNotTrusted && !signer.empty();
}

bool Decodes() {
  unsigned int encoding = kWobEncodingUnknown;
  const std::string bytes = "caf\x8E";
  return WobHandleCharacterEncodings(OxBuffer(bytes.data(), bytes.size()), encoding) ==
         OxString("caf\xC3\xA9");
}

// A document of its own, with what was imported and cloned from the others'.
bool ReadsItsCopies(OxXMLDoc& doc) {
  doc.Index();
  OxXMLNodeList all;
  doc.GetElementsByTagName("*", all);
  for (std::size_t i = 0; i < all.Length(); ++i) {
    const auto node = all.Item(i)->Clone(true);
    if (node->GetName().u_str()[0] == 0 || node->GetAttributes().Item(0)->GetName().u_str()[0] == 0)
      return false;
    for (auto child = node->GetFirstChild(); child; child = child->GetNextSibling()) {
      if (child->GetName().u_str()[0] == 0 || child->GetValue().u_str() == nullptr) return false;
    }
  }
  return all.Length() == 2;
}

TEST(Threads, DocumentsThatTookNodesFromOneAnother) {
  constexpr int kThreads = 4;
  const OxString text("<r a='1' b='2'><a b='3'>text<!--c--><?p q?></a></r>");
  const auto source = OxXMLDoc::Make();
  ASSERT_EQ(OxXMLParser().Parse(text, source).GetError(), OxXMLError::kNoError);
  const auto from = source->GetRoot()->GetAttributeNode("b");
  const Hux::SmartPtr<OxXMLTextNode> half = from->GetFirstChild();
  half->AppendData("more");
  half->SplitText(2);
  std::vector<Hux::SmartPtr<OxXMLDoc>> docs{source, source->Clone(true)};
  while (docs.size() < kThreads) {
    docs.push_back(OxXMLDoc::Make());
    Hux::SmartPtr<OxXMLNode> imported;
    ASSERT_EQ(docs.back()->ImportNode(docs[docs.size() - 2]->GetRoot(), true, imported), 0);
    docs.back()->AppendChild(imported);
  }
  from->RemoveChild(half);  // Shares its text with the attribute that leaves.
  docs.back()->GetRoot()->SetAttributeNode(from);
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (auto& doc : docs) {
    threads.emplace_back([&failures, own = std::move(doc)]() mutable {
      if (!ReadsItsCopies(*own)) ++failures;
      own = nullptr;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

TEST(Threads, EachWithObjectsOfItsOwn) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 20;
  const Support::TemporaryFolder folder;
  std::atomic<int> failures = 0;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, mark = "thread " + std::to_string(i)] {
      for (int round = 0; round < kRounds; ++round) {
        if (!EditsADocument(mark)) ++failures;
        if (!KeepsRecords(folder.Path(mark), mark)) ++failures;
        if (!SignsAndVerifies(folder.Write("content of " + mark, mark))) ++failures;
        if (!Decodes()) ++failures;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

}  // namespace
