// What people and cameras have written into picture files, on its way through the program.

#include <unistd.h>

#include "CorpusBytes.h"
#include "TestMetadata.h"
#include "TestPictures.h"
#include "ZorTest.h"
#include "support/Sanitizers.h"

namespace {

const std::string kExifName("Exif\0\0", 6), kXmpName("http://ns.adobe.com/xap/1.0/\0", 29);

// A packet with the given attributes and elements of its description.
std::string Packet(const std::string& attributes, const std::string& elements) {
    return "<?xpacket begin='\xEF\xBB\xBF' id='W5M0MpCehiHzreSzNTczkc9d'?>\n<x:xmpmeta xmlns:x='adobe:ns:meta/'>"
           "<rdf:RDF xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'><!-- <a> --><rdf:Description rdf:about=''"
           " xmlns:tiff='http://ns.adobe.com/tiff/1.0/' xmlns:exif='http://ns.adobe.com/exif/1.0/'" +
           attributes + ">" + elements + "</rdf:Description></rdf:RDF></x:xmpmeta>\n   \n<?xpacket end='w'?>";
}

const std::string kTitle = "<dc:title xmlns:dc='http://purl.org/dc/elements/1.1/'>B\xC3\xBCro &lt;1&gt;</dc:title>";

class MetadataTest : public ZorTest {
protected:
    // in.jpg, 24 x 16 pixels, with what a camera, a program and an agency have written.
    void SaveCameraJpeg(int orientation = 1, bool bigEndian = false) {
        JpegFile file;
        file.pixels = MakePixels(24, 16, 3, 3);
        file.jfif = false;
        SaveJpeg(At("in.jpg"), file);
        AddJpegMarkers(At("in.jpg"), {{0xE1, kExifName + ExifBytes(CameraExif(orientation), bigEndian)},
                                      {0xE1, kXmpName + Packet("", kTitle)},
                                      {0xED, PhotoshopBlock(iptc_)}});
    }
    [[nodiscard]] const std::string& Iptc() const { return iptc_; }

