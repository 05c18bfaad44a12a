#include <optional>
#include <utility>

#include "Colour.h"
#include "Commands.h"
#include "Effort.h"
#include "Engine.h"
#include "Errors.h"
#include "Load.h"
#include "Metadata.h"
#include "Notes.h"
#include "Orientation.h"
#include "Progress.h"
#include "Rows.h"
#include "Storage.h"
#include "codecs/IccProfile.h"
#include "codecs/Picture.h"
#include "effects/ConvertEffects.h"
#include "effects/Effects.h"
#include "effects/KindRows.h"
#include "files/Cleanup.h"
#include "files/OutputFile.h"

namespace {

// The shapes after each effect.
std::vector<ImageShape> PlanEffects(const std::vector<EffectCall>& calls, ImageShape shape) {
    std::vector<ImageShape> shapes;
    for (const EffectCall& call : calls) {
        shape = PlanEffect(call, shape);
        CheckCanBe(call.row->name, NeedOf(shape));
        shapes.push_back(shape);
    }
    return shapes;
}

void CheckFits(const std::string& what, const ImageShape& shape) {
    const PixelKindRow& kind = Describe(shape.kind);
    CheckImageFits(what, shape.width, shape.height, kind.constant, kind.channels);
}

// Throws unless memory and the scratch directory hold the images that effects need whole; where they take rows as they
// come, there is none. `whole`: the source, which the path names, is an image.
void CheckRoom(const std::string& path, const std::vector<EffectCall>& calls, ImageShape source, bool whole,
               const std::vector<ImageShape>& shapes) {
    for (std::size_t i = 0; i < calls.size(); source = shapes[i++]) {
        const bool staysWhole = whole && calls[i].row->rowByRow;  // done in one where it is one already
        if (TakesRows(calls[i]) && !staysWhole) {
            whole = false;
            continue;
        }
        if (!whole) CheckFits(i == 0 ? path : calls[i].row->name, source);
        CheckFits(calls[i].row->name, shapes[i]);
        CheckScratchHolds(calls[i].row->name, {NeedOf(source), NeedOf(shapes[i])});
        whole = true;
    }
}

// Lets the file be decoded to a smaller picture where the first effect needs no more of it.
void Reduce(PictureReader& reader, const EffectCall& call, const ImageShape& whole, const ImageShape& result) {
    const int sides = call.row->sourceSides;
    if (sides == 0 || PluginBytes() || result.width == whole.width) return;
    const ImageShape stored = OrientedShape(result, HeededOrientation(reader.Header()));
    reader.Reduce(std::int64_t{stored.width} * sides, std::int64_t{stored.height} * sides);
}

constexpr const char* kLaidOnWhite =
    " holds no transparency; the picture is laid on white ('flatten' takes another colour)";

bool LosesAlpha(const Codec& codec, PixelKind kind) {
    return Describe(kind).hasAlpha && !Describe(codec.stored(kind)).hasAlpha;
}

// Throws unless the format holds such an image, and tells what it will leave out.
void CheckOutput(const Codec& codec, const std::string& path, const ImageShape& shape, const PictureHeader& tags,
                 Notes& notes) {
    if (const char* reason = codec.refuses(shape.kind)) FailFile(path, reason);
    if (shape.width > codec.longestSide || shape.height > codec.longestSide)
        FailFile(path, std::string(codec.name) + " holds at most " + std::to_string(codec.longestSide) +
                           " pixels a side, not " + std::to_string(shape.width) + " x " + std::to_string(shape.height));
    if (LosesAlpha(codec, shape.kind))
        notes.Say(path, std::string(codec.name) +
                            (PluginBytes() ? " holds no transparency; the alpha channel is left out" : kLaidOnWhite));
    if (tags.colour.profile.empty()) return;
    if (!codec.holdsProfile) {
        notes.Say(path, std::string(codec.name) + " holds no colour profile; it is left out");
    } else if (!ProfileFits(tags.colour.profile, codec.stored(shape.kind))) {
        notes.Say(path, "the colour profile is for " + ProfileSpace(tags.colour.profile) + " and does not fit " +
                            Describe(codec.stored(shape.kind)).name + " pixels; it is left out");
    }
}

struct Reading {
    const Codec& codec;
    ImageShape stored;
    bool byRows;
    bool recolours;
};

struct Writing {
    const Codec& codec;
    ImageShape result;
    bool recolours;
};

// Rows that tell how many of them have been taken.
class ToldRows : public RowSource {
public:
    ToldRows(RowSource& rows, Progress& progress) : RowSource(rows.Shape()), rows_(rows), progress_(progress) {}
    const std::uint8_t* Next() override {
        const std::uint8_t* row = rows_.Next();
        progress_.Step(++taken_, Shape().height);
        return row;
    }
    Raster* Whole() override { return rows_.Whole(); }

private:
    RowSource& rows_;
    Progress& progress_;
    std::int64_t taken_ = 0;
};

// What each phase will take, about, in the order of the phases. What works on rows as they come has no phase of its
// own: it is done while all rows are gathered for what needs the whole, or written.
std::vector<double> Efforts(const Reading& reading, const ImageShape& shape, const std::vector<EffectCall>& calls,
                            const std::vector<ImageShape>& shapes, const Writing& writing) {
    std::vector<double> efforts;
    double open = ReadingEffort(reading.codec, reading.stored);
    const auto end = [&] {
        efforts.push_back(open);
        open = 0;
    };
    if (!reading.byRows) end();
    if (reading.recolours) open += ColourEffort(reading.stored);
    ImageShape source = shape;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const bool whole = !TakesRows(calls[i]);
        if (whole && open > 0) end();
        open += EffectEffort(calls[i], source, shapes[i]);
        if (whole) end();
        source = shapes[i];
    }
    if (writing.recolours) open += ColourEffort(source);
    open += WritingEffort(writing.codec, writing.result);
    end();
    return efforts;
}

