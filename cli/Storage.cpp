#include "Storage.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string_view>

#include "Engine.h"
#include "Errors.h"
#include "files/Scratch.h"

namespace {

constexpr const char* kImageClass = "PictureZOR";
constexpr std::int64_t kNoLimit = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kMaxInMemory = 2147483647;  // bytes of an image, and pixels of a side
constexpr std::int64_t kLeastFileRows = 5;         // the engine's window on a file never holds fewer
constexpr int kShares = 4;

std::int64_t memory = 0;  // bytes that all images may take together; 0: not known yet

std::int64_t RoundUp(std::int64_t bytes, std::int64_t unit) {
    return (bytes + unit - 1) / unit * unit;
}

// Where the file says "max" there is no limit.
std::int64_t LimitIn(const std::filesystem::path& file) {
    std::int64_t limit = kNoLimit;
    std::ifstream stream(file);
    if (!(stream >> limit) || limit <= 0) return kNoLimit;
    return limit;
}

// Of the control group that the process is in, and of all those around it.
std::int64_t ControlGroupLimit() {
    const std::filesystem::path root = "/sys/fs/cgroup";
    std::int64_t limit = std::min(LimitIn(root / "memory.max"), LimitIn(root / "memory/memory.limit_in_bytes"));
    std::ifstream groups("/proc/self/cgroup");
    for (std::string line; std::getline(groups, line);) {
        if (!line.starts_with("0::/")) continue;
        std::filesystem::path inside;
        for (const std::filesystem::path& part : std::filesystem::path(line.substr(4))) {
            inside /= part;
            limit = std::min(limit, LimitIn(root / inside / "memory.max"));
        }
    }
    return limit;
}

std::int64_t AddressLimit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) return kNoLimit;
    return static_cast<std::int64_t>(std::min<rlim_t>(limit.rlim_cur, kNoLimit));
}

std::int64_t Memory() {
    if (memory == 0) memory = DefaultMemory();
    return memory;
}

// Bytes of its file, in which rows are whole pages and one more stands behind the last; kNoLimit where the engine makes
// no such file.
std::int64_t FileBytes(const ImageNeed& need) {
    if (need.width > kMaxInMemory || need.height > kMaxInMemory || need.height < kLeastFileRows) return kNoLimit;
    const std::int64_t page = std::max(sysconf(_SC_PAGESIZE), 4096L);
    const std::int64_t row = RoundUp(need.width * need.bytesPerPixel, page);
    return row > kMaxInMemory / kLeastFileRows ? kNoLimit : row * need.height + page;
}

std::string SizeText(std::int64_t bytes) {
    constexpr std::int64_t kMega = 1 << 20;
    char text[32];
    if (bytes >= 1024 * kMega)
        std::snprintf(text, sizeof text, "%.1f GiB", static_cast<double>(bytes) / (1024.0 * kMega));
    else
        std::snprintf(text, sizeof text, "%lld MiB", static_cast<long long>(RoundUp(bytes, kMega) / kMega));
    return text;
}

std::int64_t FreeBytes(const std::string& directory) {
    struct statvfs status {};
    if (statvfs(directory.c_str(), &status) != 0) return kNoLimit;
    return static_cast<std::int64_t>(status.f_bavail) * static_cast<std::int64_t>(status.f_frsize);
}

[[noreturn]] void FailRoom(const ImageNeed& need, int errorNumber) {
    FailFile("scratch directory " + ScratchDirectory(),
             "no room for an image of " + PixelsText(need) + ", which takes " + SizeText(FileBytes(need)) + " (" +
                 std::strerror(errorNumber) + "); --scratch names another directory for such images");
}

// A file without a name. The engine opens it once more, by way of the system's name for the descriptor.
class OpenFile {
public:
    OpenFile() : descriptor_(OpenScratch()) {}
    ~OpenFile() { close(descriptor_); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    [[nodiscard]] std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

    // Takes the room on the disk, so that writing through a mapping cannot fail later. The error number; 0: done.
    [[nodiscard]] int Reserve(std::int64_t bytes) const {
        int error = EINTR;
        while (error == EINTR) error = posix_fallocate(descriptor_, 0, bytes);
        return error;
    }

private:
    int descriptor_;
};

// The engine cuts the file off when it opens it, so its room is taken behind that.
zorhost::Object NewInScratch(zorhost::Host& host, const ImageNeed& need, int format) {
    const OpenFile file;
    zorhost::Object image = host.New(kImageClass, static_cast<int>(need.width), static_cast<int>(need.height), format,
                                     0, host.MakeFolderItem(file.Path()));
    if (const int error = file.Reserve(FileBytes(need)); error != 0) FailRoom(need, error);
    if (!image.Get("Valid").AsBool())
        throw RunError("not enough addresses for a window on an image of " + PixelsText(need));
    return image;
}

int BytesPerPixel(zorhost::Host& host, int format) {
    constexpr int kPixels = 64;  // rows in memory are a multiple of 64 bytes
    return static_cast<int>(host.CallShared(kImageClass, "CalculateMemory", kPixels, 1, format).AsInt64() / kPixels);
}

}  // namespace