    MetadataOf Converted(const std::vector<std::string>& words) {
        EXPECT_EQ(RunWell(words).err, "");
        return LoadMetadata(At(words[1]));
    }

private:
    std::string iptc_ = IptcRecord(120, "Boats, seen from the quay") + IptcRecord(25, "boat") + IptcRecord(25, "sea");
};

using Metadata = MetadataTest;

// What is there of the camera's block when the picture has so many pixels.
ExifOf Truth(std::uint32_t width, std::uint32_t height) {
    ExifOf exif = CameraExif(1);
    exif.small.clear();
    exif.thumbnail.clear();
    for (ExifEntryOf& entry : exif.camera) {
        if (entry.tag == 40962) entry.numbers = {width};
        if (entry.tag == 40963) entry.numbers = {height};
    }
    return exif;
}

// The letters of the first directory only: what TIFF keeps of it, where the others have tags of their own.
std::vector<ExifEntryOf> LettersOf(const ExifOf& exif) {
    std::vector<ExifEntryOf> letters;
    for (const ExifEntryOf& entry : exif.picture)
        if (entry.type == 2) letters.push_back(entry);
    return letters;
}

TEST_F(Metadata, SurvivesFromEachFormatToEachOther) {
    for (const bool bigEndian : {false, true}) {
        SaveCameraJpeg(1, bigEndian);
        const ExifOf truth = Truth(12, 8);
        for (const std::string from : {"jpg", "png", "webp", "tif"}) {
            RunWell({"in.jpg", "first." + from});
            for (const std::string to : {"jpg", "png", "webp", "tif"}) {
                SCOPED_TRACE(from + " to " + to);
                const bool records = from != "webp" && to != "webp";
                const Outcome outcome = RunWell({"first." + from, "second." + to, "scale", "50%"});
                EXPECT_EQ(outcome.err, from != "webp" && to == "webp"
                                           ? "zor: second.webp: WebP holds no IPTC; it is left out\n"
                                           : "");
                const MetadataOf found = LoadMetadata(At("second." + to));
                const ExifOf exif = ReadExifBytes(found.exif);
                EXPECT_EQ(LettersOf(exif), LettersOf(truth));
                EXPECT_EQ(exif.camera, truth.camera);
                EXPECT_EQ(exif.place, truth.place);
                EXPECT_EQ(exif.exchange, truth.exchange);
                EXPECT_EQ(exif.thumbnail, "");
                EXPECT_TRUE(exif.small.empty());
                EXPECT_EQ(found.xmp, Packet("", kTitle));
                EXPECT_EQ(found.iptc, records ? Iptc() : "");
            }
        }
    }
}

TEST_F(Metadata, IsTrueOfTheResult) {
    for (const int orientation : {1, 3, 6, 8})
        for (const char* to : {"out.jpg", "out.png", "out.webp"}) {
            SCOPED_TRACE(testing::Message() << orientation << " " << to);
            SaveCameraJpeg(orientation);
            RunWell({"--quiet", "in.jpg", to, "canvas", "30x20"});
            const std::string block = LoadMetadata(At(to)).exif;
            EXPECT_EQ(ReadExifBytes(block), Truth(30, 20));
            EXPECT_EQ(block.find("cropped away"), std::string::npos);
        }
}

TEST_F(Metadata, TellsOfColoursWhatTheyAreConvertedTo) {
    const std::string before = " exif:ColorSpace='65535' photoshop:ICCProfile='Wide'";
    ExifOf exif = CameraExif(1);
    exif.camera.push_back({40961, 3, {65535}});
    for (const bool converts : {false, true}) {
        JpegFile file;
        file.pixels = MakePixels(24, 16, 3, 3);
        SaveJpeg(At("in.jpg"), file);
        AddJpegMarkers(At("in.jpg"), {{0xE1, kExifName + ExifBytes(exif)}, {0xE1, kXmpName + Packet(before, "")}});
        const MetadataOf found =
            Converted({"in.jpg", "out.jpg", converts ? "--srgb" : "--quality=80", "--strip", "text"});
        const ExifOf told = ReadExifBytes(found.exif);
        EXPECT_EQ(told.Find(told.camera, 40961)->numbers[0], converts ? 1U : 65535U);
        EXPECT_EQ(told.exchange.empty(), converts);
        EXPECT_EQ(found.xmp, Packet(converts ? "" : before, ""));
    }
}

TEST_F(Metadata, TellsTheResolutionTheWayThePictureLies) {
    ExifOf exif = CameraExif(6);
    exif.picture[5].numbers = {150, 1};  // down
    JpegFile file;
    file.pixels = MakePixels(24, 16, 3, 3);
    file.jfif = false;
    SaveJpeg(At("in.jpg"), file);
    AddJpegMarkers(At("in.jpg"), {{0xE1, kExifName + ExifBytes(exif)}});
    for (const char* to : {"out.jpg", "out.png", "out.webp"}) {
        const ExifOf found = ReadExifBytes(Converted({"in.jpg", to}).exif);
        EXPECT_EQ(found.Find(found.picture, 282)->numbers, (std::vector<std::uint32_t>{150, 1}));
        EXPECT_EQ(found.Find(found.picture, 283)->numbers, (std::vector<std::uint32_t>{300, 1}));
    }
}

TEST_F(Metadata, IsCarriedOverOriginalsOfManyFiles) {
    SaveCameraJpeg(6);
    const std::string original = ReadFile(At("in.jpg"));
    WriteFile(At("a.jpg"), original);
    WriteFile(At("b.jpg"), original);
    EXPECT_EQ(RunWell({"--each", "{name}", "--strip", "gps", "a.jpg", "b.jpg", "--", "scale", "50%"}).err, "");
    ExifOf truth = Truth(8, 12);
    truth.place.clear();
    for (const char* name : {"a.jpg", "b.jpg"}) {
        const MetadataOf found = LoadMetadata(At(name));
        EXPECT_EQ(ReadExifBytes(found.exif), truth);
        EXPECT_EQ(found.xmp, Packet("", kTitle));
        EXPECT_EQ(found.iptc, Iptc());
    }
}

TEST_F(Metadata, OfXmpLosesWhatIsNotTrueAnyMoreAndNothingElse) {
    const std::string kept = " exif:FNumber=\"28/10\" xmlns:gpsx='x'";
    const std::string attributes = kept + "\n  tiff:Orientation=\"6\" exif:PixelXDimension = '6000'" + " a:b='>'";
    const std::string elements =
        kTitle + "<tiff:ImageWidth>6000</tiff:ImageWidth><tiff:Orientation/>" +
        "<xmp:Thumbnails xmlns:xmp='http://ns.adobe.com/xap/1.0/'><rdf:Alt><rdf:li rdf:parseType='Resource'>"
        "<g:image>/9j/what was cropped away</g:image></rdf:li></rdf:Alt></xmp:Thumbnails>" +
        "<![CDATA[<tiff:Orientation>]]><exif:GPSLatitude>33,51.6S</exif:GPSLatitude>";
    for (const std::string strip : {"text", "gps"}) {
        SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
        AddPngChunks(At("in.png"),
                     PngChunk("iTXt", std::string("XML:com.adobe.xmp\0\0\0\0\0", 22) + Packet(attributes, elements)));
        const std::string place = strip == "gps" ? "" : "<exif:GPSLatitude>33,51.6S</exif:GPSLatitude>";
        for (const char* to : {"out.jpg", "out.png", "out.webp", "out.tif"})
            EXPECT_EQ(Converted({"in.png", to, "--strip", strip}).xmp,
                      Packet(kept + " a:b='>'", kTitle + "<![CDATA[<tiff:Orientation>]]>" + place));
    }
}

TEST_F(Metadata, OfXmpIsLeftOutWhereItCannotBeRead) {
    const std::string packets[] = {"no XML at all",
                                   Packet("", "<tiff:Orientation>"),
                                   Packet("", "</rdf:Description>"),
                                   Packet(" tiff:Orientation=6", ""),
                                   Packet("", "<open") + "<",
                                   "<!DOCTYPE x [<!ENTITY a 'tiff:Orientation'>]>" + Packet("", ""),
                                   Packet("", "\xFF\xFE")};
    for (const std::string& packet : packets) {
        JpegFile file;
        file.pixels = MakePixels(24, 16, 3, 3);
        SaveJpeg(At("in.jpg"), file);
        AddJpegMarkers(At("in.jpg"), {{0xE1, kXmpName + packet}});
        EXPECT_EQ(RunWell({"in.jpg", "out.png"}).err, "zor: out.png: XMP cannot be read; it is left out\n") << packet;
        EXPECT_EQ(LoadMetadata(At("out.png")).xmp, "");
    }
}

TEST_F(Metadata, OfXmpInTwoPartsKeepsTheFirst) {
    JpegFile file;
    file.pixels = MakePixels(24, 16, 3, 3);
    SaveJpeg(At("in.jpg"), file);
    AddJpegMarkers(At("in.jpg"), {{0xE1, kXmpName + Packet(" xmpNote:HasExtendedXMP='0123'", kTitle)},
                                  {0xE1, std::string("http://ns.adobe.com/xmp/extension/\0", 35) + "0123 more of it"}});
    EXPECT_EQ(RunWell({"in.jpg", "out.jpg"}).err, "zor: in.jpg: the second part of XMP is left out\n");
    EXPECT_EQ(LoadMetadata(At("out.jpg")).xmp, Packet("", kTitle));
}

TEST_F(Metadata, IsStrippedAsAsked) {
    SaveCameraJpeg();
    AddJpegMarkers(At("in.jpg"), {{0xFE, "a comment"}});
    const auto left = [this](const std::string& words) {
        const MetadataOf found = Converted({"in.jpg", "out.jpg", "--strip", words});
        std::string names;
        if (!found.exif.empty()) names += ReadExifBytes(found.exif).place.empty() ? "exif " : "exif+gps ";
        if (!found.xmp.empty()) names += "xmp ";
        if (!found.iptc.empty()) names += "iptc ";
        if (!found.texts.empty()) names += "text ";
        return names;
    };
    EXPECT_EQ(left("profile"), "exif+gps xmp iptc text ");
    EXPECT_EQ(left("gps"), "exif xmp iptc text ");
    EXPECT_EQ(left("exif"), "xmp iptc text ");
    EXPECT_EQ(left("xmp"), "exif+gps iptc text ");
    EXPECT_EQ(left("iptc"), "exif+gps xmp text ");
    EXPECT_EQ(left("text"), "exif+gps xmp iptc ");
    EXPECT_EQ(left("gps,xmp,text"), "exif iptc ");
    EXPECT_EQ(left("all"), "");
    EXPECT_EQ(LoadJpeg(At("out.jpg")).density, (std::array{1, 300, 300}));
}

TEST_F(Metadata, StaysOutWithTheProfileOnlyWhereThatIsAskedForToo) {
    PngFile file = PlainPng(MakePixels(24, 16, 3, 3));
    file.profile = MakeProfile("RGB ");
    SavePng(At("in.png"), file);
    RunWell({"in.png", "out.png", "--strip", "all"});
    EXPECT_EQ(LoadPng(At("out.png")).profile, file.profile);
    RunWell({"in.png", "out.png", "--strip", "all,profile"});
    EXPECT_TRUE(LoadPng(At("out.png")).profile.empty());
    EXPECT_EQ(RunWell({"in.png", "out.ppm", "--strip=profile"}).err, "");
}

TEST_F(Metadata, IsStrippedByWordsThatAreKnown) {
    const std::string known = "known are all, gps, exif, xmp, iptc, text, profile";
    ExpectFailure(Run({"in.png", "out.png", "--strip", "gpss"}), 2, {"--strip: 'gpss'", "did you mean 'gps'?", known});
    ExpectFailure(Run({"in.png", "out.png", "--strip", "gps,,xmp"}), 2, {"--strip: ''", known});
    ExpectFailure(Run({"in.png", "out.png", "--strip", ""}), 2, {"--strip"});
    ExpectFailure(Run({"in.png", "out.png", "--strip"}), 2, {"--strip"});
    EXPECT_EQ(Run({"--complete", "1", "--strip", "g"}).out, "gps\n");
}

TEST_F(Metadata, OfTextsKeepsEachKindOfPng) {
    const std::string longText(3000, 'x');
    SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
    AddPngChunks(At("in.png"),
                 PngChunk("tEXt", std::string("Title\0Caf\xE9", 10)) +
                     PngChunk("zTXt", std::string("Description\0\0", 13) + Packed(longText)) +
                     PngChunk("iTXt", std::string("Author\0\0\0de\0Autor\0", 18) + "\xE2\x82\xAC") +
                     PngChunk("iTXt", std::string("Source\0\1\0\0\0", 11) + Packed("\xE2\x82\xAC" + longText)));
    const MetadataOf found = Converted({"in.png", "out.png"});
    EXPECT_EQ(found.texts, (std::vector<std::pair<std::string, std::string>>{{"Title", "Caf\xE9"},
                                                                             {"Description", longText},
                                                                             {"Author", "\xE2\x82\xAC"},
                                                                             {"Source", "\xE2\x82\xAC" + longText}}));
    EXPECT_EQ(found.kinds, (std::vector<std::string>{"tEXt", "zTXt", "iTXt", "iTXt"}));
    EXPECT_NE(ReadFile(At("out.png")).find(std::string("Author\0\0\0de\0Autor\0", 18)), std::string::npos);
}

TEST_F(Metadata, OfTextsIsFoundBehindThePixelsToo) {
    SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
    AddPngChunks(At("in.png"),
                 PngChunk("tEXt", std::string("Title\0late", 10)) + PngChunk("eXIf", ExifBytes(CameraExif(6))), true);
    const MetadataOf found = Converted({"in.png", "out.png"});
    EXPECT_EQ(found.texts, (std::vector<std::pair<std::string, std::string>>{{"Title", "late"}}));
    EXPECT_EQ(ReadExifBytes(found.exif), Truth(16, 24));
    EXPECT_EQ(LoadPng(At("out.png")).width, 16) << "turned";
}

TEST_F(Metadata, OfCommentsGoesBetweenJpegAndPng) {
    JpegFile file;
    file.pixels = MakePixels(24, 16, 3, 3);
    SaveJpeg(At("in.jpg"), file);
    AddJpegMarkers(At("in.jpg"), {{0xFE, std::string("first\0", 6)}, {0xFE, "Caf\xE9"}, {0xFE, "\xE2\x82\xAC"}});
    using Texts = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(Converted({"in.jpg", "out.png"}).texts,
              (Texts{{"Comment", "first"}, {"Comment", "Caf\xE9"}, {"Comment", "\xE2\x82\xAC"}}));
    AddPngChunks(At("out.png"), PngChunk("tEXt", std::string("Title\0lost", 10)));
    EXPECT_EQ(RunWell({"out.png", "out.jpg"}).err, "zor: out.jpg: JPEG holds no text 'Title'; it is left out\n");
    EXPECT_EQ(LoadMetadata(At("out.jpg")).texts, (Texts{{"", "first"}, {"", "Caf\xC3\xA9"}, {"", "\xE2\x82\xAC"}}));
}

TEST_F(Metadata, IsToldOfWhereTheFormatHoldsNone) {
    SaveCameraJpeg();
    AddJpegMarkers(At("in.jpg"), {{0xFE, "words"}});
    const auto said = [this](const std::string& to) { return RunWell({"in.jpg", to}).err; };
    EXPECT_EQ(said("out.ppm"), "zor: out.ppm: PPM holds no EXIF, XMP, IPTC, comment; they are left out\n");
    EXPECT_EQ(said("out.webp"), "zor: out.webp: WebP holds no IPTC, comment; they are left out\n");
    EXPECT_EQ(said("out.tif"), "zor: out.tif: TIFF holds no comment; it is left out\n");
    EXPECT_EQ(said("out.png"), "");
    EXPECT_EQ(RunWell({"in.jpg", "out.ppm", "--strip", "all"}).err, "");
    EXPECT_EQ(RunWell({"--quiet", "in.jpg", "out.ppm"}).err, "");
}

TEST_F(Metadata, IsToldOfWhereJpegHasNoRoomForIt) {
    SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
    const std::string letters(70000, 'l');
    AddPngChunks(At("in.png"), PngChunk("tEXt", std::string("Comment\0", 8) + letters) +
                                   PngChunk("iTXt", std::string("XML:com.adobe.xmp\0\0\0\0\0", 22) +
                                                        Packet("", "<a:b>" + letters + "</a:b>")));
    EXPECT_EQ(RunWell({"in.png", "out.jpg"}).err,
              "zor: out.jpg: XMP, comment are too large for JPEG; they are left out\n");
    EXPECT_EQ(Converted({"in.png", "out.png"}).texts[0].second, letters);
    for (const std::size_t size : {65533 - 29, 65533 - 28}) {
        const std::string empty = Packet("", "");
        SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
        AddPngChunks(At("in.png"), PngChunk("iTXt", std::string("XML:com.adobe.xmp\0\0\0\0\0", 22) +
                                                        Packet("", std::string(size - empty.size(), ' '))));
        RunWell({"--quiet", "in.png", "out.jpg"});
        EXPECT_EQ(LoadMetadata(At("out.jpg")).xmp.size(), size == 65533 - 29 ? size : 0);
    }
}

TEST_F(Metadata, ThatUnpacksToAnyAmountIsLeftOut) {
    SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
    std::string chunks;
    for (const char* keyword : {"a", "b", "c"})
        chunks += PngChunk("zTXt", keyword + std::string(2, '\0') + PackedZeros(40 << 20));
    AddPngChunks(At("in.png"), chunks + PngChunk("tEXt", std::string("Title\0kept", 10)));
    RunOptions options;
    if (!kSanitized) options.addressLimit = std::uint64_t{400} << 20;
    const Outcome outcome = Run({"--memory", "16M", "in.png", "out.png"}, options);
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.err, "zor: in.png: texts that take more than 16 MiB are left out\n");
    EXPECT_EQ(LoadMetadata(At("out.png")).texts, (std::vector<std::pair<std::string, std::string>>{{"Title", "kept"}}));
}

