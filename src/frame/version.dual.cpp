// The version record, one constant instance per code path.
#include "frame/bodies.h"

namespace {
#ifdef KVP_VARIANT_N8
constexpr KvpLibraryVersion kVersion = {
    7, 1, 1, 37466, "n8", "kvpCV Lumo (n8)", "7.1.1 (r37466)", "Sep 24 2012"};
#else
constexpr KvpLibraryVersion kVersion = {
    7, 1, 1, 37466, "u8", "kvpCV SSSE3 (u8)", "7.1.1 (r37466)", "Sep 24 2012"};
#endif
}  // namespace

const KvpLibraryVersion* KVP_BODY(kvpcvGetLibVersion)(void) { return &kVersion; }
