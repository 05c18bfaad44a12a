#include "codecs/JpegErrors.h"

#include <cstring>

namespace {

void Fail(j_common_ptr jpeg) {
    auto* errors = reinterpret_cast<JpegErrors*>(jpeg->err);
    errors->base.format_message(jpeg, errors->message);
    std::longjmp(errors->jump, 1);
}

// libjpeg goes on after damage and fills the rest with gray; a picture like that must not pass for the real one. Only
// remarks about tags, which leave the pixels alone, are no error.
void Remark(j_common_ptr jpeg, int level) {
    if (level >= 0) return;
    auto* errors = reinterpret_cast<JpegErrors*>(jpeg->err);
    const int code = jpeg->err->msg_code;
    if (code != JWRN_ADOBE_XFORM && code != JWRN_JFIF_MAJOR && code != JWRN_BOGUS_ICC) Fail(jpeg);
    if (errors->note[0] == '\0') errors->base.format_message(jpeg, errors->note);
}

void Print(j_common_ptr) {}

}  // namespace

void SetUpJpegErrors(JpegErrors* errors) {
    std::memset(static_cast<void*>(errors), 0, sizeof *errors);
    jpeg_std_error(&errors->base);
    errors->base.error_exit = Fail;
    errors->base.emit_message = Remark;
    errors->base.output_message = Print;
}
