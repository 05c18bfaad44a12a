#include "operations/Measure.h"

#include <malloc.h>
#include <sys/utsname.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string_view>

#include "operations/Pictures.h"

namespace bench {

namespace {

constexpr std::size_t kCopyBytes = std::size_t{kWidth} * kHeight * 3;

double MillisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

class Copy {
public:
    Copy() : from_(kCopyBytes, 1), to_(kCopyBytes, 2) {}
    double Time() {
        return MillisecondsOf([this] {
            std::memcpy(to_.data(), from_.data(), kCopyBytes);
            __asm__ volatile("" : : "r"(to_.data()) : "memory");
        });
    }

private:
    std::vector<std::uint8_t> from_, to_;
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const std::size_t half = values.size() / 2;
    return values.size() % 2 ? values[half] : (values[half - 1] + values[half]) / 2;
}

// What takes longer, in milliseconds, is run once only.
constexpr double kLong = 3000;

struct Timing {
    double ms, leastMs, copyMs, leastCopyMs, ratio;
    int runs;
};

Timing Time(const Operation& operation, Copy& copy, int rounds) {
    const Run run = operation.open();
    std::vector<double> times, copies;
    for (int round = -1; round < rounds; ++round) {  // the first warms up
        if (run.prepare) run.prepare();
        const double copied = copy.Time();
        bool worked = false;
        const double took = MillisecondsOf([&] { worked = run.work(); });
        if (!worked) throw std::runtime_error(operation.id + " did not work");
        const bool onceIsEnough = took > kLong;
        if (round < 0 && !onceIsEnough) continue;
        times.push_back(took);
        copies.push_back(copied);
        if (onceIsEnough) break;
    }
    const double ms = Median(times), copyMs = Median(copies);
    return {ms, std::ranges::min(times), copyMs, std::ranges::min(copies), ms / copyMs, static_cast<int>(times.size())};
}

std::string ProcessorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        const std::size_t colon = line.find(": ");
        if (line.starts_with("model name") && colon != std::string::npos) return line.substr(colon + 2);
    }
    utsname names{};
    return uname(&names) == 0 ? names.machine : "unknown";
}

std::string SystemName() {
    std::ifstream release("/etc/os-release");
    for (std::string line; std::getline(release, line);) {
        if (line.starts_with("PRETTY_NAME=\"")) return line.substr(13, line.size() - 14);
    }
    return "unknown";
}

std::string Today() {
    const std::time_t now = std::time(nullptr);
    char text[32] = "";
    std::tm parts{};
    if (gmtime_r(&now, &parts)) std::strftime(text, sizeof text, "%Y-%m-%d", &parts);
    return text;
}

std::string CompilerName() {
#ifdef __clang__
    return "clang " __clang_version__;
#else
    return "g++ " __VERSION__;
#endif
}

constexpr const char* kHelp =
    " [OPTION...] [PART...]\n"
    "Times operations on pictures of 6000 x 4000, each beside a memory copy of 72 MB. A part selects the operations\n"
    "whose names hold it.\n"
    "  --rounds N      timed runs of each, 7 unless told, behind one that is not counted; one of three seconds\n"
    "                  is the only one\n"
    "  --json FILE     writes the results there too\n"
    "  --list          names the operations\n"
    "  --pictures DIR  writes the pictures there as plain bytes, for programs in other languages\n";

struct Options {
    int rounds = 7;
    bool list = false;
    std::string json, pictures;
    std::vector<std::string> parts;
};

Options ReadOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string_view word = argv[i];
        const auto value = [&]() -> std::string {
            if (++i >= argc) throw std::invalid_argument(std::string(word) + " needs a value");
            return argv[i];
        };
        if (word == "--rounds") {
            options.rounds = std::atoi(value().c_str());
            if (options.rounds < 1) throw std::invalid_argument("--rounds needs a number from 1");
        } else if (word == "--json") {
            options.json = value();
        } else if (word == "--pictures") {
            options.pictures = value();
        } else if (word == "--list") {
            options.list = true;
        } else if (word.starts_with("-")) {
            throw std::invalid_argument("unknown option " + std::string(word));
        } else {
            options.parts.emplace_back(word);
        }
    }
    return options;
}

