#pragma once

#include <vector>

#include "Foundation/OxBuffer.h"

/// The trusted roots that this program was built with.
class OxCertificateStore {
 public:
  /// One PEM text per root, in the order of the trust folder's list, without a terminator and
  /// without the last line end. The texts come from BuiltInTrust.h.
  static std::vector<OxBuffer> GetRootCerts();
};