bool ReadMemorySize(const std::string& text, std::int64_t* bytes) {
    constexpr std::string_view kUnits = "KMGT";
    const char* end = text.data() + text.size();
    double number = 0;
    const auto [stop, error] = std::from_chars(text.data(), end, number, std::chars_format::fixed);
    if (error != std::errc() || end - stop > 1) return false;
    if (stop != end) {
        const std::size_t unit = kUnits.find(static_cast<char>(*stop & ~0x20));
        if (unit == std::string_view::npos) return false;
        number = std::ldexp(number, 10 * (static_cast<int>(unit) + 1));
    }
    if (!(number >= 1 << 20) || number > 9e18) return false;
    *bytes = static_cast<std::int64_t>(number);
    return true;
}

void SetStorage(const StorageOptions& options) {
    memory = options.memory;
    if (options.scratch.empty()) return;
    SetScratchDirectory(options.scratch);
    const OpenFile probe;
}

std::int64_t DefaultMemory() {
    const std::int64_t machine = static_cast<std::int64_t>(sysconf(_SC_PHYS_PAGES)) * sysconf(_SC_PAGESIZE);
    return std::min({machine, ControlGroupLimit(), AddressLimit()}) / 2;
}

std::int64_t MemoryRowBytes(std::int64_t width, int bytesPerPixel) {
    return RoundUp(width * bytesPerPixel, 64);
}

bool CanBeInMemory(const ImageNeed& need) {
    return need.width <= kMaxInMemory && need.height <= kMaxInMemory &&
           MemoryRowBytes(need.width, need.bytesPerPixel) <= kMaxInMemory / need.height;
}

void CheckCanBe(const std::string& what, const ImageNeed& need) {
    if (CanBeInMemory(need) || FileBytes(need) != kNoLimit) return;
    throw RunError(what + ": too large: " + PixelsText(need) +
                   "; an image stays below 2 GiB, unless it has five rows or more of up to 400 MiB each");
}

std::string PixelsText(const ImageNeed& need) {
    return std::to_string(need.width) + " x " + std::to_string(need.height) + " pixels of " +
           std::to_string(need.bytesPerPixel) + (need.bytesPerPixel == 1 ? " byte" : " bytes");
}

ImageNeed NeedOf(const ImageShape& shape) {
    return {shape.width, shape.height, Describe(shape.kind).channels};
}

bool GoesToScratch(const ImageNeed& need) {
    if (FileBytes(need) == kNoLimit) return false;
    return !CanBeInMemory(need) || MemoryRowBytes(need.width, need.bytesPerPixel) * need.height > Memory() / kShares;
}

void CheckMemoryHolds(const std::string& what, const ImageNeed& need, std::int64_t bytes) {
    constexpr std::int64_t kAlways = 64 << 20;
    if (bytes < 0) throw RunError(what + ": too large: " + PixelsText(need));
    if (bytes > std::max(Memory(), kAlways))
        throw RunError(what + ": too large: " + PixelsText(need) + " take " + SizeText(bytes) +
                       " for rows at a time, and images may take " + SizeText(Memory()) + "; --memory gives them more");
}

bool FitsItsShare(std::int64_t bytes) {
    return bytes <= Memory() / kShares;
}

void CheckScratchHolds(const std::string& what, const std::vector<ImageNeed>& needs) {
    std::int64_t total = 0;
    std::string images;
    for (const ImageNeed& need : needs) {
        if (!GoesToScratch(need)) continue;
        total += std::min(FileBytes(need), kNoLimit - total);
        images += (images.empty() ? "" : ", ") + PixelsText(need);
    }
    const std::int64_t room = total == 0 ? 0 : FreeBytes(ScratchDirectory());
    if (total > room)
        throw RunError(what + ": too large: " + images + " take " + SizeText(total) + " in the scratch directory " +
                       ScratchDirectory() + ", where " + SizeText(room) +
                       " are free; --scratch names another directory");
}

zorhost::Object MakeImageFactory(zorhost::Host& host) {
    return host.MakeFactory([&host](int width, int height, int format) -> zorhost::Object {
        const ImageNeed need{width, height, BytesPerPixel(host, format)};
        if (width < 1 || height < 1 || need.bytesPerPixel < 1 || !GoesToScratch(need)) return {};
        return NewInScratch(host, need, format);
    });
}