// The rows that come out of all effects. Those that take rows as they come have their work done while the rows are
// taken, the others before; where the engine gives turns in that, a signal ends it between two rows. `open` names what
// is still to be done while rows are taken; empty: nothing.
std::unique_ptr<RowSource> RunEffects(const std::vector<EffectCall>& calls, const std::vector<ImageShape>& shapes,
                                      std::unique_ptr<RowSource> rows, Progress& progress, std::string* open) {
    const EngineTicks ticks([&progress] {
        progress.Step(0, 0);
        SignalPatience::Look();
    });
    for (std::size_t i = 0; i < calls.size(); ++i) {
        if (TakesRows(calls[i])) {
            if (open->empty()) *open = calls[i].row->name;
            rows = RunEffect(calls[i], std::move(rows), shapes[i]);
            continue;
        }
        if (!open->empty()) {
            progress.Begin(*open);
            ToldRows told(*rows, progress);
            rows = RowsOf(Collect(told));
            open->clear();
        }
        const SignalPatience patience;
        progress.Begin(calls[i].row->name);
        rows = RunEffect(calls[i], std::move(rows), shapes[i]);
        SignalPatience::Look();
    }
    return rows;
}

}  // namespace

void Process(const CommandLine& line, Notes& notes) {
    const std::vector<EffectCall> calls = ReadEffects({line.words.begin() + 2, line.words.end()});
    const std::string& outputPath = line.words[1];
    const Codec& outputCodec = OutputCodec(line, outputPath);
    std::vector<std::uint8_t> profile;
    if (!line.profile.empty()) profile = ReadProfile(line.profile);

    InputFile input(line.words[0]);
    const Codec& inputCodec = InputCodec(input);
    const std::unique_ptr<PictureReader> reader = inputCodec.open(input, notes);
    const ImageShape whole = ShapeOf(input, reader->Header());
    const int orientation = HeededOrientation(reader->Header());
    PictureHeader header = OrientedTags(reader->Header(), orientation);
    ColourStep first{whole.kind, nullptr};
    if (line.srgb) first = StepToSrgb(input.Path(), whole.kind, &header.colour, notes);
    const std::vector<ImageShape> shapes = PlanEffects(calls, {whole.width, whole.height, first.kind});
    if (!calls.empty()) Reduce(*reader, calls.front(), whole, shapes.front());
    const ImageShape stored = ShapeOf(input, reader->Header());
    const ImageShape shape{stored.width, stored.height, first.kind};
    const bool readsRows = GivesRows(*reader);
    if (!readsRows) CheckPictureFits(input, reader->Header());
    if (!readsRows && shape.kind != stored.kind) CheckScratchHolds(input.Path(), {NeedOf(stored), NeedOf(shape)});
    CheckRoom(input.Path(), calls, shape, !readsRows, shapes);
    ImageShape result = shapes.empty() ? shape : shapes.back();
    if (Describe(result.kind).hasAlpha && ProfileSpace(profile) == "CMYK" && !PluginBytes()) {
        notes.Say(outputPath == "-" ? "standard output" : outputPath, std::string("CMYK") + kLaidOnWhite);
        result.kind = WithAlpha(result.kind, false);
    }
    const PixelKind laid = result.kind;
    ColourStep last{result.kind, nullptr};
    if (!line.profile.empty())
        last = StepToProfile(line.profile, profile, input.Path(), result.kind, &header.colour, notes);
    else if (line.srgb)
        header.colour = outputCodec.holdsProfile ? SrgbTags(outputCodec.stored(result.kind)) : ColourTags();
    result.kind = last.kind;
    const std::string outputName = outputPath == "-" ? "standard output" : outputPath;
    const ColourFate colours = !line.profile.empty() ? ColourFate::Other
                               : line.srgb           ? ColourFate::Srgb
                                                     : ColourFate::Kept;
    header = TagsFor(std::move(header), result, colours, outputCodec, outputName, line.strip, notes);
    CheckOutput(outputCodec, outputName, result, header, notes);
    if (reader->Header().orientation != orientation)
        notes.Say(input.Path(),
                  "the orientation (" + std::to_string(reader->Header().orientation) + ") is neither applied nor kept");
    OutputFile output(outputPath);

    Progress progress(line.quiet);
    const Reading reading{inputCodec, stored, readsRows, first.change != nullptr};
    progress.Plan(Efforts(reading, shape, calls, shapes, {outputCodec, result, last.change != nullptr}));
    const RowTick tick = [&progress](std::int64_t done, std::int64_t total) { progress.Step(done, total); };
    // Where rows go on as they are read, those who take them tell how many are done.
    const RowTick readTick = [&](std::int64_t done, std::int64_t total) {
        reading.byRows ? progress.Step(0, 0) : progress.Step(done, total);
    };
    if (!reading.byRows) progress.Begin("reading");
    std::string open = reading.byRows ? "reading" : reading.recolours ? "colours" : "";
    std::unique_ptr<RowSource> rows = Recoloured(RowsOfPicture(*reader, readTick), first);
    rows = RunEffects(calls, shapes, std::move(rows), progress, &open);
    rows = Recoloured(RowsInKind(std::move(rows), laid), last);
    if (LosesAlpha(outputCodec, result.kind) && !PluginBytes())
        rows = RowsInKind(std::move(rows), WithAlpha(result.kind, false));

    progress.Begin(open.empty() ? "writing" : open + " and writing");
    outputCodec.write(output, *rows, header, line.write, tick);
    output.Commit();
    progress.End();
}
