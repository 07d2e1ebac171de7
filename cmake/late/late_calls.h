// What the functions of a library that is loaded late are made of. Each has a slot with an address:
// at first that of a piece of code that finds the real function, from then on the function's own.
#pragma once

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#if defined(__x86_64__)

// r11 is the one register that a call may always spoil. All that arguments travel in is kept.
#define VELTRANE_LATE_FIND(library)                                   \
  "veltrane_late_find_" library                                       \
  ":\n"                                                               \
  "  pushq %rbp\n  movq %rsp, %rbp\n"                                 \
  "  pushq %rax\n  pushq %rdi\n  pushq %rsi\n  pushq %rdx\n"          \
  "  pushq %rcx\n  pushq %r8\n  pushq %r9\n  pushq %r11\n"            \
  "  subq $128, %rsp\n"                                               \
  "  movups %xmm0, (%rsp)\n  movups %xmm1, 16(%rsp)\n"                \
  "  movups %xmm2, 32(%rsp)\n  movups %xmm3, 48(%rsp)\n"              \
  "  movups %xmm4, 64(%rsp)\n  movups %xmm5, 80(%rsp)\n"              \
  "  movups %xmm6, 96(%rsp)\n  movups %xmm7, 112(%rsp)\n"             \
  "  movq %r11, %rdi\n"                                               \
  "  call veltrane_late_address_" library                             \
  "\n"                                                                \
  "  movups (%rsp), %xmm0\n  movups 16(%rsp), %xmm1\n"                \
  "  movups 32(%rsp), %xmm2\n  movups 48(%rsp), %xmm3\n"              \
  "  movups 64(%rsp), %xmm4\n  movups 80(%rsp), %xmm5\n"              \
  "  movups 96(%rsp), %xmm6\n  movups 112(%rsp), %xmm7\n"             \
  "  addq $128, %rsp\n"                                               \
  "  movq %rax, (%rsp)\n"                                             \
  "  popq %r11\n  popq %r9\n  popq %r8\n  popq %rcx\n"                \
  "  popq %rdx\n  popq %rsi\n  popq %rdi\n  popq %rax\n  popq %rbp\n" \
  "  jmpq *%r11\n"

#define VELTRANE_LATE_JUMP(library, function) \
  "  endbr64\n"                               \
  "  jmpq *.Lslot_" function                  \
  "(%rip)\n"                                  \
  ".Lfirst_" function                         \
  ":\n"                                       \
  "  endbr64\n"                               \
  "  leaq .Lslot_" function                   \
  "(%rip), %r11\n"                            \
  "  jmp veltrane_late_find_" library "\n"

#elif defined(__aarch64__)

// x16 and x17 are for such code as this.
#define VELTRANE_LATE_FIND(library)                      \
  "veltrane_late_find_" library                          \
  ":\n"                                                  \
  "  stp x29, x30, [sp, #-224]!\n  mov x29, sp\n"        \
  "  stp x0, x1, [sp, #16]\n  stp x2, x3, [sp, #32]\n"   \
  "  stp x4, x5, [sp, #48]\n  stp x6, x7, [sp, #64]\n"   \
  "  str x8, [sp, #80]\n"                                \
  "  stp q0, q1, [sp, #96]\n  stp q2, q3, [sp, #128]\n"  \
  "  stp q4, q5, [sp, #160]\n  stp q6, q7, [sp, #192]\n" \
  "  mov x0, x16\n"                                      \
  "  bl veltrane_late_address_" library                  \
  "\n"                                                   \
  "  mov x16, x0\n"                                      \
  "  ldp q0, q1, [sp, #96]\n  ldp q2, q3, [sp, #128]\n"  \
  "  ldp q4, q5, [sp, #160]\n  ldp q6, q7, [sp, #192]\n" \
  "  ldr x8, [sp, #80]\n"                                \
  "  ldp x0, x1, [sp, #16]\n  ldp x2, x3, [sp, #32]\n"   \
  "  ldp x4, x5, [sp, #48]\n  ldp x6, x7, [sp, #64]\n"   \
  "  ldp x29, x30, [sp], #224\n"                         \
  "  br x16\n"

#define VELTRANE_LATE_JUMP(library, function) \
  "  hint #34\n"                              \
  "  adrp x16, .Lslot_" function              \
  "\n"                                        \
  "  add x16, x16, :lo12:.Lslot_" function    \
  "\n"                                        \
  "  ldr x17, [x16]\n  br x17\n"              \
  ".Lfirst_" function                         \
  ":\n"                                       \
  "  hint #36\n"                              \
  "  b veltrane_late_find_" library "\n"

#else
#error "Build with VELTRANE_LOAD_LATE=OFF on this machine."
#endif

namespace veltrane::late {

/// What the code above hands over: where the address goes, then the name to look for.
struct Slot {
  void* address;
  const char* name;
};

inline void* find(void* library, Slot* slot) {
  void* const address = library ? dlsym(library, slot->name) : nullptr;
  if (!address) {
    // Callers have asked for the library before; so its file is another than was built with.
    std::fprintf(stderr, "%s: %s\n", slot->name, dlerror());
    std::abort();
  }
  __atomic_store_n(&slot->address, address, __ATOMIC_RELEASE);
  return address;
}

}  // namespace veltrane::late

// A library stays once it is there. It is looked for by the name that it is linked under, no path:
// who could put another one in its place could do so there too.
#define VELTRANE_LATE_LIBRARY(library, soname)                                                  \
  static void* veltrane_late_open_##library() {                                                 \
    static void* const opened = dlopen(soname, RTLD_LAZY | RTLD_LOCAL);                         \
    return opened;                                                                              \
  }                                                                                             \
  extern "C" bool veltrane_late_load_##library() {                                              \
    return veltrane_late_open_##library() != nullptr;                                           \
  }                                                                                             \
  extern "C" __attribute__((used, visibility("hidden"))) void* veltrane_late_address_##library( \
      veltrane::late::Slot* slot) {                                                             \
    return veltrane::late::find(veltrane_late_open_##library(), slot);                          \
  }                                                                                             \
  asm(".text\n.balign 16\n" VELTRANE_LATE_FIND(#library));

#define VELTRANE_LATE_CALL(library, function)                                        \
  asm(".section .rodata\n"                                                           \
      ".Lname_" #function ": .asciz \"" #function                                    \
      "\"\n"                                                                         \
      ".data\n.balign 8\n"                                                           \
      ".Lslot_" #function ": .quad .Lfirst_" #function "\n  .quad .Lname_" #function \
      "\n"                                                                           \
      ".text\n.balign 16\n"                                                          \
      ".globl veltrane_late_" #function "\n.hidden veltrane_late_" #function         \
      "\n"                                                                           \
      ".type veltrane_late_" #function                                               \
      ", @function\n"                                                                \
      "veltrane_late_" #function                                                     \
      ":\n" VELTRANE_LATE_JUMP(#library, #function) ".size veltrane_late_" #function \
                                                    ", . - veltrane_late_" #function "\n");
