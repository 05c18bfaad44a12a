#pragma once
// Combine told a second time, one pixel and one byte at a time, for comparison with the engine.

#include <map>
#include <string>
#include <vector>

#include "support/Images.h"

struct CombineCall {
    const TestImage* target = nullptr;
    const TestImage* image = nullptr;
    const TestImage* mask = nullptr;
    bool preMultiplied = false;
    int destX = 0;
    int destY = 0;
    int sourceX = 0;
    int sourceY = 0;
    int width = 0;
    int height = 0;
    bool useColours = false;
    int foreColour = -1;
    int maskColour = -1;

    std::string Text() const;
};

// Calls the engine by its longest form.
bool CallCombine(const CombineCall& call);

// The storages of some images, as the model changes them. Images that share a storage share it here too.
class CombineWorld {
public:
    explicit CombineWorld(const std::vector<const TestImage*>& images);
    Storage& Of(const TestImage& image) { return storages_.at(image.root()); }
    // Compares every storage with what it is now.
    ::testing::AssertionResult IsTrue() const;

private:
    std::vector<const TestImage*> images_;
    std::map<const ImageClassData*, Storage> storages_;
};

// What the call returns and does to the world. Not for calls that are plain copies.
bool ModelCombine(const CombineCall& call, CombineWorld& world);

// Runs the engine and the model, and compares the result and all storages.
::testing::AssertionResult CombineAgreesWithModel(const CombineCall& call);

// A second hold on an image, to make another view of it.
TestImage Another(const TestImage& image);

// The channel bytes of one pixel, by channel names such as "gray" and "alpha".
int SampleOf(const TestImage& image, const char* channel, int x, int y);
void SetSample(const TestImage& image, const char* channel, int x, int y, int value);
// Every channel of that name in the whole image.
void FillChannel(const TestImage& image, const char* channel, int value);
