#include "Suggest.h"

#include <algorithm>
#include <cctype>
#include <numeric>

namespace {

// How many letters must be added, taken away or changed to make one word of the other.
std::size_t Distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({change, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

bool SameButForCase(const std::string& a, const std::string& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

// The one word that begins like this; null: there is none, or several.
const std::string* Completed(const std::string& word, const std::vector<std::string>& known) {
    constexpr std::size_t kLeastLetters = 3;
    if (static_cast<std::size_t>(std::count_if(word.begin(), word.end(), [](char c) { return c != '-'; })) <
        kLeastLetters)
        return nullptr;
    const std::string* found = nullptr;
    for (const std::string& candidate : known) {
        if (!candidate.starts_with(word)) continue;
        if (found != nullptr) return nullptr;
        found = &candidate;
    }
    return found;
}

}  // namespace

std::string Suggestion(const std::string& word, const std::vector<std::string>& known) {
    if (word.empty() || word.size() > 40) return {};
    // Two letters that changed places count twice; in a word of three letters one is enough of a difference, and a word
    // of one letter has nothing in common with another.
    const std::string* nearest = nullptr;
    std::size_t least = word.size() <= 1 ? 1 : word.size() <= 3 ? 2 : word.size() <= 8 ? 3 : 4;
    for (const std::string& candidate : known) {
        const std::size_t distance = SameButForCase(word, candidate) ? 0 : Distance(word, candidate);
        if (distance >= least) continue;
        least = distance;
        nearest = &candidate;
    }
    if (nearest == nullptr) nearest = Completed(word, known);
    return nearest == nullptr ? std::string() : "; did you mean '" + *nearest + "'?";
}
