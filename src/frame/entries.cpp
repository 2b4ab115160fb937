// Entry stubs and two-entry tables of every exported function.
//
// For each line of exports.inc this file emits, in assembly:
//   - NAME_arraddr: a global table in writable data holding the u8 and the n8
//     body, in that order;
//   - NAME: the exported stub, which loads the code-path index, loads the
//     table entry and jumps to it. No frame, no call, no test: arguments and
//     the return address pass through untouched.
// The stub reaches the index and its table through local labels, so the
// jumps bind inside the library even though the symbols are exported.
#include "frame/bodies.h"

#define KVP_STR2(x) #x
#define KVP_STR(x) KVP_STR2(x)

// The code-path index (zero-filled storage: 0 = u8 before anything runs) and
// the marker of the uninitialised state. kvp_index_local is a hidden alias
// through which the initialiser writes.
asm(R"(
    .bss
    .balign 4
    .globl kvpJumpIndexForMergedDLL
    .type kvpJumpIndexForMergedDLL, @object
    .size kvpJumpIndexForMergedDLL, 4
    .globl kvp_index_local
    .hidden kvp_index_local
kvpJumpIndexForMergedDLL:
kvp_index_local:
.Lkvp_index:
    .zero 4
    .globl USE_NOT_INITED
    .set USE_NOT_INITED, -1
    .text
)");

// clang-format off
#define KVP_ENTRY(name, body0, body1)                                   \
  asm("    .data\n"                                                     \
      "    .balign 8\n"                                                 \
      "    .globl " #name "_arraddr\n"                                  \
      "    .type " #name "_arraddr, @object\n"                          \
      "    .size " #name "_arraddr, 16\n" #name "_arraddr:\n"           \
      ".Ltab_" #name ":\n"                                              \
      "    .quad " #body0 "\n"                                          \
      "    .quad " #body1 "\n"                                          \
      "    .text\n"                                                     \
      "    .p2align 4\n"                                                \
      "    .globl " #name "\n"                                          \
      "    .type " #name ", @function\n" #name ":\n"                    \
      "    movslq .Lkvp_index(%rip), %rax\n"                            \
      "    leaq .Ltab_" #name "(%rip), %r11\n"                          \
      "    jmp *(%r11,%rax,8)\n"                                        \
      "    .size " #name ", .-" #name "\n");

// clang-format on
#define KVP_FN(name) KVP_ENTRY(name, u8_##name, u8_##name)
#define KVP_FN2(name) KVP_ENTRY(name, u8_##name, n8_##name)
#include "frame/exports.inc"
#undef KVP_FN
#undef KVP_FN2

// Take the address of every body once from C++ so the compiler sees them
// used and the types are checked against the public declarations.
namespace {
#define KVP_FN(name) static_assert(sizeof(&u8_##name) == sizeof(void*));
#define KVP_FN2(name) KVP_FN(name) static_assert(sizeof(&n8_##name) == sizeof(void*));
#include "frame/exports.inc"
#undef KVP_FN
#undef KVP_FN2
}  // namespace
