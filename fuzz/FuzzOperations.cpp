// Every operation, twice and more: an application that calls anything with anything sees the same results and the same
// bytes with the kernels of every instruction set that this machine has, and what has a slow model in the tests does
// what the model does.

#include <cstdio>
#include <cstdlib>

#include "Application.h"
#include "Expect.h"
#include "GtestFailures.h"
#include "compositing/CombineModel.h"
#include "exchange/ConversionModel.h"
#include "exchange/CopyPixels.h"
#include "kernels/KernelTable.h"
#include "scale/FastScale.h"
#include "scale/FilteredScale.h"
#include "scale/ReferenceScale.h"
#include "scale/ScaleModel.h"
#include "support/Images.h"

// --- kernels --------------------------------------------------------------------------------------------------------

namespace {

struct Tier {
    CpuTier tier;
    KernelPick pick;
};
const std::vector<Tier>& Tiers() {  // plain first
    static const std::vector<Tier> tiers = [] {
        std::vector<Tier> all;
        for (const CpuTier tier : kCpuTiers) {
            if (CanRun(tier)) all.push_back({tier, PickKernels(tier)});
        }
        return all;
    }();
    return tiers;
}

const KernelPick* inUse = nullptr;
long long operations = 0;

}  // namespace

// ProcessKernels() of the engine passes here, by its name for the linker. A reference is given back as
// its address.
extern "C" const void* __wrap__ZN3zor14ProcessKernelsEv();
extern "C" const void* __wrap__ZN3zor14ProcessKernelsEv() {
    return inUse ? inUse : &Tiers().back().pick;
}

namespace {

void CompareKernels(const Input& input, FileGround* files) {
    Tape plain;
    for (const Tier& tier : Tiers()) {
        inUse = &tier.pick;
        files->Prepare();
        Input again = input;
        Tape tape;
        {
            Application application(again, *files, &tape);
            application.Run();
            application.Leave();
            operations += application.Calls();
        }
        if (tier.tier == CpuTier::plain) {
            plain = tape;
        } else {
            const std::string difference = plain.DifferenceFrom(tape);
            Expect(difference.empty(),
                   (std::string("what ") + NameOf(tier.tier) + " gives is what plain gives: " + difference).c_str());
        }
    }
    inUse = nullptr;
}

// --- models ---------------------------------------------------------------------------------------------------------

struct Pair {
    TestImage source, target;
};

// Of any formats and storage; now and then two views of the same image.
Pair AnyPair(Input& input, Random& random, const TempDir& directory, int side) {
    const auto image = [&] {
        const int width = 1 + input.Byte() % side, height = 1 + input.Byte() % 20;
        const std::vector<int>& formats = AllFormats();
        const int format = formats[static_cast<std::size_t>(input.Byte()) % formats.size()];
        return RandomImage(random, directory, input.OneOf(kStorageKinds), width, height, format);
    };
    Pair pair{image(), image()};
    return pair;
}

void CompareScaling(Input& input, Random& random, const TempDir& directory) {
    const Pair pair = AnyPair(input, random, directory, 120);
    const bool fast = input.Byte() % 2;
    const int width = input.Byte() % 8 ? 1 + input.Byte() % pair.target->Width : pair.target->Width + 1;
    const int height = input.Byte() % 8 ? 1 + input.Byte() % pair.target->Height : pair.target->Height + 1;
    Model model;
    const ModelImage target = model.Of(pair.target), source = model.Of(pair.source);
    if (fast) {
        const bool done = ScalePictureFast(pair.target.object(), pair.source.object(), width, height) != 0;
        Expect(done == reference::ScaleFast(target, source, width, height), "ScaleFast gives what the model gives");
    } else {
        const reference::Pair* const kinds = reference::PairFor(source, target);
        const int mode = 1 + input.Byte() % 7;
        if (!kinds || width > pair.target->Width || height > pair.target->Height) return;
        const ModelImage temp = model.Scratch(pair.source->Height, width * 5);
        const int threads = input.Byte() % 4;
        const bool done = threads == 0 ? PictureScaleZOR(pair.target.object(), pair.source.object(), nullptr, mode,
                                                         width, height) != 0
                                       : PictureScaleZORMT(pair.target.object(), threads, pair.source.object(), nullptr,
                                                           mode, width, height) != 0;
        Expect(done == reference::Scale(target, source, temp, mode, width, height), "Scale gives what the model gives");
    }
    Expect(model.Difference().empty(), ("scaling gives the bytes of the model: " + model.Difference()).c_str());
}

void CompareCopying(Input& input, Random& random, const TempDir& directory) {
    const Pair pair = AnyPair(input, random, directory, 120);
    const auto place = [&input] { return input.Byte() % 60 - 12; };
    const CopyArguments arguments{place(), place(), place() * 2, place(), place(), place()};
    // The model knows no windows.
    if (pair.source->IsMapping || pair.target->IsMapping) return;
    Storage target = SnapshotOf(pair.target), source = SnapshotOf(pair.source);
    const bool done = rbCopyPixels8(pair.target.object(), pair.source.object(), arguments.destX, arguments.destY,
                                    arguments.width, arguments.height, arguments.sourceX, arguments.sourceY) != 0;
    Expect(done == ModelCopy(pair.target, pair.source, arguments, &target, &source),
           "the copy gives what the model gives");
    EXPECT_TRUE(SameStorage(target, SnapshotOf(pair.target), pair.target)) << TextOf(arguments);
    EXPECT_TRUE(SameStorage(source, SnapshotOf(pair.source), pair.source)) << TextOf(arguments);
}

void CompareCombining(Input& input, Random& random, const TempDir& directory) {
    const Pair pair = AnyPair(input, random, directory, 120), other = AnyPair(input, random, directory, 60);
    const auto place = [&input] { return input.Byte() % 60 - 12; };
    CombineCall call;
    call.target = &pair.target;
    call.image = &pair.source;
    call.mask = input.Byte() % 3 ? &other.source : nullptr;
    call.preMultiplied = input.Byte() % 2;
    call.destX = place();
    call.destY = place();
    call.sourceX = place();
    call.sourceY = place();
    call.width = place() * 2;
    call.height = place();
    call.useColours = input.Byte() % 2;
    call.foreColour = static_cast<int>(input.Word());
    call.maskColour = static_cast<int>(input.Word());
    // Without a mask and without colours it is a copy, which has a model of its own.
    if (!call.mask && !call.useColours) return;
    EXPECT_TRUE(CombineAgreesWithModel(call));
}

void CompareWithModels(Input& input, int kind) {
    static const TempDir directory;
    FakeHost host;
    host.keepLog = false;
    Random random(input.Word());
    const Tier& tier = Tiers()[static_cast<std::size_t>(input.Byte()) % Tiers().size()];
    inUse = &tier.pick;
    if (kind == 0) CompareScaling(input, random, directory);
    if (kind == 1) CompareCopying(input, random, directory);
    if (kind == 2) CompareCombining(input, random, directory);
    while (host.TakeException()) {
    }
    Expect(host.WhatIsLeft().empty(), ("nothing is left\n" + host.WhatIsLeft()).c_str());
    inUse = nullptr;
    ++operations;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    FailuresAreFindings();
    std::atexit([] { std::fprintf(stderr, "calls of members: %lld\n", operations); });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static FileGround files;
    Input input(bytes, size);
    const int kind = input.Byte() % 6;
    if (kind < 3) {
        CompareWithModels(input, kind);
    } else {
        CompareKernels(input, &files);
    }
    return 0;
}
