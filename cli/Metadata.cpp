#include "Metadata.h"

#include <algorithm>
#include <cctype>

#include "Errors.h"
#include "Notes.h"
#include "Suggest.h"
#include "codecs/Iptc.h"
#include "codecs/TextBytes.h"
#include "codecs/Xmp.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// The texts that are lost are named, as far as that says something.
constexpr std::size_t kMaxNames = 5;

struct WordRow {
    const char* word;
    std::vector<bool Stripping::*> strips;
};

const std::vector<WordRow>& WordRows() {
    static const std::vector<WordRow> rows = {
        {"all", {&Stripping::exif, &Stripping::xmp, &Stripping::iptc, &Stripping::text}},
        {"gps", {&Stripping::gps}},
        {"exif", {&Stripping::exif}},
        {"xmp", {&Stripping::xmp}},
        {"iptc", {&Stripping::iptc}},
        {"text", {&Stripping::text}},
        {"profile", {&Stripping::profile}},
    };
    return rows;
}

std::string Listed(const std::vector<std::string>& words) {
    std::string list;
    for (const std::string& word : words) list += (list.empty() ? "" : ", ") + word;
    return list;
}

// Some programs write what EXIF holds as texts: "exif:GPSLatitude".
bool TellsPlace(const PictureText& text) {
    std::string keyword = text.keyword;
    for (char& c : keyword) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return keyword.find("gps") != std::string::npos;
}

void Strip(const Stripping& stripping, PictureHeader* tags) {
    Metadata& metadata = tags->metadata;
    if (stripping.exif) metadata.exif.clear();
    if (stripping.xmp) metadata.xmp.clear();
    if (stripping.iptc) metadata.iptc.clear();
    if (stripping.text) metadata.texts.clear();
    if (stripping.gps) std::erase_if(metadata.texts, TellsPlace);
    if (stripping.profile) tags->colour.profile.clear();
}

// What is not true of the result goes; `damaged` gets the names of blocks that cannot be read.
void MakeTrue(const ExifTruth& truth, Metadata* metadata, std::vector<std::string>* damaged) {
    const auto replace = [damaged](Bytes* block, Bytes truer, const char* name) {
        if (!block->empty() && truer.empty()) damaged->emplace_back(name);
        *block = std::move(truer);
    };
    if (!metadata->exif.empty() && !HoldsExif(metadata->exif)) damaged->emplace_back("EXIF");
    metadata->exif = TrueExif(metadata->exif, truth);
    replace(&metadata->xmp, TrueXmp(metadata->xmp, truth.colours != ColourFate::Kept, truth.withoutPlace), "XMP");
    replace(&metadata->iptc, TrueIptc(metadata->iptc), "IPTC");
}

// Takes out what there is no room for. What there is some room for, but not enough, is `large`.
void Fit(const MetadataRoom& room, Metadata* metadata, std::vector<std::string>* lost,
         std::vector<std::string>* large) {
    const auto fit = [&](Bytes* block, std::size_t most, const char* name) {
        if (block->size() <= most) return;
        (most == 0 ? lost : large)->emplace_back(name);
        block->clear();
    };
    fit(&metadata->exif, room.exif, "EXIF");
    fit(&metadata->xmp, room.xmp, "XMP");
    fit(&metadata->iptc, room.iptc, "IPTC");
    std::vector<std::string> names;
    std::erase_if(metadata->texts, [&](const PictureText& text) {
        const bool comment = text.keyword == kCommentKeyword;
        const std::size_t most = comment ? room.comment : room.text;
        if (text.text.size() <= most && most > 0) return false;
        const std::string name = comment ? "comment" : "text '" + OneLine(text.keyword, 79) + "'";
        std::vector<std::string>* list = most == 0 ? &names : large;
        if (std::find(list->begin(), list->end(), name) == list->end()) list->push_back(name);
        return true;
    });
    if (names.size() > kMaxNames) names = {std::to_string(names.size()) + " texts"};
    lost->insert(lost->end(), names.begin(), names.end());
}

std::string LeftOut(const std::vector<std::string>& names) {
    return names.size() == 1 ? "it is left out" : "they are left out";
}

}  // namespace

const std::vector<std::string>& StrippingWords() {
    static const std::vector<std::string> words = [] {
        std::vector<std::string> list;
        for (const WordRow& row : WordRows()) list.emplace_back(row.word);
        return list;
    }();
    return words;
}

Stripping ReadStripping(const std::string& words) {
    Stripping stripping;
    for (std::size_t at = 0; at <= words.size();) {
        const std::size_t end = std::min(words.find(',', at), words.size());
        const std::string word = words.substr(at, end - at);
        const auto row = std::find_if(WordRows().begin(), WordRows().end(),
                                      [&word](const WordRow& one) { return word == one.word; });
        if (row == WordRows().end())
            throw UsageError("--strip: '" + word + "' is nothing that can be left out" +
                             Suggestion(word, StrippingWords()) + "; known are " + Listed(StrippingWords()));
        for (bool Stripping::*const strips : row->strips) stripping.*strips = true;
        at = end + 1;
    }
    return stripping;
}

PictureHeader TagsFor(PictureHeader tags, const ImageShape& result, ColourFate colours, const Codec& codec,
                      const std::string& path, const Stripping& stripping, Notes& notes) {
    Strip(stripping, &tags);
    tags.width = result.width;
    tags.height = result.height;
    std::vector<std::string> damaged, lost, large;
    MakeTrue({tags.width, tags.height, tags.resolution, colours, stripping.gps}, &tags.metadata, &damaged);
    Fit(codec.room, &tags.metadata, &lost, &large);
    if (!damaged.empty()) notes.Say(path, Listed(damaged) + " cannot be read; " + LeftOut(damaged));
    if (!lost.empty()) notes.Say(path, std::string(codec.name) + " holds no " + Listed(lost) + "; " + LeftOut(lost));
    if (!large.empty())
        notes.Say(path, Listed(large) + (large.size() == 1 ? " is" : " are") + " too large for " + codec.name + "; " +
                            LeftOut(large));
    return tags;
}
