#include "core/Factory.h"

#include <gtest/gtest.h>

#include <climits>

#include "core/Construction.h"
#include "core/Formats.h"
#include "core/RowAccess.h"
#include "support/Images.h"

using namespace zor;

namespace {

class Factory : public EngineTest {
protected:
    struct Request {
        int width, height, format;
        bool operator==(const Request&) const = default;
    };
    std::vector<Request> requests;

    // A factory that remembers what it was asked for and makes plain images of that size, or larger or smaller.
    REALobject Making(int moreWidth, int moreHeight, int format = 0) {
        return host.NewFactory([=, this](int width, int height, int wanted) {
            requests.push_back({width, height, wanted});
            const REALobject image = host.NewImage();
            ImageConstructor(image, width + moreWidth, height + moreHeight, format ? format : wanted);
            return image;
        });
    }
    REALobject MakingNothing() {
        return host.NewFactory([this](int width, int height, int format) -> REALobject {
            requests.push_back({width, height, format});
            return nullptr;
        });
    }
    void TearDown() override {
        SetFactory(nullptr);
        EngineTest::TearDown();
    }
};

TEST_F(Factory, MakesAPlainImageWhereNobodyElseDoes) {
    const TestImage image(CreatePicture(nullptr, 5, 6, ImageFormatBGR));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->Width, 5);
    EXPECT_EQ(image->Height, 6);
    EXPECT_EQ(image->ImageFormat, ImageFormatBGR);
    EXPECT_TRUE(image->OwnsBuffer);
    EXPECT_EQ(host.Locks(image.object()), 1);
}

TEST_F(Factory, OfTheImageComesFirst) {
    const REALobject own = Making(0, 0, ImageFormatCMYK), global = Making(0, 0, ImageFormatRGB);
    SetFactory(global);
    const TestImage source = MakePlain(2, 2, ImageFormatG);
    source->Factory = own;
    const TestImage image(CreatePicture(source.record(), 5, 6, ImageFormatBGR));
    EXPECT_EQ(image->ImageFormat, ImageFormatCMYK) << "the format is not compared";
    EXPECT_EQ(requests, (std::vector<Request>{{5, 6, ImageFormatBGR}}));
    const TestImage second(CreatePictureLocal(source.object(), 3, 3, ImageFormatBGR));
    EXPECT_EQ(second->ImageFormat, ImageFormatCMYK);
    const TestImage third(CreatePictureGlobal(3, 3, ImageFormatBGR));
    EXPECT_EQ(third->ImageFormat, ImageFormatRGB) << "the shared method knows no image";
    SetFactory(nullptr);
    const TestImage fourth(CreatePictureGlobal(3, 3, ImageFormatBGR));
    EXPECT_EQ(fourth->ImageFormat, ImageFormatBGR);
    REALUnlockObject(own);
    REALUnlockObject(global);
}

TEST_F(Factory, MayMakeALargerImage) {
    const REALobject own = Making(7, 9);
    const TestImage source = MakePlain(2, 2, ImageFormatG);
    source->Factory = own;
    const TestImage image(CreatePicture(source.record(), 5, 6, ImageFormatBGR));
    EXPECT_EQ(image->Width, 12);
    EXPECT_EQ(image->Height, 15);
    REALUnlockObject(own);
}

TEST_F(Factory, ThatMakesASmallerImageIsPassedOver) {
    for (const auto& [dw, dh] : {std::pair{-1, 0}, {0, -1}, {-1, 5}, {5, -1}}) {
        requests.clear();
        const REALobject own = Making(dw, dh), global = Making(dw, dh);
        SetFactory(global);
        const TestImage source = MakePlain(2, 2, ImageFormatG);
        source->Factory = own;
        {
            const TestImage image(CreatePicture(source.record(), 5, 6, ImageFormatBGR));
            EXPECT_EQ(image->Width, 5);
            EXPECT_EQ(image->Height, 6);
            EXPECT_EQ(requests.size(), 2u) << "its own, then the global one";
        }
        SetFactory(nullptr);
        REALUnlockObject(own);
        REALUnlockObject(global);
        EXPECT_EQ(host.LiveObjects(), 1u) << "the smaller images are given back";
    }
}

