#include "Support/DocumentDump.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

std::string BytesOf(std::istringstream& fields) {
  std::string bytes;
  for (std::string field; fields >> field && field != "|";) {
    if (field.front() == '"') {
      // The text may hold blanks, at which reading stopped.
      for (std::string more; field.size() == 1 || field.back() != '"'; field += ' ' + more) {
        if (!(fields >> more)) throw std::runtime_error("a quote is not closed: " + field);
      }
      bytes += field.substr(1, field.size() - 2);
    } else {
      bytes += static_cast<char>(std::stoi(field, nullptr, 16));
    }
  }
  return bytes;
}

}  // namespace

std::string Support::DocumentDump(const std::string& document, int number) {
  std::ifstream file(OX_SOURCE_DIR "/Docs/" + document);
  std::string bytes, line;
  while (number > 0 && std::getline(file, line)) number -= line == "```dump" ? 1 : 0;
  if (!file) throw std::runtime_error(document + " has no such dump");
  while (std::getline(file, line) && line != "```") {
    std::istringstream fields(line);
    std::size_t offset = 0;
    if (!(fields >> offset) || offset != bytes.size()) throw std::runtime_error("offset of: " + line);
    bytes += BytesOf(fields);
  }
  return bytes;
}
