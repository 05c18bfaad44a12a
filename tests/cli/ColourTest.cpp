// Colours by colour profiles: --srgb on reading, --profile on writing.

#include <lcms2.h>

#include <cmath>
#include <fstream>
#include <functional>

#include "TestPictures.h"
#include "TestTiffs.h"
#include "TestWebps.h"
#include "ZorTest.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Close {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, Close>;

Bytes Saved(const Profile& profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    Bytes bytes(size);
    EXPECT_TRUE(cmsSaveProfileToMem(profile.get(), bytes.data(), &size));
    return bytes;
}

Profile Opened(const Bytes& bytes) {
    return Profile(cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size())));
}

// RGB with more green than sRGB has.
Bytes WideProfile(double gamma = 2.2) {
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.21, 0.71, 1}, {0.15, 0.06, 1}};
    cmsToneCurve* curve = cmsBuildGamma(nullptr, gamma);
    cmsToneCurve* const curves[] = {curve, curve, curve};
    const Profile profile(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(curve);
    return Saved(profile);
}

Bytes GrayProfile(double gamma) {
    cmsToneCurve* curve = cmsBuildGamma(nullptr, gamma);
    const Profile profile(cmsCreateGrayProfile(cmsD50_xyY(), curve));
    cmsFreeToneCurve(curve);
    return Saved(profile);
}

// Light that inks leave, of which none is pure.
cmsInt32Number InksToLab(const cmsUInt16Number in[], cmsUInt16Number out[], void*) {
    const auto left = [&](int ink, double power) {
        return 0.02 + 0.95 * std::pow((1 - 0.9 * in[ink] / 65535.0) * (1 - 0.97 * in[3] / 65535.0), power);
    };
    const double r = left(0, 1.5), g = left(1, 1.6), b = left(2, 1.4);
    const cmsCIEXYZ light{0.4361 * r + 0.3851 * g + 0.1431 * b, 0.2225 * r + 0.7169 * g + 0.0606 * b,
                          0.0139 * r + 0.0971 * g + 0.7141 * b};
    cmsCIELab lab;
    cmsXYZ2Lab(nullptr, &lab, &light);
    cmsFloat2LabEncoded(out, &lab);
    return 1;
}

// The way back, roughly: all of the black that can be, by the lightness.
cmsInt32Number LabToInks(const cmsUInt16Number in[], cmsUInt16Number out[], void*) {
    cmsCIELab lab;
    cmsLabEncoded2Float(&lab, in);
    const double dark = 1 - lab.L / 100;
    const double inks[] = {dark * 0.5 - lab.a / 400, dark * 0.5 + lab.a / 400, dark * 0.5 + lab.b / 400, dark * dark};
    for (int i = 0; i < 4; ++i)
        out[i] = static_cast<cmsUInt16Number>(std::lround(std::clamp(inks[i], 0.0, 1.0) * 65535));
    return 1;
}

void AddTable(const Profile& profile, cmsTagSignature tag, int from, int to, int points, cmsSAMPLER16 sampler) {
    cmsPipeline* steps =
        cmsPipelineAlloc(nullptr, static_cast<cmsUInt32Number>(from), static_cast<cmsUInt32Number>(to));
    cmsStage* table =
        cmsStageAllocCLut16bit(nullptr, static_cast<cmsUInt32Number>(points), static_cast<cmsUInt32Number>(from),
                               static_cast<cmsUInt32Number>(to), nullptr);
    cmsStageSampleCLut16bit(table, sampler, nullptr, 0);
    cmsPipelineInsertStage(steps, cmsAT_BEGIN,
                           cmsStageAllocToneCurves(nullptr, static_cast<cmsUInt32Number>(from), nullptr));
    cmsPipelineInsertStage(steps, cmsAT_END, table);
    cmsPipelineInsertStage(steps, cmsAT_END,
                           cmsStageAllocToneCurves(nullptr, static_cast<cmsUInt32Number>(to), nullptr));
    EXPECT_TRUE(cmsWriteTag(profile.get(), tag, steps));
    cmsPipelineFree(steps);
}

