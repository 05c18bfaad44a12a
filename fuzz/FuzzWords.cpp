// The words on the command line, one a line of the input. Nothing is done about them.

#include <algorithm>

#include "CommandLine.h"
#include "Errors.h"
#include "Expect.h"
#include "effects/Effects.h"

namespace {

std::vector<std::string> WordsOf(std::string text) {
    for (char& c : text)
        if (c == '\0') c = ' ';
    std::vector<std::string> words = {"zor"};
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        words.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

void ReadWords(const CommandLine& line) {
    if (line.command == Command::Each) static_cast<void>(ReadEffects(line.words));
    if (line.command != Command::Process) return;
    static_cast<void>(OutputCodec(line, line.words.at(1)));
    static_cast<void>(ReadEffects({line.words.begin() + 2, line.words.end()}));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    std::vector<std::string> words = WordsOf({bytes, bytes + size});
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    try {
        ReadWords(ReadCommandLine(static_cast<int>(words.size()), argv.data()));
    } catch (const UsageError& error) {
        Expect(*error.what() != '\0', "a failure is told");
    }
    return 0;
}
