#include "CommandTable.h"

#include <limits>

const std::vector<CommandRow>& Commands() {
    static const std::vector<CommandRow> rows = {
        {nullptr, Command::Process, 0, 0, "", "", "zor [OPTION...] INPUT OUTPUT [EFFECT [ARGUMENT...]]...",
         "read a picture, work on it, write it; effects run in the order given",
         "OUTPUT appears when it is complete: a failure or an interrupt leaves an existing file as it was, and "
         "nothing\n"
         "half-written. INPUT and OUTPUT may be the same file."},
        {nullptr, Command::Each, 0, 0, "", "", "zor [OPTION...] --each PATTERN FILE... [-- EFFECT [ARGUMENT...]...]",
         "the same for many files; PATTERN names the results, as in 'small/{stem}.jpg'",
         "In PATTERN, {name} stands for the name of the file without its directory, {stem} for the name without its\n"
         "suffix, {ext} for the suffix without its dot, {dir} for the directory, and {n} for 1, 2, 3 ... in the order "
         "of\n"
         "the files, with zeros before it so that all are equally long. Two files whose results would get the same\n"
         "name, and directories that do not exist, are told before the work begins. A file that fails does not keep "
         "the\n"
         "others from being done; those that failed are named at the end. An interrupt ends all that is under way."},
        {"info", Command::Info, 1, std::numeric_limits<std::size_t>::max(), "FILE is missing", "", "zor info FILE...",
         "what picture files hold",
         "Format, size, kind of pixels, colour profile, resolution and orientation, camera, date, exposure, place and\n"
         "texts, without reading the pixels.\n"
         "With --json, the same for programs."},
        {"compare", Command::Compare, 2, 2, "it takes two files, A and B", "two files", "zor compare A B",
         "how much two pictures differ",
         "How many pixels differ, the largest difference of one channel, and the peak signal-to-noise ratio over all\n"
         "channels. Exit code: 0 equal, 1 different, 2 not compared."},
        {"describe", Command::Describe, 0, 0, "", "no argument", "zor describe",
         "the classes of the engine with all their members",
         "For applications that use the engine by themselves.\n\n"
         "With --cpu, what the engine uses on this processor instead: for each of its inner loops plain, or the\n"
         "instruction set of its vectors. ZOR_CPU in the environment limits it; results are the same with each."},
        {"help", Command::Help, 0, 1, "", "at most one EFFECT or command", "zor help [EFFECT]",
         "this text, or all about one effect or command",
         "Of an effect: its arguments with their ranges, what is taken when they are not given, and an example."},
    };
    return rows;
}

const CommandRow* FindCommand(const std::string& word) {
    for (const CommandRow& row : Commands())
        if (row.word != nullptr && word == row.word) return &row;
    return nullptr;
}
