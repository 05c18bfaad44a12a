// The bytes that every operation gives, on every machine and with every set of kernels, by their hashes.

#include "goldens/Goldens.h"

#include <algorithm>
#include <set>

using namespace zor;

namespace {

std::vector<std::string> Methods() {
    std::vector<std::string> methods;
    for (const GoldenOperation& operation : GoldenOperations()) {
        if (operation.call && std::ranges::count(methods, operation.method) == 0) methods.push_back(operation.method);
    }
    return methods;
}

// Whether a line is about a method, which may have several forms.
bool IsOf(const std::string& line, const std::string& method) {
    return line.starts_with(method + "(");
}

class Goldens : public EngineTest, public ::testing::WithParamInterface<std::string> {
protected:
    Goldens() { host.classes.insert("GWorldZOR"); }
};

TEST_P(Goldens, AreMet) {
    std::vector<std::string> kept = KeptGoldens(ZOR_GOLDENS);
    std::erase_if(kept, [](const std::string& line) { return !IsOf(line, GetParam()); });
    std::vector<std::string> found;
    for (const GoldenOperation& operation : GoldenOperations()) {
        if (operation.method != GetParam() || !operation.call) continue;
        const std::vector<std::string> lines = GoldenLines(host, operation);
        found.insert(found.end(), lines.begin(), lines.end());
    }
    EXPECT_FALSE(found.empty());
    EXPECT_EQ(found.size(), kept.size()) << "another choice of arguments: the target `goldens` writes them anew";
    for (std::size_t i = 0; i < std::min(found.size(), kept.size()); ++i) EXPECT_EQ(found[i], kept[i]);
}

std::string NameOf(const ::testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    if (name.ends_with(" =")) name.replace(name.size() - 2, 2, "Assigned");
    return name;
}

INSTANTIATE_TEST_SUITE_P(Of, Goldens, ::testing::ValuesIn(Methods()), NameOf);

// What makes no pixels: sizes, the memory that there is, the end of an image, and who makes images.
TEST(AllGoldens, CoverEveryMethodThatMakesPixels) {
    const std::set<std::string> without = {"CalculateMemory", "CanAllocateImage", "Close"};
    for (const GoldenOperation& operation : GoldenOperations()) {
        EXPECT_EQ(operation.call == nullptr, without.contains(operation.method)) << operation.declaration;
    }
}

TEST(AllGoldens, AreOfMethodsThatThereAre) {
    const std::vector<std::string> methods = Methods();
    const std::vector<std::string> kept = KeptGoldens(ZOR_GOLDENS);
    EXPECT_GT(kept.size(), 1000u);
    for (const std::string& line : kept) {
        EXPECT_TRUE(std::ranges::any_of(methods, [&](const std::string& method) { return IsOf(line, method); }))
            << line;
    }
}

}  // namespace
