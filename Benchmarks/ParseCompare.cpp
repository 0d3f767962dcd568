// parse_compare FILE ROUNDS [PARSER]: parses FILE with each parser in turn, ROUNDS times, and prints a line
// "PARSER MEDIAN_MS" for each. With PARSER (ox, libxml2, expat, pugixml) only that one runs, so that a caller can
// measure its memory; "none" loads the text and does not parse it.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <expat.h>
#include <libxml/parser.h>
#include <pugixml.hpp>

#include "Foundation/OxString.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLError.h"
#include "Xml/OxXMLParser.h"

namespace {

using Clock = std::chrono::steady_clock;

// Each parses, frees the result and returns whether the text was parsed.
using Parser = std::function<bool(const std::string& bytes, const OxString& text)>;

bool ParseWithOx(const std::string&, const OxString& text) {
  Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
  OxXMLParser parser;
  parser.SetStrict(false);
  return parser.Parse(text, document).GetError() == OxXMLError::kNoError &&
         document->GetRoot() != nullptr;
}

bool ParseWithLibxml2(const std::string& bytes, const OxString&) {
  xmlDoc* document = xmlReadMemory(bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr,
                                   XML_PARSE_HUGE | XML_PARSE_NONET);
  const bool parsed = document != nullptr;
  xmlFreeDoc(document);
  return parsed;
}

bool ParseWithExpat(const std::string& bytes, const OxString&) {
  XML_Parser parser = XML_ParserCreate(nullptr);
  XML_SetElementHandler(
      parser, [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
  XML_SetCharacterDataHandler(parser, [](void*, const XML_Char*, int) {});
  const bool parsed =
      XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), 1) == XML_STATUS_OK;
  XML_ParserFree(parser);
  return parsed;
}

bool ParseWithPugixml(const std::string& bytes, const OxString&) {
  pugi::xml_document document;
  return static_cast<bool>(document.load_buffer(bytes.data(), bytes.size()));
}

double MedianMilliseconds(std::vector<double>& times) {
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) {
    std::fputs("usage: parse_compare FILE ROUNDS [PARSER]\n", stderr);
    return 2;
  }
  // In one piece: memory that a growing buffer has freed would hide what a parser takes.
  std::string bytes(std::filesystem::file_size(argv[1]), 0);
  std::ifstream(argv[1], std::ios::binary)
      .read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  const OxString text(bytes.data(), bytes.size());
  const int rounds = std::atoi(argv[2]);
  const std::string only = argc > 3 ? argv[3] : "";

  const std::pair<const char*, Parser> parsers[] = {{"ox", ParseWithOx},
                                                    {"libxml2", ParseWithLibxml2},
                                                    {"expat", ParseWithExpat},
                                                    {"pugixml", ParseWithPugixml}};
  std::vector<std::vector<double>> times(std::size(parsers));
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < std::size(parsers); ++i) {
      if (!only.empty() && only != parsers[i].first) continue;
      const auto start = Clock::now();
      if (!parsers[i].second(bytes, text)) {
        std::fprintf(stderr, "%s does not parse the file\n", parsers[i].first);
        return 1;
      }
      times[i].push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
    }
  }
  for (std::size_t i = 0; i < std::size(parsers); ++i) {
    if (!times[i].empty()) std::printf("%s %.3f\n", parsers[i].first, MedianMilliseconds(times[i]));
  }
  return 0;
}
