#include "effects/CombineEffects.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "Errors.h"
#include "Raster.h"
#include "Rows.h"
#include "compositing/LayRows.h"
#include "effects/ConvertEffects.h"
#include "effects/Effects.h"
#include "effects/KindRows.h"
#include "effects/OtherPicture.h"

namespace {

bool GivesColour(const Arguments& arguments) {
    return arguments.Given("colour") || arguments.Given("maskcolour");
}

void CheckWords(const Arguments& arguments) {
    const int ways = (arguments.Given("mask") ? 1 : 0) + (arguments.Given("colour") ? 1 : 0) +
                     (arguments.Given("maskcolour") ? 1 : 0);
    if (ways > 1) throw UsageError("combine: mask, colour and maskcolour exclude each other");
}

void CheckFile(const ImageShape& picture, const ImageShape& file, const Arguments& arguments) {
    const std::string path = "combine: " + arguments.Text("file");
    const Meeting meeting = Meet(picture, file, arguments.Area("at"));
    if (meeting.width < 1 || meeting.height < 1)
        throw RunError(path + ": lies beside the picture of " + std::to_string(picture.width) + " x " +
                       std::to_string(picture.height) + " pixels");
    if (GivesColour(arguments)) {
        for (const PixelKind kind : {picture.kind, file.kind})
            if (kind == PixelKind::CMYK)
                throw RunError("combine: colour and maskcolour work between gray and RGB pictures, and not on CMYK");
        return;
    }
    if (!CanConvert(file.kind, picture.kind))
        throw RunError(path + ": is " + Describe(file.kind).name + " and cannot be laid over " +
                       Describe(picture.kind).name);
    if (arguments.Given("premultiplied") && (file.kind == PixelKind::CMYK) != (picture.kind == PixelKind::CMYK))
        throw RunError(path + ": premultiplied does not work between gray and CMYK");
    if (arguments.Given("premultiplied") && !arguments.Given("mask") && !Describe(file.kind).hasAlpha)
        throw RunError(path + ": has no alpha, by which its colours could be multiplied");
}

void CheckMask(const ImageShape& file, const ImageShape& mask, const Arguments& arguments) {
    const std::string path = "combine: " + arguments.Text("mask");
    if (mask.width != file.width || mask.height != file.height)
        throw RunError(path + ": is " + std::to_string(mask.width) + " x " + std::to_string(mask.height) +
                       " pixels, but " + arguments.Text("file") + ", which it masks, " + std::to_string(file.width) +
                       " x " + std::to_string(file.height));
    if (mask.kind == PixelKind::CMYK) throw RunError(path + ": a mask is gray or RGB, and not CMYK");
}

ImageShape PlanCombine(const ImageShape& source, const Arguments& arguments) {
    CheckWords(arguments);
    ImageShape file{};
    ImageShape mask{};
    const bool known = PeekShape(arguments.Text("file"), &file);
    if (known) CheckFile(source, file, arguments);
    if (arguments.Given("mask") && PeekShape(arguments.Text("mask"), &mask) && known) CheckMask(file, mask, arguments);
    if (!arguments.Given("colour") || PluginBytes()) return source;
    return ShapeInColours(source, {arguments.Colour("colour")});
}

std::optional<Raster> LoadMask(const ImageShape& file, const Arguments& arguments) {
    if (!arguments.Given("mask")) return std::nullopt;
    Raster mask = LoadWhole(arguments.Text("mask"));
    CheckMask(file, mask.Shape(), arguments);
    return mask;
}

// --- by the engine's method -----------------------------------------------------------------------------------------

// All below work on strips of the common rectangle, which are images of their own: small, and in memory wherever the
// pictures are.
void Lay(const zorhost::Object& target, const zorhost::Object& source, bool premultiplied,
         const zorhost::Object& mask) {
    const int width = target.Get("Width").AsInt(), height = target.Get("Height").AsInt();
    if (!target.Call("Combine", source, premultiplied, mask, 0, 0, 0, 0, width, height, false).AsBool())
        throw RunError("combine: the engine refused the pictures");
}

int EngineColour(const Arguments& arguments, const char* name) {
    if (!arguments.Given(name)) return -1;
    const RGBAColour& colour = arguments.Colour(name);
    return colour.red << 16 | colour.green << 8 | colour.blue;
}

void LayColour(const Raster& picture, const Raster& file, const Arguments& arguments) {
    const ImageShape& shape = picture.Shape();
    const zorhost::Object noMask;
    if (!picture.Image()
             .Call("Combine", file.Image(), arguments.Given("premultiplied"), noMask, 0, 0, 0, 0, shape.width,
                   shape.height, true, EngineColour(arguments, "colour"), EngineColour(arguments, "maskcolour"))
             .AsBool())
        throw RunError("combine: the engine refused the pictures");
}

// Black where the file is opaque: there it shows.
Raster MaskOfAlpha(const Raster& file) {
    Raster mask({file.Shape().width, file.Shape().height, PixelKind::Gray});
    CopyAll(mask.Image(), file.View("AlphaChannel"), "combine");
    mask.Image().Call("Invert");
    return mask;
}

// Through a mask, channel by channel. As a whole the engine would leave the alpha of the picture as it is, and put the
// mask in the place of the colours of a premultiplied RGB picture; of gray views all of it comes out right.
void LayThroughMask(const Raster& picture, const Raster& file, const Raster& mask, const Arguments& arguments,
                    bool fileHasAlpha) {
    const ImageShape& shape = picture.Shape();
    const bool premultiplied = arguments.Given("premultiplied");
    const bool channelMask = mask.Shape().kind == PixelKind::RGB;
    for (const char* view : ColourViews(shape.kind))
        Lay(picture.View(view), file.View(view), premultiplied, mask.View(channelMask ? view : "GrayChannel"));
    if (!Describe(shape.kind).hasAlpha) return;
    // Alpha that is its own mask adds to what is there, as alpha multiplied beforehand does.
    const bool addsAlpha = !arguments.Given("mask") || (premultiplied && fileHasAlpha);
    const Raster gray = Converted(mask, PixelKind::Gray, "combine");
    Lay(picture.View("AlphaChannel"), file.View("AlphaChannel"), addsAlpha, gray.Image());
}

void LayStrip(const Raster& picture, const Raster& loaded, const Raster* mask, const Arguments& arguments) {
    if (GivesColour(arguments)) return LayColour(picture, loaded, arguments);
    const PixelKind kind = picture.Shape().kind;
    const bool fileHasAlpha = Describe(loaded.Shape().kind).hasAlpha;
    const Raster file = Converted(loaded, WithAlpha(kind, fileHasAlpha || Describe(kind).hasAlpha), "combine");
    if (mask != nullptr) {
        const bool both =
            WithAlpha(mask->Shape().kind, false) == PixelKind::RGB && WithAlpha(kind, false) == PixelKind::RGB;
        LayThroughMask(picture, file, Converted(*mask, both ? PixelKind::RGB : PixelKind::Gray, "combine"), arguments,
                       fileHasAlpha);
    } else if (fileHasAlpha) {
        LayThroughMask(picture, file, MaskOfAlpha(loaded), arguments, fileHasAlpha);
    } else {
        Lay(picture.Image(), file.Image(), false, {});
    }
}

void RunCombine(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    Raster loaded = LoadWhole(arguments.Text("file"));
    CheckFile(shape, loaded.Shape(), arguments);
    std::optional<Raster> mask = LoadMask(loaded.Shape(), arguments);
    constexpr int kStripBytes = 1 << 17;
    constexpr int kMaxChannels = 4;
    const Meeting meeting = Meet(shape, loaded.Shape(), arguments.Area("at"));
    const int rows = std::max(kStripBytes / kMaxChannels / meeting.width, 1);
    for (int top = 0; top < meeting.height; top += rows) {
        const int height = std::min(rows, meeting.height - top);
        Raster strip = image->Part(meeting.x, meeting.y + top, meeting.width, height);
        const Raster over = loaded.Part(meeting.fileX, meeting.fileY + top, meeting.width, height);
        std::optional<Raster> maskStrip;
        if (mask) maskStrip.emplace(mask->Part(meeting.fileX, meeting.fileY + top, meeting.width, height));
        LayStrip(strip, over, maskStrip ? &*maskStrip : nullptr, arguments);
        image->Put(strip, meeting.x, meeting.y + top);
    }
}

// --- rounded, with colours weighed by alpha -------------------------------------------------------------------------

// The rows of another picture that meet the one at work, with colours of so many channels.
class OtherRows {
public:
    OtherRows(Raster file, int colours, const Meeting& meeting)
        : file_(std::move(file)),
          parts_{colours, Describe(file_.Shape().kind).hasAlpha},
          turner_(file_.Shape().kind, parts_, meeting.width, kWhite),
          top_(meeting.fileY),
          left_(std::ptrdiff_t{meeting.fileX} * Describe(file_.Shape().kind).channels) {}

