#pragma once

#include <string>

#include "Foundation/OxPath.h"
#include "Foundation/OxString.h"

namespace Support {

inline std::string Text(const OxString& text) {
  return std::string(text.view());
}
inline std::string Text(const OxPath& path) {
  return Text(path.native_string());
}
inline std::string Text(const OxBuffer& bytes) {
  return std::string(bytes.view());
}

}  // namespace Support
