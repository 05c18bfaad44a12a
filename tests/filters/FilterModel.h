#pragma once
// An independent, slow model of filters that write a second image: it works byte by byte on copies of the storages,
// taken before the filter runs, and compares whole storages afterwards.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/Images.h"

// A channel of the source's family, and where each of the two records keeps it.
struct ModelChannel {
    std::string name;
    int from;
    int to;
};

class FilterModel {
public:
    FilterModel(const TestImage& source, const TestImage& dest);

    const std::vector<ModelChannel> channels;  // colours in order, then alpha where the source has it
    const int width, height;                   // the source's

    bool isGray() const { return source_->IsGray; }
    bool isRGB() const { return source_->IsRGB; }
    bool isCMYK() const { return source_->IsCMYK; }
    int rowSize() const { return source_->RowSize; }  // the source's, bytes
    int pixelSize() const { return source_->PixelSize; }

    int Read(int x, int y, const ModelChannel& channel) const;
    int ByteOfRow(int y, int at) const;  // the source's
    void Write(int x, int y, const ModelChannel& channel, int value);
    std::vector<int> ReadPixel(int x, int y) const;  // channel after channel
    void WritePixel(int x, int y, const std::vector<int>& values);

    // Every channel becomes a function of itself: map(channel index, byte, x, y).
    void MapPixels(const std::function<int(std::size_t, int, int, int)>& map);

    // The storages of both images are now what the model made of its copies.
    ::testing::AssertionResult Matches() const;

private:
    const TestImage& source_;
    const TestImage& dest_;
    std::shared_ptr<Storage> sourceBytes_;
    std::shared_ptr<Storage> destBytes_;  // the same as the source's where the images share storage
};

// A filter to be compared: run gives the engine's result, model works out the same on the model.
struct FilterCase {
    std::string text;
    std::function<REALobject(REALobject source, REALobject dest)> run;
    std::function<void(FilterModel&)> model;
};

// Two images for a filter, at random: apart from each other, the same one, or one a view of the other.
struct ImagePair {
    TestImage source;
    TestImage dest;       // empty: the filter makes the image
    bool isSame = false;  // dest is another lock on the source itself
};

// How dest relates to source; viewOfSource and viewOfDest share pixels in other places or another order.
enum class Relation { apart, made, same, viewOfSource, viewOfDest };
ImagePair RandomPair(Random& random, const TempDir& directory, Relation relation, int format);

// Runs the filter on that pair and compares result, locks and every byte of both storages.
void CheckFilter(const FilterCase& filter, const ImagePair& pair);

// The same over random pairs of every relation, format and storage kind, and over the smallest sizes.
void CheckFilterOnRandomImages(std::uint32_t seed, int rounds, const std::function<FilterCase(Random&)>& make);

// The channels a record keeps for the family of another one, told from the names alone.
std::vector<ModelChannel> ChannelsOfFamily(const ImageClassData* family, const ImageClassData* dest);

// A picture of one pixel value: fills the channels of an image, in the order of ChannelsOfFamily.
void FillPixels(const TestImage& image, const std::vector<int>& values);
std::vector<int> PixelAt(const TestImage& image, int x, int y);