TEST_F(Metadata, ThatIsDamagedLosesNothingElse) {
    SavePng(At("in.png"), PlainPng(MakePixels(24, 16, 3, 3)));
    AddPngChunks(At("in.png"), PngChunk("zTXt", std::string("a\0\0no zlib", 10)) + PngChunk("tEXt", "no end") +
                                   PngChunk("iTXt", std::string("b\0", 2)) + PngChunk("eXIf", "MM no block") +
                                   PngChunk("tEXt", std::string("Title\0kept", 10)));
    EXPECT_EQ(RunWell({"in.png", "out.png"}).err,
              "zor: in.png: a damaged text is left out\nzor: out.png: EXIF cannot be read; it is left out\n");
    const MetadataOf found = LoadMetadata(At("out.png"));
    EXPECT_EQ(found.texts, (std::vector<std::pair<std::string, std::string>>{{"Title", "kept"}}));
    EXPECT_EQ(found.exif, "");
}

// Directories that lead back to themselves, and values that lie behind the end.
TEST_F(Metadata, OfHostileBlocksIsLeftOutOrReadAsFarAsItGoes) {
    for (std::uint32_t place : {8U, 0U, 9U, 0xFFFFFFFFU, 0xFFFFFFF0U, 0x7FFFFFFFU, 100U})
        for (const int tag : {34665, 34853, 40965, 37500, 513, 273, 282})
            for (const int type : {4, 5, 7}) {
                ExifOf exif;
                exif.picture = {Letters(271, "Maker"), {tag, type, {place, place}}};
                exif.camera = {{tag, type, {place, place}}};
                std::string block = ExifBytes(exif);
                if (type == 7)
                    block.replace(block.find(Little(static_cast<std::uint64_t>(tag), 2) + Little(7, 2)) + 4, 4,
                                  Little(place, 4));
                JpegFile file;
                file.pixels = MakePixels(8, 8, 1, 3);
                SaveJpeg(At("in.jpg"), file);
                AddJpegMarkers(At("in.jpg"), {{0xE1, kExifName + block}});
                RunWell({"--quiet", "in.jpg", "out.jpg"});
                RunWell({"--quiet", "out.jpg", "out.tif"});
                EXPECT_EQ(LoadJpeg(At("out.jpg")).pixels.width, 8);
            }
}

