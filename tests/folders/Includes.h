#pragma once
// Which folder of the engine may include what of which other.

#include <filesystem>
#include <string>
#include <vector>

// The order of the folders of src/, highest first. A folder may include itself and what lies below it; folders of one
// row do not know each other.
inline const std::vector<std::vector<std::string>> kFoldersFromTheTop = {
    {"plugin"}, {"filters", "scale", "compositing", "exchange"}, {"core"}, {"host"}, {"kernels"}};

// A header that a folder may include although the order does not allow it.
struct AllowedInclude {
    std::string folder;  // from the top of the repository
    std::string header;
};

inline const std::vector<AllowedInclude> kAllowedIncludes = {
    // Combine lays images over each other by the same gate and rectangles as copies, and some of its forms are copies.
    {"src/compositing", "exchange/Clipping.h"},
    {"src/compositing", "exchange/CopyPixels.h"},
    // Alpha is mixed by the gray of a mask.
    {"src/compositing", "exchange/ColourRows.h"},
    // Both sides of the binary interface share its one header.
    {"runtime", "host/HostInterface.h"},
    // The program shows the version of the whole product.
    {"cli", "plugin/Version.h"},
    // It prints what was picked of the kernels, and takes the words for it from them.
    {"cli", "kernels/KernelTable.h"},
    // The engine is part of it: its entry, which the embedded host calls.
    {"cli", "plugin/PluginEntry.h"},
    // Rows of pixels as people expect them, where its effects do not take the methods of the plug-in.
    {"cli", "compositing/LayRows.h"},
    {"cli", "exchange/ColourRows.h"},
    {"cli", "filters/BlurStream.h"},
    {"cli", "filters/Curves.h"},
    {"cli", "filters/FreeTurn.h"},
    {"cli", "filters/LevelStretch.h"},
    {"cli", "filters/MatrixStream.h"},
    {"cli", "filters/NeonStream.h"},
    {"cli", "filters/OilStream.h"},
    {"cli", "filters/OrderedDither.h"},
    {"cli", "filters/SlidingWindow.h"},
    {"cli", "filters/SoftBlurStream.h"},
    {"cli", "filters/StampStream.h"},
    {"cli", "filters/UnsharpStream.h"},
    {"cli", "scale/FanOut.h"},
    {"cli", "scale/FineScaleStream.h"},
    {"cli", "scale/NearestRows.h"},
};

// What is wrong with the includes of src/, runtime/ and cli/ below root, one line each and sorted: the file with its
// line, the include, and why. A folder of src/ without a place in the order and an entry of `allowed` that nothing
// needs are wrong too.
std::vector<std::string> WrongIncludes(const std::filesystem::path& root, const std::vector<AllowedInclude>& allowed);
