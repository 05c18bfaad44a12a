#include "effects/ConvertEffects.h"

#include <algorithm>
#include <stdexcept>

#include "Errors.h"
#include "Rows.h"
#include "effects/Effects.h"
#include "effects/KindRows.h"

namespace {

struct ChannelRow {
    const char* word;
    const char* view;  // the engine's name of the channel as an image
};

constexpr ChannelRow kChannels[] = {
    {"red", "RedChannel"},       {"green", "GreenChannel"}, {"blue", "BlueChannel"},
    {"gray", "GrayChannel"},     {"cyan", "CyanChannel"},   {"magenta", "MagentaChannel"},
    {"yellow", "YellowChannel"}, {"black", "BlackChannel"}, {"alpha", "AlphaChannel"},
};

struct FormatRow {
    const char* word;
    PixelKind kind;
};

constexpr FormatRow kFormats[] = {{"G", PixelKind::Gray},
                                  {"GA", PixelKind::GrayAlpha},
                                  {"RGB", PixelKind::RGB},
                                  {"RGBA", PixelKind::RGBA},
                                  {"CMYK", PixelKind::CMYK}};

template <typename Row, std::size_t kCount>
std::vector<const char*> Words(const Row (&rows)[kCount]) {
    std::vector<const char*> words;
    for (const Row& row : rows) words.push_back(row.word);
    return words;
}

template <typename Row, std::size_t kCount>
const Row& Find(const Row (&rows)[kCount], const std::string& word) {
    for (const Row& row : rows)
        if (word == row.word) return row;
    throw std::logic_error(word);
}

bool HasView(PixelKind kind, const std::string& view) {
    const std::vector<const char*> views = ChannelViews(kind);
    return std::find(views.begin(), views.end(), view) != views.end();
}

ImageShape PlanChannel(const ImageShape& source, const Arguments& arguments) {
    ChannelView("channel", source.kind, arguments.Choice("name"));
    return {source.width, source.height, PixelKind::Gray};
}

class RowsOfChannel : public RowSource {
public:
    RowsOfChannel(std::unique_ptr<RowSource> rows, const std::string& word)
        : RowSource({rows->Shape().width, rows->Shape().height, PixelKind::Gray}),
          rows_(std::move(rows)),
          channels_(Describe(rows_->Shape().kind).channels),
          channel_(IndexOfChannel("channel", rows_->Shape().kind, word)),
          alpha_(Describe(rows_->Shape().kind).hasAlpha ? channels_ - 1 : channel_),
          row_(static_cast<std::size_t>(Shape().width)) {}

    const std::uint8_t* Next() override {
        const std::uint8_t* pixel = rows_->Next();
        for (std::uint8_t& byte : row_) {
            byte = pixel[alpha_] == 0 && alpha_ != channel_ ? 255 : pixel[channel_];
            pixel += channels_;
        }
        return row_.data();
    }
    void Skip(int count) override { rows_->Skip(count); }
    void NeedColumns(int first, int count) override { rows_->NeedColumns(first, count); }

private:
    std::unique_ptr<RowSource> rows_;
    int channels_, channel_, alpha_;  // the last is that of the channel where nothing is clear
    std::vector<std::uint8_t> row_;
};

void RunChannel(Raster* image, const ImageShape& result, const Arguments& arguments) {
    Raster target(result);
    CopyAll(target.Image(), image->View(ChannelView("channel", image->Shape().kind, arguments.Choice("name"))),
            "channel");
    *image = std::move(target);
}

// Clear pixels are as white as paper, whatever colour they hide.
std::unique_ptr<RowSource> StreamChannel(std::unique_ptr<RowSource> rows, const ImageShape&,
                                         const Arguments& arguments) {
    return std::make_unique<RowsOfChannel>(std::move(rows), arguments.Choice("name"));
}

ImageShape PlanConvert(const ImageShape& source, const Arguments& arguments) {
    const PixelKind kind = Find(kFormats, arguments.Choice("format")).kind;
    if (!CanConvert(source.kind, kind))
        throw RunError(std::string("convert: ") + Describe(source.kind).name + " cannot become " + Describe(kind).name +
                       "; between RGB and CMYK only colour profiles tell the way, see --srgb and --profile");
    return {source.width, source.height, kind};
}

void RunConvert(Raster* image, const ImageShape& result, const Arguments&) {
    *image = Converted(*image, result.kind, "convert");
}

std::unique_ptr<RowSource> StreamConvert(std::unique_ptr<RowSource> rows, const ImageShape& result, const Arguments&) {
    return RowsInKind(std::move(rows), result.kind);
}

ImageShape PlanFlatten(const ImageShape& source, const Arguments& arguments) {
    if (!Describe(source.kind).hasAlpha) return source;
    const ImageShape shape = PluginBytes() ? source : ShapeInColours(source, {arguments.Colour("colour")});
    return {source.width, source.height, WithAlpha(shape.kind, false)};
}

// The method that lays images over each other lays this one on the colour.
void RunFlatten(Raster* image, const ImageShape& result, const Arguments& arguments) {
    if (!Describe(image->Shape().kind).hasAlpha) return;
    Raster target(result);
    const int channels = Describe(result.kind).channels;
    std::uint8_t ground[4];
    ChannelsOf(arguments.Colour("colour"), result.kind, ground);
    for (int y = 0; y < result.height; ++y) {
        std::uint8_t* row = target.Row(y);
        for (int x = 0; x < result.width; ++x, row += channels) std::copy_n(ground, channels, row);
    }
    const zorhost::Object alpha = image->View("AlphaChannel");
    alpha.Call("Invert");
    for (const char* view : ColourViews(result.kind))
        if (!target.View(view)
                 .Call("Combine", image->View(view), false, alpha, 0, 0, 0, 0, result.width, result.height, false)
                 .AsBool())
            throw RunError("flatten: the engine refused the picture");
    *image = std::move(target);
}

std::unique_ptr<RowSource> StreamFlatten(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                         const Arguments& arguments) {
    if (!Describe(rows->Shape().kind).hasAlpha) return rows;
    rows = RowsInKind(std::move(rows), WithAlpha(result.kind, true));
    return RowsInKind(std::move(rows), result.kind, arguments.Colour("colour"));
}

}  // namespace

