// Workloads for the concurrency test: each runs one family's functions on
// data made from a seed and returns every output byte (and status). A
// workload owns all its data, so concurrent runs share nothing.
#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace kvt {

struct Workload {
  std::string name;
  std::function<std::vector<uint8_t>(uint64_t seed)> run;
};

// All workloads, in registration order.
std::vector<Workload>& workloads();
int addWorkload(const char* name, std::function<std::vector<uint8_t>(uint64_t)> run);

// Appends the raw bytes of a value or an array to a result.
template <class T>
void append(std::vector<uint8_t>& out, const T* p, size_t count) {
  const size_t at = out.size(), bytes = count * sizeof(T);
  out.resize(at + bytes);
  if (bytes) std::memcpy(out.data() + at, p, bytes);
}
template <class T>
void append(std::vector<uint8_t>& out, const std::vector<T>& v) {
  append(out, v.data(), v.size());
}

}  // namespace kvt

#define KVT_CONCAT2(a, b) a##b
#define KVT_CONCAT(a, b) KVT_CONCAT2(a, b)
#define KVT_WORKLOAD(name, fn) \
  static const int KVT_CONCAT(kvtWorkload_, __LINE__) = kvt::addWorkload(name, fn)