    [[nodiscard]] const PixelParts& Parts() const { return parts_; }

    // Counted from the first that meets the picture.
    const std::uint8_t* Row(int y) { return turner_.Turn(file_.Row(top_ + y) + left_); }

    // An alpha of the mask is left aside.
    zor::MaskRow MaskRow(int y) { return {Row(y), parts_.colours, parts_.Channels()}; }

private:
    Raster file_;
    PixelParts parts_;
    RowTurner turner_;
    int top_;
    std::ptrdiff_t left_;
};

OtherRows RowsOfMask(Raster mask, int pictureColours, const Meeting& meeting) {
    const int colours = std::min(PartsOf(mask.Shape().kind).colours, pictureColours == 3 ? 3 : 1);
    return {std::move(mask), colours, meeting};
}

class CombinedRows : public RowSource {
public:
    CombinedRows(std::unique_ptr<RowSource> rows, Raster file, std::optional<Raster> mask, const Arguments& arguments)
        : RowSource(rows->Shape()),
          rows_(std::move(rows)),
          arguments_(arguments),
          picture_(PartsOf(Shape().kind)),
          meeting_(Meet(Shape(), file.Shape(), arguments.Area("at"))),
          file_(std::move(file), arguments.Given("colour") ? PartsOf(file.Shape().kind).colours : picture_.colours,
                meeting_),
          part_(PartLetThrough()),
          row_(static_cast<std::size_t>(Shape().width) * static_cast<std::size_t>(picture_.Channels())) {
        if (mask) mask_.emplace(RowsOfMask(std::move(*mask), picture_.colours, meeting_));
    }

