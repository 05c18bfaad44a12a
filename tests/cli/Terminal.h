#pragma once

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

// A terminal of the test's own.
class Terminal {
public:
    explicit Terminal(int columns = 80) : master_(posix_openpt(O_RDWR | O_NOCTTY)) {
        winsize size{};
        size.ws_row = 24;
        size.ws_col = static_cast<unsigned short>(columns);
        if (master_ < 0 || grantpt(master_) != 0 || unlockpt(master_) != 0 || ioctl(master_, TIOCSWINSZ, &size) != 0)
            throw std::runtime_error("no terminal");
    }
    ~Terminal() { close(master_); }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    [[nodiscard]] std::string Name() const { return ptsname(master_); }

    // What has been written there by a program that has ended.
    [[nodiscard]] std::string Text() const {
        std::string text;
        char part[4096];
        for (ssize_t got = 0; (got = read(master_, part, sizeof part)) > 0;)
            text.append(part, static_cast<std::size_t>(got));
        return text;
    }

    // The lines that have been drawn there one over the other.
    [[nodiscard]] std::vector<std::string> Lines() const {
        std::vector<std::string> lines;
        std::string line;
        for (const char c : Text() + "\r") {
            if (c != '\r') {
                line += c;
                continue;
            }
            if (const std::size_t end = line.find("\033[K"); end != std::string::npos) line.erase(end);
            if (!line.empty()) lines.push_back(line);
            line.clear();
        }
        return lines;
    }

private:
    int master_;
};
