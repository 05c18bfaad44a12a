#include "effects/ScaleEffects.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <deque>

#include "Engine.h"
#include "Errors.h"
#include "Rows.h"
#include "Storage.h"
#include "Workers.h"
#include "effects/Effects.h"
#include "scale/FineScaleStream.h"
#include "scale/NearestRows.h"

namespace {

struct Filter {
    const char* word;
    const char* constant;  // of PictureZOR, whose value is the engine's number for it
};

constexpr Filter kFilters[] = {{"lanczos3", "ScaleLanczos3"},
                               {"lanczos8", "ScaleLanczos8"},
                               {"mitchell", "ScaleMitchell"},
                               {"cubic", "ScaleCubic"},
                               {"poly3", "ScalePoly3"},
                               {"triangle", "ScaleTriangle"},
                               {"box", "ScaleBox"}};

std::vector<const char*> FilterWords() {
    std::vector<const char*> words;
    for (const Filter& filter : kFilters) words.push_back(filter.word);
    return words;
}

int FilterMode(const std::string& word) {
    for (const Filter& filter : kFilters)
        if (word == filter.word) return EngineConstant(filter.constant);
    throw RunError("unknown filter " + word);
}

// The views under which the scaler takes an image. As a whole it would leave the alpha of gray pixels out, and make the
// yellow of CMYK from their cyan; one channel at a time all of them come out right. Empty: the image as a whole.
std::vector<const char*> ScaledViews(PixelKind kind) {
    if (kind == PixelKind::GrayAlpha) return {"GrayChannel", "AlphaChannel"};
    if (kind == PixelKind::CMYK) return {"CyanChannel", "MagentaChannel", "YellowChannel", "BlackChannel"};
    return {};
}

ImageShape PlanFastScale(const ImageShape& source, const Arguments& arguments) {
    const PixelSize size = Resolve(arguments.Size("size"), source.width, source.height);
    return {static_cast<int>(size.width), static_cast<int>(size.height), source.kind};
}

// Between its two passes the scaler holds an image as wide as the result and as high as the source.
struct TemporaryImage {
    ImageNeed need;
    const char* constant;  // its format
};

TemporaryImage BetweenPasses(const ImageShape& source, const ImageShape& result) {
    const bool narrow = source.kind == PixelKind::Gray || !ScaledViews(source.kind).empty();
    return {{result.width, source.height, narrow ? 1 : 4}, narrow ? "ImageFormatScaling1" : "ImageFormatScaling4"};
}

void CheckBetweenPasses(const std::string& effect, const ImageShape& source, const ImageShape& result) {
    const TemporaryImage between = BetweenPasses(source, result);
    CheckImageFits(effect + ": the image between the two passes", between.need.width, between.need.height,
                   between.constant, between.need.bytesPerPixel);
    CheckScratchHolds(effect, {NeedOf(source), between.need, NeedOf(result)});
}

// Nothing is done to the picture then, which some filters would soften.
bool IsSameSize(const ImageShape& source, const ImageShape& result) {
    return source.width == result.width && source.height == result.height;
}

zor::ScaleStreamRequest RequestFor(const ImageShape& source, const ImageShape& result, int mode) {
    zor::ScaleStreamRequest request{};
    request.kernel = zor::KernelOfMode(mode);
    request.srcWidth = source.width;
    request.srcHeight = source.height;
    request.width = result.width;
    request.height = result.height;
    request.shape = zor::ResampleShapeOf(Describe(source.kind).channels, false);
    return request;
}

// By rows, none of the images has to fit anywhere.
void CheckRowsFit(const std::string& effect, const ImageShape& source, const ImageShape& result, int mode,
                  int threads) {
    if (IsSameSize(source, result)) return;
    const std::int64_t bytes = zor::FineScaleStream::MemoryFor(
        RequestFor(source, result, mode), Describe(source.kind).hasAlpha, Workers::ThreadsFor(threads));
    CheckMemoryHolds(effect, NeedOf(result), bytes);
}

ImageShape PlanScale(const ImageShape& source, const Arguments& arguments) {
    const ImageShape result = PlanFastScale(source, arguments);
    if (PluginBytes())
        CheckBetweenPasses("scale", source, result);
    else
        CheckRowsFit("scale", source, result, FilterMode(arguments.Choice("filter")), arguments.Integer("threads"));
    return result;
}

// The scaler makes its temporary image by itself in memory only: one that is file-backed must be handed to it, and only
// the form with one thread may have it.
zorhost::Object MakeTemporary(const ImageShape& source, const ImageShape& result) {
    const TemporaryImage between = BetweenPasses(source, result);
    if (!GoesToScratch(between.need)) return {};
    return Engine()
        .CallShared("PictureZOR", "CreatePictureZOR", result.width, source.height, EngineConstant(between.constant))
        .AsObject();
}

void ScaleWhole(Raster* image, const ImageShape& result, int mode, int threads) {
    const zorhost::Object temp = MakeTemporary(image->Shape(), result);
    threads = temp ? 1 : Workers::ThreadsFor(threads);
    Raster target(result);
    const auto scale = [&](const zorhost::Object& to, const zorhost::Object& from) {
        return threads == 1 ? to.Call("Scale", from, temp, mode, result.width, result.height).AsBool()
                            : to.Call("ScaleMT", threads, from, temp, mode, result.width, result.height).AsBool();
    };
    const std::vector<const char*> views = ScaledViews(result.kind);
    bool done = !views.empty() || scale(target.Image(), image->Image());
    for (const char* view : views) done = done && scale(target.View(view), image->View(view));
    if (!done) throw RunError("scale: not enough memory");
    *image = std::move(target);
}

void RunScale(Raster* image, const ImageShape& result, const Arguments& arguments) {
    ScaleWhole(image, result, FilterMode(arguments.Choice("filter")), arguments.Integer("threads"));
}

void RunFastScale(Raster* image, const ImageShape& result, const Arguments&) {
    Raster target(result);
    if (!target.Image().Call("ScaleFast", image->Image(), result.width, result.height).AsBool())
        throw RunError("scalefast: not enough memory");
    *image = std::move(target);
}

// Made of rows that are read in their order.
class RowsOfOthers : public RowSource {
protected:
    RowsOfOthers(std::unique_ptr<RowSource> rows, const ImageShape& result)
        : RowSource(result), rows_(std::move(rows)) {}

