# long qor_test_guarded_call(void* fn, const void* const* args, long nargs,
#                            unsigned long* guard)
#
# Calls fn with nargs pointer arguments (args holds at least six), the way a
# C caller does that knows nothing of hidden character lengths: the first
# six in registers, the rest on the stack, and right above them the two
# words guard[0] and guard[1] where such lengths would have gone. Those
# words belong to the caller; after the call they are read back into
# guard[], so the test can see whether the callee wrote over them.
        .text
        .globl  qor_test_guarded_call
        .type   qor_test_guarded_call, @function
qor_test_guarded_call:
        push    %rbp
        mov     %rsp, %rbp
        push    %rbx
        push    %r12
        push    %r13
        push    %r14
        mov     %rdi, %r12              # fn
        mov     %rsi, %r13              # args
        mov     %rcx, %rbx              # guard
        mov     %rdx, %r14              # stack arguments: max(nargs - 6, 0)
        sub     $6, %r14
        jge     1f
        xor     %r14, %r14
1:      lea     3(%r14), %rax           # slots: stack arguments + 2 guards, even
        and     $-2, %rax
        shl     $3, %rax
        sub     %rax, %rsp
        xor     %rcx, %rcx
2:      cmp     %r14, %rcx
        jge     3f
        mov     48(%r13,%rcx,8), %rax
        mov     %rax, (%rsp,%rcx,8)
        inc     %rcx
        jmp     2b
3:      mov     (%rbx), %rax
        mov     %rax, (%rsp,%r14,8)
        mov     8(%rbx), %rax
        mov     %rax, 8(%rsp,%r14,8)
        mov     (%r13), %rdi
        mov     8(%r13), %rsi
        mov     16(%r13), %rdx
        mov     24(%r13), %rcx
        mov     32(%r13), %r8
        mov     40(%r13), %r9
        xor     %eax, %eax
        call    *%r12
        mov     (%rsp,%r14,8), %rax
        mov     %rax, (%rbx)
        mov     8(%rsp,%r14,8), %rax
        mov     %rax, 8(%rbx)
        lea     -32(%rbp), %rsp
        pop     %r14
        pop     %r13
        pop     %r12
        pop     %rbx
        pop     %rbp
        ret
        .size   qor_test_guarded_call, .-qor_test_guarded_call
        .section .note.GNU-stack,"",@progbits