bool Wanted(const Operation& operation, const std::vector<std::string>& parts) {
    return parts.empty() || std::any_of(parts.begin(), parts.end(), [&](const std::string& part) {
               return operation.id.find(part) != std::string::npos;
           });
}

void WritePictures(const std::string& folder) {
    const auto write = [&](const char* name, const Picture& picture) {
        std::ofstream file(folder + "/" + name, std::ios::binary);
        file.write(reinterpret_cast<const char*>(picture.bytes.data()),
                   static_cast<std::streamsize>(picture.bytes.size()));
        if (!file) throw std::runtime_error("cannot write " + folder + "/" + name);
    };
    write("photo.rgb", PictureOf(Scene::photo, Layout::rgb));
    write("smooth.rgb", PictureOf(Scene::smooth, Layout::rgb));
    write("flat.rgb", PictureOf(Scene::flat, Layout::rgb));
    write("photo.rgba", PictureOf(Scene::photo, Layout::rgba));
    write("premultiplied.rgba", PictureOf(Scene::photo, Layout::premultiplied));
    write("photo.gray", PictureOf(Scene::photo, Layout::gray));
    write("photo.alpha", PictureOf(Scene::photo, Layout::alpha));
    write("photo.cmyk", PictureOf(Scene::photo, Layout::cmyk));
    write("small.rgb", PictureOf(Scene::photo, Layout::rgb, kWidth / 4, kHeight / 4));
}

int Measure(const Program& program, const std::vector<Operation>& operations, const Options& options) {
    if (!options.pictures.empty()) {
        WritePictures(options.pictures);
        return 0;
    }
    nlohmann::ordered_json results = nlohmann::ordered_json::array();
    Copy copy;
    std::vector<double> copies;
    if (!options.list)
        std::printf("%-44s %10s %8s %8s %8s %8s\n", "operation", "ms", "least", "copy", "least", "ratio");
    for (const Operation& operation : operations) {
        if (!Wanted(operation, options.parts)) continue;
        if (options.list) {
            std::printf("%s\n", operation.id.c_str());
            continue;
        }
        const Timing timing = Time(operation, copy, options.rounds);
        std::printf("%-44s %10.2f %8.2f %8.2f %8.2f %8.2f\n", operation.id.c_str(), timing.ms, timing.leastMs,
                    timing.copyMs, timing.leastCopyMs, timing.ratio);
        std::fflush(stdout);
        copies.push_back(timing.copyMs);
        results.push_back({{"id", operation.id},
                           {"title", operation.title},
                           {"note", operation.note},
                           {"ms", timing.ms},
                           {"leastMs", timing.leastMs},
                           {"copyMs", timing.copyMs},
                           {"leastCopyMs", timing.leastCopyMs},
                           {"ratio", timing.ratio},
                           {"runs", timing.runs}});
    }
    if (options.json.empty()) return 0;
    const nlohmann::ordered_json document{
        {"program", program.name},  {"version", program.version}, {"machine", ProcessorName()},
        {"system", SystemName()},   {"compiler", CompilerName()}, {"date", Today()},
        {"rounds", options.rounds}, {"copyBytes", kCopyBytes},    {"copyMs", copies.empty() ? 0 : Median(copies)},
        {"operations", results}};
    std::ofstream file(options.json);
    file << document.dump(1) << "\n";
    if (!file.flush()) throw std::runtime_error("cannot write " + options.json);
    return 0;
}

}  // namespace

int RunOperations(const Program& program, const std::vector<Operation>& operations, int argc, char** argv) {
    // What a library frees stays at hand for its next result, as in a program that works on one picture after the
    // other. Otherwise every result of this size would come fresh from the system, and the time would be that of
    // handing out pages.
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0) {
            std::printf("%s%s", argv[0], kHelp);
            return 0;
        }
    }
    try {
        return Measure(program, operations, ReadOptions(argc, argv));
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "%s: %s\n%s%s", argv[0], error.what(), argv[0], kHelp);
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
        return 1;
    }
}

}  // namespace bench
