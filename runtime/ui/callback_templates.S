// Code that turns a callback without a context into a call of a virtual operation. Each template
// loads the marker as the address of an object and goes on in an entry of the object's table with
// the object as an additional first argument. Written out, since a compiler may place, split or
// instrument the code of a function as it likes.

#define NAME2(prefix, name) prefix##name
#define NAME1(prefix, name) NAME2(prefix, name)
#define NAME(name) NAME1(__USER_LABEL_PREFIX__, name)

#define MARKER 0x17171717
// GCC gives a virtual destructor two entries of the table.
#define ENTRY_BEHIND_DESTRUCTOR 2
#define FIRST_ENTRY 0

#if defined(__i386__)
// The arguments stand on the stack, where the operation takes them away.
.macro CALL_OBJECT entry
  popl %eax
  pushl $MARKER
  pushl %eax
  movl 4(%esp), %eax
  movl (%eax), %eax
  jmp *(4 * \entry)(%eax)
.endm
#elif defined(_WIN32)
// Up to three arguments move one register on.
.macro CALL_OBJECT entry
  movq %r8, %r9
  movq %rdx, %r8
  movq %rcx, %rdx
  movabsq $MARKER, %rcx
  movq (%rcx), %rax
  jmp *(8 * \entry)(%rax)
.endm
#else
.macro CALL_OBJECT entry
  movq %rdx, %rcx
  movq %rsi, %rdx
  movq %rdi, %rsi
  movabsq $MARKER, %rdi
  movq (%rdi), %rax
  jmp *(8 * \entry)(%rax)
.endm
#endif

.text
.globl NAME(kvHookTemplateBegin)
.globl NAME(kvHookTemplateEnd)
.globl NAME(kvEnumerationTemplateBegin)
.globl NAME(kvEnumerationTemplateEnd)
#if defined(__ELF__)
.hidden NAME(kvHookTemplateBegin)
.hidden NAME(kvHookTemplateEnd)
.hidden NAME(kvEnumerationTemplateBegin)
.hidden NAME(kvEnumerationTemplateEnd)
#endif

NAME(kvHookTemplateBegin):
  CALL_OBJECT ENTRY_BEHIND_DESTRUCTOR
NAME(kvHookTemplateEnd):

NAME(kvEnumerationTemplateBegin):
  CALL_OBJECT FIRST_ENTRY
NAME(kvEnumerationTemplateEnd):

#if defined(__ELF__)
.section .note.GNU-stack, "", @progbits
#endif
