#include "tests/macos/runtime/MessageSend.h"

#include "tests/macos/runtime/Classes.h"

// Compiled code calls objc_msgSend with the arguments of the method itself. So it must find the
// method without touching any register that an argument may be in, and then jump to it. Hence a few
// lines of assembly around two C++ functions that look methods up.

namespace objc {
namespace {

// A method that does not exist raises an exception in Foundation, from its own frame.
[[noreturn]] void reportUnrecognized(Object* receiver, Selector selector) {
  static const auto handler = registerSelector("doesNotRecognizeSelector:");
  if (findMethod(receiver->isa, handler) != nullptr) {
    send<void>(receiver, handler, selector);
  }
  fatal("unrecognized selector", selector);
}

[[noreturn]] void unrecognized(Object* receiver, Selector selector) {
  reportUnrecognized(receiver, selector);
}

// The first argument is the address for the result.
[[noreturn]] void unrecognizedWithStructResult(void* /*result*/, Object* receiver,
                                               Selector selector) {
  reportUnrecognized(receiver, selector);
}

Implementation implementationIn(const Class* aClass, Selector selector, bool structResult) {
  if (const auto* method = findMethod(aClass, selector)) return method->implementation;
  return structResult ? reinterpret_cast<Implementation>(&unrecognizedWithStructResult)
                      : reinterpret_cast<Implementation>(&unrecognized);
}

}  // namespace
}  // namespace objc

extern "C" {

objc::Implementation objcFind(const objc::Object* receiver, objc::Selector selector) {
  return objc::implementationIn(receiver->isa, selector, false);
}

objc::Implementation objcFindStruct(const objc::Object* receiver, objc::Selector selector) {
  return objc::implementationIn(receiver->isa, selector, true);
}

objc::Implementation objcFindSuper(const objc::Super* super, objc::Selector selector) {
  return objc::implementationIn(super->currentClass->superclass, selector, false);
}

objc::Implementation objcFindSuperStruct(const objc::Super* super, objc::Selector selector) {
  return objc::implementationIn(super->currentClass->superclass, selector, true);
}

}  // extern "C"

// SEND name, receiver, selector, find, toSuper
//   name      the entry point
//   receiver  register of the receiver: the first argument, or the second when the first is the
//             address of a result that does not fit into registers
//   selector  register of the selector, right behind it
//   find      the function above that finds the method
//   toSuper   1 when the receiver is a pointer to an objc::Super
//
// A message to nil gives zero in all result registers. Everything that may hold an argument (six
// integer registers, eight vector registers, and rax with the count of vector registers of a
// variadic call) is kept on the stack around the lookup.
asm(R"(
.macro SEND name, receiver, selector, find, toSuper
.globl \name
.type \name, @function
\name:
.cfi_startproc
.if \toSuper == 0
  testq \receiver, \receiver
  je 1f
.endif
  pushq %rbp
.cfi_def_cfa_offset 16
.cfi_offset %rbp, -16
  movq %rsp, %rbp
.cfi_def_cfa_register %rbp
  subq $192, %rsp
  movq %rdi, (%rsp)
  movq %rsi, 8(%rsp)
  movq %rdx, 16(%rsp)
  movq %rcx, 24(%rsp)
  movq %r8, 32(%rsp)
  movq %r9, 40(%rsp)
  movq %rax, 48(%rsp)
  movaps %xmm0, 64(%rsp)
  movaps %xmm1, 80(%rsp)
  movaps %xmm2, 96(%rsp)
  movaps %xmm3, 112(%rsp)
  movaps %xmm4, 128(%rsp)
  movaps %xmm5, 144(%rsp)
  movaps %xmm6, 160(%rsp)
  movaps %xmm7, 176(%rsp)
.ifnc \receiver, %rdi
  movq %rsi, %rdi
  movq %rdx, %rsi
.endif
  call \find
  movq %rax, %r11
  movq (%rsp), %rdi
  movq 8(%rsp), %rsi
  movq 16(%rsp), %rdx
  movq 24(%rsp), %rcx
  movq 32(%rsp), %r8
  movq 40(%rsp), %r9
  movq 48(%rsp), %rax
  movaps 64(%rsp), %xmm0
  movaps 80(%rsp), %xmm1
  movaps 96(%rsp), %xmm2
  movaps 112(%rsp), %xmm3
  movaps 128(%rsp), %xmm4
  movaps 144(%rsp), %xmm5
  movaps 160(%rsp), %xmm6
  movaps 176(%rsp), %xmm7
  leave
.cfi_def_cfa %rsp, 8
.if \toSuper
  movq (\receiver), \receiver
.endif
  jmp *%r11
.if \toSuper == 0
1:
  xorl %eax, %eax
  xorl %edx, %edx
  pxor %xmm0, %xmm0
  pxor %xmm1, %xmm1
  ret
.endif
.cfi_endproc
.size \name, . - \name
.endm

.text
SEND objc_msgSend, %rdi, %rsi, objcFind, 0
SEND objc_msgSend_stret, %rsi, %rdx, objcFindStruct, 0
SEND objc_msgSendSuper2, %rdi, %rsi, objcFindSuper, 1
SEND objc_msgSendSuper2_stret, %rsi, %rdx, objcFindSuperStruct, 1

# Results of type long double come back on the x87 stack, where nil must leave a zero too.
.globl objc_msgSend_fpret
.type objc_msgSend_fpret, @function
objc_msgSend_fpret:
  testq %rdi, %rdi
  jne objc_msgSend
  fldz
  ret
.size objc_msgSend_fpret, . - objc_msgSend_fpret
)");
