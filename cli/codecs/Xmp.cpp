#include "codecs/Xmp.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "codecs/TextBytes.h"

namespace {

// Where something in the text stands: from its first byte to behind its last.
struct Span {
    std::size_t first = 0;
    std::size_t end = 0;
};

struct Attribute {
    std::string name;
    Span span;  // with the space before it
};

// What stands between '<' and '>'.
struct Tag {
    enum class Kind {
        Opens,
        Closes,
        Alone,
        Other
    };  // Other: declarations, comments and plain text that looks like them
    Kind kind = Kind::Other;
    std::string name;
    std::vector<Attribute> attributes;
    Span span;
};

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool EndsName(char c) {
    return IsSpace(c) || c == '=' || c == '>' || c == '/' || c == '<' || c == '"' || c == '\'';
}

// Goes over the tags of a text one by one.
class TagReader {
public:
    explicit TagReader(const std::string& text) : text_(text) {}

    // The next one; false at the end of the text, or where it is damaged, which `Damaged` tells.
    bool Next(Tag* tag) {
        *tag = {};
        at_ = text_.find('<', at_);
        if (at_ == std::string::npos) return false;
        tag->span.first = at_;
        const bool good = text_.compare(at_, 4, "<!--") == 0        ? SkipTo("-->")
                          : text_.compare(at_, 9, "<![CDATA[") == 0 ? SkipTo("]]>")
                          : text_.compare(at_, 2, "<?") == 0        ? SkipTo("?>")
                          : text_.compare(at_, 2, "<!") == 0        ? false  // may define what everything else means
                                                                    : ReadElement(tag);
        tag->span.end = at_;
        damaged_ = !good;
        return good;
    }
    [[nodiscard]] bool Damaged() const { return damaged_; }

private:
    bool SkipTo(const char* end) {
        const std::size_t found = text_.find(end, at_);
        if (found == std::string::npos) return false;
        at_ = found + std::strlen(end);
        return true;
    }
    void SkipSpace() {
        while (at_ < text_.size() && IsSpace(text_[at_])) ++at_;
    }
    std::string Name() {
        const std::size_t first = at_;
        while (at_ < text_.size() && !EndsName(text_[at_])) ++at_;
        return text_.substr(first, at_ - first);
    }
    bool Take(char c) {
        if (at_ == text_.size() || text_[at_] != c) return false;
        ++at_;
        return true;
    }

    bool ReadElement(Tag* tag) {
        ++at_;
        tag->kind = Take('/') ? Tag::Kind::Closes : Tag::Kind::Opens;
        tag->name = Name();
        if (tag->name.empty()) return false;
        for (;;) {
            Attribute attribute;
            attribute.span.first = at_;
            SkipSpace();
            if (Take('>')) return true;
            if (tag->kind == Tag::Kind::Closes) return false;
            if (Take('/')) {
                tag->kind = Tag::Kind::Alone;
                return Take('>');
            }
            if (at_ == attribute.span.first) return false;  // what goes must not join what stays
            attribute.name = Name();
            SkipSpace();
            if (attribute.name.empty() || !Take('=')) return false;
            SkipSpace();
            const char quote = at_ < text_.size() ? text_[at_] : ' ';
            if (quote != '"' && quote != '\'') return false;
            const std::size_t end = text_.find(quote, at_ + 1);
            if (end == std::string::npos) return false;
            at_ = attribute.span.end = end + 1;
            tag->attributes.push_back(std::move(attribute));
        }
    }

    const std::string& text_;
    std::size_t at_ = 0;
    bool damaged_ = false;
};

std::string LocalName(const std::string& name) {
    return name.substr(name.find(':') + 1);  // the whole where there is no colon
}

bool IsPlace(const std::string& name) {
    static constexpr char kStart[] = {'g', 'p', 's'};
    return name.size() > 3 && std::equal(std::begin(kStart), std::end(kStart), name.begin(), [](char a, char b) {
               return a == static_cast<char>(std::tolower(static_cast<unsigned char>(b)));
           });
}

// Of whatever name space: who writes them means the picture. The last tells of a second packet, which does not come
// along.
bool IsOfPixels(const std::string& name) {
    static const char* const kNames[] = {"Orientation",     "ImageWidth", "ImageLength",   "PixelXDimension",
                                         "PixelYDimension", "Thumbnails", "HasExtendedXMP"};
    return std::any_of(std::begin(kNames), std::end(kNames), [&name](const char* one) { return name == one; });
}

}  // namespace

std::vector<std::uint8_t> WithoutProperties(const std::vector<std::uint8_t>& packet,
                                            const std::function<bool(const std::string& name)>& chosen) {
    const std::string text(packet.begin(), packet.end());
    if (!IsUtf8(text) || text.find('\0') != std::string::npos) return {};
    std::vector<Span> gone;
    std::vector<std::string> open;
    std::size_t goneFrom = 0;  // how many are open around the element that goes; 0: none does
    bool anything = false;
    TagReader reader(text);
    for (Tag tag; reader.Next(&tag);) {
        if (tag.kind == Tag::Kind::Other) continue;
        anything = true;
        if (tag.kind == Tag::Kind::Closes) {
            if (open.empty() || open.back() != tag.name) return {};
            open.pop_back();
            if (goneFrom != 0 && open.size() == goneFrom) {
                gone.back().end = tag.span.end;
                goneFrom = 0;
            }
            continue;
        }
        if (goneFrom == 0) {
            if (!open.empty() && chosen(LocalName(tag.name))) {
                gone.push_back(tag.span);
                if (tag.kind == Tag::Kind::Opens) goneFrom = open.size();
            } else {
                for (const Attribute& attribute : tag.attributes)
                    if (!attribute.name.starts_with("xmlns") && chosen(LocalName(attribute.name)))
                        gone.push_back(attribute.span);
            }
        }
        if (tag.kind == Tag::Kind::Opens) open.push_back(tag.name);
    }
    if (reader.Damaged() || !open.empty() || !anything) return {};
    std::vector<std::uint8_t> result;
    std::size_t from = 0;
    for (const Span& span : gone) {
        result.insert(result.end(), packet.begin() + static_cast<std::ptrdiff_t>(from),
                      packet.begin() + static_cast<std::ptrdiff_t>(span.first));
        from = span.end;
    }
    result.insert(result.end(), packet.begin() + static_cast<std::ptrdiff_t>(from), packet.end());
    return result;
}

std::vector<std::uint8_t> TrueXmp(const std::vector<std::uint8_t>& packet, bool recoloured, bool withoutPlace) {
    return WithoutProperties(packet, [recoloured, withoutPlace](const std::string& name) {
        return IsOfPixels(name) || (recoloured && (name == "ColorSpace" || name == "ICCProfile")) ||
               (withoutPlace && IsPlace(name));
    });
}
