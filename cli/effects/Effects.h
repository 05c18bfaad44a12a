#pragma once
// The table of effects. Help, completion, the manual page, the checking of arguments, the work and what progress
// expects of it all come from its rows: a new effect is one row and its functions.

#include <memory>
#include <string>
#include <vector>

#include "PixelKind.h"
#include "effects/Arguments.h"

class Raster;
class RowSource;

struct EffectRow {
    const char* name;
    const char* group;    // heading under which help lists it
    const char* summary;  // one line
    const char* details;  // paragraph for `zor help NAME`
    const char* example;  // what stands behind OUTPUT in the example
    std::vector<ArgumentRow> arguments;

    // The shape of the result, known before the work starts; null: that of the source. A RunError when the effect
    // cannot be done on such an image.
    ImageShape (*plan)(const ImageShape& source, const Arguments& arguments);

    // Does the work with the methods of the plug-in, whose bytes it gives: changes the image, or puts one of the
    // planned shape in its place. A RunError when that fails.
    void (*run)(Raster* image, const ImageShape& result, const Arguments& arguments);

    // About how long that takes for a byte of the larger of the two images, see Effort.h. Unless given, that of a walk
    // over the pixels.
    double effort = 1;

    // What people get where the plug-in's bytes are not asked for: rounded, with colours weighed by alpha. At most one
    // of the two is there, and none where `run` loses nothing by itself.
    // From rows as they come; a RunError while it is made, or out of its rows.
    std::unique_ptr<RowSource> (*stream)(std::unique_ptr<RowSource> rows, const ImageShape& result,
                                         const Arguments& arguments) = nullptr;
    // The whole image at once.
    void (*right)(Raster* image, const ImageShape& result, const Arguments& arguments) = nullptr;

    // Every row of the result is that of the same row of the source alone, so that `run` may as well have some rows at
    // a time.
    bool rowByRow = false;

    // Whether `stream` serves such arguments; null: it does.
    bool (*streams)(const Arguments& arguments) = nullptr;

    // Above 0: the result is as good from a smaller picture, as long as that has so many times its sides. A file that
    // is decoded faster so may come smaller.
    int sourceSides = 0;

    // How much longer it takes by its arguments; null: about the same with all of them.
    double (*effortTimes)(const Arguments& arguments) = nullptr;
};

// All rows, group by group.
const std::vector<EffectRow>& Effects();

// By name; null: there is none.
const EffectRow* FindEffect(const std::string& name);
std::vector<std::string> EffectNames();

// "; did you mean 'scale'?" where a name is near.
std::string EffectSuggestion(const std::string& word);

// An effect as it was asked for.
struct EffectCall {
    const EffectRow* row;
    Arguments arguments;
};

// Reads EFFECT [ARGUMENT...] ... A name of an effect ends the arguments of the one before it. A UsageError names the
// word at fault and what was expected.
std::vector<EffectCall> ReadEffects(const std::vector<std::string>& words);

// The shape after one effect; throws as `plan` does.
ImageShape PlanEffect(const EffectCall& call, const ImageShape& source);

// Whether effects give the plug-in's own bytes, which are cut off and take alpha as one channel more. False at first.
void SetPluginBytes(bool wanted);
bool PluginBytes();

// Whether the effect holds no more of the picture than some rows.
bool TakesRows(const EffectCall& call);

// Rows of the planned shape out of those of the source. The call must stay as long as they are taken. A RunError.
std::unique_ptr<RowSource> RunEffect(const EffectCall& call, std::unique_ptr<RowSource> rows, const ImageShape& result);
