#include <optional>
#include <utility>

#include "Colour.h"
#include "Commands.h"
#include "Effort.h"
#include "Engine.h"
#include "Errors.h"
#include "Load.h"
#include "Notes.h"
#include "Orientation.h"
#include "Progress.h"
#include "Rows.h"
#include "Storage.h"
#include "codecs/IccProfile.h"
#include "codecs/Picture.h"
#include "effects/Effects.h"
#include "files/Cleanup.h"
#include "files/OutputFile.h"

namespace {

// The shapes after each effect, all checked against what memory and the scratch directory hold.
std::vector<ImageShape> PlanEffects(const std::vector<EffectCall>& calls, ImageShape shape) {
    std::vector<ImageShape> shapes;
    for (const EffectCall& call : calls) {
        const ImageNeed source = NeedOf(shape);
        shape = PlanEffect(call, shape);
        const PixelKindRow& kind = Describe(shape.kind);
        CheckImageFits(call.row->name, shape.width, shape.height, kind.constant, kind.channels);
        CheckScratchHolds(call.row->name, {source, NeedOf(shape)});
        shapes.push_back(shape);
    }
    return shapes;
}

// Throws unless the format holds such an image, and tells what it will leave out.
void CheckOutput(const Codec& codec, const std::string& path, const ImageShape& shape, const PictureHeader& tags,
                 Notes& notes) {
    if (const char* reason = codec.refuses(shape.kind)) FailFile(path, reason);
    if (shape.width > codec.longestSide || shape.height > codec.longestSide)
        FailFile(path, std::string(codec.name) + " holds at most " + std::to_string(codec.longestSide) +
                           " pixels a side, not " + std::to_string(shape.width) + " x " + std::to_string(shape.height));
    if (Describe(shape.kind).hasAlpha && !Describe(codec.stored(shape.kind)).hasAlpha)
        notes.Say(path, std::string(codec.name) + " holds no transparency; the alpha channel is left out");
    if (tags.colour.profile.empty()) return;
    if (!codec.holdsProfile) {
        notes.Say(path, std::string(codec.name) + " holds no colour profile; it is left out");
    } else if (!ProfileFits(tags.colour.profile, codec.stored(shape.kind))) {
        notes.Say(path, "the colour profile is for " + ProfileSpace(tags.colour.profile) + " and does not fit " +
                            Describe(codec.stored(shape.kind)).name + " pixels; it is left out");
    }
}

// What each phase will take, about, in the order of the phases. What works on rows as they come has no phase of its
// own: it is done while all rows are gathered for what needs the whole, or written.
std::vector<double> Efforts(const ImageShape& shape, bool readsRows, const std::vector<EffectCall>& calls,
                            const std::vector<ImageShape>& shapes, const Codec& outputCodec) {
    std::vector<double> efforts;
    double open = ReadingEffort(shape);
    const auto end = [&] {
        efforts.push_back(open);
        open = 0;
    };
    if (!readsRows) end();
    ImageShape source = shape;
    for (std::size_t i = 0; i < calls.size(); ++i) {
        const bool whole = !TakesRows(calls[i]);
        if (whole && open > 0) end();
        open += EffectEffort(*calls[i].row, source, shapes[i]);
        if (whole) end();
        source = shapes[i];
    }
    open += WritingEffort(outputCodec, source);
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
            rows = RowsOf(Collect(*rows));
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
    const std::unique_ptr<PictureReader> reader = OpenPicture(input, notes);
    const ImageShape stored = ShapeOf(input, reader->Header());
    const int orientation = HeededOrientation(reader->Header());
    PictureHeader header = OrientedTags(reader->Header(), orientation);
    ColourStep first{stored.kind, nullptr};
    if (line.srgb) first = StepToSrgb(input.Path(), stored.kind, &header.colour, notes);
    const ImageShape shape{stored.width, stored.height, first.kind};
    if (shape.kind != stored.kind && !GivesRows(*reader))
        CheckScratchHolds(input.Path(), {NeedOf(stored), NeedOf(shape)});
    const std::vector<ImageShape> shapes = PlanEffects(calls, shape);
    ImageShape result = shapes.empty() ? shape : shapes.back();
    ColourStep last{result.kind, nullptr};
    if (!line.profile.empty())
        last = StepToProfile(line.profile, profile, input.Path(), result.kind, &header.colour, notes);
    else if (line.srgb)
        header.colour = outputCodec.holdsProfile ? SrgbTags(outputCodec.stored(result.kind)) : ColourTags();
    result.kind = last.kind;
    CheckOutput(outputCodec, outputPath == "-" ? "standard output" : outputPath, result, header, notes);
    if (reader->Header().orientation != orientation)
        notes.Say(input.Path(),
                  "the orientation (" + std::to_string(reader->Header().orientation) + ") is neither applied nor kept");
    OutputFile output(outputPath);

    Progress progress(line.quiet);
    const bool readsRows = GivesRows(*reader);
    progress.Plan(Efforts(shape, readsRows, calls, shapes, outputCodec));
    const RowTick tick = [&progress](std::int64_t done, std::int64_t total) { progress.Step(done, total); };
    if (!readsRows) progress.Begin("reading");
    std::string open = readsRows ? "reading" : "";
    std::unique_ptr<RowSource> rows = Recoloured(RowsOfPicture(*reader, tick), first);
    rows = Recoloured(RunEffects(calls, shapes, std::move(rows), progress, &open), last);

    progress.Begin(open.empty() ? "writing" : open + " and writing");
    outputCodec.write(output, *rows, header, line.write, tick);
    output.Commit();
    progress.End();
}
