#include "effects/PasteEffects.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "Errors.h"
#include "Raster.h"
#include "Rows.h"
#include "effects/ConvertEffects.h"
#include "effects/Effects.h"
#include "effects/KindRows.h"
#include "effects/OtherPicture.h"
#include "effects/PixelEffects.h"

namespace {

// What of the file is to be pasted, and where.
struct Pasting {
    PixelArea part;  // of the file
    Meeting meeting;
};

Pasting PlanPasting(const ImageShape& picture, const ImageShape& file, const Arguments& arguments) {
    const std::string path = "paste: " + arguments.Text("file");
    Pasting pasting{{0, 0, file.width, file.height}, {}};
    if (arguments.Given("area")) pasting.part = CutToPicture(arguments.Area("area"), file.width, file.height);
    if (pasting.part.width < 1 || pasting.part.height < 1)
        throw RunError(path + ": the area lies beside its " + std::to_string(file.width) + " x " +
                       std::to_string(file.height) + " pixels");
    pasting.meeting = Meet(picture, {pasting.part.width, pasting.part.height, file.kind}, arguments.Area("at"));
    if (pasting.meeting.width < 1 || pasting.meeting.height < 1)
        throw RunError(path + ": lies beside the picture of " + std::to_string(picture.width) + " x " +
                       std::to_string(picture.height) + " pixels");
    const PixelKind kind = arguments.Given("channel") ? PixelKind::Gray : picture.kind;
    if (!CanConvert(file.kind, kind))
        throw RunError(path + ": is " + Describe(file.kind).name + " and cannot become " + Describe(kind).name);
    return pasting;
}

ImageShape PlanPaste(const ImageShape& source, const Arguments& arguments) {
    if (arguments.Given("channel")) ChannelView("paste", source.kind, arguments.Choice("channel"));
    ImageShape file{};
    if (PeekShape(arguments.Text("file"), &file)) PlanPasting(source, file, arguments);
    return source;
}

void RunPaste(Raster* image, const ImageShape& shape, const Arguments& arguments) {
    Raster loaded = LoadWhole(arguments.Text("file"));
    const Pasting pasting = PlanPasting(shape, loaded.Shape(), arguments);
    const Meeting& meeting = pasting.meeting;
    const int fileX = pasting.part.x + meeting.fileX, fileY = pasting.part.y + meeting.fileY;
    Raster file = Converted(loaded.Part(fileX, fileY, meeting.width, meeting.height),
                            arguments.Given("channel") ? PixelKind::Gray : shape.kind, "paste");
    if (!arguments.Given("channel")) return image->Put(file, meeting.x, meeting.y);
    const char* view = ChannelView("paste", shape.kind, arguments.Choice("channel"));
    WorkOnArea(image, {meeting.x, meeting.y, meeting.width, meeting.height},
               [&](Raster* part) { CopyAll(part->View(view), file.Image(), "paste"); });
}

// The same with rows as they come, rounded, and clear pixels on white where they lose their alpha.
class PastedRows : public RowSource {
public:
    PastedRows(std::unique_ptr<RowSource> rows, Raster file, const Pasting& pasting, const Arguments& arguments)
        : RowSource(rows->Shape()),
          rows_(std::move(rows)),
          file_(std::move(file)),
          pasting_(pasting),
          channel_(arguments.Given("channel") ? IndexOfChannel("paste", Shape().kind, arguments.Choice("channel"))
                                              : -1),
          turner_(file_.Shape().kind, PartsOf(channel_ < 0 ? Shape().kind : PixelKind::Gray), pasting.meeting.width,
                  kWhite),
          row_(static_cast<std::size_t>(Shape().width) * static_cast<std::size_t>(Channels())) {}

    const std::uint8_t* Next() override {
        const std::uint8_t* row = rows_->Next();
        const Meeting& meeting = pasting_.meeting;
        const int y = next_++ - meeting.y;
        if (y < 0 || y >= meeting.height) return row;
        std::memcpy(row_.data(), row, row_.size());
        const std::ptrdiff_t left =
            std::ptrdiff_t{pasting_.part.x + meeting.fileX} * Describe(file_.Shape().kind).channels;
        const std::uint8_t* from = turner_.Turn(file_.Row(pasting_.part.y + meeting.fileY + y) + left);
        std::uint8_t* to = row_.data() + std::ptrdiff_t{meeting.x} * Channels();
        if (channel_ < 0)
            std::memcpy(to, from, static_cast<std::size_t>(meeting.width) * static_cast<std::size_t>(Channels()));
        else
            for (int x = 0; x < meeting.width; ++x) to[std::ptrdiff_t{x} * Channels() + channel_] = from[x];
        return row_.data();
    }

private:
    [[nodiscard]] int Channels() const { return Describe(Shape().kind).channels; }