std::vector<const char*> ChannelWords() {
    return Words(kChannels);
}

const char* ChannelView(const char* effect, PixelKind kind, const std::string& word) {
    const char* view = Find(kChannels, word).view;
    if (HasView(kind, view)) return view;
    std::string words;
    for (const ChannelRow& row : kChannels)
        if (HasView(kind, row.view)) words += (words.empty() ? "" : ", ") + std::string(row.word);
    throw RunError(std::string(effect) + ": the picture is " + Describe(kind).name + " and has no channel " + word +
                   "; it has " + words);
}

int IndexOfChannel(const char* effect, PixelKind kind, const std::string& word) {
    const std::vector<const char*> views = ChannelViews(kind);
    const std::string view = ChannelView(effect, kind, word);
    return static_cast<int>(std::find(views.begin(), views.end(), view) - views.begin());
}

std::vector<const char*> ColourViews(PixelKind kind) {
    switch (kind) {
        case PixelKind::Gray:
        case PixelKind::GrayAlpha:
            return {"GrayChannel"};
        case PixelKind::RGB:
        case PixelKind::RGBA:
            return {"RedChannel", "GreenChannel", "BlueChannel"};
        case PixelKind::CMYK:
            return {"CyanChannel", "MagentaChannel", "YellowChannel", "BlackChannel"};
    }
    return {};
}

std::vector<const char*> ChannelViews(PixelKind kind) {
    std::vector<const char*> views = ColourViews(kind);
    if (Describe(kind).hasAlpha) views.push_back("AlphaChannel");
    return views;
}

PixelKind WithAlpha(PixelKind kind, bool alpha) {
    switch (kind) {
        case PixelKind::Gray:
        case PixelKind::GrayAlpha:
            return alpha ? PixelKind::GrayAlpha : PixelKind::Gray;
        case PixelKind::RGB:
        case PixelKind::RGBA:
            return alpha ? PixelKind::RGBA : PixelKind::RGB;
        case PixelKind::CMYK:
            break;
    }
    return kind;
}

bool CanConvert(PixelKind from, PixelKind to) {
    const PixelKind a = WithAlpha(from, false);
    const PixelKind b = WithAlpha(to, false);
    return a == b || a == PixelKind::Gray || b == PixelKind::Gray;
}

void CopyAll(const zorhost::Object& target, const zorhost::Object& source, const char* effect) {
    if (!target.Call("CopyPixels", source).AsBool())
        throw RunError(std::string(effect) + ": the pixels could not be copied");
}

Raster Converted(const Raster& image, PixelKind kind, const char* effect) {
    const ImageShape& source = image.Shape();
    Raster target({source.width, source.height, kind});
    CopyAll(target.Image(), image.Image(), effect);
    // The engine takes gray for black ink as it stands, where 0 is the paper and not the dark.
    if (source.kind == PixelKind::CMYK && kind != PixelKind::CMYK) {
        target.View("GrayChannel").Call("Invert");
    } else if (source.kind != PixelKind::CMYK && kind == PixelKind::CMYK) {
        target.View("BlackChannel").Call("Invert");
    }
    // Its copies also leave the alpha out in places, and make none.
    if (Describe(kind).hasAlpha) {
        const zorhost::Object alpha = target.View("AlphaChannel");
        if (Describe(source.kind).hasAlpha)
            CopyAll(alpha, image.View("AlphaChannel"), effect);
        else
            alpha.Call("FillRect", 255);
    }
    return target;
}

std::vector<EffectRow> ConvertEffects() {
    return {
        {"channel",
         "Formats",
         "One channel as a gray picture",
         "The bytes of the channel become the gray as they are; of an ink, 255 is full ink. Where the picture is "
         "clear\n"
         "a colour becomes white, so that what is hidden there does not come out.",
         "channel red",
         {{"name", ArgumentType::Choice, nullptr, 0, 0, ChannelWords(), "which channel"}},
         PlanChannel,
         RunChannel,
         1,
         StreamChannel},
        {"convert",
         "Formats",
         "Another kind of pixels",
         "G is gray, A stands for alpha. Alpha that is new is opaque; where alpha goes the picture is laid on white,\n"
         "for which 'flatten' takes any other colour. Gray becomes the black ink of CMYK, and of CMYK only the black\n"
         "ink becomes gray, so that what cyan, magenta and yellow print is lost. Between RGB and CMYK colour profiles\n"
         "tell the way: the options --srgb and --profile are for that.",
         "convert GA",
         {{"format", ArgumentType::Choice, nullptr, 0, 0, Words(kFormats), "the new kind"}},
         PlanConvert,
         RunConvert,
         1,
         StreamConvert},
        {"flatten",
         "Formats",
         "Lay the picture on a colour",
         "The alpha channel goes: what was clear gets the colour, and what was partly clear a mixture with it. A "
         "picture\n"
         "without alpha stays as it is. A gray picture becomes RGB for a colour. Formats that hold no alpha, such "
         "as\n"
         "JPEG, get pictures on white unless this effect comes before.",
         "convert RGBA fill FF8000 alpha=128 flatten 203040",
         {{"colour", ArgumentType::Colour, nullptr, 0, 0, {}, "what shows through"}},
         PlanFlatten,
         RunFlatten,
         1,
         StreamFlatten},
    };
}