    [[nodiscard]] RowSource& Others() { return *rows_; }
    const std::uint8_t* Read() {
        ++next_;
        return rows_->Next();
    }
    // The number of the row that is read next, which may be further down.
    [[nodiscard]] int NextToRead() const { return next_; }
    void SkipTo(std::int64_t number) {
        if (number > next_) rows_->Skip(static_cast<int>(number) - next_);
        next_ = static_cast<int>(number);
    }
    // A file may be damaged where no row of the result needs it: where it must be read anyhow, that is told.
    void SkipTheRest() { SkipTo(rows_->Shape().height); }

private:
    std::unique_ptr<RowSource> rows_;
    int next_ = 0;
};

// Rounded, from rows as they come: while they are read, workers filter those before.
class ScaledRows : public RowsOfOthers {
public:
    ScaledRows(std::unique_ptr<RowSource> rows, const ImageShape& result, int mode, int wanted)
        : RowsOfOthers(std::move(rows), result), workers_(wanted) {
        const ImageShape& source = Others().Shape();
        const int threads = Workers::ThreadsFor(wanted);
        const int channels = Describe(source.kind).channels;
        if (!stream_.Start(RequestFor(source, result, mode), Describe(source.kind).hasAlpha, threads))
            throw RunError("scale: not enough memory");
        rowBytes_ = std::int64_t{source.width} * channels;
        left_ = stream_.source().x * channels;
        row_.resize(static_cast<std::size_t>(stream_.rowBytes()));
        if (Raster* const whole = Others().Whole(); whole != nullptr && whole->RowDistance() != 0) {
            image_ = whole->Row(0);
            imageRowBytes_ = whole->RowDistance();
        } else {
            slots_ = std::min(threads * zor::RowBlock::kMaxRows, source.height);
            read_.resize(static_cast<std::size_t>(slots_ * rowBytes_));
            SkipTo(stream_.source().y);
        }
    }

    const std::uint8_t* Next() override {
        while (!stream_.Take(row_.data())) {
            if (!open_.empty() && workers_.IsDone(open_.front())) {
                Close();
            } else if (const zor::FineScaleStream::Rows opened = stream_.OpenRows(); opened.count > 0) {
                Open(opened);
            } else {
                workers_.WaitFor(open_.front());
                Close();
            }
        }
        if (++made_ == Shape().height && image_ == nullptr) SkipTheRest();
        return row_.data();
    }

private:
    const std::uint8_t* NextOfSource(int number) {
        if (image_ != nullptr) return image_ + (stream_.source().y + number) * imageRowBytes_;
        std::uint8_t* const row = read_.data() + number % slots_ * rowBytes_;
        std::memcpy(row, Read(), static_cast<std::size_t>(rowBytes_));
        return row;
    }

    void Open(const zor::FineScaleStream::Rows& opened) {
        std::array<const std::uint8_t*, zor::RowBlock::kMaxRows> rows{};
        for (int r = 0; r < opened.count; ++r)
            rows[static_cast<std::size_t>(r)] = NextOfSource(opened.first + r) + left_;
        open_.push_back(workers_.Add([this, opened, rows] { stream_.FilterOpened(opened, rows.data()); }));
    }
    void Close() {
        stream_.CloseRows();
        open_.pop_front();
    }

