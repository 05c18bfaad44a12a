#include <cstring>
#include <exception>
#include <new>

#include "Commands.h"
#include "Completion.h"
#include "Cpu.h"
#include "Errors.h"
#include "Help.h"
#include "Manual.h"
#include "Notes.h"
#include "Orientation.h"
#include "Storage.h"
#include "effects/Effects.h"
#include "files/Cleanup.h"
#include "files/StandardStreams.h"
#include "plugin/Version.h"

namespace {

enum ExitCode {
    kDone = 0,
    kFailed = 1,
    kUsage = 2,
    kDifferent = 1,   // of compare
    kNotCompared = 2  // of compare: so that a file which cannot be read does not pass for one that differs
};

ExitCode Run(const CommandLine& line) {
    CheckCpuVariable();
    Notes notes(line.quiet);
    SetStorage(line.storage);
    SetOrientationHeeded(!line.ignoreOrientation);
    SetPluginBytes(line.pluginBytes);
    switch (line.command) {
        case Command::Process:
            Process(line, notes);
            break;
        case Command::Each:
            return ProcessEach(line) ? kDone : kFailed;
        case Command::Info:
            return PrintInfo(line.words, line.json, notes) ? kDone : kFailed;
        case Command::Compare:
            return Compare(line.words[0], line.words[1], line.quiet, notes) ? kDone : kDifferent;
        case Command::Describe:
            line.cpu ? PrintCpu() : PrintDescription();
            break;
        case Command::Help:
            PrintText(line.words.empty() ? GeneralHelp() : HelpOn(line.words[0]));
            break;
        case Command::Manual:
            PrintText(ManualPage());
            break;
        case Command::Version:
            PrintText("zor " ZOR_VERSION "\n");
            break;
    }
    return kDone;
}

}  // namespace

int main(int argc, char** argv) {
    OccupyClosedStreams();
    InstallSignalCleanup();
    ExitCode failed = kFailed;
    try {
        if (argc > 1 && std::strcmp(argv[1], "--complete") == 0) {
            PrintText(Completions({argv + 2, argv + argc}));
            return kDone;
        }
        const CommandLine line = ReadCommandLine(argc, argv);
        if (line.command == Command::Compare) failed = kNotCompared;
        return Run(line);
    } catch (const UsageError& error) {
        PrintLine(error.what());
        return kUsage;
    } catch (const Interrupted& interrupted) {
        EndBySignal(interrupted.signal);
    } catch (const std::bad_alloc&) {
        PrintLine("not enough memory");
    } catch (const std::exception& error) {
        PrintLine(error.what());
    }
    return failed;
}