    const std::uint8_t* Next() override {
        const std::uint8_t* row = rows_->Next();
        const int y = next_++ - meeting_.y;
        if (y < 0 || y >= meeting_.height) return row;
        std::memcpy(row_.data(), row, row_.size());
        Lay(row_.data() + std::ptrdiff_t{meeting_.x} * picture_.Channels(), y);
        return row_.data();
    }

private:
    [[nodiscard]] zor::LetThrough PartLetThrough() const {
        zor::LetThrough part{{255, 255, 255, 255}, 255};
        if (!arguments_.Given("maskcolour")) return part;
        ChannelsOf(arguments_.Colour("maskcolour"), Shape().kind, part.colour);
        ChannelsOf(arguments_.Colour("maskcolour"), PixelKind::Gray, &part.alpha);
        for (std::uint8_t& keeps : part.colour) keeps = static_cast<std::uint8_t>(255 - keeps);
        part.alpha = static_cast<std::uint8_t>(255 - part.alpha);
        return part;
    }

    void Lay(std::uint8_t* under, int y) {
        const zor::LaidRows laid{under,
                                 meeting_.width,
                                 file_.Row(y),
                                 picture_.colours,
                                 picture_.alpha,
                                 file_.Parts().alpha,
                                 arguments_.Given("premultiplied")};
        if (arguments_.Given("colour")) {
            std::uint8_t colour[4];
            ChannelsOf(arguments_.Colour("colour"), Shape().kind, colour);
            zor::PaintThroughMask(laid, file_.MaskRow(y), colour);
        } else if (mask_) {
            zor::LayThroughMask(laid, mask_->MaskRow(y));
        } else {
            zor::LayByAlpha(laid, part_);
        }
    }

    std::unique_ptr<RowSource> rows_;
    const Arguments& arguments_;
    PixelParts picture_;
    Meeting meeting_;
    OtherRows file_;
    std::optional<OtherRows> mask_;
    zor::LetThrough part_;
    std::vector<std::uint8_t> row_;
    int next_ = 0;
};

std::unique_ptr<RowSource> StreamCombine(std::unique_ptr<RowSource> rows, const ImageShape& shape,
                                         const Arguments& arguments) {
    Raster file = LoadWhole(arguments.Text("file"));
    CheckFile(shape, file.Shape(), arguments);
    std::optional<Raster> mask = LoadMask(file.Shape(), arguments);
    return std::make_unique<CombinedRows>(RowsInKind(std::move(rows), shape.kind), std::move(file), std::move(mask),
                                          arguments);
}

}  // namespace

std::vector<EffectRow> CombineEffects() {
    return {
        {"combine",
         "Compositing",
         "Another picture laid over this one",
         "FILE takes on the colours of the picture: gray where that is gray, and RGB where it is RGB. Where it has\n"
         "alpha, it shows by its alpha, and adds it to that of the picture; colours weigh as much as their alpha, so\n"
         "that over clear ground FILE keeps its own. A mask stands in the place of the alpha: black shows FILE, white\n"
         "keeps the picture, and values between mix the two, alpha included. An RGB mask works on each channel of an\n"
         "RGB picture by itself; an alpha of the mask is left aside. What of FILE lies beside the picture is left\n"
         "out.\n\n"
         "With colour, FILE is the mask for that colour: where FILE is black the colour is put on, where it is white\n"
         "the picture stays; alpha is neither looked at nor changed, and a gray picture becomes RGB for it. With\n"
         "maskcolour, one value is how faint all of FILE is, beside its alpha: 0 shows it fully, 255 not at all, 128\n"
         "by half. Neither works on CMYK.\n\n"
         "Premultiplied means that the colours are multiplied by the alpha already, and both by what the mask lets\n"
         "through; colours that are not come out too light.",
         "combine photo.jpg at=20,10",
         {{"file", ArgumentType::File, nullptr, 0, 0, {}, "the picture that is laid over"},
          {"mask", ArgumentType::File, "", 0, 0, {}, "where FILE shows, of the same size as FILE"},
          {"at", ArgumentType::Point, "0,0", 0, 0, {}, "where its upper left corner comes to lie"},
          {"colour", ArgumentType::Colour, "", 0, 0, {}, "put on through FILE"},
          {"maskcolour", ArgumentType::Colour, "", 0, 0, {}, "one mask for all pixels"},
          {"premultiplied", ArgumentType::Flag, "", 0, 0, {}, "the colours of FILE count as multiplied"}},
         PlanCombine,
         RunCombine,
         4,
         StreamCombine},
    };
}
