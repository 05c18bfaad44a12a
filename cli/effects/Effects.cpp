#include "effects/Effects.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "Errors.h"
#include "Rows.h"
#include "Suggest.h"
#include "effects/ArtisticEffects.h"
#include "effects/CombineEffects.h"
#include "effects/ConvertEffects.h"
#include "effects/FilterEffects.h"
#include "effects/GeometryEffects.h"
#include "effects/PasteEffects.h"
#include "effects/PixelEffects.h"
#include "effects/ScaleEffects.h"
#include "effects/ToneEffects.h"

const std::vector<EffectRow>& Effects() {
    static const std::vector<EffectRow> rows = [] {
        std::vector<EffectRow> all;
        for (const auto& some : {ScaleEffects(), GeometryEffects(), FilterEffects(), ToneEffects(), ArtisticEffects(),
                                 PixelEffects(), ConvertEffects(), CombineEffects(), PasteEffects()})
            for (const EffectRow& row : some) {
                // Behind the last row of its group.
                const auto last = std::find_if(all.rbegin(), all.rend(), [&](const EffectRow& other) {
                    return std::string_view(other.group) == row.group;
                });
                all.insert(last == all.rend() ? all.end() : last.base(), row);
            }
        return all;
    }();
    return rows;
}

const EffectRow* FindEffect(const std::string& name) {
    for (const EffectRow& row : Effects())
        if (row.name == name) return &row;
    return nullptr;
}

std::vector<std::string> EffectNames() {
    std::vector<std::string> names;
    for (const EffectRow& row : Effects()) names.emplace_back(row.name);
    return names;
}

std::string EffectSuggestion(const std::string& word) {
    return Suggestion(word, EffectNames());
}

std::vector<EffectCall> ReadEffects(const std::vector<std::string>& words) {
    std::vector<EffectCall> calls;
    for (std::size_t i = 0; i < words.size();) {
        const EffectRow* row = FindEffect(words[i]);
        if (row == nullptr)
            throw UsageError("unknown effect '" + words[i] + "'" + EffectSuggestion(words[i]) +
                             "; 'zor help' lists the effects");
        std::vector<std::string> arguments;
        for (++i; i < words.size() && FindEffect(words[i]) == nullptr; ++i) arguments.push_back(words[i]);
        calls.push_back({row, Arguments(row->name, row->arguments, arguments, EffectNames())});
    }
    return calls;
}

namespace {

bool pluginBytes = false;

// Some rows at a time through an effect that needs no more.
class RowsThroughEffect : public RowSource {
public:
    RowsThroughEffect(std::unique_ptr<RowSource> rows, const ImageShape& result, const EffectCall& call)
        : RowSource(result), rows_(std::move(rows)), call_(call) {}

    const std::uint8_t* Next() override {
        if (part_ == nullptr || next_ == part_->Shape().height) MakePart();
        return part_->Row(next_++);
    }

private:
    void MakePart() {
        constexpr std::int64_t kPartBytes = 1 << 20;
        const ImageShape& source = rows_->Shape();
        const std::int64_t rowBytes = std::int64_t{source.width} * Describe(source.kind).channels;
        const auto height =
            static_cast<int>(std::clamp<std::int64_t>(kPartBytes / rowBytes, 1, std::int64_t{source.height} - done_));
        Raster part({source.width, height, source.kind});
        for (int y = 0; y < height; ++y) std::memcpy(part.Row(y), rows_->Next(), static_cast<std::size_t>(rowBytes));
        call_.row->run(&part, {Shape().width, height, Shape().kind}, call_.arguments);
        part_ = std::make_unique<Raster>(std::move(part));
        done_ += height;
        next_ = 0;
    }

    std::unique_ptr<RowSource> rows_;
    const EffectCall& call_;
    std::unique_ptr<Raster> part_;
    int next_ = 0, done_ = 0;
};

}  // namespace

void SetPluginBytes(bool wanted) {
    pluginBytes = wanted;
}

bool PluginBytes() {
    return pluginBytes;
}

static bool Streams(const EffectCall& call) {
    const EffectRow& row = *call.row;
    return row.stream != nullptr && !pluginBytes && (row.streams == nullptr || row.streams(call.arguments));
}

bool TakesRows(const EffectCall& call) {
    return call.row->rowByRow || Streams(call);
}

std::unique_ptr<RowSource> RunEffect(const EffectCall& call, std::unique_ptr<RowSource> rows,
                                     const ImageShape& result) {
    const EffectRow& row = *call.row;
    if (Streams(call)) return row.stream(std::move(rows), result, call.arguments);
    if (row.rowByRow && rows->Whole() == nullptr)
        return std::make_unique<RowsThroughEffect>(std::move(rows), result, call);
    Raster image = Collect(*rows);
    rows.reset();
    (row.right != nullptr && !pluginBytes ? row.right : row.run)(&image, result, call.arguments);
    return RowsOf(std::move(image));
}

ImageShape PlanEffect(const EffectCall& call, const ImageShape& source) {
    return call.row->plan == nullptr ? source : call.row->plan(source, call.arguments);
}
