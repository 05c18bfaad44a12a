#include "plugin/PluginEntry.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "core/Formats.h"
#include "host/HostCalls.h"
#include "host/Platform.h"
#include "kernels/KernelTable.h"
#include "plugin/ClassTables.h"

namespace zor {

// The host knows console pictures from this version on.
constexpr double kFirstHostWithConsolePictures = 2010.029;

constexpr int kPluginVersion = 9;

void FixConstants(REALconstant* table, int count, int start, bool prefixK, bool forceDecimal) {
    if (count <= 0 || start < 0 || start >= count) return;
    for (int row = start; row < count; ++row) {
        const char* const name = table[row].declaration;
        const std::uint32_t value = static_cast<std::uint32_t>(table[row].value);
        const std::size_t size = std::strlen(name) + (prefixK ? 17 : 15);
        char* const text = static_cast<char*>(std::calloc(size, 1));
        if (!text) continue;
        const char* const prefix = prefixK ? "k" : "";
        if (forceDecimal || value <= 9) {
            std::snprintf(text, size, "%s%s = %d", prefix, name, static_cast<int>(value));
        } else {
            std::snprintf(text, size, "%s%s = &h%08X", prefix, name, value);
        }
        table[row].declaration = text;
        table[row].value = 0;
    }
}

void FixConstants(REALclassDefinition* definition, int start, bool prefixK, bool forceDecimal) {
    if (!definition) return;
    FixConstants(definition->constants, static_cast<int>(definition->constantCount), start, prefixK, forceDecimal);
}

static void FixFlags(REALword* flags) {
    if (!(*flags & (kREALConsoleIfNew | kREALWebIfNew))) return;
    if (rbversion_rbversion < kFirstHostWithConsolePictures) return;
    if (*flags & kREALConsoleIfNew) *flags |= kREALConsoleSafe;
    if (*flags & kREALWebIfNew) *flags |= kREALWebSafe;
}

template <class Row>
static void FixTableFlags(Row* table, REALword count) {
    if (!table) return;
    for (REALword row = 0; row < count; ++row) FixFlags(&table[row].flags);
}

void FixConsoleFlags(REALclassDefinition* definition) {
    FixFlags(&definition->flags);
    FixTableFlags(definition->methods, definition->methodCount);
    FixTableFlags(definition->sharedMethods, definition->sharedMethodCount);
    FixTableFlags(definition->properties, definition->propertyCount);
    FixTableFlags(definition->sharedProperties, definition->sharedPropertyCount);
}

void MyREALRegisterClass(REALclassDefinition* definition) {
    while (definition->instanceDataSize % 16 != 0) ++definition->instanceDataSize;
    REALRegisterClass(definition);
}

void PluginEntry() {
    std::srand(static_cast<unsigned>(std::time(nullptr)));
    GetAllocationGranularity();
    ProcessKernels();  // picked now: a host may set ZOR_CPU for the time of this call only
    DescribeClasses();
    FixConstants(&ImageClass, 0, false, false);
    FixConsoleFlags(&ImageClass);
    FixConsoleFlags(&ImageFactoryClass);
    MyREALRegisterClass(&ImageClass);
    MyREALRegisterClass(&ImageFactoryClass);
}

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALresolver resolver) {
    gResolver = resolver;
    PrepareUnwinding();
    using RegisterVersion = void (*)(int);
    using GetVersion = double (*)();
    if (const auto registerVersion = reinterpret_cast<RegisterVersion>(gResolver("RegisterPluginVersion"))) {
        registerVersion(kPluginVersion);
    }
    if (const auto getVersion = reinterpret_cast<GetVersion>(gResolver("REALGetRBVersion"))) {
        rbversion_rbversion = getVersion();
    }
    PluginEntry();
}

}  // namespace zor
