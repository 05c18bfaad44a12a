#include "Colour.h"

#include <lcms2.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <system_error>
#include <thread>
#include <utility>

#include "Errors.h"
#include "Notes.h"
#include "Processors.h"
#include "Raster.h"
#include "codecs/IccProfile.h"
#include "files/InputFile.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

// The state of the library for one step; its last complaint is kept.
class Context {
public:
    Context() : context_(cmsCreateContext(nullptr, this)) {
        if (context_ == nullptr) throw std::bad_alloc();
        cmsSetLogErrorHandlerTHR(context_, Complain);
    }
    ~Context() { cmsDeleteContext(context_); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    [[nodiscard]] cmsContext Get() const { return context_; }
    [[nodiscard]] const std::string& Complaint() const { return complaint_; }

private:
    static void Complain(cmsContext context, cmsUInt32Number, const char* text) {
        static_cast<Context*>(cmsGetContextUserData(context))->complaint_ = text;
    }

    cmsContext context_;
    std::string complaint_;
};

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
struct DeleteTransform {
    void operator()(void* transform) const { cmsDeleteTransform(transform); }
};
struct FreeCurve {
    void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
};
using Profile = std::unique_ptr<void, CloseProfile>;
using Curve = std::unique_ptr<cmsToneCurve, FreeCurve>;

// A transform with the context that it lives in, which goes after it.
struct Transform {
    std::unique_ptr<Context> context = std::make_unique<Context>();
    std::unique_ptr<void, DeleteTransform> handle;
};

bool IsGray(PixelKind kind) {
    return Describe(kind).channels - (Describe(kind).hasAlpha ? 1 : 0) == 1;
}

// The kind that a profile for such a space is for, with alpha where that is wanted and can be. False: there is none.
bool KindOfSpace(const std::string& space, bool alpha, PixelKind* kind) {
    if (space == "GRAY") *kind = alpha ? PixelKind::GrayAlpha : PixelKind::Gray;
    if (space == "RGB") *kind = alpha ? PixelKind::RGBA : PixelKind::RGB;
    if (space == "CMYK") *kind = PixelKind::CMYK;
    return space == "GRAY" || space == "RGB" || space == "CMYK";
}

cmsUInt32Number LibraryFormat(PixelKind kind) {
    switch (kind) {
        case PixelKind::Gray:
            return TYPE_GRAY_8;
        case PixelKind::GrayAlpha:
            return TYPE_GRAYA_8;
        case PixelKind::RGB:
            return TYPE_RGB_8;
        case PixelKind::RGBA:
            return TYPE_RGBA_8;
        case PixelKind::CMYK:
            break;
    }
    return TYPE_CMYK_8;
}

Curve SrgbCurve(const Context& context) {
    static constexpr double kParameters[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    return Curve(cmsBuildParametricToneCurve(context.Get(), 4, kParameters));
}

struct Chromaticities {
    cmsCIExyY white;
    cmsCIExyYTRIPLE primaries;
};
constexpr Chromaticities kSrgb = {{0.3127, 0.3290, 1}, {{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}}};

// The profile of gray or RGB pixels with such tones and such primaries. Null: there can be none.
Profile MadeProfile(const Context& context, PixelKind kind, const Curve& curve, const Chromaticities& colours) {
    if (curve == nullptr) return nullptr;
    if (IsGray(kind)) return Profile(cmsCreateGrayProfileTHR(context.Get(), cmsD50_xyY(), curve.get()));
    cmsToneCurve* const curves[] = {curve.get(), curve.get(), curve.get()};
    return Profile(cmsCreateRGBProfileTHR(context.Get(), &colours.white, &colours.primaries, curves));
}

Profile SrgbProfile(const Context& context, PixelKind kind) {
    Profile profile = MadeProfile(context, kind, SrgbCurve(context), kSrgb);
    if (profile == nullptr) throw std::bad_alloc();
    return profile;
}

// What gamma and primaries say, of which one may be missing. Null: they say what cannot be.
Profile ProfileOfNumbers(const Context& context, PixelKind kind, const ColourTags& tags) {
    Curve curve = SrgbCurve(context);
    if (tags.gamma) {
        // Beyond these it is no encoding that one could have meant.
        if (*tags.gamma < 10000 || *tags.gamma > 1000000) return nullptr;
        curve.reset(cmsBuildGamma(context.Get(), 100000.0 / *tags.gamma));
    }
    Chromaticities colours = kSrgb;
    if (tags.primaries) {
        const auto& p = *tags.primaries;
        const auto at = [&p](std::size_t i) { return cmsCIExyY{p[i] / 100000.0, p[i + 1] / 100000.0, 1}; };
        for (const std::size_t i : {1U, 3U, 5U, 7U})
            if (p[i] <= 0 || p[i - 1] < 0) return nullptr;
        colours = {at(0), {at(2), at(4), at(6)}};
    }
    return MadeProfile(context, kind, curve, colours);
}

Profile OpenedProfile(const Context& context, const Bytes& bytes) {
    return Profile(cmsOpenProfileFromMemTHR(context.Get(), bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
}

// What pixels of the kind mean by these tags.
struct Meaning {
    Profile profile;  // null: nothing tells it, and all but CMYK is sRGB
    bool damaged = false;
};

Meaning MeaningOf(const Context& context, PixelKind kind, const ColourTags& tags) {
    Meaning meaning;
    if (tags.srgbIntent) return meaning;
    if (ProfileFits(tags.profile, kind)) {
        meaning.profile = OpenedProfile(context, tags.profile);
    } else if ((tags.gamma || tags.primaries) && kind != PixelKind::CMYK) {
        meaning.profile = ProfileOfNumbers(context, kind, tags);
    } else {
        return meaning;
    }
    meaning.damaged = meaning.profile == nullptr;
    return meaning;
}

PixelKind WithoutAlpha(PixelKind kind) {
    return kind == PixelKind::GrayAlpha ? PixelKind::Gray : kind == PixelKind::RGBA ? PixelKind::RGB : kind;
}

// Relative to the white of both, with black on black: whites stay white, shadows keep their drawing, and colours that
// both have stay what they are. Of gray without its alpha: there are only 256 of them, for which no way is too long.
void Connect(Transform* transform, const Profile& from, PixelKind kind, const Profile& to, PixelKind result) {
    cmsUInt32Number flags = cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE;
    if (IsGray(kind)) {
        kind = WithoutAlpha(kind);
        result = WithoutAlpha(result);
        flags |= cmsFLAGS_NOOPTIMIZE;
    } else if (Describe(kind).hasAlpha && Describe(result).hasAlpha) {
        flags |= cmsFLAGS_COPY_ALPHA;
    }
    transform->handle.reset(cmsCreateTransformTHR(transform->context->Get(), from.get(), LibraryFormat(kind), to.get(),
                                                  LibraryFormat(result), INTENT_RELATIVE_COLORIMETRIC, flags));
}

void Change(const Transform& transform, const std::uint8_t* from, std::uint8_t* to, std::size_t pixels) {
    cmsDoTransform(transform.handle.get(), from, to, static_cast<cmsUInt32Number>(pixels));
}

// There are only 256 grays: each is worked out once, and as exactly as the library can.
ColourStep StepOfGray(const Transform& transform, PixelKind kind, PixelKind result) {
    std::array<std::uint8_t, 256> grays{};
    for (std::size_t i = 0; i < grays.size(); ++i) grays[i] = static_cast<std::uint8_t>(i);
    const auto colours = static_cast<std::size_t>(Describe(result).channels - (Describe(result).hasAlpha ? 1 : 0));
    Bytes table(grays.size() * colours);
    Change(transform, grays.data(), table.data(), grays.size());
    return {result,
            [table = std::move(table), colours, alphaIn = Describe(kind).hasAlpha,
             alphaOut = Describe(result).hasAlpha](const std::uint8_t* from, std::uint8_t* to, std::size_t pixels) {
                for (; pixels > 0; --pixels) {
                    const std::uint8_t* colour = table.data() + *from++ * colours;
                    for (std::size_t c = 0; c < colours; ++c) *to++ = colour[c];
                    if (alphaOut) *to++ = *from;
                    if (alphaIn) ++from;
                }
            }};
}

ColourStep StepOf(Transform transform, PixelKind kind, PixelKind result) {
    if (IsGray(kind)) return StepOfGray(transform, kind, result);
    return {result,
            [shared = std::make_shared<Transform>(std::move(transform))](
                const std::uint8_t* from, std::uint8_t* to, std::size_t pixels) { Change(*shared, from, to, pixels); }};
}

// Whether colours between which people see no difference are all that comes out: profiles that say sRGB in other words.
bool ChangesNothing(const ColourStep& step) {
    const std::size_t colours = IsGray(step.kind) ? 1 : 3;
    constexpr std::size_t kSteps = 18, kStep = 15;
    Bytes from;
    const auto add = [&](std::array<std::size_t, 3> colour) {
        for (std::size_t c = 0; c < colours; ++c) from.push_back(static_cast<std::uint8_t>(colour[c]));
        if (Describe(step.kind).hasAlpha) from.push_back(255);
    };
    for (std::size_t i = 0; i < 256; ++i) add({i, i, i});
    for (std::size_t i = 0; i < kSteps * kSteps * kSteps; ++i)
        add({i % kSteps * kStep, i / kSteps % kSteps * kStep, i / kSteps / kSteps * kStep});
    Bytes to(from.size());
    step.change(from.data(), to.data(), from.size() / static_cast<std::size_t>(Describe(step.kind).channels));
    for (std::size_t i = 0; i < from.size(); ++i)
        if (std::abs(int{from[i]} - int{to[i]}) > 1) return false;
    return true;
}

// Light that passes through pure inks one after the other.
void MixInks(const std::uint8_t* from, std::uint8_t* to, std::size_t pixels) {
    for (; pixels > 0; --pixels, from += 4, to += 3)
        for (int c = 0; c < 3; ++c) to[c] = static_cast<std::uint8_t>(((255 - from[c]) * (255 - from[3]) + 127) / 255);
}

void SetText(const Context& context, const Profile& profile, cmsTagSignature tag, const char* text) {
    cmsMLU* texts = cmsMLUalloc(context.Get(), 1);
    if (texts == nullptr || !cmsMLUsetASCII(texts, "en", "US", text) || !cmsWriteTag(profile.get(), tag, texts)) {
        cmsMLUfree(texts);
        throw std::bad_alloc();
    }
    cmsMLUfree(texts);
}

Bytes SavedSrgbProfile(PixelKind kind) {
    const Context context;
    const Profile profile = SrgbProfile(context, kind);
    SetText(context, profile, cmsSigProfileDescriptionTag, IsGray(kind) ? "sRGB gray" : "sRGB");
    SetText(context, profile, cmsSigCopyrightTag, "Free to use");
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    Bytes bytes(size);
    if (size == 0 || !cmsSaveProfileToMem(profile.get(), bytes.data(), &size)) throw std::bad_alloc();
    // The library notes when it was made: equal results are to be equal files.
    constexpr std::uint8_t kDate[] = {0x07, 0xD0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0};
    std::copy(std::begin(kDate), std::end(kDate), bytes.begin() + 24);
    return bytes;
}

class RecolouredRows : public RowSource {
public:
    RecolouredRows(std::unique_ptr<RowSource> rows, ColourStep step)
        : RowSource({rows->Shape().width, rows->Shape().height, step.kind}),
          rows_(std::move(rows)),
          step_(std::move(step)),
          fromBytes_(static_cast<std::size_t>(Shape().width) *
                     static_cast<std::size_t>(Describe(rows_->Shape().kind).channels)),
          toBytes_(static_cast<std::size_t>(Shape().width) * static_cast<std::size_t>(Describe(Shape().kind).channels)),
          threads_(static_cast<std::size_t>(Processors())) {
        // As many rows at a time as make it worth while to have threads for them.
        constexpr std::size_t kPart = 1 << 18;
        const std::size_t rowsOfPart = std::max<std::size_t>(kPart / std::max(fromBytes_, toBytes_), 1);
        if (threads_ > 1) held_ = std::min(rowsOfPart * threads_, static_cast<std::size_t>(Shape().height));
        if (held_ > 1) from_.resize(held_ * fromBytes_);
        to_.resize(held_ * toBytes_);
    }

    const std::uint8_t* Next() override {
        if (whole_ != nullptr) return whole_->Row(taken_++);
        if (next_ == there_) Fill();
        return to_.data() + next_++ * toBytes_;
    }

    void Skip(int count) override {
        if (whole_ != nullptr) {
            taken_ += count;
            return;
        }
        for (; count > 0 && next_ < there_; --count) ++next_;
        rows_->Skip(count);
        done_ += static_cast<std::size_t>(count);
    }
    void NeedColumns(int first, int count) override { rows_->NeedColumns(first, count); }

    // Rows that can stay where they are, do.
    Raster* Whole() override {
        if (whole_ != nullptr) return whole_;
        Raster* whole = rows_->Whole();
        if (whole == nullptr || whole->Shape().kind != Shape().kind) return nullptr;
        for (int y = 0; y < Shape().height; ++y) std::memcpy(whole->Row(y), Next(), toBytes_);
        return whole_ = whole;
    }

private:
    void Fill() {
        there_ = std::min(held_, static_cast<std::size_t>(Shape().height) - done_);
        next_ = 0;
        done_ += there_;
        if (there_ == 1) return ChangeRows(rows_->Next(), to_.data(), 1);
        for (std::size_t y = 0; y < there_; ++y) std::memcpy(from_.data() + y * fromBytes_, rows_->Next(), fromBytes_);
        const std::size_t each = (there_ + threads_ - 1) / threads_;
        std::vector<std::thread> others;
        std::size_t first = 0;
        for (; first + each < there_; first += each) {
            try {
                others.emplace_back([this, first, each] {
                    ChangeRows(from_.data() + first * fromBytes_, to_.data() + first * toBytes_, each);
                });
            } catch (const std::system_error&) {
                break;  // there are no more to be had
            }
        }
        ChangeRows(from_.data() + first * fromBytes_, to_.data() + first * toBytes_, there_ - first);
        for (std::thread& other : others) other.join();
    }

    void ChangeRows(const std::uint8_t* from, std::uint8_t* to, std::size_t count) const {
        for (std::size_t y = 0; y < count; ++y)
            step_.change(from + y * fromBytes_, to + y * toBytes_, static_cast<std::size_t>(Shape().width));
    }

    std::unique_ptr<RowSource> rows_;
    ColourStep step_;
    std::size_t fromBytes_, toBytes_;  // of a row
    std::size_t threads_;
    std::size_t held_ = 1;                         // rows at a time
    std::size_t next_ = 0, there_ = 0, done_ = 0;  // of those held; of them all
    Bytes from_, to_;
    Raster* whole_ = nullptr;  // where all is done already
    int taken_ = 0;            // rows of it
};

}  // namespace

ColourStep StepToSrgb(const std::string& path, PixelKind kind, ColourTags* tags, Notes& notes) {
    const bool inks = kind == PixelKind::CMYK;
    const PixelKind result = inks ? PixelKind::RGB : kind;
    Transform transform;
    Meaning meaning = MeaningOf(*transform.context, kind, *tags);
    if (meaning.profile != nullptr) {
        Connect(&transform, meaning.profile, kind, SrgbProfile(*transform.context, result), result);
        meaning.damaged = transform.handle == nullptr;
    }
    *tags = SrgbTags(result);
    if (transform.handle != nullptr) {
        ColourStep step = StepOf(std::move(transform), kind, result);
        if (!inks && ChangesNothing(step)) step.change = nullptr;
        return step;
    }
    if (meaning.damaged)
        notes.Say(path, inks ? "the colour profile is damaged; the inks are mixed without one, and colours will differ"
                             : "the colour profile is damaged; the colours stay as they are, and count as sRGB");
    else if (inks)
        notes.Say(path, "there is no colour profile; the inks are mixed without one, and colours will differ");
    if (inks) return {result, MixInks};
    return {kind, nullptr};
}

ColourTags SrgbTags(PixelKind kind) {
    ColourTags tags;
    if (kind == PixelKind::CMYK) return tags;
    tags.profile = SavedSrgbProfile(kind);
    tags.srgbIntent = INTENT_PERCEPTUAL;
    return tags;
}

std::vector<std::uint8_t> ReadProfile(const std::string& path) {
    constexpr std::size_t kMost = 64 << 20;
    InputFile file(path);
    Bytes bytes;
    std::array<std::uint8_t, 65536> part{};
    while (const std::size_t count = file.Read(part.data(), part.size())) {
        bytes.insert(bytes.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
        if (bytes.size() > kMost) FailFile(file.Path(), "too long for a colour profile");
    }
    if (file.Error() != 0) FailSystem(file.Path(), file.Error());
    const std::string space = ProfileSpace(bytes);
    PixelKind kind{};
    if (space.empty()) FailFile(file.Path(), "no colour profile, or one that ends too early");
    if (!KindOfSpace(space, false, &kind))
        FailFile(file.Path(), "the colour profile is for " + space + " pixels, and not for gray, RGB or CMYK");
    return bytes;
}

ColourStep StepToProfile(const std::string& file, const std::vector<std::uint8_t>& profile, const std::string& path,
                         PixelKind kind, ColourTags* tags, Notes& notes) {
    Transform transform;
    const Context& context = *transform.context;
    const Profile target = OpenedProfile(context, profile);
    if (target == nullptr) FailFile(file, "damaged colour profile: " + context.Complaint());
    const cmsProfileClassSignature type = cmsGetDeviceClass(target.get());
    if (type == cmsSigLinkClass || type == cmsSigAbstractClass || type == cmsSigNamedColorClass)
        FailFile(file, "not the colour profile of a device or of a colour space");
    PixelKind result{};
    KindOfSpace(ProfileSpace(profile), Describe(kind).hasAlpha, &result);

    Meaning source = MeaningOf(context, kind, *tags);
    // Where it goes nowhere, another source tells whose fault that is.
    const auto connect = [&] { Connect(&transform, source.profile, kind, target, result); };
    if (source.profile != nullptr) connect();
    if (transform.handle == nullptr) {
        const bool damaged = source.damaged || source.profile != nullptr;
        if (kind == PixelKind::CMYK)
            FailFile(path, std::string(damaged ? "the colour profile is damaged" : "there is no colour profile") +
                               ", and nothing tells what the inks are; --srgb makes RGB of them first");
        source.profile = SrgbProfile(context, kind);
        connect();
        if (transform.handle == nullptr)
            FailFile(file, "the colour profile tells no way to its pixels" +
                               (context.Complaint().empty() ? "" : ": " + context.Complaint()));
        if (damaged)
            notes.Say(path, "the colour profile is damaged; the colours count as sRGB");
        else if (!tags->profile.empty() && !tags->srgbIntent)
            notes.Say(path, "the colour profile is for " + ProfileSpace(tags->profile) + " and does not fit " +
                                Describe(kind).name + " pixels, which count as sRGB");
    }
    *tags = {};
    tags->profile = profile;
    return StepOf(std::move(transform), kind, result);
}

std::unique_ptr<RowSource> Recoloured(std::unique_ptr<RowSource> rows, const ColourStep& step) {
    if (step.change == nullptr) return rows;
    return std::make_unique<RecolouredRows>(std::move(rows), step);
}
