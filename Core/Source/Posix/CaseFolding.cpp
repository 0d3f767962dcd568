#include "Posix/CaseFolding.h"

#include <unicode/uchar.h>

namespace Posix {

char32_t FoldCase(char32_t codePoint) {
  if (codePoint > UCHAR_MAX_VALUE) return codePoint;
  return static_cast<char32_t>(u_foldCase(static_cast<UChar32>(codePoint), U_FOLD_CASE_DEFAULT));
}

}  // namespace Posix