    std::unique_ptr<RowSource> rows_;
    Raster file_;
    Pasting pasting_;
    int channel_;  // below 0: all
    RowTurner turner_;
    std::vector<std::uint8_t> row_;
    int next_ = 0;
};

std::unique_ptr<RowSource> StreamPaste(std::unique_ptr<RowSource> rows, const ImageShape& shape,
                                       const Arguments& arguments) {
    Raster file = LoadWhole(arguments.Text("file"));
    const Pasting pasting = PlanPasting(shape, file.Shape(), arguments);
    return std::make_unique<PastedRows>(std::move(rows), std::move(file), pasting, arguments);
}

ImageShape PlanCanvas(const ImageShape& source, const Arguments& arguments) {
    const PixelSize size = Resolve(arguments.Size("size"), source.width, source.height);
    ImageShape result{static_cast<int>(size.width), static_cast<int>(size.height), source.kind};
    const Meeting meeting = Meet(result, source, arguments.Area("at"));
    if (meeting.width < 1 || meeting.height < 1)
        throw RunError("canvas: nothing of the picture lies on the canvas of " + std::to_string(result.width) + " x " +
                       std::to_string(result.height) + " pixels");
    if (!arguments.Given("background")) return result;
    CheckColourFits("canvas", source.kind, arguments.Colour("background"));
    return PluginBytes() ? result : ShapeInColours(result, {arguments.Colour("background")});
}

void FillCanvas(const Raster& canvas, const RGBAColour& colour) {
    if (canvas.Shape().kind == PixelKind::CMYK) {
        canvas.Image().Call("FillRect", colour.red);
        return;
    }
    const bool rgb = WithAlpha(canvas.Shape().kind, false) == PixelKind::RGB;
    if (rgb)
        canvas.Image().Call("FillRectRGB", colour.red, colour.green, colour.blue);
    else
        canvas.View("GrayChannel").Call("FillRect", (77 * colour.red + 151 * colour.green + 28 * colour.blue) >> 8);
    if (Describe(canvas.Shape().kind).hasAlpha) canvas.View("AlphaChannel").Call("FillRect", colour.alpha);
}

void RunCanvas(Raster* image, const ImageShape& result, const Arguments& arguments) {
    Raster canvas(result);
    if (arguments.Given("background")) FillCanvas(canvas, arguments.Colour("background"));
    const Meeting meeting = Meet(result, image->Shape(), arguments.Area("at"));
    Raster::CopyArea(*image, meeting.fileX, meeting.fileY, meeting.width, meeting.height, &canvas, meeting.x,
                     meeting.y);
    *image = std::move(canvas);
}

// The same with rows as they come.
class RowsOnCanvas : public RowSource {
public:
    RowsOnCanvas(std::unique_ptr<RowSource> rows, const ImageShape& result, const Arguments& arguments)
        : RowSource(result), rows_(std::move(rows)), meeting_(Meet(result, rows_->Shape(), arguments.Area("at"))) {
        const PixelParts parts = PartsOf(result.kind);
        std::vector<std::uint8_t> pixel(Channels());
        if (arguments.Given("background")) {
            ChannelsOf(arguments.Colour("background"), result.kind, pixel.data());
            if (parts.alpha) pixel.back() = static_cast<std::uint8_t>(arguments.Colour("background").alpha);
        }
        for (int x = 0; x < result.width; ++x) ground_.insert(ground_.end(), pixel.begin(), pixel.end());
        row_ = ground_;
        rows_ = PartOf(std::move(rows_), meeting_.fileX, meeting_.fileY, meeting_.width, meeting_.height);
    }

    const std::uint8_t* Next() override {
        const int y = next_++ - meeting_.y;
        if (y < 0 || y >= meeting_.height) return ground_.data();
        std::memcpy(row_.data() + static_cast<std::size_t>(meeting_.x) * Channels(), rows_->Next(),
                    static_cast<std::size_t>(meeting_.width) * Channels());
        return row_.data();
    }

private:
    [[nodiscard]] std::size_t Channels() const { return static_cast<std::size_t>(Describe(Shape().kind).channels); }

    std::unique_ptr<RowSource> rows_;
    Meeting meeting_;
    std::vector<std::uint8_t> ground_, row_;
    int next_ = 0;
};

std::unique_ptr<RowSource> StreamCanvas(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                        const Arguments& arguments) {
    return std::make_unique<RowsOnCanvas>(RowsInKind(std::move(rows), result.kind), result, arguments);
}

constexpr ArgumentType kPoint = ArgumentType::Point;

}  // namespace

std::vector<EffectRow> PasteEffects() {
    return {
        {"paste",
         "Compositing",
         "Pixels of another picture in the place of these",
         "FILE takes on the kind of the picture, as by 'convert', and its pixels replace what is there, alpha "
         "included:\n"
         "'combine' is what lets something show through. With channel, the gray of FILE replaces that one channel, "
         "such\n"
         "as alpha. What of FILE lies beside the picture is left out.",
         "paste photo.jpg area=0,0,60x40 at=20,10",
         {{"file", ArgumentType::File, nullptr, 0, 0, {}, "the other picture"},
          {"at", kPoint, "0,0", 0, 0, {}, "where its upper left corner comes to lie"},
          {"area", ArgumentType::Area, "", 0, 0, {}, "what of FILE is taken; all of it unless given"},
          {"channel", ArgumentType::Choice, "", 0, 0, ChannelWords(), "the one channel that is replaced"}},
         PlanPaste,
         RunPaste,
         1,
         StreamPaste},
        {"canvas",
         "Size",
         "More room around the picture, or less",
         "The picture keeps its pixels and comes to lie on a canvas of the new size; what lies beside that is left "
         "out.\n"
         "The rest of the canvas is transparent where the picture has alpha, otherwise black, unless a colour is "
         "given,\n"
         "for which a gray picture becomes RGB. CMYK is white there, and takes a number only, which every ink gets, "
         "255 being full ink.",
         "canvas 700x500 at=30,20 background=FFFFFF",
         {{"size", ArgumentType::Size, nullptr, 0, 0, {}, "of the canvas"},
          {"at", kPoint, "0,0", 0, 0, {}, "where the picture's upper left corner comes to lie"},
          {"background", ArgumentType::ColourAlpha, "", 0, 0, {}, "colour of the rest"}},
         PlanCanvas,
         RunCanvas,
         1,
         StreamCanvas},
    };
}
