#include "Commands.h"
#include "Engine.h"

namespace {

// The program itself may call every row; an application on the console is not offered all of them.
std::string Mark(std::intptr_t flags) {
    constexpr std::intptr_t kOnConsole = 0x4;
    return (flags & kOnConsole) != 0 ? "\n" : "  [not for console applications]\n";
}

template <typename Row, typename Print>
void AddTable(std::string& text, const char* one, const char* many, const std::vector<Row>& rows, const Print& print) {
    if (rows.empty()) return;
    text += "  " + std::to_string(rows.size()) + " " + (rows.size() == 1 ? one : many) + "\n";
    for (const Row& row : rows) text += "    " + print(row);
}

std::string DescribeClass(const zorhost::ClassDescription& description) {
    std::string text = "class " + description.name + "\n";
    AddTable(text, "property", "properties", description.properties, [](const zorhost::PropertyDescription& row) {
        const char* access = row.readable && row.writable ? "read, write"
                             : row.readable               ? "read"
                             : row.writable               ? "write"
                                                          : "not readable";
        return row.declaration + " (" + access + ")" + Mark(row.flags);
    });
    const auto method = [](const zorhost::MethodDescription& row) {
        return row.declaration + (row.assignable ? " (also assignable)" : "") + Mark(row.flags);
    };
    AddTable(text, "method", "methods", description.methods, method);
    AddTable(text, "shared method", "shared methods", description.sharedMethods, method);
    AddTable(text, "constant", "constants", description.constants,
             [](const zorhost::ConstantDescription& row) { return row.declaration + "\n"; });
    AddTable(text, "event", "events", description.events,
             [](const zorhost::EventDescription& row) { return row.declaration + "\n"; });
    return text;
}

}  // namespace

void PrintDescription() {
    std::string text;
    for (const zorhost::ClassDescription& description : Engine().Classes())
        text += (text.empty() ? "" : "\n") + DescribeClass(description);
    PrintText(text);
}