// Of a press; where pixels cannot become its inks, as a scanner's.
Bytes InkProfile(bool bothWays = true) {
    const Profile profile(cmsCreateProfilePlaceholder(nullptr));
    cmsSetProfileVersion(profile.get(), 4.3);
    cmsSetDeviceClass(profile.get(), cmsSigOutputClass);
    cmsSetColorSpace(profile.get(), cmsSigCmykData);
    cmsSetPCS(profile.get(), cmsSigLabData);
    AddTable(profile, cmsSigAToB0Tag, 4, 3, 9, InksToLab);
    if (bothWays) AddTable(profile, cmsSigBToA0Tag, 3, 4, 17, LabToInks);
    EXPECT_TRUE(cmsWriteTag(profile.get(), cmsSigMediaWhitePointTag, cmsD50_XYZ()));
    return Saved(profile);
}

Bytes SrgbProfile() {
    return Saved(Profile(cmsCreate_sRGBProfile()));
}

std::string Text(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

bool HasAlpha(int channels) {
    return channels == 2 || channels == 4;
}

// The colours of each pixel by themselves, on doubles and without any table of the library's own. CMYK is told of, for
// it has as many channels as RGB with alpha. The alpha is taken over.
struct Space {
    Bytes profile;
    bool inks = false;
};
Pixels Reference(const Pixels& in, const Space& from, const Space& to) {
    const auto colours = [](const Profile& profile) {
        return static_cast<int>(cmsChannelsOf(cmsGetColorSpace(profile.get())));
    };
    const auto format = [](int count, bool inks) {
        return inks ? TYPE_CMYK_DBL : count == 1 ? TYPE_GRAY_DBL : TYPE_RGB_DBL;
    };
    const Profile source = Opened(from.profile), target = Opened(to.profile);
    const int sourceColours = colours(source), targetColours = colours(target);
    cmsHTRANSFORM transform = cmsCreateTransform(
        source.get(), format(sourceColours, from.inks), target.get(), format(targetColours, to.inks),
        INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOOPTIMIZE | cmsFLAGS_NOCACHE);
    EXPECT_NE(transform, nullptr);
    const bool alpha = !from.inks && HasAlpha(in.channels);
    Pixels out{in.width, in.height, targetColours + (alpha && !to.inks ? 1 : 0), {}};
    for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x) {
            double a[4] = {}, b[4] = {};
            for (int c = 0; c < sourceColours; ++c) a[c] = in.At(x, y, c) / (from.inks ? 2.55 : 255.0);
            cmsDoTransform(transform, a, b, 1);
            for (int c = 0; c < targetColours; ++c)
                out.bytes.push_back(
                    static_cast<std::uint8_t>(std::lround(std::clamp(b[c] * (to.inks ? 2.55 : 255.0), 0.0, 255.0))));
            if (out.channels > targetColours) out.bytes.push_back(in.At(x, y, in.channels - 1));
        }
    cmsDeleteTransform(transform);
    return out;
}

// Mean and largest difference.
void ExpectNear(const Pixels& pixels, const Pixels& reference, double mean = 0.05, int largest = 1) {
    ASSERT_EQ(pixels.width, reference.width);
    ASSERT_EQ(pixels.height, reference.height);
    ASSERT_EQ(pixels.channels, reference.channels);
    double sum = 0;
    int most = 0;
    for (std::size_t i = 0; i < pixels.bytes.size(); ++i) {
        const int difference = std::abs(int{pixels.bytes[i]} - int{reference.bytes[i]});
        sum += difference;
        most = std::max(most, difference);
    }
    EXPECT_LT(sum / static_cast<double>(pixels.bytes.size()), mean);
    EXPECT_LE(most, largest);
}

// Every colour of a coarse grid, in steps that grow with the channels; alpha any.
Pixels AllColours(int channels) {
    const int steps = channels == 1 ? 256 : channels == 3 ? 16 : 8, colours = channels == 2 ? 1 : channels;
    Pixels pixels{0, 0, channels, {}};
    pixels.width = channels < 3 ? 16 : 64;
    pixels.height = channels < 3 ? 16 : 64;
    for (int i = 0; i < pixels.width * pixels.height; ++i) {
        int rest = i;
        for (int c = 0; c < channels; ++c) {
            const int levels = c < colours && channels > 2 ? steps : 256;
            pixels.bytes.push_back(static_cast<std::uint8_t>(rest % levels * 255 / (levels - 1)));
            if (channels > 2) rest /= levels;
        }
    }
    return pixels;
}