TEST_F(Metadata, OfTiffIsReadInEachOrderAndSize) {
    ExifOf file = CameraExif(1);
    file.small.clear();
    file.thumbnail.clear();
    std::erase_if(file.picture, [](const ExifEntryOf& entry) { return entry.type != 2; });
    const ExifOf plain = file;
    file.blocks = {{700, Packet("", kTitle)}, {33723, Iptc()}};
    for (const bool big : {false, true})
        for (const bool bigEndian : {false, true}) {
            SCOPED_TRACE(testing::Message() << big << bigEndian);
            ExifOf whole = file;
            for (const ExifEntryOf& entry : GrayTiffTags(4, 2, big)) whole.picture.push_back(entry);
            WriteFile(At("in.tif"), ExifBytes(whole, bigEndian, "\1\2\3\4\5\6\7\x8", big));
            for (const char* to : {"out.png", "out.tif"}) {
                const MetadataOf found = Converted({"in.tif", to});
                const ExifOf exif = ReadExifBytes(found.exif);
                EXPECT_EQ(LettersOf(exif), LettersOf(plain));
                EXPECT_EQ(exif.camera, Truth(4, 2).camera);
                EXPECT_EQ(exif.place, plain.place);
                EXPECT_EQ(exif.exchange, plain.exchange);
                EXPECT_EQ(found.xmp, Packet("", kTitle));
                EXPECT_EQ(found.iptc, Iptc());
            }
        }
}

