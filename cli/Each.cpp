#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <set>

#include "Colour.h"
#include "Commands.h"
#include "Errors.h"
#include "Jobs.h"
#include "Notes.h"
#include "Processors.h"
#include "Progress.h"
#include "ResultNames.h"
#include "Storage.h"
#include "codecs/Picture.h"
#include "effects/Effects.h"
#include "files/Cleanup.h"

namespace {

// Everything that can be known to be wrong before the first file is opened.
void CheckPlan(const CommandLine& line, const std::vector<std::string>& results) {
    ReadEffects(line.words);
    if (!line.profile.empty()) ReadProfile(line.profile);
    for (const std::string& file : line.files)
        if (line.words.empty() && FindEffect(file) != nullptr && access(file.c_str(), F_OK) != 0)
            throw UsageError("--each: '" + file + "' is an effect, and no file; effects stand behind '--'");
    std::set<std::string> directories;
    for (std::size_t i = 0; i < results.size(); ++i) {
        if (line.files[i] == "-" || results[i] == "-")
            throw UsageError("--each: '-' is no file, but a stream that there is one of");
        OutputCodec(line, results[i]);
        const std::string parent = std::filesystem::path(results[i]).parent_path().string();
        directories.insert(parent.empty() ? "." : parent);
    }
    for (const std::string& directory : directories) {
        struct stat status {};
        if (stat(directory.c_str(), &status) != 0) FailSystem(directory, errno);
        if (!S_ISDIR(status.st_mode)) FailSystem(directory, ENOTDIR);
    }
}

std::size_t JobCount(const CommandLine& line) {
    const std::size_t wanted = static_cast<std::size_t>(line.jobs > 0 ? line.jobs : Processors());
    return std::min(wanted, line.files.size());
}

int ProcessOne(CommandLine line, const std::string& input, const std::string& output) {
    line.command = Command::Process;
    line.words.insert(line.words.begin(), {input, output});
    try {
        Notes notes(line.quiet);
        Process(line, notes);
        return 0;
    } catch (const Interrupted& interrupted) {
        EndBySignal(interrupted.signal);
    } catch (const std::bad_alloc&) {
        PrintLine(input + ": not enough memory");
    } catch (const std::exception& error) {
        PrintLine(error.what());
    }
    return 1;
}

}  // namespace

bool ProcessEach(const CommandLine& line) {
    const std::vector<std::string> results = ResultNames(line.each, line.files);
    CheckPlan(line, results);
    const std::size_t jobs = JobCount(line);
    // Each process has its share of the processors, and of the memory from the first image on.
    ShareProcessors(static_cast<int>(jobs));
    constexpr std::int64_t kLeastMemory = 1 << 20;
    const std::int64_t memory = line.storage.memory > 0 ? line.storage.memory : DefaultMemory();
    CommandLine share = line;
    share.storage.memory = std::max(memory / static_cast<std::int64_t>(jobs), kLeastMemory);
    SetStorage(share.storage);

    Progress progress(line.quiet);
    const auto total = static_cast<std::int64_t>(line.files.size());
    std::int64_t done = 0;
    std::set<std::size_t> failed;  // in the order of the files
    progress.Begin("");
    RunJobs(
        line.files.size(), jobs,
        [&](std::size_t index) { return ProcessOne(share, line.files[index], results[index]); },
        [&](std::size_t index, const JobEnd& end) {
            PrintLines(end.errors);
            if (end.signal != 0) PrintLine(line.files[index] + ": ended by the system: " + strsignal(end.signal));
            if (!end.done) failed.insert(index);
            ++done;
        },
        [&] {
            progress.Name(std::to_string(done) + " of " + std::to_string(total) + " files");
            progress.Step(done, total);
        });
    progress.End();
    if (failed.empty()) return true;
    std::string names;
    for (const std::size_t index : failed) names += (names.empty() ? "" : ", ") + line.files[index];
    PrintLine(std::to_string(failed.size()) + " of " + std::to_string(line.files.size()) +
              (line.files.size() == 1 ? " file" : " files") + " failed: " + names);
    return false;
}
