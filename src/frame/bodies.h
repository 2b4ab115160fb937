// Declarations of the variant bodies behind every exported function.
//
// A family defines a body with KVP_BODY:
//
//   KvpStatus KVP_BODY(kvpiAbsDiff_8u_C1R)(const Kvp8u* pSrc1, ...) { ... }
//
// which names u8_kvpiAbsDiff_8u_C1R, or n8_... when the source is compiled
// for the second variant (files named *.dual.cpp are compiled twice). The
// declarations below give every body the exact type of its exported
// function, so a body whose parameters differ from the public header does
// not link.
#pragma once

#include "kvpcv.h"

#define KVP_LOCAL __attribute__((visibility("hidden")))

#ifdef KVP_VARIANT_N8
#define KVP_BODY(name) n8_##name
#define KVP_VARIANT_TAG "n8"
#else
#define KVP_BODY(name) u8_##name
#define KVP_VARIANT_TAG "u8"
#endif

extern "C" {
#define KVP_FN(name) KVP_LOCAL decltype(name) u8_##name;
#define KVP_FN2(name) KVP_LOCAL decltype(name) u8_##name, n8_##name;
#include "frame/exports.inc"
#undef KVP_FN
#undef KVP_FN2
}
