#include <cerrno>
#include <cstdio>
#include <exception>
#include <new>

#include "Commands.h"
#include "Errors.h"
#include "Help.h"
#include "Notes.h"
#include "files/Cleanup.h"
#include "host/Version.h"

namespace {

enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2 };

void Run(const CommandLine& line) {
    Notes notes(line.quiet);
    switch (line.command) {
        case Command::Process:
            return Process(line, notes);
        case Command::Info:
            return PrintInfo(line.words[0], notes);
        case Command::Describe:
            return PrintDescription();
        case Command::Help:
            return PrintText(line.words.empty() ? GeneralHelp() : EffectHelp(line.words[0]));
        case Command::Version:
            return PrintText("zor " ZOR_VERSION "\n");
    }
}

}  // namespace

void PrintText(const std::string& text) {
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        FailSystem("standard output", errno != 0 ? errno : EIO);
}

int main(int argc, char** argv) {
    InstallSignalCleanup();
    try {
        Run(ReadCommandLine(argc, argv));
        return kDone;
    } catch (const UsageError& error) {
        PrintLine(error.what());
        return kUsage;
    } catch (const std::bad_alloc&) {
        PrintLine("not enough memory");
    } catch (const std::exception& error) {
        PrintLine(error.what());
    }
    return kFailed;
}
