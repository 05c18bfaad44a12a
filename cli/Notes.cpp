#include "Notes.h"

#include <algorithm>
#include <cstdio>

#include "Progress.h"

void Notes::Say(const std::string& path, const std::string& what) {
    std::string line = path + ": " + what;
    if (quiet_ || std::find(said_.begin(), said_.end(), line) != said_.end()) return;
    PrintLine(line);
    said_.push_back(std::move(line));
}

void PrintLine(const std::string& text) {
    ClearProgressLine();
    std::string line = "zor: " + text;
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void PrintLines(const std::string& lines) {
    if (lines.empty()) return;
    ClearProgressLine();
    std::fwrite(lines.data(), 1, lines.size(), stderr);
}
