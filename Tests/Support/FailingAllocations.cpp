#include "Support/FailingAllocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local int callsUntilFailure = 0;  // 0 if none is to fail
thread_local bool hasFired = false;

bool MustFail() {
  if (callsUntilFailure == 0 || --callsUntilFailure > 0) return false;
  hasFired = true;
  return true;
}

void* Allocate(std::size_t size) {
  return MustFail() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

// aligned_alloc() requires a multiple of the alignment.
void* Allocate(std::size_t size, std::align_val_t alignment) {
  const auto unit = static_cast<std::size_t>(alignment);
  if (MustFail() || size > static_cast<std::size_t>(-1) - unit) return nullptr;
  return std::aligned_alloc(unit, (size + unit) / unit * unit);
}

void* OrThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

Support::FailingAllocations::FailingAllocations(int failAt) {
  hasFired = false;
  callsUntilFailure = failAt;
}

Support::FailingAllocations::~FailingAllocations() {
  callsUntilFailure = 0;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): Fired() is about one object.
bool Support::FailingAllocations::Fired() const {
  return hasFired;
}

void* operator new(std::size_t size) {
  return OrThrow(Allocate(size));
}
void* operator new[](std::size_t size) {
  return OrThrow(Allocate(size));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return OrThrow(Allocate(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return OrThrow(Allocate(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment,
                   const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment,
                     const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size, alignment);
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::align_val_t /*alignment*/,
                     const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::align_val_t /*alignment*/,
                       const std::nothrow_t& /*tag*/) noexcept {
  std::free(memory);
}