TEST_F(Factory, ThatMakesAnInvalidImageOrNoneIsPassedOver) {
    const REALobject invalid = host.NewFactory([this](int, int, int) { return host.NewImage(); });
    const REALobject nothing = MakingNothing(), deaf = host.NewFactory();
    for (const REALobject own : {invalid, nothing, deaf}) {
        SetFactory(own);
        const TestImage source = MakePlain(2, 2, ImageFormatG);
        source->Factory = own;
        const TestImage image(CreatePicture(source.record(), 5, 6, ImageFormatBGR));
        EXPECT_EQ(image->ImageFormat, ImageFormatBGR);
        EXPECT_TRUE(image->OwnsBuffer);
    }
    SetFactory(nullptr);
    for (const REALobject own : {invalid, nothing, deaf}) REALUnlockObject(own);
}

TEST_F(Factory, ThatFailsLeavesTheTurnToTheGlobalOne) {
    const REALobject nothing = MakingNothing(), global = Making(0, 0, ImageFormatKYMC);
    SetFactory(global);
    const TestImage source = MakePlain(2, 2, ImageFormatG);
    source->Factory = nothing;
    const TestImage image(CreatePicture(source.record(), 5, 6, ImageFormatBGR));
    EXPECT_EQ(image->ImageFormat, ImageFormatKYMC);
    REALUnlockObject(nothing);
    REALUnlockObject(global);
}

TEST_F(Factory, GivesNilWhereNoImageCanBeMade) {
    EXPECT_EQ(CreatePicture(nullptr, 0, 6, ImageFormatBGR), nullptr);
    EXPECT_EQ(CreatePicture(nullptr, 5, 6, 14), nullptr);
    EXPECT_EQ(CreatePicture(nullptr, 100000, 100000, ImageFormatRGB), nullptr);
    host.failNewInstance = 1;
    EXPECT_EQ(CreatePicture(nullptr, 5, 6, ImageFormatBGR), nullptr);
    EXPECT_EQ(host.LiveObjects(), 0u) << "the objects are given back";
    EXPECT_FALSE(host.TakeException());
}

TEST_F(Factory, AcceptsSizesOfZeroAndLessFromTheApplicationAlone) {
    const REALobject own = host.NewFactory([this](int, int, int) {
        const REALobject image = host.NewImage();
        ImageConstructor(image, 1, 1, ImageFormatG);
        return image;
    });
    SetFactory(own);
    const TestImage image(CreatePicture(nullptr, -5, INT_MIN, ImageFormatBGR));
    EXPECT_TRUE(image) << "an image of 1 x 1 is large enough";
    REALUnlockObject(own);
}

TEST_F(Factory, IsLockedBeforeTheOldOneIsGivenBack) {
    const REALobject first = Making(0, 0), second = Making(0, 0);
    host.ClearLog();
    SetFactory(first);
    EXPECT_EQ(host.Log(), (std::vector<HostCall>{{"REALLockObject", first}}));
    host.ClearLog();
    SetFactory(second);
    EXPECT_EQ(host.Log(), (std::vector<HostCall>{{"REALLockObject", second}, {"REALUnlockObject", first}}));
    REALUnlockObject(first);
    REALUnlockObject(second);
    host.ClearLog();
    SetFactory(second);
    EXPECT_EQ(host.Log(), (std::vector<HostCall>{{"REALLockObject", second}, {"REALUnlockObject", second}}));
    EXPECT_EQ(host.Locks(second), 1) << "the same one twice survives";
    host.ClearLog();
    SetFactory(nullptr);
    EXPECT_EQ(host.Log(), (std::vector<HostCall>{{"REALUnlockObject", second}}));
    host.ClearLog();
    SetFactory(nullptr);
    EXPECT_TRUE(host.Log().empty());
}

TEST_F(Factory, HoldsAnObjectToTheEndOfTheScopeOnly) {
    const REALobject object = host.NewImage();
    {
        ObjectHolder holder(object);
        EXPECT_EQ(holder.get(), object);
        EXPECT_EQ(holder.release(), object);
        EXPECT_EQ(holder.get(), nullptr);
    }
    EXPECT_TRUE(host.IsAlive(object));
    { const ObjectHolder holder(object); }
    EXPECT_FALSE(host.IsAlive(object));
}

}  // namespace