    std::int64_t rowBytes_ = 0;
    std::int64_t left_ = 0;                // bytes of a row that come before what is needed of it
    const std::uint8_t* image_ = nullptr;  // where all rows lie in memory, the first one
    std::int64_t imageRowBytes_ = 0;
    std::vector<std::uint8_t> read_;  // else those that are open, number r in slot r % slots_
    int slots_ = 0;
    zor::FineScaleStream stream_;
    std::vector<std::uint8_t> row_;
    int made_ = 0;
    std::deque<std::size_t> open_;  // the numbers of the work on them
    Workers workers_;               // behind all that it works on, so that it ends before
};

std::unique_ptr<RowSource> StreamTo(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                    const std::string& filter, int threads) {
    if (IsSameSize(rows->Shape(), result)) return rows;
    return std::make_unique<ScaledRows>(std::move(rows), result, FilterMode(filter), threads);
}

std::unique_ptr<RowSource> StreamScale(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                       const Arguments& arguments) {
    return StreamTo(std::move(rows), result, arguments.Choice("filter"), arguments.Integer("threads"));
}

constexpr const char* kThumbnailFilter = "lanczos3";

// Into the box, as large as fits, but no larger than it is.
ImageShape PlanThumbnail(const ImageShape& source, const Arguments& arguments) {
    const AreaRequest& box = arguments.Area("size");
    const double part =
        std::min({static_cast<double>(box.width) / source.width, static_cast<double>(box.height) / source.height, 1.0});
    const PixelSize size = Resolve({0, 0, 100 * part}, source.width, source.height);
    const ImageShape result{static_cast<int>(size.width), static_cast<int>(size.height), source.kind};
    if (PluginBytes())
        CheckBetweenPasses("thumbnail", source, result);
    else
        CheckRowsFit("thumbnail", source, result, FilterMode(kThumbnailFilter), 0);
    return result;
}

constexpr int kThumbnailSourceSides = 2;  // what is left for the filter to do, so that it makes what people see

void RunThumbnail(Raster* image, const ImageShape& result, const Arguments&) {
    ScaleWhole(image, result, FilterMode(kThumbnailFilter), 0);
}

std::unique_ptr<RowSource> StreamThumbnail(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                           const Arguments&) {
    return StreamTo(std::move(rows), result, kThumbnailFilter, 0);
}

class NearestPixels : public RowsOfOthers {
public:
    NearestPixels(std::unique_ptr<RowSource> rows, const ImageShape& result) : RowsOfOthers(std::move(rows), result) {
        const PixelKindRow& kind = Describe(result.kind);
        const int colours = kind.channels - (kind.hasAlpha ? 1 : 0);
        if (!scaler_.Start(Others().Shape().width, result.width, colours, kind.hasAlpha))
            throw RunError("scalefast: not enough memory");
        row_.resize(static_cast<std::size_t>(result.width) * static_cast<std::size_t>(kind.channels));
    }

    const std::uint8_t* Next() override {
        const int number = zor::NearestOf(made_++, Others().Shape().height, Shape().height);
        if (number >= NextToRead()) {  // else the same once more
            SkipTo(number);
            scaler_.Make(Read(), row_.data());
        }
        if (made_ == Shape().height) SkipTheRest();
        return row_.data();
    }

private:
    zor::NearestRows scaler_;
    std::vector<std::uint8_t> row_;
    int made_ = 0;
};

std::unique_ptr<RowSource> StreamFastScale(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                           const Arguments&) {
    return std::make_unique<NearestPixels>(std::move(rows), result);
}

constexpr ArgumentType kSize = ArgumentType::Size;

}  // namespace

std::vector<EffectRow> ScaleEffects() {
    return {
        {"scale",
         "Size",
         "Another size, filtered",
         "With one side given, or a percentage, the picture keeps its shape. The filters differ in sharpness: lanczos8 "
         "and\n"
         "lanczos3 are sharp, cubic, poly3 and mitchell softer, triangle soft, box makes blocks. Colours count by how\n"
         "opaque they are; clear pixels show nowhere. The result is the same for any number of threads.",
         "scale 800x filter=mitchell",
         {{"size", kSize, nullptr, 0, 0, {}, "the new size in pixels"},
          {"filter", ArgumentType::Choice, "lanczos3", 0, 0, FilterWords(), "how pixels are weighted"},
          {"threads", ArgumentType::Integer, "0", 0, 32, {}, "how many threads work, 0 for one on each processor"}},
         PlanScale,
         RunScale,
         6,
         StreamScale},
        {"thumbnail",
         "Size",
         "Small enough for a box, quickly",
         "The picture keeps its shape and becomes as large as the box allows, but never larger than it is. One number\n"
         "is a box with sides of that length. As the first effect on a JPEG file it is much faster than scale: no "
         "more\n"
         "of the picture is decoded than the small one shows.",
         "thumbnail 800",
         {{"size", ArgumentType::Box, nullptr, 0, 0, {}, "the box in pixels"}},
         PlanThumbnail,
         RunThumbnail,
         6,
         StreamThumbnail,
         nullptr,
         false,
         nullptr,
         kThumbnailSourceSides},
        {"scalefast",
         "Size",
         "Another size, nearest pixel",
         "Takes pixels of the source as they are, without a filter: fast, and made for pictures with few, hard "
         "colours.\n"
         "With one side given, or a percentage, the picture keeps its shape.",
         "scalefast 400%",
         {{"size", kSize, nullptr, 0, 0, {}, "the new size in pixels"}},
         PlanFastScale,
         RunFastScale,
         1,
         StreamFastScale},
    };
}
