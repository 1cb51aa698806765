// objc_msgSend and objc_msgSendSuper2: find the method by the gcc runtime and jump to it with everything as it came: the
// arguments, and %al, which holds the number of vector registers in a call with variable arguments.

        .intel_syntax noprefix

        .macro save
        push rbp
        .cfi_def_cfa_offset 16
        .cfi_offset rbp, -16
        mov rbp, rsp
        .cfi_def_cfa_register rbp
        sub rsp, 192
        .irp number, 0, 1, 2, 3, 4, 5, 6, 7
        movaps [rsp + 16 * \number], xmm\number
        .endr
        mov [rsp + 128], rdi
        mov [rsp + 136], rsi
        mov [rsp + 144], rdx
        mov [rsp + 152], rcx
        mov [rsp + 160], r8
        mov [rsp + 168], r9
        mov [rsp + 176], rax
        .endm

        .macro restore
        mov r11, rax
        .irp number, 0, 1, 2, 3, 4, 5, 6, 7
        movaps xmm\number, [rsp + 16 * \number]
        .endr
        mov rdi, [rsp + 128]
        mov rsi, [rsp + 136]
        mov rdx, [rsp + 144]
        mov rcx, [rsp + 152]
        mov r8, [rsp + 160]
        mov r9, [rsp + 168]
        mov rax, [rsp + 176]
        leave
        .cfi_def_cfa rsp, 8
        .cfi_restore rbp
        .endm

        .macro function name
        .globl \name
        .type \name, @function
\name:
        .cfi_startproc
        .endm

        .text

        function objc_msgSend
        test rdi, rdi
        jz 1f
        save
        call objc_msg_lookup@PLT
        restore
        jmp r11
1:      // a message to nil answers 0, in whichever register the answer is expected
        xor eax, eax
        xor edx, edx
        xorps xmm0, xmm0
        xorps xmm1, xmm1
        ret
        .cfi_endproc

        // The first argument is a pointer to the receiver and the class whose superclass's method is meant.
        function objc_msgSendSuper2
        save
        call quillmarkSuperMethod@PLT
        restore
        mov rdi, [rdi]
        jmp r11
        .cfi_endproc

        .section .note.GNU-stack, "", @progbits
