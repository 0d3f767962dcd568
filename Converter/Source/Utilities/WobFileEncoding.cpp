#include <atomic>

#include "Utilities/TextDecoding.h"

namespace {

std::atomic<unsigned int> g_wobFileEncoding = kWobEncodingUnknown;

}  // namespace

unsigned int WobGetWobFileEncoding() {
  return g_wobFileEncoding;
}

void WobSetWobFileEncoding(unsigned int encoding) {
  g_wobFileEncoding = encoding;
}
