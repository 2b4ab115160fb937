// State objects: the one allocation pattern of every family.
//
//   GetSize   reports stateBytes(payload) for the family's layout;
//   Init      builds the state in caller memory of at least that size, at any
//             alignment: the header and regions start at the first 64-byte
//             aligned address at or after the caller's pointer;
//   InitAlloc takes the same layout from kvpMalloc (which is 64-byte aligned);
//   Free      releases a block InitAlloc made.
//
// A family's state struct starts with a StateHead. The head records the
// family's kind tag (which function built it: type, channels, ...) and
// whether the block belongs to the library, so Free can refuse a state that
// Init built in caller memory and a working call can refuse a state of
// another kind. Sizes are formed in 64 bits; a block above 2147483647 bytes
// cannot be had (kvpStsNoMemory from InitAlloc, kvpStsBadSize from GetSize,
// unless the family says otherwise).
#pragma once

#include <new>
#include <type_traits>

#include "frame/alloc.h"
#include "kvpcore.h"

namespace kvp {

constexpr long long kStateAlign = 64;
constexpr long long kMaxBlock = 0x7fffffffLL;

struct StateHead {
  Kvp32u magic;  // kStateMagic while the state is alive
  Kvp32u kind;   // the family's tag of the building function
  Kvp32u owned;  // 1: InitAlloc's block, released by Free; 0: caller memory
};

constexpr Kvp32u kStateMagic = 0x6b767053u;  // "kvpS"

// Bytes of a block that holds `payload` bytes from its first 64-byte aligned
// address on, whatever the block's own alignment.
constexpr long long stateBytes(long long payload) { return payload + kStateAlign - 1; }

// Offset of the next region of `bytes` bytes after `offset`, at `align`.
constexpr long long regionAfter(long long offset, long long bytes, long long align = kStateAlign) {
  return (offset + bytes + align - 1) / align * align;
}

// The aligned header of a state block.
template <class S>
inline S* stateAt(void* block) {
  return alignUp<S>(block, (unsigned)kStateAlign);
}
template <class S>
inline const S* stateAt(const void* block) {
  return alignUp<S>(const_cast<void*>(block), (unsigned)kStateAlign);
}

// Builds a state in block: S is value-initialised at the aligned address,
// its head filled, then build(S*, regionBase) sets up the rest; regionBase is
// the aligned address itself (regions are offsets from it).
template <class S, class Build>
inline S* placeState(void* block, Kvp32u kind, bool owned, Build&& build) {
  static_assert(std::is_standard_layout_v<S>, "a state is a plain record");
  unsigned char* base = alignUp(block, (unsigned)kStateAlign);
  S* s = new (base) S{};
  StateHead& h = *reinterpret_cast<StateHead*>(s);
  h.magic = kStateMagic;
  h.kind = kind;
  h.owned = owned ? 1u : 0u;
  build(s, base);
  return s;
}

// InitAlloc's tail: one kvpMalloc block of payload bytes (already aligned),
// built by build(S*, base); the opaque state pointer is the block itself.
// Leaves *ppState untouched on failure.
template <class Opaque, class S, class Build>
inline KvpStatus allocState(long long payload, Kvp32u kind, Opaque** ppState, Build&& build) {
  if (payload < 1 || payload > kMaxBlock) return kvpStsNoMemory;
  void* block = kvpMalloc((int)payload);
  if (!block) return kvpStsNoMemory;
  placeState<S>(block, kind, true, build);
  *ppState = static_cast<Opaque*>(block);
  return kvpStsOk;
}

// Init's tail: the state in caller memory.
template <class Opaque, class S, class Build>
inline KvpStatus initState(void* mem, Kvp32u kind, Opaque** ppState, Build&& build) {
  placeState<S>(mem, kind, false, build);
  *ppState = static_cast<Opaque*>(mem);
  return kvpStsOk;
}

// The head of a live state, or null when p is not one.
inline const StateHead* stateHead(const void* p) {
  if (!p) return nullptr;
  const StateHead* h = stateAt<StateHead>(p);
  return h->magic == kStateMagic ? h : nullptr;
}

// Free: null -> kvpStsNullPtr; a state Init built -> kvpStsBadArg (nothing
// released); else the block is released.
inline KvpStatus freeState(void* p) {
  if (!p) return kvpStsNullPtr;
  StateHead* h = stateAt<StateHead>(p);
  if (h->magic != kStateMagic || !h->owned) return kvpStsBadArg;
  h->magic = 0;
  kvpFree(p);
  return kvpStsOk;
}

}  // namespace kvp
