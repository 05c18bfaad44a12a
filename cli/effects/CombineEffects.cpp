#include "effects/CombineEffects.h"

#include <algorithm>
#include <optional>

#include "Errors.h"
#include "Raster.h"
#include "effects/ConvertEffects.h"
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
    return source;
}

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
    std::optional<Raster> mask;
    if (arguments.Given("mask")) {
        mask.emplace(LoadWhole(arguments.Text("mask")));
        CheckMask(loaded.Shape(), mask->Shape(), arguments);
    }
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

}  // namespace

std::vector<EffectRow> CombineEffects() {
    return {
        {"combine",
         "Compositing",
         "Another picture laid over this one",
         "FILE takes on the colours of the picture: gray where that is gray, and RGB where it is RGB. Where it has\n"
         "alpha, it shows by its alpha, and adds it to that of the picture; the colours mix as if the picture were\n"
         "opaque. A mask stands in the place of the alpha: black shows FILE, white keeps the picture, and values\n"
         "between mix the two, alpha included. An RGB mask works on each channel of an RGB picture by itself; an\n"
         "alpha of the mask is left aside. What of FILE lies beside the picture is left out.\n\n"
         "With colour, FILE is the mask for that colour: where FILE is black the colour is put on, where it is white\n"
         "the picture stays. With maskcolour, one value is the mask for all pixels: 0 shows FILE, 255 the picture,\n"
         "128 half of both. Neither of them looks at alpha or changes it, and neither works on CMYK.\n\n"
         "Premultiplied means that the colours are multiplied by the alpha, or by what the mask lets through,\n"
         "already; colours that are not come out too large there, and wrap around.",
         "combine photo.jpg at=20,10",
         {{"file", ArgumentType::File, nullptr, 0, 0, {}, "the picture that is laid over"},
          {"mask", ArgumentType::File, "", 0, 0, {}, "where FILE shows, of the same size as FILE"},
          {"at", ArgumentType::Point, "0,0", 0, 0, {}, "where its upper left corner comes to lie"},
          {"colour", ArgumentType::Colour, "", 0, 0, {}, "put on through FILE"},
          {"maskcolour", ArgumentType::Colour, "", 0, 0, {}, "one mask for all pixels"},
          {"premultiplied", ArgumentType::Flag, "", 0, 0, {}, "the colours of FILE count as multiplied"}},
         PlanCombine,
         RunCombine,
         4},
    };
}
