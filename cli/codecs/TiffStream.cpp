#include "codecs/TiffStream.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "Errors.h"
#include "files/InputFile.h"
#include "files/OutputFile.h"

namespace {

// What libtiff may allocate at once, which damaged files make it try: one strip or tile as the file holds it.
constexpr tmsize_t kMaxBytesAtOnce = tmsize_t{1} << 30;

TiffStream& StreamOf(thandle_t client) {
    return *static_cast<TiffStream*>(client);
}

tmsize_t ReadBytes(thandle_t client, void* bytes, tmsize_t count) {
    TiffStream& stream = StreamOf(client);
    if (stream.input == nullptr) return 0;  // nothing that was written is read back
    const std::size_t got =
        stream.input->ReadAt(stream.place, static_cast<std::uint8_t*>(bytes), static_cast<std::size_t>(count));
    stream.place += static_cast<std::int64_t>(got);
    return static_cast<tmsize_t>(got);
}

tmsize_t WriteBytes(thandle_t client, void* bytes, tmsize_t count) {
    TiffStream& stream = StreamOf(client);
    return stream.output != nullptr && stream.output->Write(bytes, static_cast<std::size_t>(count)) ? count : 0;
}

toff_t SeekBytes(thandle_t client, toff_t offset, int whence) {
    TiffStream& stream = StreamOf(client);
    const auto step = static_cast<std::int64_t>(offset);
    if (stream.output != nullptr) return static_cast<toff_t>(stream.output->Seek(step, whence));
    if (whence == SEEK_SET) stream.place = step;
    if (whence == SEEK_CUR) stream.place += step;
    if (whence == SEEK_END) stream.place = stream.input->Size() + step;
    return static_cast<toff_t>(stream.place);
}

toff_t SizeInBytes(thandle_t client) {
    TiffStream& stream = StreamOf(client);
    return stream.input != nullptr ? static_cast<toff_t>(stream.input->Size()) : 0;
}

int CloseNothing(thandle_t) {
    return 0;
}

__attribute__((format(printf, 4, 0))) int KeepError(TIFF*, void* user, const char*, const char* format,
                                                    std::va_list arguments) {
    auto* stream = static_cast<TiffStream*>(user);
    // What follows the first error is mostly its echo.
    if (stream->error[0] == '\0') std::vsnprintf(stream->error, sizeof stream->error, format, arguments);
    return 1;
}

__attribute__((format(printf, 4, 0))) int KeepWarning(TIFF* tiff, void* user, const char* module, const char* format,
                                                      std::va_list arguments) {
    auto* stream = static_cast<TiffStream*>(user);
    // libjpeg goes on after damage; a picture like that must not pass for the real one.
    if (stream->decoding && module != nullptr && std::strcmp(module, "JPEGLib") == 0)
        return KeepError(tiff, user, module, format, arguments);
    // Makers of scanners, cameras and maps add tags of their own by the dozen; the pixels do not depend on them.
    if (std::strncmp(format, "Unknown field", 13) == 0) return 1;
    if (stream->warning[0] == '\0') std::vsnprintf(stream->warning, sizeof stream->warning, format, arguments);
    return 1;
}

}  // namespace

TiffHandle OpenTiffStream(TiffStream* stream, const char* mode) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) {
        std::snprintf(stream->error, sizeof stream->error, "not enough memory");
        return nullptr;
    }
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMaxBytesAtOnce);
    TIFFOpenOptionsSetErrorHandlerExtR(options, KeepError, stream);
    TIFFOpenOptionsSetWarningHandlerExtR(options, KeepWarning, stream);
    // Some places in libtiff still know only these.
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    TiffHandle handle(TIFFClientOpenExt("TIFF", mode, stream, ReadBytes, WriteBytes, SeekBytes, CloseNothing,
                                        SizeInBytes, nullptr, nullptr, options));
    TIFFOpenOptionsFree(options);
    return handle;
}

void FailTiff(const TiffStream& stream) {
    const InputFile& file = *stream.input;
    if (file.Error() != 0) FailSystem(file.Path(), file.Error());
    FailFile(file.Path(),
             std::string("damaged TIFF: ") + (stream.error[0] != '\0' ? stream.error : "the pixels cannot be read"));
}
