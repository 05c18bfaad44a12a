#include "effects/OtherPicture.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "Load.h"
#include "Notes.h"

namespace {

void MeetSide(int at, int side, int fileSide, int* start, int* fileStart, int* length) {
    *start = std::max(at, 0);
    const std::int64_t fileFirst = std::int64_t{*start} - at;
    const std::int64_t count = std::min(std::int64_t{side} - *start, fileSide - fileFirst);
    *length = static_cast<int>(std::clamp<std::int64_t>(count, 0, side));
    *fileStart = *length == 0 ? 0 : static_cast<int>(fileFirst);
}

}  // namespace

Meeting Meet(const ImageShape& picture, const ImageShape& file, const AreaRequest& at) {
    Meeting meeting{};
    MeetSide(at.x, picture.width, file.width, &meeting.x, &meeting.fileX, &meeting.width);
    MeetSide(at.y, picture.height, file.height, &meeting.y, &meeting.fileY, &meeting.height);
    return meeting;
}

bool PeekShape(const std::string& path, ImageShape* shape) {
    std::error_code ignored;
    if (path == "-" || std::filesystem::is_other(path, ignored)) return false;
    InputFile file(path);
    Notes notes(true);
    const std::unique_ptr<PictureReader> reader = OpenPicture(file, notes);
    *shape = ShapeOf(file, reader->Header());
    CheckPictureFits(file, reader->Header());
    return true;
}

Raster LoadWhole(const std::string& path) {
    Notes notes(true);
    return LoadPicture(path, notes, [](std::int64_t, std::int64_t) {});
}