Pixels Inverted(Pixels pixels) {
    for (std::uint8_t& byte : pixels.bytes) byte = static_cast<std::uint8_t>(255 - byte);
    return pixels;
}

class Colour : public ZorTest {
protected:
    void Save(const Pixels& pixels, const Bytes& profile) {
        PngFile file = PlainPng(pixels);
        file.profile = profile;
        SavePng(At("in.png"), file);
    }
    // A CMYK file without loss, in which 255 is full ink.
    void SaveInks(const Pixels& pixels, const Bytes& profile) {
        JpegFile file;
        file.pixels = {8, 8, 4, Bytes(8 * 8 * 4)};
        file.profile = profile;
        SaveJpeg(At("profile.jpg"), file);
        std::ofstream pam(At("inks.pam"), std::ios::binary);
        pam << "P7\nWIDTH " << pixels.width << "\nHEIGHT " << pixels.height << "\nDEPTH 4\nMAXVAL 255\nTUPLTYPE CMYK\n"
            << "ENDHDR\n"
            << Text(pixels.bytes);
        pam.close();
        if (profile.empty()) return;
        // Only TIFF holds both: a canvas that takes its profile along.
        RunWell({"profile.jpg", "canvas.tif", "canvas",
                 std::to_string(pixels.width) + "x" + std::to_string(pixels.height), "paste", "inks.pam"});
    }
    [[nodiscard]] Pixels Png(const std::string& name) const { return PixelsOf(LoadPng(At(name))); }
};