TEST_F(Metadata, OfTiffIsFoundInPhotoshopsBlock) {
    ExifOf whole;
    whole.picture = GrayTiffTags(4, 2);
    whole.blocks = {{34377, PhotoshopBlock(Iptc()).substr(14)}};
    WriteFile(At("in.tif"), ExifBytes(whole, false, "\1\2\3\4\5\6\7\x8"));
    EXPECT_EQ(Converted({"in.tif", "out.jpg"}).iptc, Iptc());
}

TEST_F(Metadata, OfTiffKeepsWhatWindowsWritesAndLeavesOutWhatIsTooLarge) {
    ExifOf whole;
    whole.picture = GrayTiffTags(4, 2);
    whole.picture.push_back({0x9C9B, 1, {'T', 0, 'i', 0, 0, 0}});
    whole.picture.push_back(Letters(270, std::string(70000, 'd')));
    WriteFile(At("in.tif"), ExifBytes(whole, false, "\1\2\3\4\5\6\7\x8"));
    EXPECT_EQ(RunWell({"in.tif", "out.tif"}).err, "zor: in.tif: the tag 270 of more than 65000 bytes is left out\n");
    const ExifOf found = ReadExifBytes(ReadFile(At("out.tif")));
    ASSERT_NE(found.Find(found.picture, 0x9C9B), nullptr);
    EXPECT_EQ(found.Find(found.picture, 0x9C9B)->numbers, (std::vector<std::uint32_t>{'T', 0, 'i', 0, 0, 0}));
    EXPECT_EQ(found.Find(found.picture, 270), nullptr);
}

