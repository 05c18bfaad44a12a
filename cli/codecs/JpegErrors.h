#pragma once
// What reading and writing share: errors of libjpeg come back by longjmp and leave as a RunError.

#include <csetjmp>
#include <cstdio>
#include <string>

#include <jpeglib.h>

#include <jerror.h>

struct JpegErrors {
    jpeg_error_mgr base;  // first, so that libjpeg's pointer to it is a pointer to the whole
    std::jmp_buf jump;
    char message[JMSG_LENGTH_MAX];
    char note[JMSG_LENGTH_MAX];  // the first remark that is no error; empty: none
};

// Fills the record; `base` then goes into the `err` field of libjpeg's own.
void SetUpJpegErrors(JpegErrors* errors);

// Runs `work`, which calls libjpeg, and `failed` when that gave an error; `failed` throws. Nothing in `work` may need a
// destructor, since an error jumps out of it.
template <typename Work, typename Failed>
void GuardedJpeg(JpegErrors* errors, const Work& work, const Failed& failed) {
    if (setjmp(errors->jump) != 0) {
        failed();
        return;
    }
    work();
}
