#pragma once
// Hosts with pictures for the tests, and pictures to look at.

#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "TestHost.h"
#include "zorhost/Pictures.h"

namespace zorhost {

// With the plug-in that calls each service of pictures by a shared method of its class "Darkroom".
struct Darkroom : FreshHost {
    explicit Darkroom(HostOptions options = {});
    template <class... Args>
    Value Do(std::string_view method, Args&&... args) {
        return host.CallShared("Darkroom", method, std::forward<Args>(args)...);
    }
    std::string Say(std::string_view method, const Object& picture) { return Do(method, picture).AsText(); }
};

HostOptions InWorld(World world);

// Noise of that size, always the same for a seed.
PixelRows RandomRows(int width, int height, int channels, unsigned seed);

// A single colour.
PixelRows PlainRows(int width, int height, Color color);

Color ColorAt(const PixelRows& rows, int x, int y);

std::vector<unsigned char> BytesOfBlock(const Host& host, const Value& block);

}  // namespace zorhost
