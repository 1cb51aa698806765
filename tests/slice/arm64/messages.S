// objc_msgSend and objc_msgSendSuper2: find the method and jump to it with everything as it came: the arguments, where
// the answer is to be stored (x8), and the stack, on which a Mac leaves variable arguments.

        .macro function name
        .globl \name
        .type \name, %function
\name:
        .cfi_startproc
        .endm

        .macro enter size
        stp x29, x30, [sp, #-\size]!
        .cfi_def_cfa_offset \size
        .cfi_offset x29, -\size
        .cfi_offset x30, 8 - \size
        mov x29, sp
        .endm

        .macro leave size
        ldp x29, x30, [sp], #\size
        .cfi_def_cfa_offset 0
        .cfi_restore x29
        .cfi_restore x30
        .endm

        .macro all_arguments instruction, instruction_of_one
        \instruction q0, q1, [sp, #16]
        \instruction q2, q3, [sp, #48]
        \instruction q4, q5, [sp, #80]
        \instruction q6, q7, [sp, #112]
        \instruction x0, x1, [sp, #144]
        \instruction x2, x3, [sp, #160]
        \instruction x4, x5, [sp, #176]
        \instruction x6, x7, [sp, #192]
        \instruction_of_one x8, [sp, #208]
        .endm

        .macro find method
        enter 224
        all_arguments stp, str
        bl \method
        mov x16, x0
        all_arguments ldp, ldr
        leave 224
        .endm

        .text

        function objc_msgSend
        cbz x0, 1f
        find quillmarkMethod
        br x16
1:      // a message to nil answers 0, in whichever registers the answer is expected
        mov x1, #0
        .irp number, 0, 1, 2, 3
        movi d\number, #0
        .endr
        ret
        .cfi_endproc

        // The first argument is a pointer to the receiver and the class whose superclass's method is meant.
        function objc_msgSendSuper2
        find quillmarkMethodOfSuper
        ldr x0, [x0]
        br x16
        .cfi_endproc

        // What has variable arguments becomes a function that is told, behind the others, where they lie.
        .macro variable_arguments name, last
        function \name\()OfMac
        mov \last, sp
        b \name
        .cfi_endproc
        .endm

        variable_arguments quillmarkLog, x1
        variable_arguments quillmarkStringWithFormat, x3
        variable_arguments quillmarkAppendFormat, x3

        // Functions of 64 bytes, each of which calls its one of quillmarkReturnThisTargets and returns its first argument.
        .globl quillmarkReturnThis
        .hidden quillmarkReturnThis
        .balign 64
quillmarkReturnThis:
        .irp number, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15
        .balign 64
        .cfi_startproc
        enter 32
        str x0, [sp, #16]
        adrp x16, quillmarkReturnThisTargets + 8 * \number
        ldr x16, [x16, #:lo12:(quillmarkReturnThisTargets + 8 * \number)]
        blr x16
        ldr x0, [sp, #16]
        leave 32
        ret
        .cfi_endproc
        .endr

        .section .note.GNU-stack, "", %progbits