TEST_F(Colour, BecomesSrgbByTheProfileWithinALevelOfDoubles) {
    for (const int channels : {1, 2, 3, 4}) {
        SCOPED_TRACE(channels);
        const Bytes profile = channels < 3 ? GrayProfile(1.4) : WideProfile();
        const Pixels in = AllColours(channels);
        Save(in, profile);
        EXPECT_EQ(RunWell({"in.png", "out.png", "--srgb"}).err, "");
        const PngFile out = LoadPng(At("out.png"));
        EXPECT_TRUE(out.srgbIntent.has_value());
        EXPECT_TRUE(out.profile.empty());
        Bytes target = SrgbProfile();
        if (channels < 3) {
            const double parameters[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
            cmsToneCurve* curve = cmsBuildParametricToneCurve(nullptr, 4, parameters);
            target = Saved(Profile(cmsCreateGrayProfile(cmsD50_xyY(), curve)));
            cmsFreeToneCurve(curve);
        }
        ExpectNear(PixelsOf(out), Reference(in, {profile}, {target}));
        EXPECT_NE(PixelsOf(out), in);
    }
}

TEST_F(Colour, OfWideRgbIsWhatTheDefinitionsSay) {
    // Its red at full strength lies where that of sRGB does but is stronger; (0, 255, 0) is beyond sRGB; gray has
    // another curve: 100 * (100 / 255)^2.2 of light is (1.055 * 0.1275^(1 / 2.4) - 0.055) * 255 = 99.3.
    Save({4, 1, 3, {255, 255, 255, 0, 0, 0, 0, 255, 0, 100, 100, 100}}, WideProfile());
    RunWell({"in.png", "out.png", "--srgb"});
    const Pixels out = Png("out.png");
    EXPECT_EQ(Bytes(out.bytes.begin(), out.bytes.begin() + 9), (Bytes{255, 255, 255, 0, 0, 0, 0, 255, 0}));
    for (int c = 0; c < 3; ++c) EXPECT_NEAR(out.At(3, 0, c), 99, 1);
}

TEST_F(Colour, OfInksBecomesRgbByTheirProfile) {
    const Bytes profile = InkProfile();
    const Pixels in = AllColours(4);
    SaveInks(in, profile);
    EXPECT_EQ(RunWell({"canvas.tif", "out.png", "--srgb"}).err, "");
    EXPECT_TRUE(LoadPng(At("out.png")).srgbIntent.has_value());
    // The library goes by a table of its own, between whose points colours at the edge of what sRGB holds are less
    // exact; most are not.
    const Pixels reference = Reference(in, {profile, true}, {SrgbProfile()});
    ExpectNear(Png("out.png"), reference, 0.25, 5);
    EXPECT_EQ(RunWell({"canvas.tif", "again.png", "--srgb", "invert", "invert"}).err, "");
    EXPECT_EQ(Png("again.png"), Png("out.png"));
}

TEST_F(Colour, OfAJpegOfInksFitsIntoAPng) {
    JpegFile file;
    for (const bool adobe : {true, false}) {
        const Pixels inks{16, 16, 4, [] {
                              Bytes bytes;
                              for (int i = 0; i < 256; ++i) bytes.insert(bytes.end(), {200, 40, 90, 20});
                              return bytes;
                          }()};
        file.pixels = adobe ? Inverted(inks) : inks;
        file.colourSpace = 0;
        file.quality = 100;
        file.adobe = adobe;
        file.profile = InkProfile();
        SaveJpeg(At("in.jpg"), file);
        ExpectFailure(Run({"in.jpg", "out.png"}), 1, {"out.png: PNG cannot hold CMYK", "--srgb"});
        EXPECT_EQ(RunWell({"in.jpg", "out.png", "--srgb"}).err, "");
        ExpectNear(Png("out.png"), Reference(inks, {file.profile, true}, {SrgbProfile()}), 2, 3);
    }
}

TEST_F(Colour, OfInksWithoutAProfileIsMixedAndToldOf) {
    Pixels in = AllColours(4);
    SaveInks(in, {});
    EXPECT_EQ(RunWell({"inks.pam", "out.png", "--srgb"}).err,
              "zor: inks.pam: there is no colour profile; the inks are mixed without one, and colours will differ\n");
    const Pixels out = Png("out.png");
    for (int y = 0; y < in.height; ++y)
        for (int x = 0; x < in.width; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(out.At(x, y, c), std::lround((255 - in.At(x, y, c)) * (255 - in.At(x, y, 3)) / 255.0));
    EXPECT_EQ(RunWell({"--quiet", "inks.pam", "again.png", "--srgb"}).err, "");
}

TEST_F(Colour, ThatIsSrgbAlreadyStaysToTheByte) {
    const Pixels in = AllColours(3);
    Save(in, SrgbProfile());
    EXPECT_EQ(RunWell({"in.png", "out.png", "--srgb"}).err, "");
    EXPECT_EQ(Png("out.png"), in);
    EXPECT_TRUE(LoadPng(At("out.png")).srgbIntent.has_value());
    Save(in, {});
    EXPECT_EQ(RunWell({"in.png", "out.png", "--srgb"}).err, "");
    EXPECT_EQ(Png("out.png"), in);
    EXPECT_TRUE(LoadPng(At("out.png")).srgbIntent.has_value());
}

TEST_F(Colour, OfPngIsToldByGammaToo) {
    PngFile file = PlainPng(AllColours(3));
    file.gamma = 100000;  // light itself
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png", "--srgb"});
    const Pixels in = AllColours(3), out = Png("out.png");
    for (std::size_t i = 0; i < in.bytes.size(); ++i) {
        const double light = in.bytes[i] / 255.0;
        const double srgb = light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
        ASSERT_NEAR(out.bytes[i], srgb * 255, 1) << int{in.bytes[i]};
    }
    EXPECT_FALSE(LoadPng(At("out.png")).gamma.has_value() && LoadPng(At("out.png")).gamma == 100000);
    // The mark says more than the number.
    file.srgbIntent = 0;
    file.gamma = 45455;
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png", "--srgb"});
    EXPECT_EQ(Png("out.png"), in);
}

TEST_F(Colour, IsMarkedAsSrgbInEveryFormatThatCan) {
    Save(AllColours(4), WideProfile());
    for (const char* name : {"out.jpg", "out.webp", "out.tif"}) {
        SCOPED_TRACE(name);
        RunWell({"--quiet", "in.png", name, "--srgb"});
        const std::string info = RunWell({"info", name}).out;
        EXPECT_NE(info.find("profile      sRGB (RGB, "), std::string::npos) << info;
        RunWell({name, "gray.tif", "--srgb", "convert", "G"});
        EXPECT_NE(RunWell({"info", "gray.tif"}).out.find("profile      sRGB gray (GRAY, "), std::string::npos);
        // Once more changes nothing.
        RunWell({name, "once.png"});
        RunWell({name, "twice.png", "--srgb"});
        EXPECT_EQ(Png("once.png"), Png("twice.png"));
    }
    EXPECT_LT(std::filesystem::file_size(At("out.jpg")), 20000U);
    EXPECT_EQ(RunWell({"in.png", "out.pam", "--srgb"}).err, "");
    // Gray in a format that holds only RGB.
    Save(AllColours(1), GrayProfile(1.4));
    EXPECT_EQ(RunWell({"in.png", "gray.webp", "--srgb"}).err, "");
    EXPECT_NE(RunWell({"info", "gray.webp"}).out.find("profile      sRGB (RGB, "), std::string::npos);
}

TEST_F(Colour, MarkIsAProfileThatOthersRead) {
    Save(AllColours(3), WideProfile());
    RunWell({"in.png", "out.jpg", "--srgb"});
    const Bytes saved = LoadJpeg(At("out.jpg")).profile;
    EXPECT_LT(saved.size(), 1000U);
    const Pixels colours = AllColours(3);
    ExpectNear(Reference(colours, {saved}, {SrgbProfile()}), colours);
    RunWell({"in.png", "again.jpg", "--srgb"});
    EXPECT_EQ(ReadFile(At("again.jpg")), ReadFile(At("out.jpg")));
}

TEST_F(Colour, ComesBeforeEveryEffect) {
    Save(AllColours(3), WideProfile());
    RunWell({"in.png", "srgb.png", "--srgb"});
    for (const std::vector<std::string>& effect :
         {std::vector<std::string>{"scale", "50%"}, {"blur", "2"}, {"rotate", "90"}, {"convert", "GA"}}) {
        std::vector<std::string> at_once = {"in.png", "a.png", "--srgb"}, later = {"srgb.png", "b.png"};
        at_once.insert(at_once.end(), effect.begin(), effect.end());
        later.insert(later.end(), effect.begin(), effect.end());
        RunWell(at_once);
        RunWell(later);
        EXPECT_EQ(Png("a.png"), Png("b.png")) << effect[0];
    }
}

TEST_F(Colour, ComesOutTheSameWhereTheReaderGivesAWholeImage) {
    JpegFile file;
    file.pixels = MakePixels(700, 500, 3, 5);
    file.profile = WideProfile();
    SaveJpeg(At("rows.jpg"), file);
    file.progressive = true;
    SaveJpeg(At("whole.jpg"), file);
    for (const std::vector<std::string>& effect : {std::vector<std::string>{}, {"invert"}, {"rotate", "90"}}) {
        std::vector<std::string> rows = {"rows.jpg", "a.png", "--srgb"}, whole = {"whole.jpg", "b.png", "--srgb"};
        rows.insert(rows.end(), effect.begin(), effect.end());
        whole.insert(whole.end(), effect.begin(), effect.end());
        RunWell(rows);
        RunWell(whole);
        EXPECT_EQ(Png("a.png"), Png("b.png"));
    }
    RunWell({"rows.jpg", "plain.png"});
    RunWell({"rows.jpg", "srgb.png", "--srgb"});
    ExpectNear(Png("srgb.png"), Reference(Png("plain.png"), {file.profile}, {SrgbProfile()}));
}

TEST_F(Colour, StaysWhereTheProfileIsDamaged) {
    Bytes broken = WideProfile();
    // Its tags lie elsewhere than it says.
    for (std::size_t i = 132; i < 132 + 12 * 10; ++i) broken[i] ^= 0x55;
    const Pixels in = AllColours(3);
    for (const Bytes& profile : {broken, MakeProfile("RGB ")}) {
        JpegFile file;
        file.pixels = MakePixels(40, 30, 3, 5);
        file.profile = profile;
        SaveJpeg(At("in.jpg"), file);
        EXPECT_EQ(RunWell({"in.jpg", "out.png", "--srgb"}).err,
                  "zor: in.jpg: the colour profile is damaged; the colours stay as they are, and count as sRGB\n");
        file.profile.clear();
        SaveJpeg(At("plain.jpg"), file);
        RunWell({"plain.jpg", "plain.png"});
        EXPECT_EQ(Png("out.png"), Png("plain.png"));
    }
    JpegFile inks;
    inks.pixels = MakePixels(16, 16, 4, 5);
    inks.profile = MakeProfile("CMYK");
    SaveJpeg(At("in.jpg"), inks);
    EXPECT_EQ(RunWell({"in.jpg", "out.png", "--srgb"}).err,
              "zor: in.jpg: the colour profile is damaged; the inks are mixed without one, and colours will differ\n");
}

TEST_F(Colour, GoesToTheProfileOfAPress) {
    const Bytes press = InkProfile();
    WriteFile(At("press.icc"), Text(press));
    for (const int channels : {1, 2, 3, 4}) {
        SCOPED_TRACE(channels);
        const Pixels in = AllColours(channels);
        Save(in, {});
        // The colours of all pixels, clear ones too.
        EXPECT_EQ(RunWell({"--plugin-bytes", "in.png", "out.tif", "--profile", "press.icc"}).err, "");
        EXPECT_NE(RunWell({"info", "out.tif"}).out.find("CMYK"), std::string::npos);
        RunWell({"--quiet", "out.tif", "out.pam"});
        const std::string pam = ReadFile(At("out.pam"));
        const Pixels out{in.width, in.height, 4,
                         Bytes(pam.end() - static_cast<std::ptrdiff_t>(in.width * in.height * 4), pam.end())};
        if (channels < 3) {
            // Gray counts as equal red, green and blue.
            Pixels rgb{in.width, in.height, 3, {}};
            for (std::size_t i = 0; i < in.bytes.size(); i += static_cast<std::size_t>(channels))
                rgb.bytes.insert(rgb.bytes.end(), 3, in.bytes[i]);
            ExpectNear(out, Reference(rgb, {SrgbProfile()}, {press, true}), 0.3, 2);
        } else {
            ExpectNear(out, Reference(in, {SrgbProfile()}, {press, true}), 0.3, 4);
        }
    }
    RunWell({"in.png", "out.jpg", "--profile", "press.icc"});
    EXPECT_EQ(LoadJpeg(At("out.jpg")).profile, press);
    EXPECT_EQ(LoadJpeg(At("out.jpg")).pixels.channels, 4);
}

// There is no ink with alpha: what is clear becomes white paper, whatever colour it hides.
TEST_F(Colour, OfClearPixelsDoesNotBecomeInk) {
    WriteFile(At("press.icc"), Text(InkProfile()));
    Save(MakePixels(40, 30, 4, 3), {});
    EXPECT_EQ(RunWell({"in.png", "out.tif", "--profile", "press.icc"}).err,
              "zor: out.tif: CMYK holds no transparency; the picture is laid on white ('flatten' takes another "
              "colour)\n");
    RunWell({"in.png", "flat.png", "flatten", "255"});
    RunWell({"flat.png", "flat.tif", "--profile", "press.icc"});
    EXPECT_EQ(Run({"compare", "out.tif", "flat.tif"}).exitCode, 0);
}

TEST_F(Colour, GoesFromOneProfileToAnotherBehindTheEffects) {
    const Bytes wide = WideProfile(), other = WideProfile(1.8);
    WriteFile(At("other.icc"), Text(other));
    WriteFile(At("gray.icc"), Text(GrayProfile(1.0)));
    const Pixels in = AllColours(4);
    Save(in, wide);
    EXPECT_EQ(RunWell({"in.png", "out.png", "--profile", "other.icc"}).err, "");
    EXPECT_EQ(LoadPng(At("out.png")).profile, other);
    ExpectNear(Png("out.png"), Reference(in, {wide}, {other}));
    RunWell({"in.png", "inverted.png", "invert"});
    RunWell({"in.png", "out.png", "--profile", "other.icc", "invert"});
    ExpectNear(Png("out.png"), Reference(Png("inverted.png"), {wide}, {other}));
    // Gray of RGB, with the alpha.
    RunWell({"in.png", "gray.png", "--profile", "gray.icc"});
    EXPECT_EQ(Png("gray.png").channels, 2);
    ExpectNear(Png("gray.png"), Reference(in, {wide}, {GrayProfile(1.0)}));
    // By way of sRGB.
    RunWell({"in.png", "srgb.png", "--srgb"});
    RunWell({"srgb.png", "a.png", "--profile", "other.icc"});
    RunWell({"in.png", "b.png", "--srgb", "--profile", "other.icc"});
    EXPECT_EQ(Png("a.png"), Png("b.png"));
    EXPECT_EQ(LoadPng(At("b.png")).profile, other);
    // What the effects have made of it, the profile does not fit any more.
    EXPECT_EQ(RunWell({"in.png", "out.png", "--profile", "other.icc", "convert", "G"}).err,
              "zor: in.png: the colour profile is for RGB and does not fit gray pixels, which count as sRGB\n");
}

TEST_F(Colour, OfInksGoesToAnotherPress) {
    const Bytes press = InkProfile();
    WriteFile(At("press.icc"), Text(press));
    const Pixels in = AllColours(4);
    SaveInks(in, press);
    EXPECT_EQ(RunWell({"canvas.tif", "out.jpg", "--profile", "press.icc"}).err, "");
    EXPECT_EQ(LoadJpeg(At("out.jpg")).profile, press);
    ExpectFailure(Run({"inks.pam", "out.tif", "--profile", "press.icc"}), 1,
                  {"inks.pam: there is no colour profile", "--srgb"});
    EXPECT_EQ(Run({"--quiet", "inks.pam", "out.tif", "--srgb", "--profile", "press.icc"}).exitCode, 0);
}

TEST_F(Colour, ProfilesThatDoNotServeAreNamed) {
    Save(AllColours(3), {});
    WriteFile(At("text.icc"), "no profile");
    WriteFile(At("short.icc"), Text(InkProfile()).substr(0, 1000));
    WriteFile(At("empty.icc"), "");
    WriteFile(At("scanner.icc"), Text(InkProfile(false)));
    WriteFile(At("bare.icc"), Text(MakeProfile("RGB ")));
    WriteFile(At("lab.icc"), Text(Saved(Profile(cmsCreateLab4Profile(nullptr)))));
    const Profile one = Opened(WideProfile()), two = Opened(SrgbProfile());
    cmsHTRANSFORM transform = cmsCreateTransform(one.get(), TYPE_RGB_8, two.get(), TYPE_RGB_8, 1, 0);
    WriteFile(At("link.icc"), Text(Saved(Profile(cmsTransform2DeviceLink(transform, 4.3, 0)))));
    cmsDeleteTransform(transform);
    struct Case {
        const char* file;
        std::vector<std::string> told;
        int exitCode = 1;
    };
    for (const Case& c : std::vector<Case>{{"none.icc", {"none.icc: No such file or directory"}},
                                           {"text.icc", {"text.icc: no colour profile"}},
                                           {"short.icc", {"short.icc: no colour profile", "ends too early"}},
                                           {"empty.icc", {"empty.icc: no colour profile"}},
                                           {"scanner.icc", {"scanner.icc: the colour profile tells no way"}},
                                           {"bare.icc", {"bare.icc: "}},
                                           {"lab.icc", {"lab.icc: ", "for Lab pixels"}},
                                           {"link.icc", {"link.icc: not the colour profile of a device"}},
                                           {"", {"--profile", "the name of the file is empty"}, 2},
                                           {"-", {"--profile", "'-'"}, 2}}) {
        SCOPED_TRACE(c.file);
        ExpectFailure(Run({"in.png", "out.tif", "--profile", c.file}), c.exitCode, c.told);
        EXPECT_FALSE(std::filesystem::exists(At("out.tif")));
    }
    std::filesystem::create_directory(At("out"));
    ExpectFailure(Run({"--each", "out/{name}", "--profile", "text.icc", "in.png"}), 1, {"text.icc: no colour profile"});
}

TEST_F(Colour, IsForManyFilesToo) {
    WriteFile(At("other.icc"), Text(WideProfile(1.8)));
    Save(AllColours(3), WideProfile());
    std::filesystem::copy(At("in.png"), At("in2.png"));
    std::filesystem::create_directory(At("out"));
    RunWell({"--each", "out/{name}", "--srgb", "in.png", "in2.png"});
    RunWell({"in.png", "alone.png", "--srgb"});
    for (const char* name : {"out/in.png", "out/in2.png"}) EXPECT_EQ(ReadFile(At(name)), ReadFile(At("alone.png")));
    RunWell({"--each", "out/{name}", "--profile", "other.icc", "in.png", "in2.png"});
    RunWell({"in.png", "alone.png", "--profile", "other.icc"});
    for (const char* name : {"out/in.png", "out/in2.png"}) EXPECT_EQ(ReadFile(At(name)), ReadFile(At("alone.png")));
}

}  // namespace
