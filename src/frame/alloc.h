// Typed wrappers over the core allocator: null for a count below 1,
// otherwise a 64-byte aligned block of count elements.
#pragma once

#include "kvpcore.h"

namespace kvp {

template <class T>
inline T* mallocN(int count) {
  if (count < 1) return nullptr;
  const long long bytes = (long long)count * (long long)sizeof(T);
  if (bytes > 0x7fffffffLL) return nullptr;
  return static_cast<T*>(kvpMalloc((int)bytes));
}

inline Kvp8u* kvpsMalloc_8u(int n) { return mallocN<Kvp8u>(n); }
inline Kvp16u* kvpsMalloc_16u(int n) { return mallocN<Kvp16u>(n); }
inline Kvp32f* kvpsMalloc_32f(int n) { return mallocN<Kvp32f>(n); }
inline Kvp32s* kvpsMalloc_32s(int n) { return mallocN<Kvp32s>(n); }
inline Kvp64f* kvpsMalloc_64f(int n) { return mallocN<Kvp64f>(n); }
inline void kvpsFree(void* p) { kvpFree(p); }

// Caller-buffer helpers: the first address at or after p aligned to a.
template <class T = unsigned char>
inline T* alignUp(void* p, unsigned a) {
  const auto v = reinterpret_cast<unsigned long long>(p);
  return reinterpret_cast<T*>((v + a - 1) & ~(unsigned long long)(a - 1));
}

}  // namespace kvp