TEST_F(Metadata, OfAgenciesLosesTheSmallCopyOfThePicture) {
    JpegFile file;
    file.pixels = MakePixels(24, 16, 3, 3);
    SaveJpeg(At("in.jpg"), file);
    const std::string kept = IptcRecord(90, "\x1B%G", 1) + Iptc();
    AddJpegMarkers(At("in.jpg"), {{0xED, PhotoshopBlock(kept + IptcRecord(202, "what was cropped away") + "end")}});
    for (const char* to : {"out.jpg", "out.png", "out.tif"}) EXPECT_EQ(Converted({"in.jpg", to}).iptc, kept);
}

TEST_F(Metadata, ComesThroughPipesAsFarAsItStandsBeforeThePixels) {
    SaveCameraJpeg(6);
    RunWell({"in.jpg", "in.png"});
    const pid_t process = Start({"/dev/stdin", "out.png"}, [this] {
        static int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        const std::string bytes = ReadFile(At("in.png"));
        EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
        close(ends[1]);
        RunOptions options;
        options.inputDescriptor = ends[0];
        return options;
    }());
    EXPECT_EQ(Wait(process).exitCode, 0);
    EXPECT_EQ(ReadExifBytes(LoadMetadata(At("out.png")).exif), Truth(16, 24));
}

