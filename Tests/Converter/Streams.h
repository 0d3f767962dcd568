#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>

struct Printed {
  std::string out;
  std::string err;
};

/// What `job` prints on the two streams.
inline Printed Capture(const std::function<void()>& job) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  job();
  const std::string out = testing::internal::GetCapturedStdout();
  return {out, testing::internal::GetCapturedStderr()};
}
