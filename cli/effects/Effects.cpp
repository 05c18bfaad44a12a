#include "effects/Effects.h"

#include <algorithm>
#include <string_view>

#include "Errors.h"
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

ImageShape PlanEffect(const EffectCall& call, const ImageShape& source) {
    return call.row->plan == nullptr ? source : call.row->plan(source, call.arguments);
}