TEST_F(Metadata, IsToldByInfo) {
    SaveCameraJpeg(6);
    AddJpegMarkers(At("in.jpg"), {{0xFE, "two\nlines \x1B[31m"}});
    const std::string out = RunWell({"info", "in.jpg"}).out;
    EXPECT_NE(out.find("  camera       Maker Nine\n"
                       "  lens         Lens 50mm\n"
                       "  taken        2024-05-17 09:30:00 +02:00\n"
                       "  exposure     1/250 s, f/2.8, ISO 200, 50 mm, as 75 mm on 35 mm film\n"
                       "  place        -33.860067, 151.211250, 62 m above the sea\n"
                       "  description  Boats at the quay\n"
                       "  artist       Ada Example\n"
                       "  copyright    free\n"
                       "  software     Darkroom 3\n"
                       "  caption      Boats, seen from the quay\n"
                       "  keyword      boat\n"
                       "  keyword      sea\n"
                       "  comment      two lines  [31m\n"
                       "  metadata     EXIF ("),
              std::string::npos)
        << out;
}

TEST_F(Metadata, IsToldByInfoOfEachFormatAlike) {
    SaveCameraJpeg();
    const auto lines = [this](const std::string& name) {
        const std::string out = RunWell({"info", name}).out;
        return out.substr(out.find("  camera"), out.find("  software") - out.find("  camera"));
    };
    for (const char* to : {"out.png", "out.webp", "out.tif"}) {
        RunWell({"--quiet", "in.jpg", to});
        EXPECT_EQ(lines(to), lines("in.jpg"));
    }
}

}  // namespace
