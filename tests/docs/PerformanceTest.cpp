// The tables of times in the documents against the results that they were made of.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "ReferenceFiles.h"

namespace {

const std::filesystem::path kRoot = ZOR_ROOT;

nlohmann::json Results() {
    return nlohmann::json::parse(ReadWholeFile(kRoot / "docs/performance.json"));
}

// What `bench/run --docs` writes; empty where the marks are not there.
std::string BlockOf(const char* document) {
    const std::string text = ReadWholeFile(kRoot / document), begin = "<!-- bench -->\n", end = "<!-- /bench -->";
    const std::size_t from = text.find(begin), to = text.find(end);
    return from == std::string::npos || to == std::string::npos ? "" : text.substr(from, to - from);
}

std::string Written(double value) {
    char text[32];
    std::snprintf(text, sizeof text, value < 0.995 ? "%.2f" : value < 9.95 ? "%.1f" : "%.0f", value);
    return text;
}

// Without what makes a number bold or leads to a note.
std::string NumberIn(const std::string& cell) {
    std::string number = cell.substr(0, cell.find('<'));
    std::erase_if(number, [](char c) { return c == '*' || c == '\\' || c == ' '; });
    return number;
}

std::vector<std::string> CellsOf(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream rest(line.substr(1));
    for (std::string cell; std::getline(rest, cell, '|');) {
        const std::size_t first = cell.find_first_not_of(' ');
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
    }
    return cells;
}

// Every cell of the block's tables; gives the titles of the rows in order.
std::vector<std::string> CheckTables(const char* document, const nlohmann::json& results) {
    std::map<std::string, nlohmann::json> rows;
    for (const auto& row : results.at("operations")) rows[row.at("title")] = row;
    std::vector<std::string> titles, columns;
    std::istringstream block(BlockOf(document));
    for (std::string line; std::getline(block, line);) {
        if (!line.starts_with("| ") || line.starts_with("| ---")) continue;
        const std::vector<std::string> cells = CellsOf(line);
        if (cells[0] == "Operation") {
            columns = cells;
            continue;
        }
        titles.push_back(cells[0]);
        const auto found = rows.find(cells[0]);
        if (found == rows.end() || cells.size() != columns.size()) {
            ADD_FAILURE() << document << " has a row without results: " << line;
            continue;
        }
        const nlohmann::json& row = found->second;
        for (std::size_t i = 1; i < cells.size(); ++i) {
            const std::string& column = columns[i];
            const auto& peers = row.at("peers");
            const std::string expected = column == "ms"           ? Written(row.at("ms"))
                                         : column == "PictureZOR" ? Written(row.at("ratio"))
                                         : peers.contains(column) ? Written(peers.at(column).at("ratio"))
                                                                  : "";
            EXPECT_EQ(NumberIn(cells[i]), expected) << document << ", " << column << ": " << line;
        }
    }
    return titles;
}

}  // namespace

TEST(Performance, TheGuideHasEveryOperationThatWasMeasured) {
    const nlohmann::json results = Results();
    std::multiset<std::string> measured;
    for (const auto& row : results.at("operations")) measured.insert(row.at("title").get<std::string>());
    EXPECT_GT(measured.size(), 80u);
    const std::vector<std::string> told = CheckTables("docs/performance.md", results);
    EXPECT_EQ(std::multiset<std::string>(told.begin(), told.end()), measured);
}

TEST(Performance, TheReadmeTellsTheSameTimes) {
    EXPECT_GT(CheckTables("README.md", Results()).size(), 10u);
}

TEST(Performance, BothTellOnWhatWasMeasured) {
    const nlohmann::json results = Results();
    for (const char* document : {"README.md", "docs/performance.md"}) {
        const std::string block = BlockOf(document);
        for (const char* about : {"machine", "system", "compiler", "date"}) {
            const std::string text = results.at(about);
            EXPECT_FALSE(text.empty()) << about;
            EXPECT_NE(block.find(text), std::string::npos) << document << " does not tell " << text;
        }
        for (const auto& peer : results.at("peers")) {
            const std::string text = peer.at("name").get<std::string>() + " " + peer.at("version").get<std::string>();
            EXPECT_NE(block.find(text), std::string::npos) << document << " does not tell " << text;
        }
    }
}

TEST(Performance, WhereAnotherLibraryIsFasterIsSaid) {
    const nlohmann::json results = Results();
    const std::string block = BlockOf("docs/performance.md");
    const std::size_t list = block.find("### Where another library is faster");
    ASSERT_NE(list, std::string::npos);
    int compared = 0;
    for (const auto& row : results.at("operations")) {
        for (const auto& [name, peer] : row.at("peers").items()) {
            ++compared;
            if (peer.at("ratio").get<double>() * 1.05 >= row.at("ratio").get<double>()) continue;
            const std::size_t line = block.find("\n- " + row.at("title").get<std::string>() + ": ", list);
            ASSERT_NE(line, std::string::npos) << row.at("title");
            const std::string told = block.substr(line + 1, block.find('\n', line + 1) - line - 1);
            EXPECT_NE(told.find(name + " " + Written(peer.at("ratio"))), std::string::npos) << told;
        }
    }
    EXPECT_GT(compared, 100);
}
