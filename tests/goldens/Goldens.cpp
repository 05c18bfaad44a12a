#include "goldens/Goldens.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>

#include "goldens/Arguments.h"
#include "goldens/Scene.h"

namespace {

// The arguments of one parameter, dealt like cards: each comes once before any comes again, in an order of its own.
class Dealer {
public:
    Dealer(const GoldenOperation& operation, const GoldenParameter& parameter)
        : arguments_(ArgumentsFor(operation, parameter)), random_(Seed(operation.declaration + parameter.name)) {}

    std::size_t count() const { return arguments_.size(); }
    const GoldenArgument& Next() {
        if (at_ == 0) {
            for (std::size_t i = arguments_.size(); i > 1; --i) {
                std::swap(arguments_[i - 1],
                          arguments_[static_cast<std::size_t>(random_.Between(0, static_cast<int>(i) - 1))]);
            }
        }
        const GoldenArgument& next = arguments_[at_];
        at_ = (at_ + 1) % arguments_.size();
        return next;
    }

private:
    static std::uint32_t Seed(const std::string& text) {
        GoldenHash hash;
        hash.Add(text);
        return static_cast<std::uint32_t>(hash.value());
    }

    std::vector<GoldenArgument> arguments_;
    std::size_t at_ = 0;
    Random random_;
};

// The object that a call is made on: a constructor wants one that is not made yet.
GoldenValue ObjectOf(const GoldenOperation& operation, GoldenScene& scene) {
    return {.object = operation.method == "Constructor" ? scene.Unmade() : scene.Self()};
}

}  // namespace

std::vector<std::string> GoldenLines(FakeHost& host, const GoldenOperation& operation, bool eachFormat) {
    std::vector<Dealer> dealers;
    std::size_t most = 4;
    for (const GoldenParameter& parameter : operation.parameters) {
        dealers.emplace_back(operation, parameter);
        most = std::max(most, dealers.back().count());
    }
    const int choices = static_cast<int>(dealers.size() > 2 ? most * 2 : most);

    std::vector<std::string> lines;
    for (int choice = 0; choice < choices; ++choice) {
        std::string text = operation.method + "(";
        std::vector<const GoldenArgument*> arguments;
        for (std::size_t i = 0; i < dealers.size(); ++i) {
            arguments.push_back(&dealers[i].Next());
            text += (i > 0 ? ", " : "") + operation.parameters[i].name + " " + arguments.back()->text;
        }
        text += ")";
        if (dealers.empty()) text += " " + std::to_string(choice + 1);

        GoldenHash whole;
        const TempDir directory;
        for (const int format : AllFormats()) {
            GoldenScene scene(host, directory, choice % 2 == 0 ? World::console : World::desktop, format, choice);
            std::vector<GoldenValue> values;
            if (!operation.shared) values.push_back(ObjectOf(operation, scene));
            for (const GoldenArgument* argument : arguments) values.push_back(argument->make(scene));
            std::srand(1);  // what is random begins anew
            GoldenHash hash;
            scene.AddTo(&hash, operation.call(values));
            if (eachFormat) lines.push_back(text + " on " + scene.text() + " " + hash.text());
            whole.Add(static_cast<std::int64_t>(hash.value()));
        }
        lines.push_back(text + " " + whole.text());
    }
    return lines;
}

std::vector<std::string> KeptGoldens(const std::string& path) {
    std::vector<std::string> lines;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with("#")) lines.push_back(line);
    }
    return lines;
}
